"""docs/conformance/windows.md: the windows of the FFT against the literature."""

import math

import numpy as np
import vynpack as vp
from scipy.signal import windows as known

from .pages import Page, number, power_of_ten, signed

SIZE = 1024
HARRIS = "Harris 1978, table I"

SAYS = """
The window functions of the [FFT](../blocks/TOSpektrum.md#windows), read out sample by sample: a data block of 1024 channels with an impulse at
another sample in each, whose spectra are flat at the window's weight there. From those weights: coherent gain (mean of the
weights), equivalent noise bandwidth (ENBW, mean square over squared mean, in lines), scalloping loss (what a tone halfway between two lines
loses), highest side lobe."""


def weights(window, parameter=None, correction="none"):
    """The window's weights, 1024 of them, in single precision as they leave the block."""
    impulses = np.eye(SIZE, dtype=np.float32)
    lines = vp.Spectrum(amplitude="peak", window=window, correction=correction, window_parameter=parameter)(impulses, fs=1.0)
    return lines.values[3].astype(float) * SIZE / 2


def figures(w):
    """(coherent gain, ENBW in lines, scalloping loss in dB, highest side lobe in dB)."""
    fine = 64
    transform = np.abs(np.fft.rfft(w, fine * SIZE)) / np.sum(w)
    half = transform[fine // 2]
    decibels = 20 * np.log10(np.maximum(transform, 1e-12))
    floor = int(np.argmax(decibels < -10))
    while transform[floor + 1] < transform[floor]:  # down the main lobe to its end
        floor += 1
    return np.mean(w), SIZE * np.sum(w**2) / np.sum(w) ** 2, -20 * math.log10(half), decibels[floor:].max()


def distance():
    """From the middle, 0 to 1."""
    return np.abs(np.arange(SIZE) - SIZE / 2) / (SIZE / 2)


def vallee():
    d = distance()
    return np.where(d < 0.5, 1 - 6 * d**2 * (1 - d), 2 * (1 - d) ** 3)


def shifted_triangle():
    middle = (SIZE - 1) / 2
    return 1 - np.abs((np.arange(SIZE) + 1 - middle) / (middle + 1))


def riemann():
    return np.sinc(2 * np.arange(SIZE) / SIZE - 1)


# Block's name, parameter, the literature's formula computed here or by scipy, and the literature's table: coherent
# gain, ENBW, scalloping loss, highest side lobe; each None where the table has no such window.
WINDOWS = [
    ("rectangle", None, np.ones(SIZE), "scipy boxcar", (1.00, 1.00, 3.92, -13)),
    ("bartlett", None, known.bartlett(SIZE + 1)[:-1], "scipy bartlett", (0.50, 1.33, 1.82, -27)),
    ("hanning", None, known.hann(SIZE, False), "scipy hann", (0.50, 1.50, 1.42, -32)),
    ("hamming", None, known.hamming(SIZE, False), "scipy hamming", (0.54, 1.36, 1.78, -43)),
    ("blackman", None, known.general_cosine(SIZE, np.array([7938, 9240, 1430]) / 18608, False), "scipy general_cosine, exact Blackman", None),
    ("welch", None, 1 - ((np.arange(SIZE) - (SIZE - 1) / 2) / ((SIZE + 1) / 2)) ** 2, "Riesz parabola", (0.67, 1.20, 2.22, -21)),
    ("riemann", None, riemann(), "sin t / t", (0.59, 1.30, 1.89, -26)),
    ("vallee", None, vallee(), "1 − 6d²(1 − d), outside 2(1 − d)³", (0.38, 1.92, 0.90, -53)),
    ("cauchy", 3.0, 1 / (1 + (3 * distance()) ** 2), "1 / (1 + (α d)²), α = 3", (0.42, 1.48, 1.71, -31)),
    ("gauss", 25.0, np.exp(-0.5 * (2.5 * distance()) ** 2), "exp(−(α d)² / 2), α = 2.5", (0.51, 1.39, 1.69, -42)),
    ("kaiser", 2.5 * 2 * math.pi, known.kaiser(SIZE, 2 * math.pi), "scipy kaiser, β = 2π (α = 2)", (0.49, 1.50, 1.46, -46)),
    ("parzen", None, shifted_triangle(), "triangle, 1 − abs(i + 1 − c) / (c + 1)", (0.50, 1.33, 1.82, -27)),
    ("exponential", 25.0, np.exp((25 - 50) / (SIZE - 1) / 4 * np.arange(SIZE)), "exp(k i), k = (p − 50) / 4(n − 1), p = 25", None),
    ("cos10perc", None, known.tukey(SIZE, 2 * 102 / (SIZE - 1)), "scipy tukey, 102 samples at each end", None),
    ("flattop", None, known.general_cosine(SIZE, [1, 1.93, 1.29, 0.388, 0.0322], False), "scipy general_cosine, ISO 18431-2", None),
]


def page():
    made = Page("windows", "Window functions", SAYS)
    made.section("Weights", """
Expected: the weights by the literature's formula. Measured: the largest difference of any of the 1024, against the largest weight. Limit:
6·10⁻⁸, half a unit in the last place of the single-precision number that the block puts out; windows that are defined a little differently
say so in the formula. Under the name of Parzen stands a triangle, under that of de la Vallée Poussin what other books call Parzen's: described
design ([TOSpektrum](../blocks/TOSpektrum.md#kept-oddities-and-limits)).""")
    table = made.table("window", "formula", "largest difference", "verdict", align=["---", "---", "--:", "---"])
    for name, parameter, formula, source, _ in WINDOWS:
        read = weights(name, parameter)
        off = np.abs(read - np.abs(formula)).max() / np.abs(formula).max()
        table.add(name.upper(), source, power_of_ten(off), made.verdict(off <= 6e-8))

    made.section("Figures", f"""
Expected: the table of Harris, "On the use of windows for harmonic analysis with the discrete Fourier transform" (Proc. IEEE 66, 1978, table I),
whose entries are rounded to the digits shown; their witness is the formula above, whose figures round to them (the column
"formula") but where [note 1](#notes) stands. A row holds when the measured figure rounds to the formula's.""")
    table = made.table("window", "figure", HARRIS, "formula", "measured", "verdict", align=["---", "---", "--:", "--:", "--:", "---"])
    for name, parameter, formula, _, literature in WINDOWS:
        measured, computed = figures(np.abs(weights(name, parameter))), figures(np.abs(formula)) if name != "flattop" else figures(formula)
        if name == "flattop":
            measured = figures(flat_top_with_signs())
        for place, (figure, digits) in enumerate((("coherent gain", 3), ("ENBW / lines", 3), ("scalloping loss / dB", 2), ("highest side lobe / dB", 1))):
            told = ""
            if literature:
                told = number(literature[place], 0 if place == 3 else 2)
                step = 1.0 if place == 3 else 0.01
                if abs(computed[place] - literature[place]) > 0.51 * step + 0.02 * step:
                    told += " [note 1](#notes)"
            off = abs(measured[place] - computed[place])
            table.add(name.upper() if place == 0 else "", figure, told, number(computed[place], digits), number(measured[place], digits),
                      made.verdict(off < 0.5 * 10.0**-digits))
        made.facts[name] = measured

    made.section("Corrections", """
Expected: with the correction `amplitude` a tone on a line reads its amplitude, with `energy` white noise keeps its power: the lines'
mean square is that of the samples. Measured: a tone of amplitude 1 on a line; the mean square of white noise of 1 (seed 1, 2²⁰ samples in blocks of 1024).""")
    table = made.table("window", "tone, expected 1", "noise, expected by Parseval / dB", "margin of 0.0001 and 0.05 dB", "verdict",
                       align=["---", "--:", "--:", "--:", "---"])
    noise = np.random.default_rng(1).standard_normal((SIZE, SIZE)).astype(np.float32)
    power = np.mean(noise.astype(float) ** 2)
    tone = np.sin(2 * np.pi * 100 * np.arange(SIZE) / SIZE).astype(np.float32)
    for name, parameter, *_ in WINDOWS:
        amplitude = vp.Spectrum(amplitude="peak", window=name, correction="amplitude", window_parameter=parameter)
        energy = vp.Spectrum(amplitude="powerspectrum", window=name, correction="energy", window_parameter=parameter)
        reads = float(amplitude(tone, fs=1.0).values[100])
        lines = energy(noise.T, fs=1.0).values.astype(float)
        # Line 0 has twice the power of a line in a one-sided spectrum.
        kept = 10 * math.log10((np.sum(lines[1:], axis=0).mean() + lines[0].mean()) / power)
        good = abs(reads - 1) <= 1e-4 and abs(kept) <= 0.05
        table.add(name.upper(), number(reads, 5), signed(kept, 3),
                  f"{number(1e-4 - abs(reads - 1), 5)}; {number(0.05 - abs(kept), 3)}", made.verdict(good, "[note 3](#notes)" if name == "exponential" else "[note 2](#notes)"))
    made.section("Notes", NOTES)
    return made


def flat_top_with_signs():
    """Magnitudes lose the sign of the flat top's ends; real parts of a cosine of one line keep it."""
    impulses = np.eye(SIZE, dtype=np.float32)
    lines = vp.Spectrum(amplitude="realimaginaer", window="flattop", correction="none")(impulses, fs=1.0)
    turned = lines.values[3] * np.exp(2j * np.pi * 3 * np.arange(SIZE) / SIZE)
    return turned.real.astype(float) * SIZE / 2


NOTES = """
1. **The table against its own formula.** Where an entry of the table is not what its formula rounds to, it has no second witness and does not
   count; the formula does.
2. **Corrections by fixed factors.** The factors of [TOSpektrum](../blocks/TOSpektrum.md#windows) are those of ideal windows; this one's own
   differ by what its definition makes of 1024 samples. Described design.
3. **A window that jumps.** The exponential window begins at 1: its side lobes fall so slowly that the tone's mirror image at the negative
   frequency reaches its line. So it is with every program; the window is for decaying signals, not for tones.
"""
