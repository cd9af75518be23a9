"""Arrays, runs, settings and errors: what all blocks have in common."""

import os
import pickle
import subprocess
import sys
import threading

import numpy as np
import pytest
import vynpack as vp

FS = 48000.0
NAMES = [block.__name__ for block in vp.BLOCKS]


# --- Settings ------------------------------------------------------------------------------------

@pytest.mark.parametrize("block", vp.BLOCKS, ids=NAMES)
def test_every_keyword_of_the_hosts_table_is_a_setting_and_nothing_else(block):
    assert sorted(block.keywords.values()) == sorted(row["name"] for row in block.table())


@pytest.mark.parametrize("block", vp.BLOCKS, ids=NAMES)
def test_a_record_makes_the_same_block(block):
    made = block(measures=["mean"]) if block is vp.Statistics else block()
    assert block(record=made.record).record == made.record


@pytest.mark.parametrize("block", vp.BLOCKS, ids=NAMES)
def test_a_pickle_is_the_record(block):
    made = block(measures=["mean"]) if block is vp.Statistics else block()
    again = pickle.loads(pickle.dumps(made))
    assert type(again) is block and again.record == made.record


def test_settings_read_back_as_the_host_writes_them():
    block = vp.Spectrum(amplitude="psd", window="hanning", correction="amplitude", phase=True)
    assert (block.amplitude, block.window, block.correction) == ("PSD", "HANNING", "amplitude")
    assert block.phase is True and block.window_parameter == 10.0
    assert repr(block).startswith("Spectrum(amplitude='PSD', window='HANNING'")


def test_a_setting_changes_between_runs_and_a_refused_one_changes_nothing():
    block = vp.Filter(cutoff=1000.0)
    block.cutoff = 2000.0
    before = block.record
    with pytest.raises(vp.InputError, match=r"Filter\(taps\): 4 is out of range, allowed is odd, 3 to 1048575"):
        block.set(cutoff=10.0, taps=4)
    assert block.record == before and block.cutoff == 2000.0
    block.start(FS)
    with pytest.raises(vp.InputError, match="a run is under way"):
        block.cutoff = 10.0
    block.stop()


@pytest.mark.parametrize("make, text", [
    (lambda: vp.Spectrum(window="haning"), r'Spectrum\(window\): "haning" is none of its values, did you mean HANNING\?'),
    (lambda: vp.Level(time="quick"), r"allowed is Slow \(0\), Fast \(1\) or Impulse \(2\)"),
    (lambda: vp.Filter(kind="IIR"), "an IIR filter needs a characteristic"),
    (lambda: vp.Filter(cutoff=float("nan")), "nan is no number"),
    (lambda: vp.Filter(cutoff=[1, 2]), "takes a number or a name, not a list"),
    (lambda: vp.Filter(taps=2**70), "out of range"),
    (lambda: vp.Statistics(measures=["median"]), '"median" is no measure; there are block_sum'),
    (lambda: vp.Statistics(), "at least one measure"),
    (lambda: vp.Classification(begin=2, end=1), "the class begin lies below the class end"),
    (lambda: vp.Spectrum(record=b"12345"), "Spectrum.record: is damaged"),
    (lambda: vp.Spectrum().set(windows="HANNING"), "Spectrum has no setting windows; there are amplitude"),
])
def test_what_means_nothing_is_refused_with_what_is_allowed(make, text):
    with pytest.raises(vp.InputError, match=text):
        make()


# --- Arrays --------------------------------------------------------------------------------------

def test_channels_are_columns(noise):
    x = noise(1000, 3)
    whole = vp.Filter(cutoff=1000.0)(x, fs=FS)
    assert whole.values.shape == (1000, 3) and [axis.name for axis in whole.axes] == ["time", "channel"]
    for channel in range(3):
        alone = vp.Filter(cutoff=1000.0)(x[:, channel], fs=FS)
        np.testing.assert_array_equal(whole.values[:, channel], alone.values)
    column = vp.Filter(cutoff=1000.0)(x[:, :1], fs=FS)
    assert column.values.shape == (1000, 1)


