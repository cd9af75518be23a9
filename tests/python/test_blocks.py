"""Every block beside numpy and scipy, computed there in double precision."""

import numpy as np
import pytest
import scipy.signal as sps
import vynpack as vp

FS = 48000.0
SINGLE = 2e-6  # rounding to single precision, some operations of it, of full scale


def near(found, expected, tolerance=SINGLE):
    """Within a tolerance of the largest expected value."""
    expected = np.asarray(expected)
    np.testing.assert_allclose(found, expected, rtol=0, atol=tolerance * np.abs(expected).max())


# --- Spectrum ------------------------------------------------------------------------------------

def test_a_spectrum_is_numpys_real_transform_scaled_to_amplitudes(noise):
    x = noise(1024)
    spectrum = vp.Spectrum(amplitude="peak")(x, fs=FS)
    near(spectrum.values, np.abs(np.fft.rfft(x.astype(float)))[:512] / 512)
    np.testing.assert_allclose(spectrum.x, np.fft.rfftfreq(1024, 1 / FS)[:512], rtol=1e-12)
    assert spectrum.x_unit == "Hz"


@pytest.mark.parametrize("amplitude, of", [
    ("peak", lambda a, df: a), ("rms", lambda a, df: a / np.sqrt(2)),
    ("powerspectrum", lambda a, df: a**2 / 2), ("psd", lambda a, df: a**2 / 2 / df),
    ("autospectrum", lambda a, df: a**2)])
def test_amplitude_types(noise, amplitude, of):
    x = noise(1024)
    peaks = np.abs(np.fft.rfft(x.astype(float)))[:512] / 512
    near(vp.Spectrum(amplitude=amplitude)(x, fs=FS).values, of(peaks, FS / 1024))


def test_power_density_is_scipys_periodogram(noise):
    x = noise(4096)
    density = vp.Spectrum(amplitude="psd", window="hanning", correction="energy")(x, fs=FS)
    _, expected = sps.periodogram(x.astype(float), FS, window="hann", detrend=False)
    near(density.values[1:], expected[1:2048])  # at 0 Hz a one-sided density has half


def test_real_and_imaginary_parts_are_one_complex_result(noise):
    x = noise(512)
    lines = vp.Spectrum(amplitude="realimaginaer")(x, fs=FS)
    assert lines.values.dtype == np.complex64
    near(lines.values, np.fft.rfft(x.astype(float))[:256] / 256)
    near(lines.outputs["I"].values, lines.values.imag)


def test_phases_come_in_degrees():
    x = np.cos(2 * np.pi * 8 * np.arange(256) / 256 + np.pi / 3)
    phase = vp.Spectrum(phase=True)(x, fs=FS).phase
    assert phase.unit == "°"
    assert phase.values[8] == pytest.approx(60, abs=1e-3)


# --- Inverse spectrum ----------------------------------------------------------------------------

def test_there_and_back_is_the_signal_but_for_half_the_sample_rate(noise):
    parts = np.fft.rfft(noise(1024).astype(float))
    parts[500:] = 0  # nothing at and near half the rate
    x = np.fft.irfft(parts).astype(np.float32)
    back = vp.InverseSpectrum()(vp.Spectrum(amplitude="realimaginaer")(x, fs=FS))
    near(back.values, x)
    np.testing.assert_allclose(back.x, np.arange(1024) / FS, rtol=0, atol=1e-9 / FS)


def test_the_inverse_takes_complex_arrays_and_parts_alike(noise):
    lines = vp.Spectrum(amplitude="realimaginaer")(noise(256), fs=FS)
    of_result = vp.InverseSpectrum()(lines)
    of_array = vp.InverseSpectrum()(lines.values, fs=FS)
    of_parts = vp.InverseSpectrum()(lines.outputs["R"], lines.outputs["I"])
    np.testing.assert_array_equal(of_result.values, of_array.values)
    np.testing.assert_array_equal(of_result.values, of_parts.values)
    assert of_array.x[1] == pytest.approx(1 / FS)


