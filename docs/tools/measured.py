"""What the scripts share that measure blocks for the pages (weighting.md, filter-designs.md)."""

import sys
from pathlib import Path

import numpy as np

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "python"))


def impulse_decibels(block, rate, frequencies, seconds=1.0):
    """Magnitude response in dB at frequencies in Hz, from the block's answer to one impulse."""
    impulse = np.zeros(int(rate * seconds), dtype=np.float32)
    impulse[0] = 1.0
    response = block(impulse, fs=rate).values.astype(float)
    times = np.arange(response.size) / rate
    used = np.nonzero(response)[0]
    last = used[-1] + 1 if used.size else 0
    spectrum = [np.dot(response[:last], np.exp(-2j * np.pi * f * times[:last]))
                for f in frequencies]
    return 20.0 * np.log10(np.maximum(np.abs(spectrum), 1e-15))


def replace_section(page, name, text):
    """Puts text between the page's markers <!-- begin NAME --> and <!-- end NAME -->."""
    begin, end = f"<!-- begin {name} -->", f"<!-- end {name} -->"
    before, rest = page.split(begin)
    after = rest.split(end)[1]
    return f"{before}{begin}\n\n{text.strip()}\n\n{end}{after}"
