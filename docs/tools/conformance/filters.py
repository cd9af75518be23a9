"""docs/conformance/filters.md: every recursive design at every order, and FIR designs, against scipy and closed forms."""

import cmath
import math
import warnings

import mpmath as mp
import numpy as np
import scipy.signal as ss
import vynpack as vp
from measured import transform

from . import library as ovanlys
from .pages import Page, ladder, number, power_of_ten

RATE, F1, F2 = 48000.0, 2000.0, 5000.0
RIPPLE, ATTENUATION = 1.2, 40.0
LAST = {"Butterworth": 64, "Chebyshev": 64, "inverse Chebyshev": 64, "elliptic": 8, "Bessel": 25}
SCIPY_MODES = dict(zip(ovanlys.MODES, ("lowpass", "highpass", "bandpass", "bandstop")))

SAYS = f"""
The designs of the [digital filter](../blocks/TODigitalFilter.md) against two references: `scipy.signal` (butter, cheby1, cheby2, ellip, bessel with
`norm="mag"`, firwin) and closed forms in 40 digits. Sample rate 48 kHz; edges {F1:g} Hz (low and high pass), {F1:g} and {F2:g} Hz (bands); ripple
{RIPPLE} dB, attenuation {ATTENUATION:g} dB. Poles and magnitudes are those that the design hands to the filter, in double precision; ripple,
attenuation and delay are measured on the block's answer to an impulse. Errors are rounded up to the next step of 1, 2, 5."""


def scipy_design(characteristic, mode, order):
    edge = F1 if mode in ("low pass", "high pass") else (F1, F2)
    kind = {"btype": SCIPY_MODES[mode], "output": "zpk", "fs": RATE}
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        return {"Butterworth": lambda: ss.butter(order, edge, **kind), "Chebyshev": lambda: ss.cheby1(order, RIPPLE, edge, **kind),
                "inverse Chebyshev": lambda: ss.cheby2(order, ATTENUATION, edge, **kind),
                "elliptic": lambda: ss.ellip(order, RIPPLE, ATTENUATION, edge, **kind),
                "Bessel": lambda: ss.bessel(order, edge, norm="mag", **kind)}[characteristic]()


def decibels(zeros, poles, gain, frequencies):
    """By sums of logarithms, so that no product overflows at order 64."""
    z = np.exp(2j * np.pi * np.asarray(frequencies) / RATE)
    with np.errstate(divide="ignore"):
        return (20 * np.log10(abs(gain)) + 20 * np.sum(np.log10(np.abs(z[:, None] - zeros)), axis=1)
                - 20 * np.sum(np.log10(np.abs(z[:, None] - poles)), axis=1))


def apart(ours, theirs):
    """The largest distance from one of ours to the nearest of theirs, the same the other way round."""
    if len(ours) != len(theirs):
        return math.inf
    distances = np.abs(np.asarray(ours)[:, None] - np.asarray(theirs)[None, :])
    return max(distances.min(axis=0).max(), distances.min(axis=1).max())


def passes(mode):
    """Frequencies of the pass band, its edges included."""
    low = np.concatenate([np.geomspace(20, F1, 60)])
    high = np.geomspace(F1, 23000, 60)
    return {"low pass": low, "high pass": high, "band pass": np.geomspace(F1, F2, 80),
            "band stop": np.concatenate([low, np.geomspace(F2, 23000, 60)])}[mode]


def designs(page, library):
    page.section("Poles and magnitudes at every order", """
Expected: poles and magnitudes as scipy's. Measured: the largest distance of a pole in the unit circle's plane, and of the magnitude in the
pass band in dB, over the orders named (bands have twice as many poles). Limits: 10⁻¹³ and 10⁻⁹ dB, which is what scipy's own rounding
leaves at high orders; its elliptic designs lose digits beyond order 8, so those are held against the closed form alone.""")
    table = page.table("characteristic", "mode", "orders", "poles", "magnitude / dB", "verdict", align=["---", "---", "---", "--:", "--:", "---"])
    for characteristic, last in LAST.items():
        for mode in ovanlys.MODES:
            pole, magnitude = 0.0, 0.0
            orders = [*range(1, min(last, 16) + 1), *(o for o in (20, 25, 32, 48, 64) if o <= last)]
            reached = orders[-1]
            for order in orders:
                ours = ovanlys.design(library, characteristic, mode, order, RATE, F1, F2, RIPPLE, ATTENUATION)
                theirs = scipy_design(characteristic, mode, order)
                off = np.abs(decibels(*ours, passes(mode)) - decibels(*theirs, passes(mode))).max()
                pole, magnitude = max(pole, apart(ours[1], theirs[1])), max(magnitude, off)
            told = f"1 to 16, {', '.join(str(o) for o in orders if o > 16)}" if reached > 16 else f"1 to {reached}"
            table.add(characteristic, mode, told, ladder(pole, 1e-13), ladder(magnitude, 1e-9), page.verdict(pole <= 1e-13 and magnitude <= 1e-9))


