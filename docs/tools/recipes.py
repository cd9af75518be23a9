#!/usr/bin/python3
"""Runs what stands in the recipes and writes what comes out below it:

    docs/tools/recipes.py [PAGE...]

In a page, blocks of sh and python are run in their order, in one empty folder with `examples` in it; a block of
toml whose first line is `# NAME.toml` is written there first. A block of text behind them holds the output.
The German page of a recipe has the same blocks, which it takes from the English one.
"""

import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
BLOCK = re.compile(r"^```(\w+)\n(.*?)^```$", re.MULTILINE | re.DOTALL)


def pages():
    return sorted((ROOT / "docs/recipes").glob("*.md"))


def environment():
    library = os.environ.get("VYNPACK_FOLDER", str(ROOT / "build/native/bin"))
    return {**os.environ, "PATH": f"{library}:{os.environ['PATH']}", "PYTHONPATH": str(ROOT / "python"),
            "PYTHONDONTWRITEBYTECODE": "1", "OPENBLAS_NUM_THREADS": "1", "LC_ALL": "C.UTF-8"}


def outputs(text):
    """What the page's text should be: every block of text as what was run before it says."""
    with tempfile.TemporaryDirectory() as folder:
        os.symlink(ROOT / "examples", Path(folder) / "examples")
        said = [""]

        def one(match):
            kind, body = match[1], match[2]
            if kind == "toml":
                name = re.match(r"# (\w+\.toml)\n", body)
                if name:
                    (Path(folder) / name[1]).write_text(body, encoding="utf-8")
            elif kind in ("sh", "python"):
                command = ["bash", "-e"] if kind == "sh" else [sys.executable, "-"]
                run = subprocess.run(command, input=body, cwd=folder, env=environment(), text=True, timeout=120,
                                     stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
                if run.returncode:
                    raise RuntimeError(f"{body}\nended with {run.returncode}: {run.stdout}")
                said[0] = run.stdout
            elif kind == "text":
                return f"```text\n{said[0].rstrip()}\n```"
            return match[0]
        return BLOCK.sub(one, text)


def german(page):
    return ROOT / "docs/de/recipes" / page.name


def with_blocks_of(text, other):
    """The text with the blocks of the other one, which has as many."""
    blocks = [match[0] for match in BLOCK.finditer(other)]
    return BLOCK.sub(lambda _: blocks.pop(0), text)


if __name__ == "__main__":
    for page in [Path(name) for name in sys.argv[1:]] or pages():
        page.write_text(outputs(page.read_text(encoding="utf-8")), encoding="utf-8")
        text = with_blocks_of(german(page).read_text(encoding="utf-8"), page.read_text(encoding="utf-8"))
        german(page).write_text(text, encoding="utf-8")
