"""docs/uncertainty.md: what a level of these blocks may be off by, from the figures of the other pages."""

import math

import numpy as np
import vynpack as vp

from . import standards as iec
from .pages import Table, number, power_of_ten, signed

RATE = 48000


def pink_tones(rate, seconds):
    """A tone at every third octave from 25 Hz to 12.5 kHz, 0.1 Pa each, on whole periods: (signal, A level by annex E)."""
    centres = [round(iec.exact(row[0])) for row in iec.TABLE_3[4:-2]]
    time = np.arange(round(rate * seconds)) / rate
    phases = np.random.default_rng(9).uniform(0, 2 * np.pi, len(centres))
    signal = sum(0.1 * math.sqrt(2) * np.sin(2 * np.pi * f * time + p) for f, p in zip(centres, phases))
    energy = sum(0.01 * 10 ** (iec.weighting("A", f) / 10) for f in centres)
    return signal, 10 * math.log10(energy / 4e-10)


def equivalent(signal, rate, weighting="A"):
    """Leq over the last whole seconds, from the exposure level's growth: what the filters' start brings is left out."""
    block = signal
    if weighting:
        block = vp.weight(signal, rate, weighting).values
    table = vp.Level(time="Fast", rate=1.0)(block, fs=rate)
    energy = 10 ** (table["LE"].astype(float) / 10)
    return 10 * math.log10((energy[-1] - energy[1]) / (len(energy) - 2))


def quantised(signal, bits, full_scale):
    step = full_scale / 2 ** (bits - 1)
    return np.round(signal / step) * step