def closed_poles(characteristic, order):
    """Poles in z of a low pass by the textbook (Oppenheim & Schafer, appendix B), 40 digits."""
    with mp.workdps(40):
        warped = 2 * mp.tan(mp.pi * mp.mpf(F1) / mp.mpf(RATE))
        poles = []
        if characteristic == "Chebyshev":
            epsilon = mp.sqrt(mp.mpf(10) ** (mp.mpf("1.2") / 10) - 1)
        elif characteristic == "inverse Chebyshev":
            epsilon = 1 / mp.sqrt(mp.mpf(10) ** (mp.mpf(ATTENUATION) / 10) - 1)
        for k in range(order):
            angle = mp.pi * (2 * k + 1) / (2 * order)
            if characteristic == "Butterworth":
                s = -mp.sin(angle) + mp.j * mp.cos(angle)
            else:
                a = mp.asinh(1 / epsilon) / order
                s = -mp.sinh(a) * mp.sin(angle) + mp.j * mp.cosh(a) * mp.cos(angle)
                if characteristic == "inverse Chebyshev":
                    s = 1 / s
            s *= warped
            z = (2 + s) / (2 - s)
            poles.append(complex(z))
    return np.array(poles)


def closed_forms(page, library):
    page.section("Poles against closed forms", """
Low passes: the poles on circle and ellipse (Oppenheim & Schafer, appendix B), of the elliptic by Jacobi's functions (Orfanidis, Lecture
Notes on Elliptic Filter Design), pre-warped and carried over by the bilinear transform, computed
with 40 digits. Limit: 10⁻¹⁵; doubles near 1 are 1.1·10⁻¹⁶ apart.""")
    table = page.table("characteristic", "orders", "poles, largest distance", "verdict", align=["---", "---", "--:", "---"])
    for characteristic in ("Butterworth", "Chebyshev", "inverse Chebyshev", "elliptic"):
        orders = (1, 2, 3, 4, 6, 8, 12, 16, 20, 25) + ((32, 48, 64) if characteristic != "elliptic" else ())
        worst = 0.0
        for order in orders:
            exact = elliptic_poles(order) if characteristic == "elliptic" else closed_poles(characteristic, order)
            worst = max(worst, apart(ovanlys.design(library, characteristic, "low pass", order, RATE, F1, F2, RIPPLE, ATTENUATION)[1], exact))
        table.add(characteristic, ", ".join(map(str, orders)), ladder(worst, 1e-16), page.verdict(worst <= 1e-15))


def selectivity(order):
    """(k, ε, k1) of the elliptic low pass, from the degree equation by the nome."""
    epsilon = mp.sqrt(mp.mpf(10) ** (mp.mpf("1.2") / 10) - 1)
    ratio = epsilon**2 / (mp.mpf(10) ** (mp.mpf(ATTENUATION) / 10) - 1)
    nome = mp.exp(-mp.pi * mp.ellipk(1 - ratio) / mp.ellipk(ratio) / order)
    return mp.jtheta(2, 0, nome) ** 2 / mp.jtheta(3, 0, nome) ** 2, epsilon, mp.sqrt(ratio)


