"""The examples in docstrings, and that what is public has one."""

import doctest
import inspect

import pytest

import zel


def public():
    for name in zel.__all__:
        thing = getattr(zel, name)
        yield name, thing
        if inspect.isclass(thing):
            for member, value in vars(thing).items():
                if not member.startswith("_") and not isinstance(value, (str, int, tuple)):
                    yield f"{name}.{member}", value


@pytest.mark.parametrize("name, thing", [("zel", zel), *public()])
def test_examples_of_docstrings(name, thing):
    doc = inspect.getdoc(thing)
    assert doc, f"{name} has no docstring"
    if inspect.isclass(thing) and thing in vars(zel._zel).values():
        assert ">>>" in doc, f"{name} has no example"
    test = doctest.DocTestParser().get_doctest(doc, {"zel": zel}, name, None, 0)
    assert doctest.DocTestRunner(verbose=False).run(test).failed == 0
