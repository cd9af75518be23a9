"""docs/conformance/fft.md: transforms against long double and 30 digits, Parseval, there and back."""

import math

import mpmath as mp
import numpy as np
import scipy.fft
import vynpack as vp

from . import library as ovanlys
from .pages import Page, ladder, power_of_ten

SAYS = """
The transforms of the analysis library in double precision, and the spectra that the [FFT](../blocks/TOSpektrum.md) puts out in single
precision. Errors are root mean squares over all lines against that of the lines themselves; with "≤" rounded up to the next step of 1, 2, 5. The
bits of the program are the same at every instruction-set level ([reliability](../reliability.md))."""

# Powers of two, other small factors, a prime, and lengths that hosts use.
LENGTHS = (8, 64, 1000, 1024, 4096, 5000, 6561, 8191, 8192, 10007, 48000, 65536)
EPSILON = 2.0**-53


def rms(values):
    return math.sqrt(float(np.mean(np.abs(values) ** 2)))


def direct(x, k):
    """Line k by its definition, 30 digits."""
    with mp.workdps(30):
        n = len(x)
        turn = -2 * mp.pi * k / n
        return complex(mp.fsum(mp.mpf(float(v)) * mp.expj(turn * i) for i, v in enumerate(x)))


def page():
    made = Page("fft", "Transforms", SAYS)
    library = ovanlys.load()
    made.section("Rounding of the transforms", """
Expected: 2⁻⁵³ √(lg₂ n) at most, which is what random rounding of that many stages comes to (Schatzman, SIAM J. Sci. Comput. 17,
1996: the error grows with √(lg n)); a bound of twice that where n is no power of two. Reference: the transform of scipy in long double (64 bits of
mantissa), itself held against the definition summed with 30 digits at line n/3. Random samples, seed n.""")
    table = made.table("samples", "expected", "forward", "there and back", "Parseval", "long double against 30 digits", "verdict",
                       align=["--:"] * 6 + ["---"])
    for n in LENGTHS:
        x = np.random.default_rng(n).standard_normal(n)
        lines = ovanlys.forward(library, x)
        exact = scipy.fft.rfft(x.astype(np.longdouble))
        level = rms(exact)
        error = rms((lines - exact).astype(np.complex128)) / level
        back = rms(ovanlys.backward(library, lines, n) - x) / rms(x)
        weight = np.full(len(lines), 2.0)
        weight[0] = 1.0
        if n % 2 == 0:
            weight[-1] = 1.0
        energy = abs(math.fsum(weight * (lines.real**2 + lines.imag**2)) / n / math.fsum(x * x) - 1)
        k = n // 3
        witness = abs(complex(exact[k]) - direct(x, k)) / float(level) if n <= 10007 else 0.0
        limit = EPSILON * math.sqrt(math.log2(n)) * (1 if n & (n - 1) == 0 else 2)
        # complex() rounds to double: half a unit of the largest part is no error of the long double.
        good = error <= limit and back <= 2 * limit and energy <= 4 * limit and witness <= 4 * EPSILON
        table.add(n, power_of_ten(limit), ladder(error), ladder(back), ladder(energy),
                  ladder(witness) if n <= 10007 else "", made.verdict(good))
        made.facts["fft", n] = error

    made.section("Spectra in single precision", """
What a spectrum is good for as it leaves the block: samples in single precision, the division by N/2 in single precision, the transform in
double, lines in single precision. Expected: 2⁻²⁴ for each of the three roundings, root of their sum of squares over √3 (even
distribution): 6·10⁻⁸. Reference: numpy in double precision from the same samples. Measured: root mean square of all lines' errors over
that of the lines, and the largest error of the lines that are at least as high as the mean.""")
    table = made.table("samples", "type", "rms error", "largest, relative", "verdict", align=["--:", "---", "--:", "--:", "---"])
    for n in (1024, 8192, 65536):
        x = np.random.default_rng(n).standard_normal(n).astype(np.float32)
        reference = np.fft.rfft(x.astype(float))[:n // 2] / (n / 2)
        for kind, exact in (("peak", np.abs(reference)), ("rms", np.abs(reference) / math.sqrt(2)), ("powerspectrum", np.abs(reference) ** 2 / 2),
                            ("realimaginaer", reference)):
            read = vp.Spectrum(amplitude=kind, window="rectangle")(x, fs=48000).values.astype(complex)
            error = rms(read - exact) / rms(exact)
            high = np.abs(exact) >= rms(exact)
            largest = (np.abs(read - exact)[high] / np.abs(exact)[high]).max()
            table.add(n, kind, power_of_ten(error), power_of_ten(largest), made.verdict(error <= 6e-8 and largest <= 4e-7))
            made.facts["single", n, kind] = largest

    made.section("There and back through the blocks", """
`FFT` with real and imaginary part, then `Inverse FFT`, no window. Expected: the signal, but for the line at half the sample rate, which no
spectrum holds ([TOInverseFFT](../blocks/TOInverseFFT.md)); the samples here have none. Limit: 2·10⁻⁷ of the signal's root mean square.""")
    table = made.table("samples", "rms of the difference", "verdict", align=["--:", "--:", "---"])
    for n in (64, 1024, 4096, 48000):
        x = np.random.default_rng(n).standard_normal(n)
        lines = np.fft.rfft(x)
        lines[-2:] = 0  # nothing near half the sample rate
        x = np.fft.irfft(lines, n).astype(np.float32)
        back = vp.InverseSpectrum()(vp.Spectrum(amplitude="realimaginaer", window="rectangle")(x, fs=1000)).values
        error = rms(back.astype(float) - x.astype(float)) / rms(x.astype(float))
        table.add(n, power_of_ten(error), made.verdict(error <= 2e-7))
    return made
