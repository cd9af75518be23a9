"""docs/conformance/levels.md: time weightings, tone bursts, Leq and exposure levels, percentiles."""

import math

import numpy as np
import vynpack as vp

from .pages import Page, number, signed

RATE = 48000
TONE = 4000.0
CONSTANTS = {"Fast": 0.125, "Slow": 1.0, "Impulse": 0.035}
RIPPLE = "[note 1](#notes)"

SAYS = """
The time weightings and statistics of [Pegelberechnung](../blocks/TOLevel.md), on tones of 4 kHz as IEC 61672-1 asks for,
sampled at 48 kHz, 94 dB while they last. An exponential average with the time constant τ has closed forms for all of it:
a burst of the length T reaches 10 lg(1 − e^(−T/τ)) dB below the steady tone, and afterwards the level falls by 4.343/τ dB
per second."""


def tone(seconds, before=0.0, after=0.0):
    """A burst of 1 Pa rms that begins and ends where the tone is zero."""
    count = round(seconds * RATE)
    burst = math.sqrt(2) * np.sin(2 * np.pi * TONE * np.arange(count) / RATE)
    return np.concatenate([np.zeros(round(before * RATE)), burst, np.zeros(round(after * RATE))]).astype(np.float32)


STEADY = 10 * math.log10(1 / 4e-10)  # of 1 Pa


def levels(signal, time, rate=10.0, kind="RMS"):
    return vp.Level(time=time, rate=rate, signal=kind)(signal, fs=RATE)


def steady(page):
    page.section("Steady tones and decays")
    table = page.table("what", "expected", "source", "measured", "margin", "verdict", align=["---", "--:", "---", "--:", "--:", "---"])
    long = tone(12.0, after=3.0)
    read = {}
    for time in ("Fast", "Slow"):
        result = levels(long, time)
        at = int(np.searchsorted(result.x, 11.95))
        read[time] = float(result["L"][at])
        table.add(f"tone of 1 Pa, {time}", f"{number(STEADY, 2)} dB", "10 lg(1 / (20 µPa)²)", f"{number(read[time])} dB",
                  f"{number(0.05 - abs(read[time] - STEADY))} dB of 0.05", page.verdict(abs(read[time] - STEADY) < 0.05))
    apart = abs(read["Fast"] - read["Slow"])
    table.add("Fast and Slow of a steady tone", "≤ 0.3 dB apart", "IEC 61672-1:2002, 5.7.3", f"{number(apart)} dB",
              f"{number(0.3 - apart)} dB", page.verdict(apart <= 0.3))
    for time, low, high, clause in (("Fast", 25.0, math.inf, "at least 25 dB/s: IEC 61672-1:2002, 5.7.2"),
                                    ("Slow", 3.4, 5.3, "3.4 to 5.3 dB/s: the same")):
        result = levels(long, time, rate=20.0)
        inside = (result.x > 12.05) & (result.x < 14.0 if time == "Slow" else result.x < 13.0)
        slope = -np.polyfit(result.x[inside], result["L"][inside].astype(float), 1)[0]
        formula = 10 / math.log(10) / CONSTANTS[time]
        left = min(slope - low, high - slope)
        table.add(f"decay after the tone, {time}", f"{number(formula)} dB/s", f"closed form; {clause}",
                  f"{number(slope)} dB/s", f"{number(left)} dB/s", page.verdict(left >= 0 and abs(slope - formula) < 0.02))
        page.facts["decay", time] = slope - formula
    result = levels(tone(3.0, after=5.0), "Impulse", rate=20.0)
    inside = (result.x > 3.2) & (result.x < 7.5)
    slope = -np.polyfit(result.x[inside], result["displayed level"][inside].astype(float), 1)[0]
    table.add("decay of the displayed level, Impulse", "2.90 dB/s", "IEC 60651:1979: 2.9 dB/s; "
              "10 lg e / 1.5 s = 2.895 dB/s", f"{number(slope)} dB/s",
              f"{number(0.01 - abs(slope - 2.9), 3)} dB/s of 0.01", page.verdict(abs(slope - 2.9) < 0.01))


