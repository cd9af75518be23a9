"""The computed pages say what the program computes."""

import sys

import pytest
from conftest import ROOT

sys.path.insert(0, str(ROOT / "docs/tools"))
from conformance import make, pages  # noqa: E402  (found by the line above)


@pytest.fixture(scope="module")
def computed():
    return make.everything()


def test_every_computed_page_is_the_one_in_the_folder(computed):
    differ = {path: make.differences(path, text) for path, text in computed.items()}
    assert not any(differ.values()), "\n".join(line for lines in differ.values() for line in lines)


def test_every_page_of_the_folder_is_computed(computed):
    there = {str(page.relative_to(ROOT)) for page in (ROOT / make.FOLDER).glob("*")}
    assert there == {path for path in computed if path.startswith(make.FOLDER)}


def test_a_changed_figure_is_a_difference(computed):
    path = f"{make.FOLDER}/levels.md"
    changed = computed[path].replace("34.7", "34.8")
    assert changed != computed[path] and any("34.8" in line for line in make.differences(path, changed))


@pytest.mark.parametrize("value, digits, text", [
    (-0.004, 2, "0.00"), (0.125 - 1e-13, 2, "0.13"), (0.125 + 1e-13, 2, "0.13"), (-1.5, 0, "−2"), (1e-9, 3, "0.000"),
    (float("-inf"), 1, "−∞")])
def test_a_figure_does_not_hang_on_the_last_bit(value, digits, text):
    assert pages.number(value, digits) == text


@pytest.mark.parametrize("value, text", [
    (1.9e-16, "≤ 2·10⁻¹⁶"), (1.97e-16, "≤ 5·10⁻¹⁶"), (0.0, "0"), (9.9e-8, "≤ 2·10⁻⁷"), (3e-3, "≤ 5·10⁻³")])
def test_a_rounding_error_is_the_next_step_with_room(value, text):
    assert pages.ladder(value) == text


def test_a_deviation_needs_its_reason(computed):
    made = pages.Page("x", "x", "")
    made.table("what", "verdict").add("a row", made.verdict(False))
    made.table("what", "verdict").add("another", made.verdict(False, "note 1"))
    assert make.unexplained(made.text()) == [f"| a row | **deviates**: {pages.UNEXPLAINED} |"]
    assert not any(make.unexplained(text) for text in computed.values())
