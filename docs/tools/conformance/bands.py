"""docs/conformance/bands.md: third octaves and octaves against IEC 61260-1."""

import math

import numpy as np
import vynpack as vp

from . import standards as iec
from .pages import Page, hertz, number, signed

EDGES = "rounded edges, [note 1](#notes)"
LINES = "too few lines, [note 2](#notes)"
KINDS = (("third octaves", vp.THIRD_OCTAVES, 3), ("octaves", vp.OCTAVES, 1))

SAYS = """
[Terz_Oktav_Analyse](../blocks/TOTerz_Oktave.md) sums the lines of a spectrum between band edges from a table. That is a
rectangle in frequency, as fine as the lines lie; no filter rings and none has a slope of its own. This page says how far that goes
towards IEC 61260-1:2014: edges, the power of noise in a band, tones across a band. What it cannot do: a sum over a data block has
no time response, so that the standard's clauses on decay, time invariance and linear sweeps have nothing to apply to."""


def spectrum_of(values, step):
    """A block's input: lines whose values are powers, from 0 Hz on."""
    values = np.asarray(values, np.float32)
    return vp.Result(values, (), head=vp.result.Head(0.0, step, 3, 12, 0, 0.0, 1.0, ""))


def measured_edges(kind, count):
    """(lower, upper) edge of every band from which lines of 0.5 Hz it adds up."""
    step, lines = 0.5, 45600
    ones = vp.Bands(analysis=kind)(spectrum_of(np.ones(lines), step)).values.astype(float)
    # The lines of a band lie side by side: their number and where the first band begins say it all.
    alone = np.zeros(lines, np.float32)
    first = next(i for i in range(lines) if _reaches(kind, alone, i, step))
    uppers = (first + np.cumsum(ones[:count]) - 1) * step
    return np.concatenate([[(first) * step], uppers[:-1]]), uppers


def _reaches(kind, alone, line, step):
    alone[:] = 0
    alone[line] = 1
    return vp.Bands(analysis=kind)(spectrum_of(alone[:line + 1], step)).values[0] > 0


def edges(page):
    page.section("Band edges", """
Expected: 10^(n/10) Hz as the middle and 10^(±1/20) (third octaves) or 10^(±3/20) (octaves) of it as edges, IEC 61260-1:2014, clause 5,
base ten. Measured: which lines of a spectrum of 0.5 Hz the block adds to which band. White noise: what a band of those edges has more or
less than one of exact edges, 10 lg of the widths' quotient. No limit stands in the standard
for edges by themselves; a row holds that stays within the 0.4 dB that class 1 allows at mid-band.""")
    for kind, centres, b in KINDS:
        lowers, uppers = measured_edges(kind, len(centres))
        table = page.table(f"{kind[:-1]} / Hz", "edges, exact / Hz", "edges, measured / Hz", "off / %", "white noise / dB", "margin of 0.4 / dB",
                           "verdict", align=["--:"] * 6 + ["---"])
        for centre, low, high in zip(centres, lowers, uppers):
            f1, f2 = iec.edges(centre, b)
            off = max((low / f1 - 1, high / f2 - 1), key=abs)
            noise = 10 * math.log10((high - low) / (f2 - f1))
            page.facts["noise", kind, float(centre)] = noise
            table.add(f"{centre:g}", f"{number(f1)} … {number(f2)}", f"{low:g} … {high:g}", signed(100 * off, 1), signed(noise),
                      number(0.4 - abs(noise)), page.verdict(abs(noise) <= 0.4, EDGES))
    page.write("Where one band ends the next begins, so that a sum over bands keeps the power, but for the gap from 27 to 28 Hz: its first line counts "
               "in the band at 31.5 Hz, later ones nowhere ([note 3](#notes)). In lines of 0.5 Hz the first one is all there is.")


