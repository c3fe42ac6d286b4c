"""Plain values that zel returns."""

from typing import Any, NamedTuple, Optional


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

    def with_value(self, value):
        """The same key with another value on both sides."""
        return self._replace(value=value, in_value=None)


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
