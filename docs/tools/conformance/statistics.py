"""docs/conformance/statistics.md: characteristic values against exact arithmetic."""

import math
from fractions import Fraction

import numpy as np
import vynpack as vp

from .pages import Page, number, power_of_ten

SAYS = """
The 21 measures of [Statistik](../blocks/TOStatistik.md) and the means of [Mittelwert](../blocks/TOMittelwert.md). References are computed with fractions from
the very samples in single precision, without any rounding (roots and powers with 40 digits), so that what remains is the block's own."""

HALF = 2.0**-24


def exact(samples):
    """The measures that need arithmetic, in fractions; roots at the end."""
    x = [Fraction(float(v)) for v in np.asarray(samples, np.float32)]
    n = len(x)
    mean = sum(x) / n
    variance = sum((v - mean) ** 2 for v in x) / (n - 1)
    deviation = math.sqrt(variance)
    found = {
        "block_sum": sum(x), "sum_of_squares": sum(v * v for v in x), "mean": mean, "rms": math.sqrt(sum(v * v for v in x) / n),
        "variance": variance, "std": deviation, "range": max(x) - min(x), "mean_deviation": sum(abs(v - mean) for v in x) / n,
    }
    if mean:
        found["variation"] = deviation / float(mean)
        found["relative_variation"] = deviation / float(mean) / math.sqrt(n - 1) * 100
    if min(x) > 0:
        found["geometric_mean"] = math.exp(math.fsum(math.log(float(v)) for v in x) / n)
        found["harmonic_mean"] = n / sum(1 / v for v in x)
    return {name: float(value) for name, value in found.items()}


def sets():
    """Name, samples, where they are from."""
    random = np.random.default_rng(7)
    return [
        ("2, 4, 4, 4, 5, 5, 7, 9", [2, 4, 4, 4, 5, 5, 7, 9], "textbook example: mean 5, variance 32/7"),
        ("NumAcc1", [10000001, 10000003, 10000002], "NIST StRD, certified mean 10000002, deviation 1"),
        ("NumAcc2", [1.2] + [1.1, 1.3] * 500, "NIST StRD, certified mean 1.2, deviation 0.1 (of the decimal numbers)"),
        ("1 to 1000", np.arange(1, 1001), "mean 500.5, variance 83416.67"),
        ("normal noise on 100", 100 + random.standard_normal(20000), "20000 samples, seed 7"),
        ("small noise on 1000", 1000 + 0.01 * random.standard_normal(20000), "20000 samples"),
    ]


