"""The commands that measure, against the same measurements by numpy and scipy from the recordings themselves."""

import contextlib
import csv
import hashlib
import json
import os
import resource
import signal
import struct
import subprocess
import time
from pathlib import Path

import numpy as np
import pytest
import scipy.io
import scipy.io.wavfile
import scipy.signal
from conftest import ROOT
from test_vynhost import VYNHOST

FULL_SCALE = 20.0
P0 = 2e-5


def decibels(mean_square):
    return 10 * np.log10(mean_square / P0**2)


def rows(path):
    """Columns by name without unit, as numbers."""
    with open(path, encoding="utf-8", newline="") as file:
        head, *body = [row for row in csv.reader(file) if not row[0].startswith("#")]
    return {name.split(" [")[0]: np.array([float(row[i] or "nan") for row in body]) for i, name in enumerate(head)}


def totals(path):
    """Rows by name, a number per channel."""
    with open(path, encoding="utf-8", newline="") as file:
        _, *body = list(csv.reader(file))
    return {row[0]: [float(cell or "nan") for cell in row[1:-1]] for row in body}


@pytest.fixture(scope="module")
def results(tmp_path_factory):
    """What examples/commands leaves behind, and the lines that it prints."""
    folder = tmp_path_factory.mktemp("commands")
    done = subprocess.run([ROOT / "examples/commands", folder], check=True, capture_output=True, text=True,
                          env={**os.environ, "VYNHOST": str(VYNHOST)})
    return folder, done.stdout.splitlines()


@pytest.fixture(scope="module")
def recording():
    rate, values = scipy.io.wavfile.read(ROOT / "examples/two_channels.wav")
    return rate, values.astype(float).T / 32768 * FULL_SCALE


def a_weighted(x, rate):
    """By the filter that docs/blocks/TOFreqWeight.md describes: each corner of the curve of IEC 61672-1, warped, bilinear."""
    corners = np.array([20.6, 20.6, 107.65, 737.86, 12194.22, 12194.22])
    warped = 2 * np.tan(np.minimum(2 * np.pi * corners / rate, 0.86 * np.pi) / 2)
    poles = (2 - warped) / (2 + warped)
    zeros = np.array([1, 1, 1, 1, -1, -1])
    _, at1k = scipy.signal.freqz_zpk(zeros, poles, 1, [1000], fs=rate)
    return scipy.signal.sosfilt(scipy.signal.zpk2sos(zeros, poles, 1 / abs(at1k[0])), x)


LEVEL = 0.01  # dB: the filter starts at rest here and there, and percentiles have classes of 0.01 dB


