"""docs/conformance/weighting.md: A, B and C against IEC 61672-1, per sample rate and of spectra."""

import numpy as np
import vynpack as vp
from measured import impulse_decibels

from . import standards as iec
from .pages import Page, hertz, number, signed

RATES = [8000, 16000, 25600, 32000, 40000, 44100, 48000, 51200, 64000, 88200, 96000, 102400, 192000, 204800]
BENT = "bilinear transform, [note 1](#notes)"
MOVED = "corner moved, [note 2](#notes)"
STEPS = "steps of 0.1 dB, [note 3](#notes)"
OTHER_B = "another corner, [note 4](#notes)"

SAYS = """
How near the frequency weightings of [Frequenzbewertung](../blocks/TOFreqWeight.md) come to the standard. Time
signals: an impulse goes through the block, its answer is transformed. Spectra: lines of a known spectrum go through.
[weighting.md](../weighting.md) has the deviation at every frequency and more rates."""


def witnesses(page):
    page.section("The standard's numbers, and their witnesses", """
Nothing below rests on one table. The nominal values of IEC 61672-1:2013, table 3 (B: IEC 60651:1979) are held
against the poles that annex E derives from four frequencies; the limits of table 3 against another edition, the
tolerances of IEC 61672-1:2002, table 2 (as in the public reprint IS 15575-1:2005), less the uncertainty of measurement
that those still contained (table A.1: 0.5 dB up to 200 Hz, 0.4 up to 1250 Hz, 0.6 up to 10 kHz, 1.0 above).""")
    table = page.table("number", "witness", "compared", "differ", "verdict")
    for curve in "ABC":
        found = iec.tenths_that_differ(curve)
        source = "annex E, rounded to 0.1 dB" if curve != "B" else "the same with IEC 60651's 158.49 Hz"
        table.add(f"{curve}, nominal values", source, len(iec.TABLE_3), len(found), page.verdict(not found))
    found = iec.limits_that_differ()
    table.add("limits of class 1 and class 2", "edition 2002 less the uncertainty", 4 * len(iec.TABLE_3), len(found),
              page.verdict(not found))
    page.write(f"Annex E gives f1 = {number(iec.F1, 6)}, f2 = {number(iec.F2, 5)}, f3 = {number(iec.F3, 5)}, "
               f"f4 = {number(iec.F4, 3)} Hz from 1 kHz, 10^1.5, 10^3.9 and 10^2.45 Hz; the block has 20.6, 107.65, "
               "737.86 and 12194.22 Hz.")


def deviations(curve, rate):
    """Deviation from the nominal value in dB at the standard's frequencies below 0.49 of the rate."""
    rows = [place for place, row in enumerate(iec.TABLE_3) if iec.exact(row[0]) < 0.49 * rate]
    levels = impulse_decibels(vp.Weighting(curve=curve), rate, [iec.exact(iec.TABLE_3[p][0]) for p in rows])
    return {place: level - iec.nominal(curve, place) for place, level in zip(rows, levels)}


def margin(measured, grade):
    """What is left to the nearest limit in dB, and the nominal frequency where."""
    worst = (np.inf, 0)
    for place, deviation in measured.items():
        upper, lower = iec.limits(iec.TABLE_3[place], grade)
        left = upper - deviation
        if lower is not None:
            left = min(left, deviation - lower)
        worst = min(worst, (left, iec.TABLE_3[place][0]))
    return worst


def time_signals(page):
    page.section("Time signals against class 1 and class 2", """
Expected: within the limits of table 3 at every third-octave frequency from 10 Hz to 20 kHz that lies below 0.49 of the
sample rate. Measured: the smallest margin to a limit and where it is. At 16 kHz class 1 lets a curve fall by 16 dB, at
20 kHz without end; how far that goes is the next table.""")
    for curve in "AC":
        table = page.table(f"{curve}, sample rate", "class 1: smallest margin / dB", "at", "class 2: smallest margin / dB", "at",
                           "verdict", align=["--:"] * 5 + ["---"])
        for rate in RATES:
            measured = deviations(curve, rate)
            one, two = margin(measured, 1), margin(measured, 2)
            if one[0] >= 0:
                says = page.verdict(True) + ": class 1"
            else:
                says = page.verdict(False, ("class 2; " if two[0] >= 0 else "no class; ") + BENT + ("" if rate > 28400 else "; " + MOVED))
            table.add(hertz(rate), number(one[0]), hertz(one[1]), number(two[0]), hertz(two[1]), says)
            if rate in (48000, 96000):
                page.facts[curve, rate] = {iec.TABLE_3[p][0]: d for p, d in measured.items()}