# --- Two signals ---------------------------------------------------------------------------------

def test_h1_is_the_quotient_of_scipys_averaged_spectra(noise):
    x = noise(64 * 1024)
    y = sps.lfilter([0.5, 0.3], [1, -0.4], x.astype(float)).astype(np.float32) + 0.1 * noise(len(x), seed=2)
    h = vp.transfer(x, y, FS, method="H1", block=1024)
    same = {"fs": FS, "window": "hann", "nperseg": 1024, "noverlap": 0, "detrend": False}
    _, pxy = sps.csd(x.astype(float), y.astype(float), **same)
    _, pxx = sps.welch(x.astype(float), **same)
    _, coherence = sps.coherence(x.astype(float), y.astype(float), **same)
    near(h.values, (pxy / pxx)[:512], 1e-5)
    near(h.coherence.values, coherence[:512], 1e-5)


def test_a_cross_spectrum_is_the_product_of_the_spectra(noise):
    x, y = noise(256), noise(256, seed=2)
    cross = vp.DualSpectrum(quantity="cross spectrum", amplitude="realimaginaer")(x, y, fs=FS)
    first, second = (np.fft.rfft(z.astype(float))[:128] / 128 for z in (x, y))
    near(cross.values, first * second.conj())


# --- Bands ---------------------------------------------------------------------------------------

def test_bands_add_up_the_squares_of_their_lines(noise):
    lines = vp.Spectrum(amplitude="rms")(noise(8192), fs=FS)
    bands = vp.Bands()(lines)
    inside = (lines.x > 890) & (lines.x <= 1120)
    expected = np.sqrt(np.sum(lines.values[inside].astype(float) ** 2))
    assert bands.values[bands.x == 1000][0] == pytest.approx(expected, rel=1e-6)


@pytest.mark.parametrize("analysis, low, high", [("third octaves", 14, 22497), ("octaves", 11, 22720)])
def test_every_line_between_the_first_and_the_last_edge_is_in_one_band(noise, analysis, low, high):
    lines = vp.Spectrum(amplitude="rms")(noise(65536, 2), fs=FS)
    bands = vp.Bands(analysis=analysis)(lines)
    inside = (lines.x > low) & (lines.x <= high)
    if analysis == "third octaves":  # of the lines between 27 and 28 Hz only the first is in a band
        inside[np.flatnonzero((lines.x > 27) & (lines.x < 28))[1:]] = False
    np.testing.assert_allclose((bands.values.astype(float) ** 2).sum(axis=0),
                               (lines.values[inside].astype(float) ** 2).sum(axis=0), rtol=1e-6)


def test_octaves_have_their_own_centre_frequencies(noise):
    bands = vp.Bands(analysis="octaves")(vp.Spectrum(amplitude="rms")(noise(8192), fs=FS))
    assert bands.x.tolist() == [16, 31.5, 63, 125, 250, 500, 1000, 2000, 4000, 8000, 16000]


# --- Statistics ----------------------------------------------------------------------------------

def test_measures_are_numpys(noise):
    x = noise(1000, 3) + 5
    found = vp.Statistics(measures="all")(x, fs=1)
    z = x.astype(float)
    expected = {"block_sum": z.sum(0), "sum_of_squares": (z**2).sum(0), "maximum": z.max(0),
                "x_of_maximum": z.argmax(0), "minimum": z.min(0), "x_of_minimum": z.argmin(0),
                "x_end": [1000] * 3, "last": z[-1], "x_begin": [0] * 3, "first": z[0],
                "mean": z.mean(0), "rms": np.sqrt((z**2).mean(0)),
                "geometric_mean": np.exp(np.log(z).mean(0)), "harmonic_mean": 1 / (1 / z).mean(0),
                "range": np.ptp(z, 0), "std": z.std(0, ddof=1), "variance": z.var(0, ddof=1),
                "variation": z.std(0, ddof=1) / z.mean(0),
                "relative_variation": z.std(0, ddof=1) / z.mean(0) / np.sqrt(999) * 100,
                "mean_deviation": np.abs(z - z.mean(0)).mean(0)}
    for name, values in expected.items():
        np.testing.assert_allclose(found[name], values, rtol=SINGLE, atol=1e-7, err_msg=name)
    assert set(found.x) == set(vp.Statistics.MEASURES)