@pytest.mark.parametrize("of", [lambda x: x.astype(float), lambda x: x.astype(">f4"), lambda x: list(map(float, x)),
                                lambda x: np.repeat(x, 2)[::2]], ids=["float64", "big endian", "list", "strided"])
def test_any_real_array_means_the_same(noise, of):
    x = noise(500)
    np.testing.assert_array_equal(vp.Filter()(of(x), fs=FS).values, vp.Filter()(x, fs=FS).values)


def test_arrays_are_left_as_they_are(noise):
    x = noise(500)
    x.flags.writeable = False
    before = x.copy()
    result = vp.Weighting(curve="linear")(x, fs=FS)
    result.values[:] = 7
    np.testing.assert_array_equal(x, before)


@pytest.mark.parametrize("x, text", [(np.zeros((2, 2, 2)), "an array of 3 dimensions"), (["a"], "are no numbers"),
                                     (np.zeros(4, complex), "takes real values"), (5.0, "an array of 0 dimensions")])
def test_what_is_no_signal_is_refused(x, text):
    with pytest.raises(vp.InputError, match=text):
        vp.Filter()(x, fs=FS)


@pytest.mark.parametrize("fs", [0, -1, float("nan"), float("inf")])
def test_a_rate_that_is_none_is_refused(fs):
    with pytest.raises(vp.InputError, match="allowed is above 0 Hz"):
        vp.Filter()([1.0], fs=fs)


def test_an_array_needs_its_rate():
    with pytest.raises(vp.InputError, match="an array needs its sample rate fs"):
        vp.Filter()([1.0])


# --- Runs ----------------------------------------------------------------------------------------

def test_a_stream_in_pieces_is_the_whole_signal(noise):
    x = noise(4096)
    block = vp.Filter(kind="IIR", characteristic="Butterworth", cutoff=1000.0)
    pieces = list(block.stream(np.split(x, [1, 100, 3000]), fs=FS, start=2.0, unit="Pa"))
    np.testing.assert_array_equal(np.concatenate([p.values for p in pieces]), block(x, fs=FS).values)
    np.testing.assert_array_equal(block.flow(x, fs=FS, block=333).values, block(x, fs=FS).values)
    assert pieces[1].x[0] == pytest.approx(2.0 + 1 / FS, rel=1e-12) and pieces[0].unit == "Pa"


def test_a_run_that_is_left_in_the_middle_begins_anew(noise):
    x = noise(512)
    block = vp.Filter(cutoff=1000.0)
    stream = block.stream([x, x], fs=FS)
    first = next(stream)
    stream.close()
    np.testing.assert_array_equal(block(x, fs=FS).values, first.values)
    with pytest.raises(vp.InputError, match="no run has been started"):
        block.feed(x)


def test_a_chain_hands_on_heads(noise):
    x = noise(8192)
    bands = vp.Bands().stream(vp.Spectrum(amplitude="rms").stream(np.split(x, 2), fs=FS, unit="Pa"))
    assert [(b.unit, b.axes[0].name, len(b)) for b in bands] == [("Pa", "band", 32)] * 2


@pytest.mark.parametrize("unit, density", [("Pa", "Pa²/Hz"), ("m/s", "(m/s)²/Hz"), ("", "1/Hz")])
def test_units_follow_the_amplitude_type(unit, density):
    assert vp.Spectrum(amplitude="psd")(np.ones(8), fs=1, unit=unit).unit == density
    assert vp.Spectrum(amplitude="rms")(np.ones(8), fs=1, unit=unit).unit == unit


# --- Errors --------------------------------------------------------------------------------------

def test_a_blocks_error_has_its_own_text():
    with pytest.raises(vp.BlockError, match="Average: Mittelung: Die Intervallbreite muß kleiner oder gleich"):
        vp.Average(samples=100)(np.ones(10), fs=1)