SPANS = [(31.5, 4000), (31.5, 8000), (20, 12500), (10, 20000)]


def design_goal(page):
    page.section("Time signals against the design goal", """
Expected: the curve of annex E. Measured: the largest deviation from it, in dB, over 241 frequencies of a span, ends included.
No limit: this is what to enter where a measurement's uncertainty is asked for.""")
    head = ["curve", "sample rate"] + [f"{hertz(low)} to {hertz(high)}" for low, high in SPANS]
    table = page.table(*head, align=["---"] + ["--:"] * (len(head) - 1))
    for curve in "ABC":
        for rate in (44100, 48000, 51200, 96000, 192000):
            cells = []
            for low, high in SPANS:
                frequencies = np.geomspace(low, high, 241)
                off = impulse_decibels(vp.Weighting(curve=curve), rate, frequencies) - [iec.weighting(curve, f) for f in frequencies]
                worst = max(off, key=abs)
                cells.append(signed(worst))
                page.facts["goal", curve, rate, low, high] = worst
            table.add(curve, hertz(rate), *cells)


def spectra(page):
    """Lines of 1 at every half hertz, weighted: the quotients are the weights."""
    page.section("Spectra", """
Expected: the curve of annex E at a line's own frequency, within the limits of class 1 for that third octave. Measured: the factor by which the
block multiplies the line nearest to each exact third-octave frequency, sample rate 64 kHz, Δf = 0.5 Hz. Spectra have no sample rate
to suffer from.""")
    rate, samples = 64000, 128000
    impulse = np.zeros(samples, np.float32)
    impulse[0] = 1e6
    lines = vp.Spectrum(amplitude="peak", window="rectangle")(impulse, fs=rate)
    places = [round(iec.exact(row[0]) * samples / rate) for row in iec.TABLE_3]
    table = page.table("curve", "largest deviation / dB", "at", "class 1: smallest margin / dB", "at",
                       "verdict", align=["---"] + ["--:"] * 4 + ["---"])
    for curve in "ABC":
        weighted = vp.Weighting(curve=curve)(lines)
        levels = 20 * np.log10(weighted.values[places].astype(float) / lines.values[places].astype(float))
        measured = {p: level - iec.weighting(curve, line * rate / samples) for p, (level, line) in enumerate(zip(levels, places))}
        worst = max(measured, key=lambda p: abs(measured[p]))
        page.facts["spectrum", curve] = measured[worst]
        if curve == "B":
            table.add(curve, signed(measured[worst]), hertz(iec.TABLE_3[worst][0]), "", "", page.verdict(False, OTHER_B))
            continue
        left, where = margin(measured, 1)
        table.add(curve, signed(measured[worst]), hertz(iec.TABLE_3[worst][0]), number(left), hertz(where),
                  page.verdict(left >= 0) + f"; {STEPS}")
    bands = iec.TABLE_3[2:]
    ones = vp.Result(np.ones(23000, np.float32), (vp.Axis("frequency", np.arange(23000.0), "Hz"),), head=vp.result.Head(
        0.0, 1.0, 3, 12, 0, 0.0, 1.0, ""))
    plain, heavy = vp.Bands(a_weighting=False)(ones), vp.Bands(a_weighting=True)(ones)
    levels = 10 * np.log10(heavy.values.astype(float) / plain.values.astype(float))
    off = max((level - row[1] for level, row in zip(levels, bands)), key=abs)
    table.add("A of [Terz_Oktav_Analyse](../blocks/TOTerz_Oktave.md)", signed(off, 1), "all bands", "", "",
              page.verdict(abs(off) < 1e-5))


NOTES = """
1. **Bilinear transform.** The curve is carried from the analog poles to samples; each corner frequency is pre-warped and
   lies where it should, the curve between and above is bent. Near half the sample rate it falls to nothing. Described
   design ([weighting.md](../weighting.md)); a higher sample rate is the remedy.
2. **Corner moved.** Below 28.4 kHz the corner at 12194 Hz cannot be pre-warped and is moved to 0.43 of the sample rate.
   Described design.
3. **Steps of 0.1 dB.** The weights of spectra are cut (negative) or rounded (positive) to tenths, from constants that differ
   from annex E in the last digit (12200 for 12194 Hz). Described design; a tenth is what they are good for.
4. **B of spectra** is built on 107.7 Hz instead of 158.49 Hz. Described design, kept; weight the time signal where B
   is wanted.
"""


def page():
    made = Page("weighting", "Frequency weightings A, B, C", SAYS)
    witnesses(made)
    time_signals(made)
    design_goal(made)
    spectra(made)
    made.section("Notes", NOTES)
    return made