# --- Averages ------------------------------------------------------------------------------------

def test_a_reduction_takes_means_of_groups(noise):
    x = noise(1000)
    reduced = vp.Average(mode="reduction", samples=8)(x, fs=FS)
    near(reduced.values, x.astype(float).reshape(-1, 8).mean(axis=1))
    assert reduced.x[1] == pytest.approx(8 / FS)


def test_a_moving_average_is_a_convolution(noise):
    x = noise(1000)
    moving = vp.Average(mode="moving average", width=9)(x, fs=FS)
    near(moving.values[8:], np.convolve(x.astype(float), np.ones(9) / 9, "valid"))


def test_data_blocks_are_averaged_value_by_value(noise):
    blocks = noise(64).reshape(4, 16)
    averages = list(vp.Average(mode="data blocks", output="every block").stream(blocks, fs=1))
    near(averages[-1].values, blocks.astype(float).mean(axis=0))


# --- Classes -------------------------------------------------------------------------------------

def test_samples_in_classes_are_numpys_histogram(noise):
    x = noise(10000)
    counted = vp.Classification(classes=16, begin=-4, end=4, calculation="absolute")(x, fs=1)
    expected, edges = np.histogram(x, bins=16, range=(-4, 4))
    np.testing.assert_array_equal(counted.values, expected)
    np.testing.assert_allclose(counted.x, edges[:-1])


def test_dwell_times_are_the_time_that_straight_lines_spend():
    # Up through four classes in four seconds, a second in each.
    dwell = vp.Classification(method="dwell time", classes=4, begin=0, end=4, calculation="absolute")
    np.testing.assert_allclose(dwell([0, 4], fs=1).values, [0.25] * 4)


def test_level_crossings_are_counted_at_the_lower_limits():
    crossings = vp.Classification(method="level crossings", classes=4, begin=0, end=4,
                                  reference=0, calculation="absolute")
    found = crossings([0.5, 2.5, 0.5, 2.5, 0.5], fs=1)
    assert found.values.tolist() == [0, 2, 2, 0]


# --- Filters -------------------------------------------------------------------------------------

IIR = [("Butterworth", {}, lambda order, edge, kind: sps.butter(order, edge, kind, fs=FS, output="sos")),
       ("Chebyshev", {"ripple": 1.0}, lambda order, edge, kind: sps.cheby1(order, 1.0, edge, kind, fs=FS, output="sos")),
       ("elliptic", {"ripple": 1.0, "attenuation": 50.0},
        lambda order, edge, kind: sps.ellip(order, 1.0, 50.0, edge, kind, fs=FS, output="sos")),
       ("inverse Chebyshev", {"attenuation": 50.0},
        lambda order, edge, kind: sps.cheby2(order, 50.0, edge, kind, fs=FS, output="sos")),
       ("Bessel", {}, lambda order, edge, kind: sps.bessel(order, edge, kind, fs=FS, output="sos", norm="mag"))]
MODES = [("low pass", {"cutoff": 3000.0}, "lowpass", 3000), ("high pass", {"cutoff": 3000.0}, "highpass", 3000),
         ("band pass", {"lower": 2000.0, "upper": 5000.0}, "bandpass", (2000, 5000)),
         ("band stop", {"lower": 2000.0, "upper": 5000.0}, "bandstop", (2000, 5000))]


@pytest.mark.parametrize("mode, edges, kind, edge", MODES, ids=[m[0] for m in MODES])
@pytest.mark.parametrize("characteristic, ripples, design", IIR, ids=[c[0] for c in IIR])
def test_recursive_filters_are_scipys(noise, characteristic, ripples, design, mode, edges, kind, edge):
    x = noise(4096)
    filtered = vp.Filter(kind="IIR", characteristic=characteristic, mode=mode, order=4, **edges, **ripples)(x, fs=FS)
    near(filtered.values, sps.sosfilt(design(4, edge, kind), x.astype(float)), 1e-5)