def test_settings_that_do_not_fit_the_rate_are_refused():
    with pytest.raises(vp.InputError, match="below half the sample rate, 1000 Hz"):
        vp.Filter(cutoff=600.0)(np.ones(10), fs=1000)
    with pytest.raises(vp.InputError, match="4000 Hz to 1000000 Hz"):
        vp.weight(np.ones(10), 100)


def test_inputs_that_do_not_fit_each_other_are_refused(noise):
    with pytest.raises(vp.BlockError, match="do the inputs fit together"):
        vp.InverseSpectrum()(vp.Spectrum(amplitude="realimaginaer")(noise(64), fs=1).outputs["R"],
                             vp.Spectrum(amplitude="realimaginaer")(noise(32), fs=1).outputs["I"])
    with pytest.raises(vp.BlockError, match=r"the data at E is not taken \(nothing comes to A, T\)"):
        vp.DualSpectrum()(noise(64), fs=1)
    with pytest.raises(vp.InputError, match="Filter has 1 inputs"):
        vp.Filter()(noise(64), noise(64), fs=1)


# --- Processes and threads -----------------------------------------------------------------------

def test_threads_get_the_same_bits(noise):
    x = noise(200000)
    expected = vp.filter(x, FS, "low pass", cutoff=1000.0).values
    found = [None] * 4

    def work(i):
        found[i] = vp.filter(x, FS, "low pass", cutoff=1000.0).values
    threads = [threading.Thread(target=work, args=(i,)) for i in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    for one in found:
        np.testing.assert_array_equal(one, expected)


def test_other_threads_run_while_a_block_computes(noise):
    x = noise(4_000_000)
    done, turns = threading.Event(), []

    def count():
        while not done.is_set():
            turns.append(len(turns))
    counter = threading.Thread(target=count)
    block = vp.Filter(taps=1001)
    counter.start()
    before = len(turns)
    block(x, fs=FS)  # one call of the library
    after = len(turns)
    done.set()
    counter.join()
    assert after - before > 1000


def test_what_other_threads_write_to_standard_error_arrives():
    """The module's boxes are lines on standard error, which the host reads during a call."""
    script = """
import os, sys, threading, numpy as np, vynpack as vp
def write():
    for i in range(200):
        os.write(2, b"line %03d: of a thread\\n" % i)
writer = threading.Thread(target=write)
block = vp.Filter(taps=2001)
writer.start()
while writer.is_alive():
    block(np.ones(200000, np.float32), fs=48000)
"""
    run = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True, timeout=100,
                         env={**os.environ, "PYTHONPATH": os.pathsep.join(sys.path)})
    assert run.returncode == 0, run.stderr
    assert sorted(run.stderr.splitlines()) == [f"line {i:03}: of a thread" for i in range(200)]


def test_a_process_that_was_forked_off_has_errors_of_its_own():
    block = vp.Average(samples=100)
    with pytest.raises(vp.BlockError):
        block(np.ones(10), fs=1)
    child = os.fork()
    if child == 0:
        try:
            vp.Average(samples=100)(np.ones(10), fs=1)
        except vp.BlockError as error:
            os._exit(0 if "Intervallbreite" in str(error) else 2)
        os._exit(3)
    assert os.waitpid(child, 0)[1] == 0
    with pytest.raises(vp.BlockError, match="Intervallbreite"):
        block(np.ones(10), fs=1)


def test_a_module_that_is_missing_is_named(tmp_path):
    run = subprocess.run([sys.executable, "-c", "import vynpack; vynpack.Filter()"], text=True,
                         capture_output=True, timeout=100,
                         env={**os.environ, "PYTHONPATH": os.pathsep.join(sys.path),
                              "VYNPACK_FOLDER": str(tmp_path)})
    assert f"ModuleError: libvynhost.so is in none of {tmp_path}" in run.stderr
