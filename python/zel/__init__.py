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

from . import _zel
from . import errors as _errors
from . import pictures as _pictures
from . import records as _records

__version__ = _zel.__version__
__all__ = []


def _adopt(module):
    """What is public in a module of the package, as the package's own."""
    for name, value in list(vars(module).items()):
        if name.startswith("_") or getattr(value, "__module__", None) not in (module.__name__, __name__):
            continue
        if isinstance(value, type):
            value.__module__ = __name__
        globals()[name] = value
        __all__.append(name)


def _register():
    """What follows the protocols of collections.abc, for isinstance()."""
    from collections.abc import Mapping, Sequence

    for kind, classes in (Sequence, (_zel.Keys, _zel.Difference)), (Mapping, (_zel.Node, _zel.Scene)):
        for one in classes:
            kind.register(one)


_register()
for _module in (_zel, _errors, _records, _pictures):
    _adopt(_module)