@pytest.mark.parametrize("window, name", [("rectangular", "boxcar"), ("triangular", "triang"),
                                          ("Hanning", "hann"), ("Hamming", "hamming"), ("Blackman", "blackman")])
def test_fir_filters_are_scipys_window_method(noise, window, name):
    x = noise(4096)
    filtered = vp.Filter(kind="FIR", taps=101, window=window, cutoff=3000.0)(x, fs=FS)
    taps = _windowed(101, 3000, name)
    near(filtered.values, sps.lfilter(taps, 1, x.astype(float)))


def _windowed(taps, cutoff, window):
    """The window method by hand: sinc times window, 1 at 0 Hz."""
    n = np.arange(taps) - (taps - 1) / 2
    h = np.sinc(2 * cutoff / FS * n) * sps.get_window(window, taps, fftbins=False)
    return h / h.sum()


# --- Weighting -----------------------------------------------------------------------------------

def weighting_sections(curve):
    """The standard's poles, each corner pre-warped (IEC 61672-1:2013, annex E), as scipy takes them."""
    corners = {"A": [20.6, 20.6, 12194.22, 12194.22, 107.65, 737.86],
               "B": [20.6, 20.6, 12194.22, 12194.22, 158.49], "C": [20.6, 20.6, 12194.22, 12194.22]}[curve]
    warped = [-2 * np.tan(min(2 * np.pi * f / FS, 0.86 * np.pi) / 2) for f in corners]
    poles = [(2 + s) / (2 - s) for s in warped]
    zeros = [1.0] * (len(corners) - 2) + [-1.0] * 2  # at 0 Hz, and at infinity
    _, at_1000 = sps.freqz_zpk(zeros, poles, 1, [1000], fs=FS)
    return sps.zpk2sos(zeros, poles, 1 / abs(at_1000[0]))


@pytest.mark.parametrize("curve", ["A", "B", "C"])
def test_weighting_is_the_standards_curve_by_the_bilinear_transform(noise, curve):
    x = noise(8192)
    near(vp.Weighting(curve=curve)(x, fs=FS).values,
         sps.sosfilt(weighting_sections(curve), x.astype(float)), 1e-5)


def test_spectra_are_weighted_line_by_line(noise):
    lines = vp.Spectrum(amplitude="rms")(noise(4800), fs=FS)
    weighted = vp.Weighting(curve="A")(lines)
    ratio = 20 * np.log10(weighted.values[lines.x == 100] / lines.values[lines.x == 100])
    assert ratio[0] == pytest.approx(-19.1, abs=1e-4)  # IEC 61672-1, table 3


def test_the_control_input_chooses_the_curve(noise):
    x = noise(4096)
    controlled = vp.Weighting()(x, [1.0], fs=FS)
    np.testing.assert_array_equal(controlled.values, vp.Weighting(curve="A")(x, fs=FS).values)


# --- Levels --------------------------------------------------------------------------------------

def test_leq_is_the_mean_of_the_exponentially_weighted_squares(noise):
    x = noise(int(3 * FS))
    table = vp.Level(rate=1, time="Fast")(x, fs=FS)
    a = 1 - np.exp(-1 / FS / 0.125)
    squares = sps.lfilter([a], [1, a - 1], x.astype(float) ** 2) / 4e-10
    for second in range(3):
        n = int((second + 1) * FS)
        assert table["L"][second] == pytest.approx(10 * np.log10(squares[n - 1]), abs=1e-4)
        assert table["Leq"][second] == pytest.approx(10 * np.log10(squares[:n].mean()), abs=1e-4)
        assert table["Lmax"][second] == pytest.approx(10 * np.log10(squares[:n].max()), abs=1e-4)
    np.testing.assert_allclose(table.x, [1, 2, 3])
