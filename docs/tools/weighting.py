#!/usr/bin/python3
"""Writes the measured tables of docs/weighting.md.

    docs/tools/weighting.py

Sends an impulse through the frequency weighting block at every sample rate and holds the response
against the nominal values and class 1 limits of IEC 61672-1:2013, table 3 (B: nominal values of
IEC 60651, which had class 1 limits of its own; none apply today).
"""

from pathlib import Path

from measured import impulse_decibels, replace_section

import vynpack as vp  # found by the line above

# Nominal frequency, A, B, C in dB, class 1 limits above and below (None: no limit).
TABLE = [
    (10, -70.4, -38.2, -14.3, 3.0, None), (12.5, -63.4, -33.2, -11.2, 2.5, None),
    (16, -56.7, -28.5, -8.5, 2.0, 4.0), (20, -50.5, -24.2, -6.2, 2.0, 2.0),
    (25, -44.7, -20.4, -4.4, 2.0, 1.5), (31.5, -39.4, -17.1, -3.0, 1.5, 1.5),
    (40, -34.6, -14.2, -2.0, 1.0, 1.0), (50, -30.2, -11.6, -1.3, 1.0, 1.0),
    (63, -26.2, -9.3, -0.8, 1.0, 1.0), (80, -22.5, -7.4, -0.5, 1.0, 1.0),
    (100, -19.1, -5.6, -0.3, 1.0, 1.0), (125, -16.1, -4.2, -0.2, 1.0, 1.0),
    (160, -13.4, -3.0, -0.1, 1.0, 1.0), (200, -10.9, -2.0, 0.0, 1.0, 1.0),
    (250, -8.6, -1.3, 0.0, 1.0, 1.0), (315, -6.6, -0.8, 0.0, 1.0, 1.0),
    (400, -4.8, -0.5, 0.0, 1.0, 1.0), (500, -3.2, -0.3, 0.0, 1.0, 1.0),
    (630, -1.9, -0.1, 0.0, 1.0, 1.0), (800, -0.8, 0.0, 0.0, 1.0, 1.0),
    (1000, 0.0, 0.0, 0.0, 0.7, 0.7), (1250, 0.6, 0.0, 0.0, 1.0, 1.0),
    (1600, 1.0, 0.0, -0.1, 1.0, 1.0), (2000, 1.2, -0.1, -0.2, 1.0, 1.0),
    (2500, 1.3, -0.2, -0.3, 1.0, 1.0), (3150, 1.2, -0.4, -0.5, 1.0, 1.0),
    (4000, 1.0, -0.7, -0.8, 1.0, 1.0), (5000, 0.5, -1.2, -1.3, 1.5, 1.5),
    (6300, -0.1, -1.9, -2.0, 1.5, 2.0), (8000, -1.1, -2.9, -3.0, 1.5, 2.5),
    (10000, -2.5, -4.3, -4.4, 2.0, 3.0), (12500, -4.3, -6.1, -6.2, 2.0, 5.0),
    (16000, -6.6, -8.4, -8.5, 2.5, 16.0), (20000, -9.3, -11.1, -11.2, 3.0, None),
]
PAGE = Path(__file__).resolve().parents[1] / "weighting.md"
CURVES = ["A", "B", "C"]
RATES = [4000, 8000, 10000, 11025, 12500, 12800, 16666.666666666, 20000, 22050, 25000, 25600,
         33333.3333333333, 40000, 44100, 48000, 50000, 51200, 80000, 88200, 96000, 100000, 102400,
         192000, 200000, 204800, 500000]
DETAILED = [8000, 16666.666666666, 25600, 44100, 48000, 51200, 96000, 102400, 192000]


def exact(row):
    return 1000.0 * 10.0 ** ((TABLE.index(row) - 20) / 10.0)


def measure(curve, rate):
    """Deviation from the nominal table in dB per row below half the rate."""
    block = vp.Weighting(curve=curve)
    rows = [row for row in TABLE if exact(row) < 0.49 * rate]
    levels = impulse_decibels(block, rate, [exact(row) for row in rows])
    column = 1 + CURVES.index(curve)
    return {row[0]: level - row[column] for row, level in zip(rows, levels)}


def outside(row, deviation):
    above, below = row[4], row[5]
    return deviation > above or (below is not None and deviation < -below)


def signed(deviation, digits):
    text = f"{deviation:+.{digits}f}".replace("-", "−")
    return text if text.strip("+−0.") else text.lstrip("+−")


def verdict(deviations):
    """The range of frequencies around 1 kHz without a violation, and what lies outside it."""
    rows = [row for row in TABLE if row[0] in deviations]
    bad = [row for row in rows if outside(row, deviations[row[0]])]
    faults = ", ".join(f"{row[0]:g} Hz: {signed(deviations[row[0]], 1)} dB" for row in bad)
    if not bad:
        return f"all, to {rows[-1][0]:g} Hz", "–"
    good = [row[0] for row in rows if row not in bad]
    low = min((f for f in good if all(b[0] < f or b[0] > 1000 for b in bad)), default=None)
    high = max((f for f in good if all(b[0] > f or b[0] < 1000 for b in bad)), default=None)
    span = f"to {high:g} Hz" if low == rows[0][0] else f"{low:g} to {high:g} Hz"
    return span, faults


def summary(curve, measured):
    lines = ["| sample rate / Hz | within class 1 | outside |", "|--:|---|---|"]
    for rate in RATES:
        within, bad = verdict(measured[curve, rate])
        lines.append(f"| {rate:.10g} | {within} | {bad} |")
    return "\n".join(lines)


def detail(curve, measured):
    limited = curve != "B"
    head = ["f / Hz"] + (["limits / dB"] if limited else [])
    head += [f"{rate / 1000:.4g} kHz" for rate in DETAILED]
    lines = ["| " + " | ".join(head) + " |", "|" + "--:|" * len(head)]
    for row in TABLE:
        below = "−∞" if row[5] is None else f"−{row[5]:.1f}"
        cells = [f"{row[0]:g}"] + ([f"+{row[4]:.1f} / {below}"] if limited else [])
        for rate in DETAILED:
            deviation = measured[curve, rate].get(row[0])
            text = "" if deviation is None else signed(deviation, 2)
            bold = limited and deviation is not None and outside(row, deviation)
            cells.append(f"**{text}**" if bold else text)
        lines.append("| " + " | ".join(cells) + " |")
    return "\n".join(lines)


def page():
    """docs/weighting.md with its tables as measured."""
    measured = {(curve, rate): measure(curve, rate) for curve in CURVES for rate in RATES}
    text = PAGE.read_text(encoding="utf-8")
    for curve in CURVES:
        text = replace_section(text, f"detail {curve}", detail(curve, measured))
        if curve != "B":
            text = replace_section(text, f"summary {curve}", summary(curve, measured))
    return text


if __name__ == "__main__":
    PAGE.write_text(page(), encoding="utf-8")