def elliptic_poles(order):
    """Poles in z of the elliptic low pass, 40 digits."""
    with mp.workdps(40):
        k, epsilon, k1 = selectivity(order)
        quarter = mp.ellipk(k**2)
        v = mp.ellipf(mp.atan(1 / epsilon), 1 - k1**2) / (order * mp.ellipk(k1**2))
        poles = [mp.j * mp.ellipfun("cd", ((2 * i - 1) / mp.mpf(order) - mp.j * v) * quarter, k**2) for i in range(1, order // 2 + 1)]
        poles += [mp.conj(s) for s in poles]
        if order % 2:
            poles.append(mp.re(mp.j * mp.ellipfun("sn", mp.j * v * quarter, k**2)))
        warped = 2 * mp.tan(mp.pi * mp.mpf(F1) / mp.mpf(RATE))
        return np.array([complex((2 + warped * s) / (2 - warped * s)) for s in poles])


def stop_edge(order):
    """Where an elliptic low pass reaches its attenuation: by the ratio of complete elliptic integrals, in Hz."""
    with mp.workdps(30):
        warped = mp.tan(mp.pi * mp.mpf(F1) / RATE) / selectivity(order)[0]
        return float(RATE / mp.pi * mp.atan(warped))


def response(characteristic, mode, order):
    block = vp.Filter(kind="IIR", mode=mode, characteristic=characteristic, order=order, cutoff=F1, lower=F1, upper=F2,
                      ripple=RIPPLE, attenuation=ATTENUATION)
    impulse = np.zeros(16384, np.float32)
    impulse[0] = 1
    return block(impulse, fs=RATE).values.astype(float)


def measured_decibels(answer, frequencies):
    return 20 * np.log10(np.maximum(np.abs(transform(answer, RATE, frequencies)), 1e-12))


def shapes(page):
    page.section("Ripple, attenuation and edges, measured", """
What was asked for, on the block's own answer to an impulse (single precision). Butterworth and Bessel: −3.01 dB at the edges. Chebyshev:
the pass band lies between 0 and −1.2 dB and ends at −1.2 dB. Inverse Chebyshev: the stop band begins at −40 dB and stays below.
Elliptic: both; the stop band begins where the ratio of complete elliptic integrals says. Low pass; limit 0.001 dB.""")
    table = page.table("characteristic", "order", "at", "expected / dB", "measured / dB", "margin of 0.001 / dB", "verdict",
                       align=["---", "--:", "---", "--:", "--:", "--:", "---"])
    half = -10 * math.log10(2)

    def row(characteristic, order, where, expected, value):
        table.add(characteristic, order, where, number(expected, 3), number(value, 3), number(0.001 - abs(value - expected), 4),
                  page.verdict(abs(value - expected) <= 0.001))

    for characteristic in LAST:
        for order in (2, 3, 8):
            answer = response(characteristic, "low pass", order)
            at_edge = measured_decibels(answer, [F1])[0]
            if characteristic in ("Butterworth", "Bessel"):
                row(characteristic, order, "2000 Hz", half, at_edge)
            if characteristic in ("Chebyshev", "elliptic"):
                inside = measured_decibels(answer, np.linspace(1, F1, 4000))
                row(characteristic, order, "2000 Hz", -RIPPLE, at_edge)
                row(characteristic, order, "lowest of the pass band", -RIPPLE, inside.min())
                row(characteristic, order, "highest of the pass band", 0.0, inside.max())
            if characteristic == "inverse Chebyshev":
                row(characteristic, order, "2000 Hz", -ATTENUATION, at_edge)
                outside = measured_decibels(answer, np.linspace(F1, 23999, 4000))
                row(characteristic, order, "highest of the stop band", -ATTENUATION, outside.max())
            if characteristic == "elliptic":
                begin = stop_edge(order)
                row(characteristic, order, f"{number(begin, 1)} Hz", -ATTENUATION, measured_decibels(answer, [begin])[0])


def delay(answer, frequencies):
    """Group delay in samples: the transform of n h(n) over that of h(n)."""
    weighted = transform(answer * np.arange(len(answer)), RATE, frequencies)
    return (weighted / transform(answer, RATE, frequencies)).real


def pole_delay(zeros, poles, frequency):
    w = cmath.exp(-2j * math.pi * frequency / RATE)
    def part(roots):
        return sum((root * w / (1 - root * w)).real for root in roots)
    return -part(zeros) + part(poles) + len(poles) - len(zeros)


def delays(page):
    page.section("Group delay", """
Expected: the derivative of the phase, from scipy's poles and zeros (Oppenheim & Schafer). Measured: on the block's answer to an
impulse. In samples at 48 kHz; at 0.5 and 1.5 kHz for the low pass, at the middle of the band for the band pass. Limit: 0.001 samples.""")
    table = page.table("characteristic", "order", "mode", "at / Hz", "expected", "measured", "margin of 0.001", "verdict",
                       align=["---", "--:", "---", "--:", "--:", "--:", "--:", "---"])
    for characteristic in LAST:
        for order in (2, 8):
            for mode, places in (("low pass", (500.0, 1500.0)), ("band pass", (3162.0,))):
                answer = response(characteristic, mode, order)
                zeros, poles, _ = scipy_design(characteristic, mode, order)
                for place in places:
                    expected, value = pole_delay(zeros, poles, place), delay(answer, [place])[0]
                    table.add(characteristic, order, mode, number(place, 0), number(expected, 3), number(value, 3),
                              number(0.001 - abs(expected - value), 4), page.verdict(abs(expected - value) <= 0.001))


def every_order(page):
    page.section("Edges and delay at every order and mode, measured", """
Expected at the edges: −3.01 dB (Butterworth, Bessel), −1.2 dB (Chebyshev, elliptic), −40 dB
(inverse Chebyshev). Measured: the largest deviation over the orders named and both edges, on the block's answer to an impulse, and
the largest deviation of the group delay from that of scipy's poles, in samples, at four frequencies of the pass band. Limits: 0.001 dB,
0.001 samples. Steeper designs ring for longer than the 16384 samples that are looked at; for them the poles above count.""")
    table = page.table("characteristic", "mode", "orders", "edges / dB", "margin of 0.001 / dB", "delay / samples", "verdict",
                       align=["---", "---", "---", "--:", "--:", "--:", "---"])
    edge = {"Butterworth": -10 * math.log10(2), "Bessel": -10 * math.log10(2), "Chebyshev": -RIPPLE, "elliptic": -RIPPLE,
            "inverse Chebyshev": -ATTENUATION}
    places = {"low pass": [200.0, 500.0, 1000.0, 1700.0], "high pass": [2400.0, 4000.0, 8000.0, 12000.0],
              "band pass": [2300.0, 2800.0, 3300.0, 4300.0], "band stop": [300.0, 1000.0, 8000.0, 12000.0]}
    for characteristic in LAST:
        last = {"Chebyshev": 16, "elliptic": 8}.get(characteristic, 25)
        for mode in ovanlys.MODES:
            off = late = 0.0
            for order in range(1, last + 1):
                answer = response(characteristic, mode, order)
                edges = [F1] if mode in ("low pass", "high pass") else [F1, F2]
                off = max(off, np.abs(measured_decibels(answer, edges) - edge[characteristic]).max())
                if order % 3 != 1:
                    continue
                zeros, poles, _ = scipy_design(characteristic, mode, order)
                expected = np.array([pole_delay(zeros, poles, place) for place in places[mode]])
                late = max(late, np.abs(delay(answer, places[mode]) - expected).max())
            delays_of = ", ".join(str(o) for o in range(1, last + 1, 3))
            table.add(characteristic, mode, f"1 to {last}; delay: {delays_of}", power_of_ten(off), number(0.001 - off, 4), power_of_ten(late),
                      page.verdict(off <= 0.001 and late <= 0.001))


def taps(page):
    page.section("FIR", """
Expected: `scipy.signal.firwin` with the same window, scaled. Measured: the block's answer to an impulse, which is its taps. Limit:
6·10⁻⁸ of the largest tap, half a unit in the last place of single precision; symmetric to 10⁻¹² (long filters are computed by transforms). The delay is (L − 1)/2 samples for every symmetric answer.""")
    names = {"rectangular": "boxcar", "triangular": "triang", "Hanning": "hann", "Hamming": "hamming", "Blackman": "blackman"}
    betas = {"rectangular": 0.0, "triangular": 1.33, "Hanning": 3.86, "Hamming": 4.86, "Blackman": 7.04}
    table = page.table("window", "taps", "modes", "largest difference", "asymmetry", "verdict", align=["---", "---", "---", "--:", "--:", "---"])
    for window, known in names.items():
        for kaiser in (False, True):
            off = uneven = 0.0
            for length in (25, 101, 1001):
                for mode in ovanlys.MODES:
                    edge = F1 if mode in ("low pass", "high pass") else [F1, F2]
                    exact = ss.firwin(length, edge, window=("kaiser", betas[window]) if kaiser else known, fs=RATE,
                                      pass_zero=SCIPY_MODES[mode])
                    block = vp.Filter(kind="FIR", mode=mode, cutoff=F1, lower=F1, upper=F2, taps=length, window=window, kaiser=kaiser)
                    impulse = np.zeros(length, np.float32)
                    impulse[0] = 1
                    read = block(impulse, fs=RATE).values.astype(float)
                    off = max(off, np.abs(read - exact).max() / np.abs(exact).max())
                    uneven = max(uneven, np.abs(read - read[::-1]).max() / np.abs(exact).max())
            table.add(f"Kaiser for {window}" if kaiser else window, "25, 101, 1001", "all four", power_of_ten(off), ladder(uneven),
                      page.verdict(off <= 6e-8 and uneven <= 1e-12))


def page():
    made = Page("filters", "Filter designs", SAYS)
    library = ovanlys.load()
    designs(made, library)
    closed_forms(made, library)
    shapes(made)
    delays(made)
    every_order(made)
    taps(made)
    return made