def lines_per_band(page):
    page.section("How long a data block must be", """
Expected: white noise has 10 lg of the band's exact width in it. Measured: the lines in a band times Δf, in dB against that width, at 48 kHz.
An empty cell has no line. Within 0.4 dB is bold; from there on up the band is as good as its edges.""")
    sizes = (4096, 8192, 16384, 65536)
    for kind, centres, b in KINDS:
        centres = [c for c in centres if c <= 1000]
        table = page.table(f"{kind[:-1]} / Hz", *(f"{size} samples" for size in sizes), align=["--:"] * 5)
        columns = []
        for size in sizes:
            step = 48000 / size
            sums = vp.Bands(analysis=kind)(spectrum_of(np.ones(size // 2), step)).values
            columns.append([10 * math.log10(s * step / np.subtract(*iec.edges(c, b)[::-1])) if s > 0 else None
                            for c, s in zip(centres, sums)])
        for place, centre in enumerate(centres):
            cells = []
            for column in columns:
                off = column[place]
                text = "" if off is None else signed(off, 1)
                cells.append(f"**{text}**" if off is not None and abs(off) <= 0.4 else text)
            table.add(f"{centre:g}", *cells)


def tone_level(kind, place, frequency, rate, size):
    time = np.arange(size) / rate
    signal = (math.sqrt(2) * np.sin(2 * np.pi * frequency * time)).astype(np.float32)
    lines = vp.Spectrum(amplitude="rms", window="hanning", correction="energy")(signal, fs=rate)
    value = float(vp.Bands(analysis=kind)(lines).values[place])
    return 20 * math.log10(max(value, 1e-12))


def tones(page):
    page.section("Tones across a band", """
Expected: the limits of relative attenuation of class 1, IEC 61260-1:2014, table 1, at its own breakpoints (third octaves: carried over by
formula 9, which gives the ratios that other printed tables of that mask have, 1.02667 to 5.39195). Two independent transcriptions agree on
every limit but those at the band edge, which only one has (5.3 and 1.2 dB): there the stricter ones of IEC 61260:1995 are taken, 5.0 and
2.0 dB, which two have. Measured: what the band at 1 kHz reads of a tone, against a tone at its middle, through RMS lines with the Hanning window and
energy correction, 48 kHz. Just inside and just outside an edge is one part in a thousand from it.""")
    for kind, place, b in (("third octaves", 18, 3), ("octaves", 6, 1)):
        for size in (8192, 65536):
            table = page.table(f"{kind[:-1]}, {size} samples: f / Hz", "f / mid-band", "smallest / dB", "largest / dB", "measured / dB",
                               "margin / dB", "verdict", align=["--:"] * 6 + ["---"])
            middle = tone_level(kind, place, 1000.0, 48000, size)
            rows = []
            for exponent, low, high in iec.MASK_INSIDE:
                omega = iec.band_omega(exponent, b) * (0.999 if exponent == 1 / 2 else 1)
                rows += [(omega, low, high)] + ([(1 / omega, low, high)] if exponent else [])
            for exponent, low in iec.MASK_OUTSIDE:
                omega = iec.band_omega(exponent, b) * (1.001 if exponent == 1 / 2 else 1)
                rows += [(omega, low, math.inf), (1 / omega, low, math.inf)]
            for omega, low, high in sorted(rows):
                if omega * 1000 > 0.49 * 48000:
                    continue
                attenuation = middle - tone_level(kind, place, omega * 1000, 48000, size)
                left = min(attenuation - low, high - attenuation)
                measured = number(attenuation) if attenuation < 40 else number(attenuation, 0) if attenuation < 75 else "> 75"
                table.add(number(omega * 1000, 1), number(omega, 4), number(low, 1), number(high, 1), measured,
                          number(left, 1) if left < 25 else "> 25", page.verdict(left >= 0, EDGES))
                page.facts["tone", kind, size, omega] = (attenuation, left)


def tone_levels(kind, place, frequencies, rate, size):
    """What one band reads of tones, a channel each, in dB."""
    time = np.arange(size)[:, None] / rate
    signals = (math.sqrt(2) * np.sin(2 * np.pi * np.asarray(frequencies) * time)).astype(np.float32)
    lines = vp.Spectrum(amplitude="rms", window="hanning", correction="energy")(signals, fs=rate)
    bands = vp.Bands(analysis=kind)(lines).values
    values = bands[place].astype(float) if place < len(bands) else np.zeros(len(frequencies))
    return 20 * np.log10(np.maximum(values, 1e-12))


def every_band(page):
    size, rate = 65536, 48000
    page.section("Tones across every band", f"""
The same mask at its breakpoints but the edge itself, every band, {size} samples at 48 kHz (a line every {number(rate / size)} Hz). Measured: what the band reads
of a tone of 0 dB at its exact middle, and the smallest margin to the mask of all breakpoints below half the sample rate; where, when it is
less than the 0.4 dB of the middle.""")
    for kind, centres, b in KINDS:
        table = page.table(f"{kind[:-1]} / Hz", "middle reads / dB", "smallest margin / dB", "at f / mid-band", "verdict",
                           align=["--:"] * 4 + ["---"])
        inside = [(iec.band_omega(e, b), low, high) for e, low, high in iec.MASK_INSIDE if e != 1 / 2]
        outside = [(iec.band_omega(e, b), low, math.inf) for e, low in iec.MASK_OUTSIDE if e != 1 / 2]
        rows = inside + outside + [(1 / omega, low, high) for omega, low, high in inside + outside if omega != 1]
        for place, centre in enumerate(centres):
            middle = iec.mid_band(centre)
            used = [row for row in rows if row[0] * middle < 0.49 * rate]
            reads = tone_levels(kind, place, [omega * middle for omega, _, _ in used], rate, size)
            attenuations = reads[0] - reads
            left, omega = min((min(a - low, high - a), omega) for a, (omega, low, high) in zip(attenuations, used))
            where = "" if left > 0.35 else number(omega, 4)  # inside a rectangle every place is as good
            table.add(f"{centre:g}", number(reads[0]), number(left, 1), where, page.verdict(left >= 0, f"{EDGES}; {LINES}" if centre < 40 else EDGES))


NOTES = """
1. **Rounded edges.** The block's edges are its table's, nominal numbers such as 890 and 1120 Hz, not 891.25 and 1122.02 Hz. Described design
   ([TOTerz_Oktave](../blocks/TOTerz_Oktave.md#what-is-computed)). The error is largest at the lowest bands, where a hertz is much.
2. **Too few lines.** A band holds whole lines. Take data blocks so long that several lie in the lowest band of interest.
3. **The gap** between 27 and 28 Hz is the table's, too, and is kept: the first line in it counts in the band at 31.5 Hz, later ones in none.
"""


def page():
    made = Page("bands", "Third octaves and octaves", SAYS)
    edges(made)
    lines_per_band(made)
    tones(made)
    every_band(made)
    made.section("Notes", NOTES)
    return made
