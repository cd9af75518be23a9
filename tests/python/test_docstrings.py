"""What help() says: every parameter, what comes back, what is raised, and examples that run."""

import doctest
import inspect
import re

import pytest
import vynpack as vp

CLASSES = [*vp.BLOCKS, vp.Block, vp.Diagram, vp.Result, vp.DiagramResults, vp.Axis, vp.BatchSummary]
FUNCTIONS = [one for one in (*(getattr(vp, name) for name in vp.__all__), vp.dask.map_blocks) if inspect.isfunction(one)]
METHODS = [member for one in CLASSES for name, member in vars(one).items()
           if not name.startswith("_") and inspect.isfunction(member) and member.__doc__]  # own ones: start is told once


def sections(doc):
    """{"Parameters": text, ...} of a numpydoc docstring."""
    parts = re.split(r"(?m)^([A-Z][a-z]+)\n-+\n", inspect.cleandoc(doc or ""))
    return dict(zip(parts[1::2], parts[2::2]))


def documented(section):
    return {name.strip(" *") for line in section.splitlines() if line and line[0] != " "
            for name in line.split(" : ")[0].split(",")}


def parameters(function):
    return {name for name in inspect.signature(function).parameters if name not in ("self", "cls")}


@pytest.mark.parametrize("function", [*FUNCTIONS, *METHODS], ids=lambda f: f.__qualname__)
def test_a_function_says_its_parameters_its_result_and_its_errors(function):
    said = sections(function.__doc__)
    assert documented(said.get("Parameters", "")) == parameters(function)
    gives = inspect.signature(function).return_annotation
    assert gives == "None" or "Returns" in said or "Yields" in said
    assert function in METHODS or "Raises" in said


@pytest.mark.parametrize("kind", [*vp.BLOCKS, vp.Diagram], ids=lambda k: k.__name__)
def test_a_class_says_its_parameters_and_has_an_example(kind):
    said = sections(kind.__doc__)
    assert documented(said["Parameters"]) == parameters(kind.__init__)
    assert ">>>" in said["Examples"]


@pytest.mark.parametrize("kind", CLASSES, ids=lambda k: k.__name__)
def test_everything_public_has_a_docstring(kind):
    assert kind.__doc__
    for name, member in vars(kind).items():
        if not name.startswith("_") and (inspect.isfunction(member) or isinstance(member, (property, classmethod))):
            assert name in getattr(kind, "keywords", {}) or inspect.getdoc(getattr(kind, name)), name


def test_there_are_more_than_twenty_examples():
    """./check runs them."""
    modules = [module for name, module in vars(vp).items() if inspect.ismodule(module)]
    examples = {test.name for module in [vp, *modules] for test in doctest.DocTestFinder().find(module) if test.examples}
    assert len(examples) > 20, examples
