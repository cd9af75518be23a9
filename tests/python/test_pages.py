"""What stands in the recipes runs, and says what stands there."""

import re
import subprocess
import sys

import h5py
import numpy as np
import pytest
from conftest import ROOT

sys.path.insert(0, str(ROOT / "docs/tools"))
import recipes  # noqa: E402  (found by the line above)


@pytest.mark.parametrize("page", recipes.pages(), ids=lambda page: page.stem)
def test_every_command_of_a_recipe_runs_and_says_what_stands_there(page):
    text = page.read_text(encoding="utf-8")
    assert recipes.outputs(text) == text


def test_every_recipe_but_the_list_has_a_command_with_its_output():
    for page in recipes.pages():
        kinds = [kind for kind, _ in recipes.BLOCK.findall(page.read_text(encoding="utf-8"))]
        assert page.name == "README.md" or ("text" in kinds and {"sh", "python"} & set(kinds)), page


@pytest.mark.parametrize("page", recipes.pages(), ids=lambda page: page.stem)
def test_the_german_page_of_a_recipe_has_the_commands_and_outputs_of_the_english_one(page):
    english, german = (recipes.BLOCK.findall(one.read_text(encoding="utf-8")) for one in (page, recipes.german(page)))
    assert german == english


def test_every_page_for_users_is_there_in_german_and_leads_to_the_english_one():
    listed = re.findall(r": docs/((?:blocks|recipes)/[\w.-]+\.md|install\.md|vynhost\.md)$",
                        (ROOT / "mkdocs.yml").read_text(encoding="utf-8"), re.MULTILINE)
    german = {str(page.relative_to(ROOT / "docs/de")) for page in (ROOT / "docs/de").rglob("*.md")}
    assert german == set(listed)
    for name in german:
        back = "../" * (name.count("/") + 1) + name
        assert f"\n[English]({back})\n" in (ROOT / "docs/de" / name).read_text(encoding="utf-8"), name


STANDS_FOR = {"TYPE", "DIAGRAM", "RECORDING", "MODULE", "TYP", "DIAGRAMM", "AUFNAHME", "MODUL"}


def commands(page):
    """The commands of a page as they stand: not what says how a command looks, nor what an installation has."""
    lines = re.findall(r"^    (vynhost .*?)(?: {3,}.*)?$", page.read_text(encoding="utf-8"), re.MULTILINE)
    return [line for line in lines if not STANDS_FOR & set(line.split()) and not re.search(r"[\[/]|\.\.\.", line.replace("o/{name}", "")
                                                                                         .replace("messung/*", ""))]


def test_every_command_of_the_other_pages_runs(tmp_path):
    examples = ROOT / "examples"
    (tmp_path / "messung").mkdir()
    for name, example in {"cal.wav": "two_calibrators.wav", "meas.wav": "two_channels.wav",
                          "messung/1.wav": "calibrator.wav"}.items():
        (tmp_path / name).symlink_to(examples / example)
    (tmp_path / "d.toml").write_text("[source.m]\nfile = \"none.wav\"\n[sink.m]\nfrom = \"m\"\ncsv = \"m.csv\"\n")
    environment = recipes.environment()
    ran = []
    for page in [*sorted((ROOT / "docs").glob("*.md")), *sorted((ROOT / "docs/de").rglob("*.md"))]:
        for command in commands(page):
            run = subprocess.run(["bash", "-c", command], cwd=tmp_path, env=environment, capture_output=True, text=True, timeout=60)
            assert run.returncode == 0, f"{page}: {command}: {run.stderr}"
            if command.startswith("vynhost skeleton "):
                (tmp_path / "schaltbild.toml").write_text(run.stdout, encoding="utf-8")
            ran.append(command.split()[1])
    assert {"calibrate", "level", "spectrum", "bands", "transfer", "run", "list", "skeleton", "doctor"} <= set(ran)


def test_the_german_diagram_runs(tmp_path):
    toml = re.search(r"```toml\n(.*?)```", (ROOT / "docs/de/vynhost.md").read_text(encoding="utf-8"), re.DOTALL)[1]
    (tmp_path / "d.toml").write_text(toml, encoding="utf-8")
    subprocess.run(["vynhost", "run", "--quiet", "d.toml"], cwd=tmp_path, env=recipes.environment(), check=True, timeout=60)
    assert (tmp_path / "terzen.csv").exists() and (tmp_path / "terzen.svg").exists()


def test_a_command_that_fails_is_told():
    with pytest.raises(RuntimeError, match="ended with 3"):
        recipes.outputs("```sh\nexit 3\n```\n")


def test_every_page_stands_in_the_sites_list():
    listed = set(re.findall(r": ([\w/.-]+\.md)$", (ROOT / "mkdocs.yml").read_text(encoding="utf-8"), re.MULTILINE))
    pages = {str(page.relative_to(ROOT)) for page in [*(ROOT / "docs").rglob("*.md"), *ROOT.glob("*.md")]}
    assert listed == pages


def test_every_block_has_its_diagram_and_its_picture():
    stems = {page.stem for page in (ROOT / "docs/blocks").glob("TO*.md")}
    assert stems == {diagram.stem for diagram in (ROOT / "examples/blocks").glob("*.toml")}
    for stem in stems:
        assert f"(../figures/{stem}.svg)" in (ROOT / f"docs/blocks/{stem}.md").read_text(encoding="utf-8")


def test_the_code_of_the_python_page_runs(tmp_path):
    page = (ROOT / "docs/python.md").read_text(encoding="utf-8")
    code = [line[4:] for line in re.findall(r"^(?:    .*|)$", page, re.MULTILINE)]
    first, said = code.index('>>> vp.Spectrum(window="haning")'), next(line for line in code if line.startswith("InputError: "))
    wrong = code[first][4:]
    code = [line for line in code if not line.startswith((">>>", "InputError"))]
    (tmp_path / "examples").symlink_to(ROOT / "examples")
    (tmp_path / "recordings").mkdir()
    (tmp_path / "recordings/one.wav").symlink_to(ROOT / "examples/calibrator.wav")
    with h5py.File(tmp_path / "hammer.h5", "w") as file:
        file["run 1/force"] = np.zeros(16, np.float32)
        file["run 1/force"].attrs.update(fs=1000.0, unit="N")
    script = tmp_path / "page.py"
    lines = ["from pathlib import Path", "import matplotlib", "matplotlib.use('Agg')", "import numpy as np",
             "chunks = np.random.default_rng(1).standard_normal((4, 4096))", *code, "try:", f"    {wrong}",
             "except vp.InputError as error:", "    print(error)"]
    script.write_text("\n".join(["if __name__ == '__main__':", *(f"    {line}" for line in lines)]), encoding="utf-8")
    run = subprocess.run([sys.executable, script], cwd=tmp_path, env=recipes.environment(), capture_output=True, text=True, timeout=120)
    assert run.returncode == 0, run.stderr
    assert run.stdout.splitlines()[-1].startswith(said.removeprefix("InputError: ").split(" (allowed")[0])
    assert (tmp_path / "levels.csv").read_text(encoding="utf-8").count("one.wav") > 1
