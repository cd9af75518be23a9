"""The package and vynhost: the same numbers from the same recording, to the last bit."""

import subprocess

import numpy as np
import pytest
import scipy.io.wavfile
import vynpack as vp
from conftest import PROGRAMS

FS, BLOCK = 48000, 4096
VYNHOST = PROGRAMS / "vynhost"


def pieces(x):
    return np.split(x, len(x) // BLOCK)


def last(results):
    return list(results)[-1].values


def joined(results):
    return np.concatenate([one.values for one in results])


def psd(x):
    blocks = vp.Spectrum(amplitude="psd", window="hanning", correction="energy").stream(pieces(x), fs=FS)
    return sum(b.values.astype(float) for b in blocks) / (len(x) // BLOCK)


def round_trip(x):
    lines = vp.Spectrum(amplitude="realimaginaer").stream(pieces(x), fs=FS)
    return joined(vp.InverseSpectrum().stream(lines))


def levels(x):
    table = vp.levels(x, FS, weighting="A", time="F", every=0.1)
    return np.column_stack([table.x, table.values])


# Blocks and wires of a diagram whose recording is "x" (and its second channel "y"); what the sink
# takes and how it averages; the same in Python.
DIAGRAMS = {
    "recursive filter": ("""
        [block.b]
        type = "Filter"
        PkFIRFilter = "IIR"
        PkFilterType = "Chebyshev"
        PkFilterMode = "band pass"
        PkLowerFreq = 300.0
        PkUpperFreq = 3400.0
        PkFilterOrder = 4
        [wire]
        "b.E" = "x"
        """, "b.A", "none",
        lambda x, y: vp.filter(x, FS, "band pass", lower=300.0, upper=3400.0, characteristic="Chebyshev").values),
    "FIR filter": ("""
        [block.b]
        type = "Filter"
        PkFilterLength = 51
        [wire]
        "b.E" = "x"
        """, "b.A", "none", lambda x, y: vp.filter(x, FS, cutoff=500.0, taps=51).values),
    "A weighting": ("""
        [block.b]
        type = "Frequenzbewertung"
        PkXweight = "A"
        [wire]
        "b.E" = "x"
        """, "b.A", "none", lambda x, y: vp.weight(x, FS, "A").values),
    "RMS spectrum": ("""
        [block.b]
        type = "FFT"
        PkAmplType = "RMS"
        PkWndFct = "HANNING"
        PkWndCorrectTyp = "amplitude"
        [wire]
        "b.E" = "x"
        """, "b.S", "power", lambda x, y: vp.spectrum(x, FS, block=BLOCK).values),
    "power density": ("""
        [block.b]
        type = "FFT"
        PkAmplType = "PSD"
        PkWndFct = "HANNING"
        PkWndCorrectTyp = "energy"
        [wire]
        "b.E" = "x"
        """, "b.S", "mean", lambda x, y: psd(x)),
    "third octaves": ("""
        [block.s]
        type = "FFT"
        PkAmplType = "RMS"
        PkWndFct = "HANNING"
        PkWndCorrectTyp = "energy"
        [block.b]
        type = "Terz_Oktav_Analyse"
        PkAScaling = "on"
        [wire]
        "s.E" = "x"
        "b.E" = "s.S"
        """, "b.A", "power", lambda x, y: vp.third_octaves(x, FS, block=BLOCK, a_weighting=True).values),
    "there and back": ("""
        [block.s]
        type = "FFT"
        PkAmplType = "REALIMAGINAER"
        [block.b]
        type = "Inverse FFT"
        [wire]
        "s.E" = "x"
        "b.R" = "s.R"
        "b.I" = "s.I"
        """, "b.A", "none", lambda x, y: round_trip(x)),
    "transfer function": ("""
        [block.b]
        type = "FFT zweier Zeitsignale"
        PkCrossSpectr = "transfer function"
        PkTransFCTType = "SPECTRUM H1"
        PkCoherence = "on"
        PkWndFct = "HANNING"
        PkAverageType = "ARITHMETIC"
        [wire]
        "b.E" = "x"
        "b.A" = "y"
        """, "b.A", "last", lambda x, y: vp.transfer(x, y, FS, block=BLOCK, amplitude="peak").values),
    "dwell times": ("""
        [block.b]
        type = "Klassierung"
        PkMethod = "dwell time"
        PkNumber = 12
        PkBegin = -3.0
        PkEnd = 3.0
        [wire]
        "b.E" = "x"
        """, "b.A", "last",
        lambda x, y: last(vp.Classification(method="dwell time", classes=12, begin=-3.0, end=3.0)
                          .stream(pieces(x), fs=FS))),
    "statistics": ("""
        [block.b]
        type = "Statistik"
        PkAllOn = "on"
        [wire]
        "b.E" = "x"
        """, "b.A", "none", lambda x, y: vp.statistics(x, FS, measures="all", block=BLOCK).values),
    "levels": ("""
        [block.w]
        type = "Frequenzbewertung"
        PkXweight = "A"
        [block.b]
        type = "Pegel"
        PkTimeTc = "Fast"
        PkFreqOut = 10.0
        [wire]
        "w.E" = "x"
        "b.E" = "w.A"
        """, "b.A", "none", lambda x, y: levels(x)),
    "moving average": ("""
        [block.b]
        type = "Mittelwert"
        PkMode = "moving average"
        PkSmoothNVal = 31
        [wire]
        "b.E" = "x"
        """, "b.A", "none",
        lambda x, y: joined(vp.Average(mode="moving average", width=31).stream(pieces(x), fs=FS))),
}


@pytest.fixture
def signals(noise):
    both = noise(6 * BLOCK, 2)
    both[:, 1] += 0.5 * both[:, 0]
    return both


@pytest.fixture
def table_of(tmp_path, signals):
    """table_of(diagram): written to d.toml, run by vynhost; the sink's table."""
    def run(blocks, place, average, more=""):
        scipy.io.wavfile.write(tmp_path / "xy.wav", FS, signals)
        sources = "".join(f'[source.{one}]\nfile = "xy.wav"\nblock = {BLOCK}\nchannels = [{channel}]\n'
                          for channel, one in enumerate(("x", "y"), 1))
        (tmp_path / "d.toml").write_text(
            f'{sources}{blocks}\n[sink.s]\nfrom = "{place}"\ncsv = "s.csv"\naverage = "{average}"\n{more}')
        subprocess.run([VYNHOST, "run", tmp_path / "d.toml", "--out", tmp_path, "--quiet"], check=True, timeout=100)
        return np.genfromtxt(tmp_path / "s.csv", delimiter=",", skip_header=1, comments="#")
    return run


def same_bits(table, values):
    found = table[:, -values.shape[1]:] if values.ndim == 2 else table[:, -1]
    found = np.nan_to_num(found)  # a band without a line is an empty cell; the block's value is 0
    assert len(found) == len(values) and np.ptp(found) > 0
    np.testing.assert_array_equal(found.astype(np.float32), values.astype(np.float32))


@pytest.mark.parametrize("name", DIAGRAMS)
def test_a_diagram_and_its_python_give_the_same_bits(name, table_of, signals):
    blocks, place, average, in_python = DIAGRAMS[name]
    table = table_of(blocks, place, average)
    expected = in_python(np.ascontiguousarray(signals[:, 0]), np.ascontiguousarray(signals[:, 1]))
    if name == "levels":  # begin and end of the intervals stand before the quantities
        np.testing.assert_allclose(table[:, 1], expected[:, 0], rtol=0, atol=1e-9)
        expected = expected[:, 1:]
    same_bits(table, expected)


@pytest.mark.parametrize("name", DIAGRAMS)
def test_a_diagram_runs_from_python_over_arrays(name, table_of, tmp_path, signals):
    blocks, place, average, _ = DIAGRAMS[name]
    table = table_of(blocks, place, average)
    (tmp_path / "xy.wav").unlink()
    result = vp.Diagram(tmp_path / "d.toml").run(fs=FS, x=signals, y=signals)["s"][place]
    same_bits(table, result.values)
    if result.axes[0].name == "time":
        ends = table[:, 1] if name == "levels" else table[:, 0]
        np.testing.assert_allclose(result.x, ends, rtol=0, atol=1e-9)
    assert not list(tmp_path.glob("*.wav"))


def test_a_sink_makes_levels_and_chooses_quantities(table_of, tmp_path, signals):
    blocks, place, average, _ = DIAGRAMS["RMS spectrum"]
    table = table_of(blocks, place, average, 'y = "dB"\nreference = 2e-5\n')
    result = vp.Diagram(tmp_path / "d.toml").run(fs=FS, x=signals, y=signals)["s"][place]
    assert result.unit == "dB"
    np.testing.assert_allclose(table[:, 1], result.values, rtol=1e-6)  # the table has single precision
    blocks, place, average, _ = DIAGRAMS["levels"]
    table = table_of(blocks, place, average, 'values = ["Leq", "L"]\n')
    results = vp.Diagram(tmp_path / "d.toml").run(x=tmp_path / "xy.wav", y=tmp_path / "xy.wav")
    assert sorted(results["s"][place].axes[1].values) == ["L", "Leq"]
    same_bits(table, results["s"][place].values)
    assert any("24576 samples at 48000 Hz" in note for note in results.notes)


def test_a_diagram_that_asks_for_much_memory_is_given_it_when_told_to(table_of, tmp_path, signals):
    table_of(*DIAGRAMS["FIR filter"][:3])
    with pytest.raises(vp.InputError, match=r"would take 1 MiB; a run may take 1 MiB \(memory raises that\)"):
        vp.Diagram(tmp_path / "d.toml", memory=1e-6).run(fs=FS, x=signals, y=signals)
    vp.Diagram(tmp_path / "d.toml", memory=0.01).run(fs=FS, x=signals, y=signals)
    for memory in (0, -1, float("nan"), 2e6):
        with pytest.raises(vp.InputError, match="allowed is above 0 and at most 1048576 GiB"):
            vp.Diagram(tmp_path / "d.toml", memory=memory)


def test_what_means_nothing_in_a_diagram_is_refused(table_of, tmp_path, signals):
    with pytest.raises(vp.InputError, match="there is no such file"):
        vp.Diagram(tmp_path / "none.toml")
    table_of(*DIAGRAMS["FIR filter"][:3])
    diagram = vp.Diagram(tmp_path / "d.toml")
    with pytest.raises(vp.InputError, match="d.toml: there is no source z"):
        diagram.run(fs=FS, z=signals)
    with pytest.raises(vp.InputError, match="x: a recording's rate is 12.5 Hz, allowed is a whole number"):
        diagram.run(fs=12.5, x=signals)
    with pytest.raises(vp.InputError, match="below half the sample rate, 800 Hz"):
        diagram.run(fs=800, x=signals)
    text = (tmp_path / "d.toml").read_text()
    (tmp_path / "d.toml").write_text(text.replace('"Filter"', '"Filtr"'))
    with pytest.raises(vp.InputError, match=r'd\.toml:\d+: block\.b\.type: "Filtr" is no block type, did you mean Filter'):
        diagram.run(fs=FS, x=signals)
