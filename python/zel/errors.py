"""What the readers, edits and evaluations of zel raise and warn of."""

from typing import Iterable, NamedTuple, Optional, Tuple


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
    expected: Tuple[str, ...]  #: words that could be there
    hint: str
    line_text: str  #: all of it on one line

    def __str__(self):
        return self.line_text


class Error(Exception):
    """The base of what zel raises, with all messages of what was done.

    file, line, column, code, category and parameter are those of the first error.
    """

    def __init__(self, text: str = "", messages: Iterable[Message] = ()) -> None:
        super().__init__(text)
        self.messages = tuple(messages)

    @property
    def _first(self) -> Optional[Message]:
        errors = [message for message in self.messages if message.severity == "error"]
        return errors[0] if errors else self.messages[0] if self.messages else None

    @property
    def file(self) -> str:
        """The file that the first error is in."""
        return self._first.file if self._first else ""

    @property
    def line(self) -> int:
        """Its line, from 1."""
        return self._first.line if self._first else 0

    @property
    def column(self) -> int:
        """Its column, from 1."""
        return self._first.column if self._first else 0

    @property
    def category(self) -> str:
        """The part of the library that reported it."""
        return self._first.category if self._first else ""

    @property
    def code(self) -> int:
        """Its number there."""
        return self._first.code if self._first else 0

    @property
    def parameter(self) -> str:
        """The parameter or node that it is about."""
        return self._first.parameter if self._first else ""


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

    def __init__(self, message: Message) -> None:
        super().__init__(str(message))
        self.message = message

    def __reduce__(self):
        return type(self), (self.message,)
