"""Plain values that zel returns."""

from typing import TYPE_CHECKING, Any, Iterable, List, NamedTuple, Optional, Tuple

from .errors import Message as _Message

if TYPE_CHECKING:
    from ._zel import Interface as _Interface


class Key(NamedTuple):
    """A key of a channel: its value, and the curve from it to the next key.

    The slopes are in values a second, handles in seconds (0 is a third of the way). What is None is the same
    on both sides. The expression is the curve, "linear()", or what drives the channel from here.
    """

    time: float
    value: Any
    in_value: Optional[float] = None
    slope: Optional[float] = None
    in_slope: Optional[float] = None
    handle: Optional[float] = None
    in_handle: Optional[float] = None
    expression: str = "bezier()"
    language: str = "native"

    def with_value(self, value: Any) -> "Key":
        """The same key with another value on both sides."""
        return self._replace(value=value, in_value=None)


class RampKey(NamedTuple):
    """A key of a ramp: where it is, its number or (red, green, blue), and the curve to the next one."""

    position: float
    value: Any
    interpolation: str  #: the token of its menu: "linear"


class MenuItem(NamedTuple):
    """An entry of a menu: its token, which files and scripts have, and the label that people read."""

    token: str
    label: str


class Range(NamedTuple):
    """The ends of a range, None for none, and whether they limit the value or only a slider."""

    min: Optional[float]
    max: Optional[float]
    is_min_hard: bool
    is_max_hard: bool


class Change(NamedTuple):
    """One edit of a difference: an added, removed, changed, renamed or moved record.

    The paths are None where there is none: of what was added, or removed.
    """

    verb: str
    kind: str
    old_path: Optional[str]
    new_path: Optional[str]
    old: Any
    new: Any

    @property
    def path(self) -> Optional[str]:
        """The new path, or the old one of what was removed."""
        return self.old_path if self.new_path is None else self.new_path


class Conflict(NamedTuple):
    """What two people made of one thing; None is what isn't there on a side."""

    kind: str
    path: str
    base: Optional[str]
    ours: Optional[str]
    theirs: Optional[str]
    standing: str  #: "base", "ours" or "theirs"
    is_decided: bool
    text: str

    def __str__(self):
        return self.text


class Finding(NamedTuple):
    """A place of a script that a rule of lint objects to."""

    code: str
    name: str
    level: str
    message: _Message
    has_fix: bool
    text: str

    def __str__(self):
        return self.text


class Mended(NamedTuple):
    """A script after its fixes, how many there were, and the findings that are left."""

    interface: "_Interface"
    fixed: int
    findings: List[Finding]


class Help(NamedTuple):
    """What there is to say of a code: what causes the message, and what to do."""

    code: str
    severity: str
    sentence: str
    cause: str
    remedy: str
    example: str


class Migrated(NamedTuple):
    """What became of a value: carried, default, changed, lost, new, converted or dropped."""

    fate: str
    token: str
    new_token: str
    before: str
    after: str
    reason: str
    was_default: bool
    start: str  #: the versions, "" without a map
    version: str


class Account(Tuple[Migrated, ...]):
    """What became of all values, each a Migrated; has_loss where one that was set is lost or changed."""

    has_loss: bool

    def __new__(cls, entries: Iterable[Migrated] = (), has_loss: bool = False) -> "Account":
        made = super().__new__(cls, entries)  # type: ignore[arg-type]
        made.has_loss = has_loss
        return made

    def __reduce__(self):
        return type(self), (tuple(self), self.has_loss)


class MapCheck(NamedTuple):
    """What a map leaves over, and its tests, of which some may have failed."""

    holes: int
    tests: int
    failed: int
    messages: Tuple[_Message, ...]