def test_levels_are_those_of_the_weighted_signal(results, recording):
    rate, channels = recording
    table, total = rows(results[0] / "level/level.csv"), totals(results[0] / "level/level_total.csv")
    for c, signal in enumerate(channels):
        weighted = a_weighted(signal, rate)
        energy = decibels((weighted**2).reshape(5, rate).mean(axis=1))
        np.testing.assert_allclose(table[f"LAeq {c + 1}"], energy, atol=LEVEL)
        np.testing.assert_allclose(total["LAeq"][c], decibels(np.mean(weighted**2)), atol=LEVEL)
        np.testing.assert_allclose(total["LAE"][c], decibels(np.sum(weighted**2) / rate), atol=LEVEL)
        alpha = 1 - np.exp(-1 / (rate * 0.125))
        fast = decibels(np.maximum(scipy.signal.lfilter([alpha], [1, alpha - 1], weighted**2), 1e-20))
        np.testing.assert_allclose(total["LAFmax"][c], fast.max(), atol=LEVEL)
        np.testing.assert_allclose(table[f"LAFmax {c + 1}"],
                                   [part.max() for part in np.split(fast, range(rate, 5 * rate, rate))], atol=LEVEL)
        settled = fast[5 * rate // 8:]
        np.testing.assert_allclose(total["LAFmin"][c], settled.min(), atol=LEVEL)
        for n in (10, 50, 90):
            np.testing.assert_allclose(total[f"LAF{n}"][c], np.percentile(settled, 100 - n), atol=LEVEL)


def test_a_calibrators_tone_reads_its_level(results):
    table = rows(results[0] / "calibrator/level.csv")
    np.testing.assert_allclose(table["LAeq"][1:-1], 94, atol=0.01)
    # The last 53 1/3 periods: a third of one more or less of 53.
    assert table["short"][-1] == 1
    np.testing.assert_allclose(table["LAeq"][-1], 94, atol=0.02)


def test_the_peak_is_the_tone(results, recording):
    rate, channels = recording
    peaks = rows(results[0] / "spectrum/spectrum_peaks.csv")
    assert abs(peaks["f"][0] - 440.3) < 0.05
    np.testing.assert_allclose(peaks["level"][0], decibels((0.1 * 0.3 * FULL_SCALE)**2 / 2), atol=0.05)
    # 28 data blocks that are 3/4 in common: 1024 * 27 + 4096 samples.
    _, power = scipy.signal.welch(channels[0][:31744], rate, "hann", 4096, 3072, detrend=False, scaling="spectrum")
    lines = rows(results[0] / "spectrum/spectrum.csv")
    np.testing.assert_allclose(lines["spectrum.S"][1:2000], decibels(power[1:2000]), atol=0.01)


def test_octaves_hold_the_lines_between_their_edges(results, recording):
    rate, channels = recording
    bands = rows(results[0] / "bands/bands.csv")
    f, density = scipy.signal.welch(channels, rate, "hann", 4096, 2048, detrend=False)
    # The edges that the block's page names.
    for centre, low, high in ((500, 355, 710), (1000, 710, 1420), (2000, 1420, 2840)):
        inside = (f > low) & (f <= high)
        for c in range(2):
            level = bands[f"bands.A {c + 1}"][bands["f"] == centre][0]
            np.testing.assert_allclose(level, decibels(density[c, inside].sum() * f[1]), atol=0.05)


def test_transfer_and_coherence_are_scipys(results, recording):
    rate, (x, y) = recording
    table = rows(results[0] / "transfer/transfer.csv")
    how = dict(fs=rate, window="hann", nperseg=512, noverlap=256, detrend=False)
    f, cross = scipy.signal.csd(x, y, **how)
    h1 = cross / scipy.signal.welch(x, **how)[1]
    h2 = scipy.signal.welch(y, **how)[1] / np.conj(cross)
    _, coherence = scipy.signal.coherence(x, y, **how)
    inner = slice(1, 256)
    np.testing.assert_allclose(table["h1.A"][inner], 20 * np.log10(abs(h1[inner])), atol=0.01)
    np.testing.assert_allclose(table["h2.A"][inner], 20 * np.log10(abs(h2[inner])), atol=0.01)
    np.testing.assert_allclose(table["h1.K"][inner], coherence[inner], atol=1e-3)
    turned = np.angle(h1[inner] * np.exp(-1j * np.radians(table["h1.P"][inner])), deg=True)
    np.testing.assert_allclose(turned, 0, atol=0.1)


def test_a_batch_is_done_once(results):
    folder, lines = results
    assert lines[-1] == "vynhost: 3 ok, 0 failed"
    assert lines[-2] == "3 of 3 are done and as they were"
    with open(folder / "each/summary.csv", encoding="utf-8", newline="") as file:
        summary = {row["name"]: row for row in csv.DictReader(file)}
    level = float(summary["calibrator"]["tone.S highest [dB re 20 uPa]"])
    np.testing.assert_allclose(level, 94, atol=0.02)
    assert set(summary) == {"calibrator", "two_calibrators", "two_channels"}


def test_a_recording_is_the_same_in_every_form(results, recording):
    rate, channels = recording
    folder = results[0] / "formats"
    stored = scipy.io.loadmat(folder / "signal.mat")["values"]
    np.testing.assert_allclose(stored, channels.T, rtol=1e-7, atol=0)
    with np.load(folder / "signal.npz") as arrays:
        np.testing.assert_array_equal(np.stack([arrays["signal 1 [Pa]"], arrays["signal 2 [Pa]"]], axis=1), stored)
    wav_rate, samples = scipy.io.wavfile.read(folder / "signal.wav")
    assert wav_rate == rate and samples.dtype == np.float32
    np.testing.assert_array_equal(samples, stored)
    table = rows(folder / "levels.csv")
    lines = [json.loads(line) for line in (folder / "levels.jsonl").read_text(encoding="utf-8").splitlines()]
    assert [line["level.A Leq 2 [dB re 20 uPa]"] for line in lines] == list(table["level.A Leq 2"])


def test_a_report_in_german_holds_the_levels(results, recording):
    _, channels = recording
    page = (results[0] / "report/level.html").read_text(encoding="utf-8")
    content = json.loads(page.split('id="content">')[1].split("</script>")[0])
    assert content["language"] == "de"
    assert content["recordings"][0]["file"] == "signal.mat"
    assert content["recordings"][0]["sha256"] == hashlib.sha256((results[0] / "formats/signal.mat").read_bytes()).hexdigest()
    table = content["tables"][0]
    assert table["title"] == "Pegel der ganzen Aufnahme"
    levels = {row[0]: row[1:3] for row in table["rows"]}
    rate = content["recordings"][0]["rate"]
    whole = [decibels(np.mean(a_weighted(values, rate)**2)) for values in channels]
    np.testing.assert_allclose(levels["LAeq"], whole, atol=LEVEL)


def children(process, word):
    """The numbers of a program's own processes that were started with this word."""
    found = []
    for pid in Path(f"/proc/{process.pid}/task/").glob("*/children"):
        for child in pid.read_text().split():
            with contextlib.suppress(OSError):
                if word in Path(f"/proc/{child}/cmdline").read_bytes().decode():
                    found.append(int(child))
    return found


def test_a_run_that_crashes_is_one_that_failed(tmp_path):
    rate, seconds = 48000, 3600
    for name, frames in (("m1", 4096), ("m2", rate * seconds), ("m3", 4096)):
        file = tmp_path / f"{name}.wav"
        file.write_bytes(struct.pack("<4sI8sIHHIIHH4sI", b"RIFF", 36 + 2 * frames, b"WAVEfmt ", 16, 1, 1, rate, 2 * rate, 2, 16,
                                     b"data", 2 * frames))
        os.truncate(file, 44 + 2 * frames)  # silence that takes no room
    (tmp_path / "d.toml").write_text('[source.m]\nfile = "none.wav"\n[sink.s]\nfrom = "m"\ncsv = "s.csv"\n')
    batch = subprocess.Popen([VYNHOST, "run", tmp_path / "d.toml", "--each", f"m={tmp_path}/*.wav", "--out", tmp_path / "o" / "{name}",
                              "--jobs", "2"], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                             preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_CORE, (0, 0)))
    end = time.monotonic() + 60
    while not (crashing := children(batch, "m2.wav")) or not list(tmp_path.glob("o/m2/.*")):
        assert time.monotonic() < end and batch.poll() is None
        time.sleep(0.01)
    os.kill(crashing[0], signal.SIGSEGV)
    out, said = batch.communicate(timeout=60)
    assert batch.returncode == 1
    assert out.splitlines()[-1] == "vynhost: 2 ok, 1 failed"
    assert said == "m2: failed: crashed, code 139\n"
    assert (tmp_path / "o/m1/s.csv").exists() and (tmp_path / "o/m3/s.csv").exists()
    assert not (tmp_path / "o/m2").exists()  # nor what it had begun


