"""What the readers, edits and evaluations of zel raise and warn of."""

from typing import NamedTuple


class Message(NamedTuple):
    """One message, with its place. Texts are "" and numbers 0 where they aren't known.

    Lines and columns count from 1, columns in bytes of UTF-8; the end is the first byte after the mistake.
    """

    severity: str  #: "error", "warning" or "hint"
    text: str
    file: str
    line: int
    column: int
    end_line: int
    end_column: int
    parameter: str  #: a parameter, a node's path, or both: "/lights/key/t"
    category: str  #: "ZEL", "TRK", "DS", "NOD": with the code the number in docs/messages.md
    code: int
    found: str  #: the word that was read
    expected: tuple  #: words that could be there
    hint: str
    line_text: str  #: all of it on one line

    def __str__(self):
        return self.line_text


class Error(Exception):
    """The base of what zel raises, with all messages of what was done.

    file, line, column, code, category and parameter are those of the first error.
    """

    def __init__(self, text="", messages=()):
        super().__init__(text)
        self.messages = tuple(messages)

    @property
    def _first(self):
        errors = [message for message in self.messages if message.severity == "error"]
        return errors[0] if errors else self.messages[0] if self.messages else None

    def _of_first(name, otherwise, doc):
        def read(self):
            first = self._first
            return otherwise if first is None else getattr(first, name)

        return property(read, doc=doc)

    file = _of_first("file", "", "The file that the first error is in.")
    line = _of_first("line", 0, "Its line, from 1.")
    column = _of_first("column", 0, "Its column, from 1.")
    category = _of_first("category", "", "The part of the library that reported it.")
    code = _of_first("code", 0, "Its number there.")
    parameter = _of_first("parameter", "", "The parameter or node that it is about.")

    del _of_first


class ScriptError(Error):
    """A dialog script that can't be read."""


class SceneError(Error):
    """A scene or node file that can't be read or written."""


class ValuesError(Error):
    """A parameter stream or channel file that can't be read or written."""


class PresetError(Error):
    """A preset that can't be found, read or saved."""


class MapError(Error):
    """A migration map that can't be read, or a migration that can't be made."""


class PatchError(Error):
    """A difference that can't be read, made or applied."""


class EvaluationError(Error):
    """An expression or a text that can't be evaluated."""


class EditError(Error):
    """An edit that is refused: of what is locked, a name that is taken, and so on."""


class GoneError(Error):
    """What a node, a parameter or a key was of isn't there any more."""


class BusyError(Error):
    """A change from within an evaluation."""


class MessageWarning(UserWarning):
    """A warning of the library; `message` is the record."""

    def __init__(self, message):
        super().__init__(str(message))
        self.message = message

    def __reduce__(self):
        return type(self), (self.message,)
