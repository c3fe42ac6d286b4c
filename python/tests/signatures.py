"""What functions of the compiled part take, as pybind11 says it of a call that nothing fits."""

import inspect
import re
from typing import NamedTuple


class Parameter(NamedTuple):
    name: str
    kind: str  #: "plain", "named" for one after the star, "all" for keywords of any name
    has_default: bool


def signature_of(owner, name):
    """The parameters of a function of a module, or of a method or static method of a class, without self."""
    thing = inspect.getattr_static(owner, name)
    method = inspect.isclass(owner) and not isinstance(thing, staticmethod)
    return _parse(getattr(owner, name), [object()] if method else [])[1 if method else 0 :]


def signature_of_class(made):
    """Those of its constructor; None without one."""
    return _parse(made, [])


def _parse(call, arguments):
    try:
        call(*arguments, no_such_argument=1)
    except TypeError as error:
        found = re.search(r"1\. [\w.]*\((.*)\)(?: -> .*)?$", str(error), re.M)
    if not found:
        return None
    listed, kind = [], "plain"
    for part in re.split(r", (?=\w+:|\*)", found[1]):
        if part == "*":
            kind = "named"
        elif part.startswith("**"):
            listed.append(Parameter(part[2:], "all", False))
        elif part:
            listed.append(Parameter(part.split(":")[0], kind, " = " in part))
    return listed
