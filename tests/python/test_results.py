"""Functions and their labelled results."""

import numpy as np
import pytest
import scipy.signal as sps
import vynpack as vp

FS = 48000


def test_a_spectrum_is_averaged_as_a_sink_does(noise):
    x = noise(4 * 1024 + 100, 2)
    found = vp.spectrum(x, FS, block=1024, amplitude="rms", window="hanning", correction="energy")
    blocks = vp.Spectrum(amplitude="rms", window="hanning", correction="energy").stream(
        np.split(x[:4096], 4), fs=FS)
    squares = [b.values.astype(float) ** 2 for b in blocks]
    np.testing.assert_array_equal(found.values, np.sqrt(sum(squares[1:], squares[0]) / 4))
    _, density = sps.welch(x[:4096].astype(float), FS, "hann", 1024, 0, detrend=False, axis=0)
    psd = vp.spectrum(x, FS, block=1024, amplitude="psd", correction="energy")
    np.testing.assert_allclose(psd.values[1:], density[1:512], rtol=0, atol=1e-5 * density.max())


def test_complex_lines_and_phases_have_no_power_average(noise):
    with pytest.raises(vp.InputError, match="no power average"):
        vp.spectrum(noise(64), FS, block=16, amplitude="realimaginaer")
    with pytest.raises(vp.InputError, match="phases belong to one data block"):
        vp.spectrum(noise(64), FS, block=16, phase=True)
    assert vp.spectrum(noise(64), FS, phase=True).phase.unit == "°"


def test_a_short_signal_is_refused_where_nothing_would_come():
    with pytest.raises(vp.InputError, match="the signal has 10 samples, fewer than a data block of 4096"):
        vp.transfer(np.ones(10), np.ones(10), FS)
    with pytest.raises(vp.InputError, match="fills no interval of 1 s"):
        vp.levels(np.ones(100), FS)
    with pytest.raises(vp.InputError, match="the signal has no samples"):
        vp.filter([], FS, cutoff=10)


def test_a_function_takes_what_another_gives(noise):
    x = noise(20000)
    low = vp.filter(x, FS, "low pass", cutoff=1000, unit="Pa")
    both = vp.filter(low, mode="high pass", cutoff=100)
    assert both.unit == "Pa"
    expected = sps.sosfilt(sps.butter(4, 100, "high", fs=FS, output="sos"), low.values.astype(float))
    np.testing.assert_allclose(both.values, expected, atol=1e-5)
    assert vp.statistics(low)["maximum"] == low.values.max()
    assert vp.classify(low, classes=5).values.sum() == len(low)
    with pytest.raises(vp.InputError, match="the signal's own rate is"):
        vp.filter(low, 1000, cutoff=100)
    with pytest.raises(vp.InputError, match="is no time signal"):
        vp.filter(vp.spectrum(x, FS), cutoff=100)


@pytest.mark.parametrize("call, text", [
    (lambda x: vp.filter(x, FS), r"filter\(cutoff\): a low pass needs it, in Hz"),
    (lambda x: vp.filter(x, FS, "band pass", lower=10), r"filter\(upper\): a band pass needs it"),
    (lambda x: vp.filter(x, FS, "lowpass", cutoff=10), r"filter\(lower\)|did you mean low pass"),
    (lambda x: vp.levels(x, FS, every=0), "every is 0, allowed is above 0 s"),
    (lambda x: vp.classify(x, classes=0), "classes is 0, allowed is 1 or more"),
    (lambda x: vp.classify(x * np.nan), "no value is finite"),
    (lambda x: vp.spectrum(x, FS, average="median"), "is none of power, mean, last"),
    (lambda x: vp.spectrum(x, FS, block=0), "block is 0, allowed is 1 or more"),
    (lambda x: vp.transfer(x, x[1:], FS), "x has the shape"),
])
def test_functions_refuse_with_the_reason(noise, call, text):
    with pytest.raises(vp.InputError, match=text):
        call(noise(5000))


def test_levels_are_those_of_the_weighted_signal(noise):
    x = noise(int(2.5 * FS), 2)
    table = vp.levels(x, FS, weighting="A", time="F", every=0.5)
    assert table.values.shape == (5, 18, 2)
    weighted = vp.Weighting(curve="A")(x, fs=FS)
    np.testing.assert_array_equal(table.values, vp.Level(time="Fast", rate=2)(weighted).values)
    np.testing.assert_allclose(table.x, [0.5, 1, 1.5, 2, 2.5])