def page():
    made = Page("statistics", "Characteristic values", SAYS)
    made.section("Measures", """
Expected: the exact value. Measured: the difference, relative. Limit: 6·10⁻⁸, half a unit in the last
place of the single-precision result, or what the description lets a measure lose: the sum of squares and the harmonic mean take their terms in single
precision (limit 1.2·10⁻⁷).""")
    names = ["block_sum", "sum_of_squares", "mean", "rms", "geometric_mean", "harmonic_mean", "range", "std", "variance", "variation",
             "relative_variation", "mean_deviation"]
    table = made.table("samples", "from", "worst measure", "difference", "of measures", "verdict", align=["---", "---", "---", "--:", "--:", "---"])
    for name, samples, source in sets():
        wanted = exact(samples)
        result = vp.Statistics(measures="all")(np.asarray(samples, np.float32), fs=1.0)
        offs = {}
        for measure in names:
            if measure in wanted:
                value = float(result[measure])
                offs[measure] = abs(value - wanted[measure]) / abs(wanted[measure]) if wanted[measure] else abs(value)
        limits = {m: 1.2e-7 if m in ("sum_of_squares", "harmonic_mean") else 6.0e-8 for m in offs}
        worst = max(offs, key=lambda m: offs[m] / limits[m])
        table.add(name, source, worst, power_of_ten(offs[worst]), len(offs), made.verdict(all(offs[m] <= limits[m] for m in offs)))
    made.section("Certified values", """
The Statistical Reference Datasets of NIST (univariate summary statistics) that single precision can hold. Their certified values have a witness here: exact
arithmetic gives the same.""")
    table = made.table("data set", "measure", "certified", "exact, of the samples", "measured", "verdict", align=["---", "---", "--:", "--:", "--:", "---"])
    for name, samples, measure, certified, digits in (("NumAcc1", [10000001, 10000003, 10000002], "mean", 10000002.0, 1),
                                                      ("NumAcc1", [10000001, 10000003, 10000002], "std", 1.0, 6),
                                                      ("NumAcc2", [1.2] + [1.1, 1.3] * 500, "mean", 1.2, 6),
                                                      ("NumAcc2", [1.2] + [1.1, 1.3] * 500, "std", 0.1, 6)):
        value = float(vp.statistics(samples, measures=[measure])[measure])
        wanted = exact(samples)[measure]
        table.add(name, measure, number(certified, digits), number(wanted, digits), number(value, digits),
                  made.verdict(abs(value - wanted) <= 6e-8 * abs(wanted) and abs(wanted - certified) <= 1e-6 * abs(certified)))

    made.section("Places and ends", "By hand, of 3, −1, 4, 1 at 2 Hz, beginning at 10 s.")
    table = made.table("measure", "expected", "measured", "verdict", align=["---", "--:", "--:", "---"])
    result = vp.Statistics(measures="all")(np.array([3, -1, 4, 1], np.float32), fs=2.0, start=10.0)
    for measure, wanted in (("maximum", 4), ("x_of_maximum", 11), ("minimum", -1), ("x_of_minimum", 10.5), ("first", 3), ("last", 1),
                            ("x_begin", 10), ("x_end", 12), ("total_sum", 7)):
        value = float(result[measure])
        table.add(measure, number(wanted, 1), number(value, 1), made.verdict(value == wanted))
    made.write("`x_end` is where the next sample would lie: described design ([TOStatistik](../blocks/TOStatistik.md#kept-oddities-and-limits)).")

    made.section("Means over data blocks", "[Mittelwert](../blocks/TOMittelwert.md), against fractions.")
    table = made.table("what", "expected", "limit", "largest difference, relative", "verdict", align=["---", "---", "--:", "--:", "---"])
    x = np.random.default_rng(8).standard_normal(4000).astype(np.float32) + np.float32(10)
    fractions = [Fraction(float(v)) for v in x]
    reduced = vp.Average(mode="reduction", samples=10)(x, fs=1.0).values
    wanted = np.array([float(sum(fractions[i:i + 10]) / 10) for i in range(0, 4000, 10)])
    rows = [("reduction by 10", "mean of every 10 samples", np.abs(reduced / wanted - 1).max())]
    moving = vp.Average(mode="moving average", width=15)(x, fs=1.0).values
    wanted = np.array([float(sum(fractions[max(0, i - 14):i + 1]) / min(i + 1, 15)) for i in range(4000)])
    rows.append(("moving average over 15", "mean of the last 15 samples", np.abs(moving / wanted - 1).max()))
    blocks = x.reshape(40, 100)
    *_, last = vp.Average(mode="data blocks", output="every block").stream(blocks, fs=1.0)
    wanted = np.array([float(sum(fractions[i::100]) / 40) for i in range(100)])
    rows.append(("mean of 40 data blocks", "mean, value by value", np.abs(last.values / wanted - 1).max()))
    for what, says, off in rows:
        limit = 2 * HALF if "data blocks" not in what else 40 * HALF
        table.add(what, says, power_of_ten(limit), power_of_ten(off), made.verdict(off <= limit))
    made.write("A mean is a sum rounded to single precision, over a count: two roundings. The mean of data blocks is kept in single precision from block to block: each step may round, up to 6·10⁻⁸ per block.")
    return made