# IEC 61672-1:2013, table 4 (F, S) and IEC 60651:1979 (I): seconds, reference response in dB.
BURSTS = {
    "Fast": [(1.0, 0.0), (0.5, -0.1), (0.2, -1.0), (0.1, -2.6), (0.05, -4.8), (0.02, -8.3), (0.01, -11.1),
             (0.005, -14.1), (0.002, -18.0), (0.001, -21.0), (0.0005, -24.0), (0.00025, -27.0)],
    "Slow": [(1.0, -2.0), (0.5, -4.1), (0.2, -7.4), (0.1, -10.2), (0.05, -13.1), (0.02, -17.0), (0.01, -20.0),
             (0.005, -23.0), (0.002, -27.0)],
    "Impulse": [(0.02, -3.6), (0.005, -8.8), (0.002, -12.6)],
}


def milliseconds(seconds):
    return f"{1000 * seconds:g} ms"


def bursts(page):
    page.section("Tone bursts: the highest level", """
The maximum (`Lmax`; of Impulse the displayed level's) of one burst of 4 kHz, less the steady tone's level. The tenths are those of
IEC 61672-1:2013, table 4 (Impulse: IEC 60651:1979); their witness is the closed form, which rounds to every one of them. The
acceptance limits of table 4 are not entered: no second source confirms them here. Held against: the closed form, to
0.1 dB, half the size of which the table's own rounding takes.""")
    table = page.table("time weighting", "burst", "table / dB", "closed form / dB", "measured / dB", "margin of 0.1 / dB", "verdict",
                       align=["---"] + ["--:"] * 5 + ["---"])
    for time, rows in BURSTS.items():
        largest = 0.0
        for seconds, tenths in rows:
            closed = 10 * math.log10(1 - math.exp(-seconds / CONSTANTS[time]))
            assert abs(closed - tenths) <= 0.05 + 1e-9, (time, seconds)
            result = levels(tone(seconds, before=0.1, after=0.4), time, rate=10.0)
            name = "displayed level" if time == "Impulse" else "Lmax"
            measured = float(result[name].max()) - STEADY
            off = measured - closed
            if time == "Impulse":  # falls until the interval's end
                measured = impulse_maximum(seconds)
                off = measured - closed
            largest = max(largest, abs(off))
            table.add(time, milliseconds(seconds), number(tenths, 1), number(closed), number(measured),
                      number(0.1 - abs(off)), page.verdict(abs(off) <= 0.1))
        page.facts["burst", time] = largest


def impulse_maximum(seconds):
    """The displayed level with an output per sample, since it falls from its maximum at once."""
    result = vp.Level(time="Impulse", rate=float(RATE))(tone(seconds, before=0.01, after=0.005), fs=RATE)
    return float(result["displayed level"].max()) - STEADY


def exposure(page):
    page.section("Equivalent level and exposure level of bursts", """
Expected: LE = 94 dB + 10 lg(T / 1 s), and over the whole measurement of t seconds Leq = LE − 10 lg(t / 1 s) (the definitions of
IEC 61672-1: energy over time). The block sums the time-weighted squares, so that what the weighting still holds when the
measurement ends is missing: T seconds of tone and a pause p leave 1 − (τ/T)(1 − e^(−T/τ)) e^(−p/τ) of the energy.""")
    table = page.table("burst", "time weighting", "measured for", "LE expected / dB", "left by the pause / dB", "LE / dB", "Leq / dB",
                       "margin of 0.02 / dB", "verdict", align=["--:", "---"] + ["--:"] * 6 + ["---"])
    for seconds in (1.0, 0.1, 0.01, 0.001, 0.00025):
        for time, pause in (("Fast", 2.0), ("Fast", 0.2)) if seconds < 1 else (("Fast", 2.0), ("Fast", 0.2), ("Slow", 9.0), ("Slow", 0.5)):
            tau = CONSTANTS[time]
            total = 1.0 if seconds < 1 and pause < 1 else math.ceil(seconds + pause)
            rest = total - seconds
            signal = tone(seconds, after=rest + 0.1)
            result = levels(signal, time, rate=1.0 / total)
            held = tau / seconds * (1 - math.exp(-seconds / tau)) * math.exp(-rest / tau)
            expected = STEADY + 10 * math.log10(seconds)
            left = 10 * math.log10(1 - held)
            measured, leq = float(result["LE"][0]), float(result["Leq"][0])
            off = max(abs(measured - expected - left), abs(leq - (measured - 10 * math.log10(total))))
            table.add(milliseconds(seconds), time, f"{total:g} s", number(expected), number(left), number(measured), number(leq),
                      number(0.02 - off, 3), page.verdict(off <= 0.02))
            page.facts["exposure", seconds, time, total] = measured - expected
    page.write("Let a measurement run on for ten time constants after the last sound, and the exposure level is complete.")


