#!/usr/bin/python3
"""Draws docs/figures/iir_*.svg: the measured magnitude response of every IIR design.

    docs/tools/filter_designs.py

One picture per characteristic with a panel per mode; in each, orders 2, 4 and 8. Every curve is the
transform of what the digital filter block makes of an impulse at 48 kHz.
"""

from pathlib import Path

import numpy as np
from measured import impulse_decibels

import vynpack as vp  # found by the line above

RATE = 48000.0
CUTOFF, LOWER, UPPER = 3000.0, 2000.0, 5000.0
RIPPLE, ATTENUATION = 1.2, 40.0
ORDERS = (2, 4, 8)
MODES = ("Low Pass", "High Pass", "Band Pass", "Band Stop")
TYPES = ("Butterworth", "Chebyshev", "Elliptic", "Inverse Chebyshev", "Bessel")

TOP, BOTTOM = 5.0, -80.0  # dB
FREQUENCIES = np.geomspace(200.0, 23900.0, 420)
PANEL = (215, 170)  # width, height
MARGIN = (38, 30)  # left, top of a panel

STYLE = """
.page { fill: #fff; } text { font: 11px sans-serif; }
text { fill: #333; } .grid { stroke: #ddd; } .edge { stroke: #999; stroke-dasharray: 3 3; }
.curve { fill: none; stroke-width: 1.4; }
.o0 { stroke: #0072b2; } .o1 { stroke: #d55e00; } .o2 { stroke: #009e73; }
@media (prefers-color-scheme: dark) {
.page { fill: #16181d; } text { fill: #ccc; } .grid { stroke: #333; } .edge { stroke: #777; }
.o0 { stroke: #56b4e9; } .o1 { stroke: #e69f00; } .o2 { stroke: #4cc9a0; } }
"""


def across(f):
    low, high = np.log(FREQUENCIES[[0, -1]])
    return (np.log(f) - low) / (high - low) * PANEL[0]


def down(level):
    return (TOP - np.clip(level, BOTTOM, TOP)) / (TOP - BOTTOM) * PANEL[1]


def line(kind, x1, y1, x2, y2):
    return f'<line class="{kind}" x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}"/>'


def panel(mode, responses):
    parts = [f'<text x="0" y="-8">{MODES[mode]}</text>']
    for level in range(0, -81, -20):
        y = down(level)
        parts.append(line("grid", 0, y, PANEL[0], y))
        parts.append(f'<text x="-5" y="{y + 4:.1f}" text-anchor="end">{level}</text>')
    for f, label in ((500, "500"), (1000, "1 k"), (2000, "2 k"), (5000, "5 k"), (10000, "10 k")):
        x = across(f)
        parts.append(line("grid", x, 0, x, PANEL[1]))
        parts.append(f'<text x="{x:.1f}" y="{PANEL[1] + 14}" text-anchor="middle">{label}</text>')
    for edge in ((CUTOFF,) if mode < 2 else (LOWER, UPPER)):
        parts.append(line("edge", across(edge), 0, across(edge), PANEL[1]))
    for number, response in enumerate(responses):
        points = " ".join(f"{x:.1f},{y:.1f}" for x, y in zip(across(FREQUENCIES), down(response)))
        parts.append(f'<polyline class="curve o{number}" points="{points}"/>')
    return parts


def picture(kind, measured):
    width = len(MODES) * (PANEL[0] + MARGIN[0] + 8) + 8
    height = PANEL[1] + MARGIN[1] + 40
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" '
             f'width="{width}" height="{height}">',
             f"<title>{TYPES[kind]}: measured magnitude in dB over frequency in Hz</title>",
             f"<style>{STYLE}</style>",
             '<rect class="page" width="100%" height="100%"/>']
    for mode in range(len(MODES)):
        x = MARGIN[0] + mode * (PANEL[0] + MARGIN[0] + 8)
        parts += [f'<g transform="translate({x},{MARGIN[1]})">', *panel(mode, measured[mode]),
                  "</g>"]
    for number, order in enumerate(ORDERS):
        x, y = MARGIN[0] + 90 * number, height - 8
        parts.append(line(f"curve o{number}", x, y - 4, x + 18, y - 4))
        parts.append(f'<text x="{x + 23}" y="{y}">order {order}</text>')
    return "\n".join(parts + ["</svg>", ""])


def pictures():
    """(file name, SVG) of every characteristic."""
    for kind, name in enumerate(TYPES):
        measured = []
        for mode in range(len(MODES)):
            responses = []
            for order in ORDERS:
                block = vp.Filter(kind="IIR", mode=mode, characteristic=kind, order=order,
                                  cutoff=CUTOFF, lower=LOWER, upper=UPPER, ripple=RIPPLE,
                                  attenuation=ATTENUATION)
                responses.append(impulse_decibels(block, RATE, FREQUENCIES))
            measured.append(responses)
        yield f"iir_{name.lower().replace(' ', '_')}.svg", picture(kind, measured)


def main():
    folder = Path(__file__).resolve().parents[1] / "figures"
    folder.mkdir(exist_ok=True)
    for name, text in pictures():
        (folder / name).write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main()
