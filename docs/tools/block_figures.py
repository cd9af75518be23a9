"""Draws docs/figures/TO*.svg: what vynhost makes of examples/blocks/TO*.toml, a picture per block."""

import subprocess
import tempfile
from pathlib import Path

from measured import ROOT

VYNHOST = ROOT / "build/native/bin/vynhost"


def pictures():
    """(file name, SVG) of every block."""
    with tempfile.TemporaryDirectory() as folder:
        for diagram in sorted((ROOT / "examples/blocks").glob("*.toml")):
            subprocess.run([VYNHOST, "run", diagram, "--out", folder, "-q"], check=True, timeout=120, capture_output=True)
            name = f"{diagram.stem}.svg"
            yield name, (Path(folder) / name).read_text(encoding="utf-8")