def test_resuming_misses_results_of_every_kind(tmp_path, recording):
    rate, values = recording
    scipy.io.wavfile.write(tmp_path / "m.wav", rate, values[0][:4096].astype(np.float32))
    (tmp_path / "d.toml").write_text('[source.m]\nfile = "none.wav"\n[sink.s]\nfrom = "m"\nnpy = "s.npy"\nmat = "s.mat"\nhdf5 = "s.h5"\n')

    def batch():
        return subprocess.run([VYNHOST, "run", tmp_path / "d.toml", "--each", f"m={tmp_path}/m.wav", "--out", tmp_path / "o/{name}",
                               "--report", "r.html", "--resume"], check=True, capture_output=True, text=True).stdout
    batch()
    assert "1 of 1 are done and as they were" in batch()
    for name in ("s.npy", "s.mat", "s.h5", "r.html"):
        (tmp_path / "o/m" / name).unlink()
        assert "m: ok" in batch()
        assert (tmp_path / "o/m" / name).exists()


@pytest.mark.parametrize("setting, german", [
    ({"LANG": "de_DE.UTF-8"}, True), ({"LANG": "de"}, True), ({"LANG": "C.UTF-8"}, False), ({"LANG": "den_XX"}, False),
    ({"LANG": "de_DE.UTF-8", "LC_MESSAGES": "en_GB.UTF-8"}, False), ({"LANG": "C", "LC_MESSAGES": "de_AT"}, True),
    ({"LANG": "de_DE", "LC_MESSAGES": "de_DE", "LC_ALL": "C"}, False), ({"LC_ALL": "", "LANG": "de_CH@euro"}, True), ({}, False)])
def test_the_systems_language_is_spoken(setting, german):
    others = {name: value for name, value in os.environ.items() if not name.startswith("LC_") and name != "LANG"}
    said = subprocess.run([VYNHOST, "help", "exit-codes"], env={**others, **setting},
                          capture_output=True, check=True).stdout.decode("utf-8")
    assert ("abgebrochen" in said) == german and ("interrupted" in said) != german

