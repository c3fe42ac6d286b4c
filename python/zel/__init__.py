"""Scenes of nodes with parameters: read, evaluated, changed and saved.

>>> import zel
>>> box = zel.Interface.from_text('parm { name "size" type vector default { 1 2 3 } }', "box")
>>> scene = zel.Scene()
>>> node = scene.add("box", box)
>>> node["size"].value
(1.0, 2.0, 3.0)
>>> node["size"][1].expression = "$F * 2"
>>> node["size"].at(frame=12)
(1.0, 24.0, 3.0)
"""

from . import errors as _errors
from . import records as _records
from ._zel import Interface, Keys, Node, Parm, Scene, __version__, enable_python, load
from .errors import *
from .records import *

__all__ = [
    "Interface",
    "Keys",
    "Node",
    "Parm",
    "Scene",
    "enable_python",
    "load",
]


def _adopt(module):
    """The classes of a module of the package, as its own."""
    for name, value in list(vars(module).items()):
        if isinstance(value, type) and value.__module__ == module.__name__:
            value.__module__ = __name__
            globals()[name] = value
            __all__.append(name)


_adopt(_errors)
_adopt(_records)
for _class in (Interface, Keys, Node, Parm, Scene):
    _class.__module__ = __name__
