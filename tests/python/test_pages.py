"""What stands in the recipes runs, and says what stands there."""

import re
import sys

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
