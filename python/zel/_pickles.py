"""What pickles are read by: functions of the compiled part have no names that a pickle could keep."""

from ._zel import Difference, Interface, Scene


def scene(data):
    return Scene.from_bytes(data, "pickle")


def interface(text, name):
    return Interface.from_text(text, name)


def difference(text):
    return Difference.from_json(text)
