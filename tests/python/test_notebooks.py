"""The notebooks: run anew, each cell shows what it shows in the file."""

import importlib.machinery
import importlib.util

import pytest
from conftest import ROOT

nbformat = pytest.importorskip("nbformat")
pytest.importorskip("nbclient")
pytest.importorskip("ipykernel")
NOTEBOOKS = sorted((ROOT / "docs/notebooks").glob("*.ipynb"))


@pytest.fixture(scope="module")
def executed():
    loader = importlib.machinery.SourceFileLoader("notebooks", str(ROOT / "tools/notebooks"))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("notebooks", loader))
    loader.exec_module(module)
    return module.executed


def shown(notebook):
    """Texts and tables of each cell as they are; of pictures only that there is one."""
    def parts(output):
        if "data" not in output:
            return dict(output)
        return {kind: "a picture" if kind.startswith("image/") else text for kind, text in output["data"].items()}
    return [[parts(output) for output in cell.outputs] for cell in notebook.cells if cell.cell_type == "code"]


@pytest.mark.parametrize("file", NOTEBOOKS, ids=lambda f: f.stem)
def test_a_notebook_shows_what_its_file_says(file, executed, tmp_path, monkeypatch):
    for name in ("IPYTHONDIR", "JUPYTER_DATA_DIR", "JUPYTER_RUNTIME_DIR", "JUPYTER_CONFIG_DIR"):
        monkeypatch.setenv(name, str(tmp_path))
    monkeypatch.setenv("PYTHONPATH", "")
    stored = nbformat.read(file, as_version=4)
    assert any(shown(stored)), "it has never been run: tools/notebooks"
    assert shown(executed(file)) == shown(stored)


def test_there_are_the_three():
    assert [file.stem for file in NOTEBOOKS] == ["impact_h1", "load_classes", "sound_level"]
