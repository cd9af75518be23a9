"""What stands in the recipes runs, and says what stands there."""

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
