"""Every page that is computed: what it is called, and its text."""

import difflib

import block_figures
import block_life
import filter_designs
import weighting as weighting_tables
from measured import ROOT

from . import bands, classes, fft, filters, levels, statistics, transfer, uncertainty, weighting, windows
from .pages import UNEXPLAINED, Table

TOPICS = (weighting, levels, bands, windows, fft, filters, transfer, classes, statistics)
FOLDER = "docs/conformance"


def index(pages):
    table = Table(["page", "what is held against what", "hold", "deviate"], ["---", "---", "--:", "--:"])
    for page in pages:
        table.add(f"[{page.title}]({page.name}.md)", AGAINST[page.name], page.holds, page.deviates)
    table.add("", "**together**", sum(page.holds for page in pages), sum(page.deviates for page in pages))
    return f"""# Conformance

<!-- made by tools/conformance; tests/python/test_conformance.py holds it -->

What the blocks compute, held against standards, textbooks and independent programs. `tools/conformance` drives the module's
exports as a host does (through the Python package `vynpack`), computes each expected value another way, and writes these pages; `./check` computes them
again and fails when a character differs. Nobody types a figure here.

{table.text()}

**How a row reads.** Expected, by what source, what was measured, what is left to the limit, and the verdict. "Deviates" stands with its reason,
which is a described design that is kept, and with what to do about it. What it all means for a level that is written into a report:
[uncertainty](../uncertainty.md).

**Two witnesses.** A number of a standard stands in a table only when something else confirms it: the formula that it is rounded from, or another
edition. Where no second witness was at hand the page says so, and nothing is held against that number.

**Digits.** The program's results have the same bits on every machine and at every instruction-set level; the references' last bits have not. Figures
are printed as far as both agree, rounding errors of double precision as the next step of 1, 2, 5.

After a change of the program: `tools/conformance` writes the pages anew, and the difference belongs into the commit.
"""


AGAINST = {
    "weighting": "IEC 61672-1: nominal values, limits of class 1 and 2 per sample rate, annex E",
    "levels": "IEC 61672-1: decay rates, tone bursts of 1 s to 0.25 ms; energies in closed form",
    "bands": "IEC 61260-1: edges, mask of class 1; power of noise",
    "windows": "Harris 1978; scipy.signal.windows",
    "fft": "long double, sums of 30 digits, Parseval",
    "filters": "scipy.signal, closed forms of 40 digits: poles, ripple, attenuation, delay",
    "transfer": "Bendat & Piersol: bias and scatter of H1, H2, coherence",
    "classes": "counts by hand, ASTM E1049, Rice",
    "statistics": "exact fractions; NIST StRD",
}


def everything():
    """Path -> text of every computed page and picture."""
    pages = [topic.page() for topic in TOPICS]
    made = {f"{FOLDER}/{page.name}.md": page.text() for page in pages}
    made[f"{FOLDER}/README.md"] = index(pages)
    made["docs/uncertainty.md"] = uncertainty.page({page.name: page.facts for page in pages})
    made["docs/weighting.md"] = weighting_tables.page()
    made |= {f"docs/figures/{name}": text for name, text in filter_designs.pictures()}
    made |= {f"docs/figures/{name}": text for name, text in block_figures.pictures()}
    made["docs/figures/block_life.svg"] = block_life.picture()
    return made


def unexplained(text):
    """The rows that deviate without a reason."""
    return [line for line in text.splitlines() if UNEXPLAINED in line]


def written(path):
    place = ROOT / path
    return place.read_text(encoding="utf-8") if place.exists() else ""


def differences(path, text):
    """What the page on the disk has otherwise, as a few lines; empty when nothing."""
    lines = difflib.unified_diff(written(path).splitlines(), text.splitlines(), path, "as computed", n=0, lineterm="")
    return list(lines)[:20]