def test_classes_that_are_not_given_hold_every_value(noise):
    x = noise(5000)
    counts = vp.classify(x, classes=10)
    assert counts.values.sum() == 5000 and counts.values[0] >= 1 and counts.values[-1] >= 1


def test_statistics_over_time(noise):
    x = noise(1050)
    found = vp.statistics(x, 100, measures=["mean", "maximum"], block=100)
    np.testing.assert_allclose(found["mean"][:10], x[:1000].astype(float).reshape(10, 100).mean(1), atol=1e-7)
    assert len(found) == 11 and found["maximum"][10] == x[1000:].max()
    np.testing.assert_allclose(found.x, np.arange(11.0))


def test_decibels():
    lines = vp.spectrum(np.sin(2 * np.pi * 100 * np.arange(1000) / 1000), 1000, window="rectangle", unit="Pa")
    assert lines.decibels(2e-5).values[100] == pytest.approx(20 * np.log10(np.sqrt(0.5) / 2e-5), abs=1e-4)
    power = vp.spectrum(2 * np.sin(2 * np.pi * 100 * np.arange(1000) / 1000), 1000, window="rectangle",
                        amplitude="powerspectrum")
    assert power.decibels().values[100] == pytest.approx(10 * np.log10(2), abs=1e-4)
    with pytest.raises(vp.InputError, match="levels already"):
        power.decibels().decibels()


# --- Other packages ------------------------------------------------------------------------------

def test_a_dataframe_has_labels(noise):
    pytest.importorskip("pandas")
    frame = vp.levels(noise(FS, 2), FS, every=0.25).to_dataframe()
    assert frame.index.name == "time [s]" and frame.shape == (4, 36)
    assert frame["Leq"][1].iloc[-1] == vp.levels(noise(FS, 2)[:, 0], FS, every=0.25)["Leq"][-1]
    lines = vp.spectrum(noise(64), FS, unit="Pa").to_dataframe()
    assert list(lines.columns) == ["spectrum [Pa]"] and lines.index[1] == FS / 64


def test_an_xarray_has_coordinates_and_units(noise):
    pytest.importorskip("xarray")
    array = vp.spectrum(noise(64, 2), FS, unit="Pa").to_xarray()
    assert array.dims == ("frequency", "channel") and array.attrs["units"] == "Pa"
    assert array.frequency.attrs["units"] == "Hz"
    assert float(array.sel(frequency=750, channel=2)) == vp.spectrum(noise(64, 2), FS).values[1, 1]


def test_a_plot_is_labelled(noise):
    matplotlib = pytest.importorskip("matplotlib")
    matplotlib.use("Agg")
    axes = vp.spectrum(noise(64, 2), FS, unit="Pa").plot()
    assert (axes.get_xlabel(), axes.get_ylabel(), len(axes.lines)) == ("frequency [Hz]", "spectrum [Pa]", 2)
    assert len(vp.third_octaves(noise(8192), FS).plot().lines) == 1
    assert len(vp.transfer(noise(8192), noise(8192), FS).plot().lines) == 1


def test_a_notebook_shows_name_shape_and_sketch(noise):
    html = vp.spectrum(noise(64), FS, unit="<Pa>")._repr_html_()
    assert "spectrum [&lt;Pa&gt;]" in html and "32 frequency [Hz]" in html and "<polyline" in html
    assert "YMax" not in vp.statistics(noise(10))._repr_html_()


def test_a_package_that_is_missing_is_named(noise, monkeypatch):
    monkeypatch.setitem(__import__("sys").modules, "pandas", None)
    with pytest.raises(vp.MissingPackage, match=r"to_dataframe needs the package pandas \(Debian: python3-pandas\)"):
        vp.spectrum(noise(64), FS).to_dataframe()


def test_a_quantity_that_is_none_is_refused(noise):
    with pytest.raises(vp.InputError, match='"median" is no quantity; there are maximum, minimum, mean'):
        vp.statistics(noise(10))["median"]


def test_a_result_can_be_pickled(noise):
    import pickle
    h = vp.transfer(noise(8192), noise(8192, seed=2), FS)
    copy = pickle.loads(pickle.dumps(h))
    np.testing.assert_array_equal(copy.coherence.values, h.coherence.values)
    np.testing.assert_array_equal(copy.x, h.x)
