"""docs/conformance/transfer.md: H1, H2 and coherence on known systems with noise."""

import math

import numpy as np
import vynpack as vp

from .pages import Page, ladder, number, signed

SAMPLES, CHANNELS, AVERAGES = 256, 64, 100
GAIN, DELAY = 2.0, 3
NEXT_ORDER = "[note 1](#notes)"

SAYS = f"""
[FFT zweier Zeitsignale](../blocks/TODualSpektrum.md) on systems that are known: white noise u (seed by row) goes through a gain of {GAIN:g} and a delay of {DELAY}
samples, around each data block so that nothing leaks, and noise is added to the response or to the excitation. Data blocks of {SAMPLES}
samples, no window, arithmetic averages of n = {AVERAGES} data blocks; {CHANNELS} channels and {SAMPLES // 2 - 1} lines give {CHANNELS * (SAMPLES // 2 - 1)} independent estimates, whose mean and
scatter are measured. Expected: Bendat & Piersol, Random Data (4th ed.), section 9.2, to first order in 1/n."""


def estimates(coherence, where, seed, method):
    """(H estimates divided by the true response, coherence estimates) of one case."""
    random = np.random.default_rng(seed)
    shape = (AVERAGES, SAMPLES, CHANNELS)
    u = random.standard_normal(shape)
    noise = random.standard_normal(shape) * math.sqrt((1 - coherence) / coherence)
    x, y = u, GAIN * np.roll(u, DELAY, axis=1)
    if where == "response":
        y = y + GAIN * noise
    else:
        x = x + noise
    block = vp.DualSpectrum(quantity="transfer function", method=method, amplitude="realimaginaer", coherence=True,
                            average="arithmetic", window="rectangle")
    for result in block.stream(x.astype(np.float32), y.astype(np.float32), fs=1000.0):
        last = result
    true = GAIN * np.exp(-2j * np.pi * DELAY * np.arange(SAMPLES // 2) / SAMPLES)
    if method == "H2":
        true = true.conj()  # as the block puts it out
    return last.values[1:] / true[1:, None], last.coherence.values[1:].astype(float)


def page():
    made = Page("transfer", "Transfer functions and coherence", SAYS)
    count = CHANNELS * (SAMPLES // 2 - 1)

    made.section("Without noise", """
Expected: the response of an FIR system with the taps 1, 0.5 and −0.25, around each data block, at every line; coherence 1.""")
    x = np.random.default_rng(1).standard_normal((8, SAMPLES))
    y = x + 0.5 * np.roll(x, 1, axis=1) - 0.25 * np.roll(x, 2, axis=1)
    turn = np.exp(-2j * np.pi * np.arange(SAMPLES // 2) / SAMPLES)
    true = 1 + 0.5 * turn - 0.25 * turn**2
    table = made.table("quantity", "expected", "largest difference, relative", "verdict", align=["---", "---", "--:", "---"])
    for method, says, wanted in (("H1", "the response", true), ("H2", "its conjugate, [note 2](#notes)", true.conj()),
                                 ("H0", "its conjugate, [note 2](#notes)", true.conj())):
        block = vp.DualSpectrum(quantity="transfer function", method=method, amplitude="realimaginaer", coherence=True,
                                average="arithmetic", window="rectangle")
        *_, last = block.stream(x.astype(np.float32), y.astype(np.float32), fs=1000.0)
        off = np.abs(last.values / wanted - 1).max()
        table.add(method, says, ladder(off), made.verdict(off < 1e-5))
    off = np.abs(last.coherence.values.astype(float) - 1).max()
    table.add("coherence", "1", ladder(off), made.verdict(off < 1e-6))
    table.add("coherence of one data block", "1, whatever the noise", ladder(single_block_coherence()), made.verdict(single_block_coherence() < 1e-6))

    made.section("Bias", """
H1: none with noise on the response; with noise on the excitation γ² − 1 (the noise's power stands in the denominator). H2: 1/γ² − 1 with
noise on the response, none on the excitation but for order 1/n. Coherence: (1 − γ²)²/n. Limit: four standard errors
of the mean of all estimates, and the terms of order 1/n² that theory leaves out.""")
    table = made.table("noise on", "γ²", "quantity", "expected", "measured", "margin", "verdict", align=["---", "--:", "---", "--:", "--:", "--:", "---"])
    scatter = []
    for where in ("response", "excitation"):
        for seed, coherence in enumerate((0.9, 0.5, 0.2), 10):
            for method in ("H1", "H2"):
                h, k = estimates(coherence, where, seed, method)
                wanted = {("H1", "response"): 0.0, ("H1", "excitation"): coherence - 1, ("H2", "response"): 1 / coherence - 1,
                          ("H2", "excitation"): 0.0}[method, where]
                mean = float(np.mean(h).real) - 1
                error = float(np.std(h.real)) / math.sqrt(count)
                # H2 divides by an estimate that itself scatters: by (1 - γ²)/(γ² n) to the next order.
                limit = 4 * error + ((1 - coherence) / coherence / AVERAGES * (1 + wanted) * 1.3 if method == "H2" else 0.0)
                table.add(where, number(coherence, 1), method, signed(100 * wanted, 2) + " %", signed(100 * mean, 2) + " %",
                          number(100 * (limit - abs(mean - wanted)), 2) + " %", made.verdict(abs(mean - wanted) <= limit))
                if method == "H1":
                    scatter.append((where, coherence, h, k, wanted))
            bias = (1 - coherence) ** 2 / AVERAGES
            mean = float(np.mean(k)) - coherence
            limit = 4 * float(np.std(k)) / math.sqrt(count) + 3 / AVERAGES**2
            table.add(where, number(coherence, 1), "γ²", signed(bias, 4), signed(mean, 4), number(limit - abs(mean - bias), 4),
                      made.verdict(abs(mean - bias) <= limit))
            made.facts["bias", where, coherence] = mean

    made.section("Scatter", f"""
Standard deviation over all estimates, relative to the value: of |H1| √(1 − γ²) / (|γ| √(2n)), of its phase the same in radians, of the coherence
√2 (1 − γ²) / (|γ| √n) (the same section). Limit: {number(100 * 4 / math.sqrt(2 * count), 1)} % of the expected scatter, four standard errors of a standard
deviation from {count} values, and 1/n of it and a half for what theory leaves out.""")
    table = made.table("noise on", "γ²", "quantity", "expected", "measured", "margin", "verdict", align=["---", "--:", "---", "--:", "--:", "--:", "---"])
    for where, coherence, h, k, bias in scatter:
        size = math.sqrt((1 - coherence) / coherence / (2 * AVERAGES))
        of_k = math.sqrt(2 / AVERAGES) * (1 - coherence) / math.sqrt(coherence)
        for name, wanted, value in (("abs(H1)", size, float(np.std(np.abs(h))) / (1 + bias)), ("phase / rad", size, float(np.std(np.angle(h)))),
                                    ("coherence", of_k, float(np.std(k)) / coherence)):
            limit = wanted * (4 / math.sqrt(2 * count) + 1.5 / AVERAGES * max(1.0, 1 / coherence))
            table.add(where, number(coherence, 1), name, number(wanted, 4), number(value, 4), number(limit - abs(value - wanted), 4),
                      made.verdict(abs(value - wanted) <= limit, NEXT_ORDER))

    made.section("How many averages", """
What follows from the formulas above for H1, and holds for the block as the tables show: averages n for a scatter of |H1| of 5 % and of 1 %, per
coherence.""")
    table = made.table("γ²", "n for 5 %", "n for 1 %", align=["--:"] * 3)
    for coherence in (0.99, 0.9, 0.8, 0.5, 0.2):
        table.add(number(coherence, 2), *(math.ceil(round((1 - coherence) / coherence / (2 * goal**2), 6)) for goal in (0.05, 0.01)))
    made.section("Notes", NOTES)
    return made


def single_block_coherence():
    random = np.random.default_rng(3)
    block = vp.DualSpectrum(quantity="transfer function", method="H1", coherence=True, average="arithmetic", window="rectangle")
    result = block(random.standard_normal(SAMPLES), random.standard_normal(SAMPLES), fs=1000.0)
    return float(np.abs(result.coherence.values.astype(float) - 1).max())


NOTES = """
1. **First order.** The formulas are the first terms in 1/n; at low coherence the next ones are seen at n = 100.
2. **H0 and H2** come out as conjugates, their phase output is put right by the block: described design
   ([TODualSpektrum](../blocks/TODualSpektrum.md#what-is-computed)). Here the real and imaginary parts are read.
"""