def percentiles(page):
    page.section("Percentile levels", """
The peak mode takes every sample's own level, so that a ramp from 40.07 to 100.07 dB spends the same time at every level: the level
exceeded for N % of the time is 100.07 − 0.6 N dB. The histogram has bins of 0.2 dB, and the lower limit of the bin is put out:
expected is a value up to 0.2 dB below, never above.""")
    table = page.table("level", "expected / dB", "measured / dB", "difference / dB", "margin to 0 and −0.2 / dB", "verdict",
                       align=["---"] + ["--:"] * 4 + ["---"])
    count = 10 * RATE
    ramp = 40.07 + 60 * (np.arange(count) + 0.5) / count
    signal = (2e-5 * 10 ** (ramp / 20)).astype(np.float32)
    result = levels(np.concatenate([signal, signal[-RATE:]]), "Fast", rate=0.1, kind="peak")
    for share in (1, 5, 10, 50, 90, 95, 99):
        expected = 100.07 - 0.6 * share
        measured = float(result[f"L{share}"][0])
        off = measured - expected
        left = min(0.0 - off, off + 0.2)
        table.add(f"L{share}", number(expected), number(measured), signed(off), number(left),
                  page.verdict(left > -1e-4))


def ripple(page):
    page.section("Ripple of low tones", """
Under Fast the mean square of a tone of f Hz swings with twice its frequency, by ±1/√(1 + (4π f τ)²) of itself. Expected: that.
Measured: half the swing of the momentary level over a second of the settled tone, and how far the level's mean lies from 94 dB.""")
    table = page.table("tone", "expected / dB", "measured / dB", "mean off / dB", "margin of 0.02 / dB", "verdict",
                       align=["--:"] * 5 + ["---"])
    for frequency in (20.0, 31.5, 63.0, 125.0):
        time = np.arange(4 * RATE) / RATE
        signal = (math.sqrt(2) * np.sin(2 * np.pi * frequency * time)).astype(np.float32)
        result = levels(signal, "Fast", rate=2000.0)
        settled = result["L"][result.x > 2.5].astype(float)
        swing = (settled.max() - settled.min()) / 2
        depth = 1 / math.hypot(1, 4 * math.pi * frequency * CONSTANTS["Fast"])
        expected = 5 * math.log10((1 + depth) / (1 - depth))
        mean = 10 * math.log10(np.mean(10 ** (settled / 10))) - STEADY
        page.facts["ripple", frequency] = swing
        table.add(f"{frequency:g} Hz", number(expected, 3), number(swing, 3), signed(mean, 3),
                  number(0.02 - abs(swing - expected), 3), page.verdict(abs(swing - expected) < 0.02))


NOTES = f"""
1. **What remains.** A burst of whole periods has the squares of a sine in it, not a constant: the maximum comes a little before or
   after the burst's end. Sums are in double precision; the levels are put out in single precision, good for 0.00001 dB.
2. **The source of the tables.** The reference responses of IEC 61672-1:2013, table 4 are the closed form rounded to tenths, which the
   program asserts for every row before it prints it.
"""


def page():
    made = Page("levels", "Time weightings, exposure levels, percentiles", SAYS)
    steady(made)
    bursts(made)
    exposure(made)
    ripple(made)
    percentiles(made)
    made.section("Notes", NOTES)
    return made
