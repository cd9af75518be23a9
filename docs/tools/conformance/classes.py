"""docs/conformance/classes.md: classification against hand-counted histories and closed forms."""

import math

import numpy as np
import vynpack as vp

from .pages import Page, ladder, number

METHODS = {"samples": 93, "dwell time": 94, "level crossings": 95, "peaks between crossings": 96, "peaks and valleys": 97, "maxima and minima apart": 98}
HISTORY = [-2, 1, -3, 5, -1, 3, -4, 4, -2]

SAYS = """
The counting methods of [Klassierung](../blocks/TOKlassierung.md) against counts made by hand, small enough to be followed with a finger, and
against closed forms. Absolute counts, ten classes of the width 1 unless said otherwise. What each method does:
[TOKlassierung](../blocks/TOKlassierung.md#what-is-computed)."""


def count(method, samples, begin=-5.5, classes=10, end=None, hysteresis=0.0, reference=0.0, fs=1.0):
    end = begin + classes if end is None else end
    block = vp.Classification(classes=classes, begin=float(begin), end=float(end), calculation="absolute", hysteresis=hysteresis,
                              reference=reference)
    record = bytearray(block.record)
    record[8 + 50:8 + 52] = METHODS[method].to_bytes(2, "little")  # the dialog and a record choose the peak methods
    return vp.Classification(record=bytes(record))(np.array(samples, np.float32), fs=fs).values


def cells(values):
    return " ".join(f"{v:g}" for v in values)


def e1049(page):
    page.section("The load history of ASTM E1049", """
The history of the rainflow example in ASTM E1049-85, figure 6: reversals −2, 1, −3, 5, −1, 3, −4, 4, −2. Class limits at −5.5, −4.5, … 4.5, so that no
reversal lies on one; reference line 0. The counts are made by hand by the practice's rules: level crossings (5.1.1) with positive slope for levels above the
reference line, negative slope below it; peaks (5.2.1) above and valleys below the reference line; the same between mean crossings
(5.2.2), of which only the largest counts. First and last point are no reversals. Each class from the lowest up.""")
    table = page.table("method", "by hand", "why", "measured", "verdict")
    # A level's place is that of the class above it: limits -5.5, -4.5, -3.5, ... 3.5.
    rows = [
        ("level crossings", [0, 0, 1, 2, 3, 4, 4, 3, 3, 2], "level −3.5: 3→−4; −2.5: also 1→−3; −1.5: also 4→−2; −0.5: also 5→−1; 0.5: four rises; "
         "1.5 and 2.5: rises to 5, 3, 4; 3.5: to 5, 4"),
        ("peaks and valleys", [0, 1, 1, 0, 1, 0, 1, 0, 1, 1], "valleys −4, −3, −1; peaks 1, 3, 4 (5 lies in the class above 4.5, outside)"),
    ]
    for method, expected, why in rows:
        measured = count(method, HISTORY)
        table.add(method, cells(expected), why, cells(measured), page.verdict(list(measured) == expected))
    measured = count("level crossings", HISTORY, classes=11)
    expected = [0, 0, 1, 2, 3, 4, 4, 3, 3, 2, 1]
    table.add("level crossings, eleven classes", cells(expected), "4.5: the rise to 5", cells(measured), page.verdict(list(measured) == expected))
    measured = count("peaks and valleys", HISTORY, classes=11)
    expected = [0, 1, 1, 0, 1, 0, 1, 0, 1, 1, 1]
    table.add("peaks and valleys, eleven classes", cells(expected), "and the peak 5", cells(measured), page.verdict(list(measured) == expected))
    history = [-1, 2, 1, 4, -1, -3, -2, 3, 1, 2, -2, 1]
    measured = count("peaks between crossings", history, classes=11)
    expected = [0, 0, 1, 1, 0, 0, 0, 0, 1, 1, 0]
    table.add("peaks between crossings of −1, 2, 1, 4, −1, −3, −2, 3, 1, 2, −2, 1, eleven classes", cells(expected),
              "2, 1 and 4 lie between two crossings: 4; then −1, −3, −2: −3; 3, 1, 2: 3; −2",
              cells(measured), page.verdict(list(measured) == expected))
    page.write("What E1049 publishes for this history are rainflow cycles: half a cycle of range 3, one and a half of 4, half of 6, one of 8, half of 9. "
               "The block has **no rainflow count**, and none of its results can be compared with them; [the recipe](../recipes/classes.md) says what to "
               "take from which.")