def page(facts):
    """The page's text; facts are the pages' of docs/conformance."""
    weighting, levels, bands, fft = (facts[name] for name in ("weighting", "levels", "bands", "fft"))
    goal = {(rate, span): weighting["goal", "A", rate, *span] for rate in (48000, 96000) for span in
            ((31.5, 4000), (31.5, 8000), (20, 12500))}
    noise = {k: v for k, v in bands.items() if k[0] == "noise"}
    thirds = {k[2]: v for k, v in noise.items() if k[1] == "third octaves"}
    octaves = {k[2]: v for k, v in noise.items() if k[1] == "octaves"}

    def largest(values):
        return max(values, key=abs)

    text = []
    table = Table(["where it comes from", "how much / dB", "what lessens it", "from"], ["---", "--:", "---", "---"])
    for rate in (48000, 96000):
        for span in ((31.5, 4000), (31.5, 8000), (20, 12500)):
            table.add(f"A weighting of time signals, {rate // 1000} kHz, {span[0]:g} Hz to {span[1] / 1000:g} kHz",
                      signed(goal[rate, span]), "a higher sample rate", "[weighting](conformance/weighting.md#time-signals-against-the-design-goal)")
    table.add("A weighting of spectra and bands", signed(weighting["spectrum", "A"]), "weight the time signal",
              "[weighting](conformance/weighting.md#spectra)")
    bursts = max(levels["burst", "Fast"], levels["burst", "Slow"])
    table.add("time weighting, highest level of a burst", "±" + number(bursts), "–", "[levels](conformance/levels.md#tone-bursts-the-highest-level)")
    for frequency in (31.5, 125.0):
        table.add(f"Fast: swing of the reading of a tone of {frequency:g} Hz", "±" + number(levels["ripple", frequency], 2), "Slow, or Leq",
                  "[levels](conformance/levels.md#ripple-of-low-tones)")
    table.add("exposure level of 1 s of sound, read 1 s after it, Fast", signed(levels["exposure", 1.0, "Fast", 2.0], 3), "measure ten time constants longer",
              "[levels](conformance/levels.md#equivalent-level-and-exposure-level-of-bursts)")
    table.add("percentile levels", "−0.2 to 0", "–: classes of 0.2 dB, lower limit", "[levels](conformance/levels.md#percentile-levels)")
    table.add("third octaves from 100 Hz on, noise", signed(largest([v for f, v in thirds.items() if f >= 100])), "–: the table's edges",
              "[bands](conformance/bands.md#band-edges)")
    table.add("third octaves below 100 Hz, noise", signed(largest([v for f, v in thirds.items() if f < 100])), "octaves, or sums of thirds", "[bands](conformance/bands.md#band-edges)")
    table.add("octaves, noise", signed(largest(octaves.values())), "–", "[bands](conformance/bands.md#band-edges)")
    signal, true = pink_tones(RATE, 4.0)
    fine = equivalent(signal.astype(np.float32), RATE)
    for bits, below in ((16, 40), (16, 70), (24, 70)):
        full = 20.0
        quiet = signal * 10 ** (-below / 20) * (full / math.sqrt(2)) / math.sqrt(np.mean(signal**2))
        off = equivalent(quantised(quiet, bits, full).astype(np.float32), RATE) - equivalent(quiet.astype(np.float32), RATE)
        size = f"{signed(off, 3)}" if abs(off) >= 0.0005 else "±0.0005"
        table.add(f"recording of {bits} bits, A-weighted level {below} dB below a full tone", size, "a better driven range", "measured here")
    single = max(value for key, value in fft.items() if key[0] == "single" and key[2] == "rms")
    table.add("single precision of a spectrum's line", "±" + power_of_ten(20 * math.log10(1 + single), 0).replace("·", " · "), "–", "[FFT](conformance/fft.md#spectra-in-single-precision)")
    table.add("single precision of a level near 100 dB", "±" + power_of_ten(100 * 2.0**-24, 0).replace("·", " · "), "–", "2⁻²⁴ of the number")

    ninety_six, wanted = pink_tones(96000, 4.0)
    finer = equivalent(ninety_six.astype(np.float32), 96000)
    by_bands = vp.third_octaves(signal.astype(np.float32), RATE, block=48000, a_weighting=True, reference=2e-5)
    summed = 10 * math.log10(np.sum(10 ** (by_bands.values.astype(float) / 10)))

    text.append("# What a level may be off by")
    text.append("<!-- made by tools/conformance; tests/python/test_conformance.py holds it -->")
    text.append(f"""The block says {number(fine)} dB: what may be promised? This page counts the blocks' own part, in decibels; microphone, calibrator, range and
place come on top and are usually larger (class 1 of IEC 61672-1 leaves ±0.7 dB at 1 kHz, where its limits are tightest). Every figure is taken from
what the [conformance pages](conformance/README.md) have measured on the running program; none is entered by hand.""")
    text.append("## Contributions")
    text.append(table.text())
    text.append("The signs are those of the largest deviation: they are systematic, the same in every measurement, and can be corrected for where the "
                "spectrum is known. Contributions of things that a measurement does not use do not count.")
    text.append("## One level, worked")
    worked = Table(["A-weighted equivalent level of 28 tones, 25 Hz to 12.5 kHz, a tone per third octave", "dB", "off"], ["---", "--:", "--:"])
    worked.add("by the formula of IEC 61672-1:2013, annex E", number(true, 3), "")
    worked.add("time signal at 48 kHz: Frequenzbewertung, then Pegelberechnung", number(fine, 3), signed(fine - true, 3))
    worked.add("the same at 96 kHz", number(finer, 3), signed(finer - wanted, 3))
    worked.add("third octaves at 48 kHz, A-weighted, summed", number(summed, 3), signed(summed - true, 3))
    text.append(worked.text())
    text.append(f"""So of {number(fine)} dB(A) at 48 kHz the program's own part is {signed(fine - true, 2)} dB for a sound of even power per third octave up to
12.5 kHz, and at most {number(abs(goal[48000, (31.5, 8000)]))} dB for any sound between 31.5 Hz and 8 kHz. Two decimals are shown because they repeat; say
one.""")
    text.append("## What to promise")
    promise = Table(["for", "settings", "the blocks' part / dB"], ["---", "---", "--:"])
    promise.add("LAeq of sounds up to 4 kHz", "48 kHz or more, Fast", "±" + number(math.ceil(10 * abs(goal[48000, (31.5, 4000)])) / 10, 1))
    promise.add("LAeq of any sound up to 8 kHz", "48 kHz", "±" + number(math.ceil(10 * abs(goal[48000, (31.5, 8000)])) / 10, 1))
    promise.add("LAeq of any sound up to 8 kHz", "96 kHz", "±" + number(math.ceil(10 * abs(goal[96000, (31.5, 8000)])) / 10, 1))
    promise.add("LAFmax of bursts", "as LAeq, and", "±" + number(math.ceil(100 * bursts) / 100, 2))
    promise.add("LA95 and other percentile levels", "as LAeq, and", "−0.2 to 0")
    promise.add("third-octave levels from 100 Hz on, of noise", "lines: [bands](conformance/bands.md#how-long-a-data-block-must-be)",
                "±" + number(math.ceil(10 * abs(largest([v for f, v in thirds.items() if f >= 100]))) / 10, 1))
    text.append(promise.text())
    return "\n\n".join(text) + "\n"
