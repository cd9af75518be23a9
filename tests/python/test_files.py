"""Recordings."""

import subprocess

import numpy as np
import pytest
import scipy.io.wavfile
import vynpack as vp
from test_vynhost import VYNHOST

soundfile = pytest.importorskip("soundfile")


@pytest.mark.parametrize("rate", [8000, 44100, 48000, 51200])
@pytest.mark.parametrize("kind", ["PCM_16", "PCM_24", "FLOAT"])
def test_a_recording_reads_as_the_host_reads_it(tmp_path, noise, kind, rate):
    soundfile.write(tmp_path / "r.wav", 0.1 * noise(2000, 2), rate, subtype=kind)
    (tmp_path / "d.toml").write_text(
        '[source.r]\nfile = "r.wav"\nfull_scale = 20.0\n[block.w]\ntype = "Frequenzbewertung"\nPkXweight = "A"\n'
        '[wire]\n"w.E" = "r"\n[sink.s]\nfrom = ["r", "w.A"]\ncsv = "s.csv"\n')
    subprocess.run([VYNHOST, "run", tmp_path / "d.toml", "--out", tmp_path, "--quiet"], check=True, timeout=100)
    table = np.genfromtxt(tmp_path / "s.csv", delimiter=",", skip_header=1)[:, 1:].astype(np.float32)
    signal = vp.read(tmp_path / "r.wav", full_scale=20.0, unit="Pa")
    np.testing.assert_array_equal(table[:, :2], signal.values)
    np.testing.assert_array_equal(table[:, 2:], vp.weight(signal).values)
    assert signal.unit == "Pa" and vp.weight(signal).unit == "Pa"


def test_channels_are_chosen_from_1(tmp_path, noise):
    x = noise(100, 3)
    scipy.io.wavfile.write(tmp_path / "r.wav", 8000, x)
    np.testing.assert_array_equal(vp.read(tmp_path / "r.wav", channels=[3, 1]).values, x[:, [2, 0]])
    assert vp.read(tmp_path / "r.wav", channels=[2]).values.shape == (100,)
    with pytest.raises(vp.InputError, match="channel 0 does not exist, there are 3"):
        vp.read(tmp_path / "r.wav", channels=[0])


def test_what_is_no_recording_is_refused(tmp_path, monkeypatch):
    (tmp_path / "text.wav").write_text("no recording")
    with pytest.raises(vp.InputError, match="text.wav: "):
        vp.read(tmp_path / "text.wav")
    with pytest.raises(vp.InputError, match="there is no such file"):
        vp.read(tmp_path / "none.wav")
    monkeypatch.setitem(__import__("sys").modules, "soundfile", None)
    with pytest.raises(vp.MissingPackage, match=r"read needs the package soundfile \(Debian: python3-soundfile\)"):
        vp.read(tmp_path / "text.wav")
