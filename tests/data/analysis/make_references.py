#!/usr/bin/python3
"""Makes the reference tables of the filter tests with scipy.signal (Debian: python3-scipy).

    /usr/bin/python3 tests/data/analysis/make_references.py

writes iir_references.txt and fir_references.txt beside this script. The designs are taken as zeros,
poles and gain. Magnitudes are products over them in extended precision; impulse responses come from
their factors in 60 digits, since scipy's own sections lose up to eight digits at these orders.
Elliptic edges are not narrower than 0.7 % of the rate: below, the rounding of scipy's own poles to
double exceeds 1e-9 at the band's edge.
"""

import pathlib
import warnings
from decimal import Decimal, getcontext

import numpy as np
import scipy
import scipy.signal as signal

FOLDER = pathlib.Path(__file__).parent
RIPPLE, ATTENUATION = 0.5, 60.0
KINDS = ["lowpass", "highpass", "bandpass", "bandstop"]
EDGES = [(48000.0, 1000.0, 4000.0), (51200.0, 360.0, 5000.0), (10.0, 3.0, 4.5)]
DESIGNS = {
    "butterworth": lambda n, e, k, fs: signal.butter(n, e, k, output="zpk", fs=fs),
    "chebyshev": lambda n, e, k, fs: signal.cheby1(n, RIPPLE, e, k, output="zpk", fs=fs),
    "inverse": lambda n, e, k, fs: signal.cheby2(n, ATTENUATION, e, k, output="zpk", fs=fs),
    "elliptic": lambda n, e, k, fs: signal.ellip(n, RIPPLE, ATTENUATION, e, k, output="zpk", fs=fs),
    "bessel": lambda n, e, k, fs: signal.bessel(n, e, k, output="zpk", norm="mag", fs=fs),
}
SHARES = [0.001, 0.03, 0.1, 0.3, 0.5, 0.8, 0.95, 0.99]
SAMPLES = [0, 1, 2, 3, 5, 8, 13, 21, 34, 55, 89, 144]
WINDOWS = {0: "boxcar", 30: "triang", 1: "hann", 2: "hamming", 5: "blackman", 60: ("kaiser", 6.5)}
LENGTHS = [1, 2, 3, 4, 5, 12, 25, 64]


def number(value):
    return repr(float(value))


def pass_band_frequencies(kind, fs, f1, f2):
    bands = {"lowpass": [(0, f1)], "highpass": [(f1, fs / 2)], "bandpass": [(f1, f2)],
             "bandstop": [(0, f1), (f2, fs / 2)]}[kind]
    return [low + share * (high - low) for low, high in bands for share in SHARES]


def magnitude(zeros, poles, gain, turns):
    z = np.exp(2j * np.pi * np.asarray(turns, np.longdouble)[:, None].astype(np.clongdouble))
    # Pole and zero factors in turn keep the product in range.
    factors = np.abs(z - np.asarray(zeros, np.clongdouble))
    divisors = np.abs(z - np.asarray(poles, np.clongdouble))
    result = np.full(len(turns), np.longdouble(abs(gain)))
    for i in range(divisors.shape[1]):
        result = result / divisors[:, i]
        if i < factors.shape[1]:
            result = result * factors[:, i]
    return result


def impulse_response(zeros, poles, gain, count):
    """The response to 1, 0, 0, ..., factor by factor: 60 digits leave nothing to round."""
    def factors(roots):
        result = []
        for root in np.atleast_1d(roots).astype(complex):
            re, im = Decimal(root.real), Decimal(root.imag)
            if root.imag == 0:
                result.append((-re, Decimal(0)))
            elif root.imag > 0:
                result.append((-2 * re, re * re + im * im))
        return result

    y = [Decimal(float(gain))] + [Decimal(0)] * (count - 1)
    delay = len(poles) - len(zeros)
    y = [Decimal(0)] * delay + y[: count - delay]
    for c1, c2 in factors(zeros):
        y = [y[i] + (c1 * y[i - 1] if i > 0 else 0) + (c2 * y[i - 2] if i > 1 else 0)
             for i in range(count)]
    for c1, c2 in factors(poles):
        for i in range(count):
            y[i] -= (c1 * y[i - 1] if i > 0 else 0) + (c2 * y[i - 2] if i > 1 else 0)
    return y


def write_iir(path):
    with open(path, "w", encoding="ascii") as out:
        out.write(f"# made by make_references.py with scipy {scipy.__version__}\n")
        out.write("# design: characteristic kind order rate f1 f2 ripple attenuation\n")
        out.write("# magnitude: (frequency magnitude)*, impulse: (sample value)*\n")
        getcontext().prec = 60
        for name, design in DESIGNS.items():
            for code, kind in enumerate(KINDS):
                for fs, f1, f2 in EDGES:
                    for order in range(1, 21):
                        edges = [f1, f2] if code >= 2 else f1
                        zeros, poles, gain = design(order, edges, kind, fs)
                        frequencies = pass_band_frequencies(kind, fs, f1, f2)
                        turns = [np.longdouble(f) / np.longdouble(fs) for f in frequencies]
                        values = magnitude(zeros, poles, gain, turns)
                        response = impulse_response(zeros, poles, gain, max(SAMPLES) + 1)
                        out.write(f"design {name} {code} {order} {fs} {f1} {f2} {RIPPLE} {ATTENUATION}\n")
                        out.write("magnitude " + " ".join(
                            f"{number(f)} {number(v)}" for f, v in zip(frequencies, values)) + "\n")
                        out.write("impulse " + " ".join(
                            f"{i} {number(response[i])}" for i in SAMPLES) + "\n")


def write_fir(path):
    with open(path, "w", encoding="ascii") as out:
        out.write(f"# made by make_references.py with scipy {scipy.__version__}\n")
        out.write("# kind rate f1 f2 length window beta, then the first half of the coefficients, the\n")
        out.write("# middle one included; firwin has no even lengths with a pass band at half the rate\n")
        for code, kind in enumerate(KINDS):
            for fs, f1, f2 in [(1000.0, 100.0, 200.0), (48000.0, 500.0, 15000.0), (2.0, 0.8, 0.9)]:
                for window, name in WINDOWS.items():
                    for length in LENGTHS:
                        if length % 2 == 0 and code in (1, 3):
                            continue
                        # Zero everywhere but for scipy's rounding: no response to scale to.
                        if length == 2 and name in ("hann", "blackman"):
                            continue
                        edges = [f1, f2] if code >= 2 else f1
                        values = signal.firwin(length, edges, window=name, pass_zero=kind, fs=fs)
                        out.write(f"{code} {fs} {f1} {f2} {length} {window} 6.5")
                        out.write("".join(" " + number(v) for v in values[: (length + 1) // 2]) + "\n")


warnings.simplefilter("ignore", signal.BadCoefficients)
write_iir(FOLDER / "iir_references.txt")
write_fir(FOLDER / "fir_references.txt")
