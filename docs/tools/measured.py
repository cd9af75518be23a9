"""What the scripts share that measure blocks for the pages (weighting.md, filter-designs.md)."""

import sys
from pathlib import Path

import numpy as np

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "python"))


def impulse_decibels(block, rate, frequencies, seconds=0.25):
    """Magnitude response in dB at frequencies in Hz, from the block's answer to one impulse."""
    impulse = np.zeros(int(rate * seconds), dtype=np.float32)
    impulse[0] = 1.0
    response = block(impulse, fs=rate).values.astype(float)
    return 20.0 * np.log10(np.maximum(np.abs(transform(response, rate, frequencies)), 1e-15))


def transform(response, rate, frequencies):
    """Fourier transform of a response at any frequencies: short sums, and a sum of their sums."""
    inner = 512
    rows = np.zeros(-(-response.size // inner) * inner)
    rows[:response.size] = response
    rows = rows.reshape(-1, inner)
    turns = -2j * np.pi * np.asarray(frequencies, dtype=float)[:, None] / rate
    parts = np.exp(turns * np.arange(inner)) @ rows.T
    return np.sum(parts * np.exp(turns * inner * np.arange(len(rows))), axis=1)


def replace_section(page, name, text):
    """Puts text between the page's markers <!-- begin NAME --> and <!-- end NAME -->."""
    begin, end = f"<!-- begin {name} -->", f"<!-- end {name} -->"
    before, rest = page.split(begin)
    after = rest.split(end)[1]
    return f"{before}{begin}\n\n{text.strip()}\n\n{end}{after}"