def hysteresis(page):
    page.section("Hysteresis and class limits")
    table = page.table("method", "samples", "settings", "by hand", "measured", "verdict")
    rows = [
        ("samples", [0, 0.5, 1, 1, 2.5, 3.9, 4], dict(begin=0, classes=4), [1, 2, 1, 1], "0 to 4; begin and end count in none, a limit in the class above it"),
        ("level crossings", [0, 1.6, 1.4, 1.6, 1.4, 1.6, 0], dict(begin=0.5, classes=3), [1, 3, 0], "hysteresis 0: each rise through 1.5 counts"),
        ("level crossings", [0, 1.6, 1.4, 1.6, 1.4, 1.6, 0], dict(begin=0.5, classes=3, hysteresis=50.0), [1, 1, 0],
         "hysteresis 50 % of a class: 1.4 is not half a class back"),
        ("peaks and valleys", [0, 2, 1.8, 2.2, 0, -2, -1.9, -2.3, 0], dict(begin=-3, classes=6), [1, 1, 0, 0, 0, 2], "hysteresis 0: 2 and 2.2; −2.3, and −2, which "
         "as a limit belongs to the class above it"),
        ("peaks and valleys", [0, 2, 1.8, 2.2, 0, -2, -1.9, -2.3, 0], dict(begin=-3, classes=6, hysteresis=50.0), [1, 0, 0, 0, 0, 1],
         "hysteresis 50 %: 2 is left behind by 2.2, −2 by −2.3"),
        ("maxima and minima apart", [0, 3.5, 0.5, 2.5, 1.5, 4.5, 0], dict(begin=0, classes=5), None, "minima 0.5, 1.5; maxima 3.5, 2.5, 4.5"),
    ]
    for method, samples, settings, expected, why in rows:
        measured = count(method, samples, **settings)
        if method == "maxima and minima apart":
            pairs = measured.reshape(5, -1)
            wanted = [[1, 0], [1, 0], [0, 1], [0, 1], [0, 1]]
            good = pairs.tolist() == wanted
            expected, measured = [v for row in wanted for v in row], [v for row in pairs.tolist() for v in row]
        else:
            good = list(measured) == expected
        table.add(method, cells(samples).replace("-", "−"), why, cells(expected), cells(measured), page.verdict(good))


def closed(page):
    page.section("Closed forms")
    table = page.table("what", "expected", "source", "measured", "margin", "verdict", align=["---", "--:", "---", "--:", "--:", "---"])
    # A triangle: the same time in every class.
    samples = np.abs((np.arange(4001) / 500.0) % 8 - 4)
    measured = count("dwell time", samples, begin=0, classes=4, fs=500.0)
    worst = np.abs(measured - 2.0).max()
    table.add("dwell time of a triangle between 0 and 4, 8 s, per class", "2 s", "straight lines", f"2 s, worst off by {ladder(worst)} s", f"{ladder(1e-5)} s",
              page.verdict(worst < 1e-5))
    measured = count("dwell time", [0, 4, 0], begin=0, classes=4)
    table.add("dwell time of 0, 4, 0 at 1 Hz, per class", "0.5 0.5 0.5 0.5 s", "straight lines", cells(measured) + " s", "exact",
              page.verdict(list(measured) == [0.5] * 4))
    size, periods, classes = 200000, 97, 20
    sine = np.sin(2 * np.pi * (periods * np.arange(size) / size + 0.1234))
    limits = np.linspace(-1.05, 1.05, classes + 1)
    share = np.diff(np.arcsin(np.clip(limits, -1, 1))) / np.pi
    measured = count("samples", sine, begin=-1.05, end=1.05, classes=classes).astype(float) / size
    off = np.abs(measured - share).max()
    table.add("share of a sine's samples per class, 20 classes", "(asin b − asin a) / π", "Bendat & Piersol, chapter 3", f"largest difference {ladder(off)}",
              number(1e-3 - off, 4) + " of 0.001", page.verdict(off < 1e-3))
    measured = count("level crossings", sine, begin=-1.05, end=1.05, classes=classes)
    inside = [k for k in range(classes) if -1 < limits[k] < 1]
    table.add(f"crossings of every class limit by a sine of {periods} periods", str(periods), "counting", f"{min(measured[inside]):g} to {max(measured[inside]):g}",
              "1", page.verdict(all(abs(measured[inside] - periods) <= 1)))
    noise = np.random.default_rng(5).standard_normal(400000)
    shape = np.exp(-0.5 * (np.arange(-30, 31) / 8.0) ** 2)
    noise = np.convolve(noise, shape, "valid")
    noise /= noise.std()
    rate = math.sqrt(np.mean(np.diff(noise) ** 2))
    measured = count("level crossings", noise, begin=-0.25, end=2.75, classes=6)
    worst = 0.0
    for k, level in enumerate(-0.25 + 0.5 * np.arange(6)):
        rice = len(noise) * rate / (2 * math.pi) * math.exp(-level**2 / 2)
        worst = max(worst, abs(measured[k] - rice) / math.sqrt(rice))
    table.add("level crossings of smooth normal noise, levels −0.25 to 2.25 σ", "Rice: (σ′/2πσ) exp(−a²/2σ²) per sample", "Bendat & Piersol, chapter 5",
              f"at most {number(worst, 1)} √N off", number(4 - worst, 1) + " of 4 √N", page.verdict(worst < 4))


def page():
    made = Page("classes", "Classification", SAYS)
    e1049(made)
    hysteresis(made)
    closed(made)
    return made
