"""Pictures of ramps and of the curves that keys and expressions make."""

import math
import os
from typing import Any, Iterable, List, Optional, Tuple, Union

from . import _files, _zel

_Drawn = Union[_zel.Parm, _zel.Keys, _zel.Ramp, Iterable[Union[_zel.Parm, _zel.Keys]]]

_STEPS = 240
_COLORS = ("tab:blue", "tab:red", "tab:green", "tab:olive")


class Picture:
    """An SVG document, which notebooks show."""

    def __init__(self, svg: str) -> None:
        self.svg = svg  #: the document

    def __str__(self) -> str:
        return self.svg

    def __repr__(self):
        return f"<zel.Picture of {len(self.svg)} bytes>"

    def _repr_svg_(self) -> str:
        return self.svg

    def save(self, path: Union[str, "os.PathLike[str]"]) -> None:
        """Replaces the file at once or, after an error, leaves it as it was."""
        _files.replace(os.fspath(path), self.svg.encode("utf-8", "surrogateescape"))


class _Curve:
    """One component: its name, and (frame, value) of points and keys."""

    def __init__(self, keys, frames):
        parm = keys.parm
        scene = parm.node.scene
        if parm.kind not in ("float", "int", "bool"):
            raise TypeError(f"{parm.name} has no numbers")
        self.name = parm.name
        times = keys.times
        if frames is None:
            frames = _frames_of(scene, times)
        first, last = (scene.time_of(frame) for frame in frames)
        if not first <= last:
            raise ValueError("the last frame is before the first one")
        inside = [time for time in times if first <= time <= last]
        moments = {first + (last - first) * step / _STEPS for step in range(_STEPS + 1)}
        # Both sides of each key, where a curve may jump.
        moments.update(inside, (max(first, math.nextafter(time, -math.inf)) for time in inside))
        grid = sorted(moments)
        values = parm.node.sample(parm.name, times=grid)
        self.points = [(scene.frame_of(time), values[row, 0]) for row, time in enumerate(grid)]
        self.keys = [(scene.frame_of(time), parm.at(time)) for time in inside]


def _frames_of(scene, times):
    if len(times) > 1:
        return scene.frame_of(times[0]), scene.frame_of(times[-1])
    return scene.frame_range


def _curves_of(what, frames):
    if frames is not None:
        frames = tuple(frames)
        if len(frames) != 2:
            raise ValueError("frames are a first and a last one")
    if isinstance(what, (_zel.Parm, _zel.Keys)) or not isinstance(what, Iterable):
        what = (what,)
    curves: List[_Curve] = []
    for one in what:
        if isinstance(one, _zel.Parm):
            all_keys = one.keys if len(one) > 1 else (one.keys,)
        elif isinstance(one, _zel.Keys):
            all_keys = (one,)
        else:
            raise TypeError(f"{type(one).__name__} is no parameter, keys or ramp")
        curves.extend(_Curve(keys, frames) for keys in all_keys)
    return curves


def _ramp_of(what):
    if isinstance(what, _zel.Parm) and what.is_ramp:
        return what.ramp()
    return what if isinstance(what, _zel.Ramp) else None


def draw(what: _Drawn, *, frames: Optional[Tuple[float, float]] = None, title: Optional[str] = None) -> Picture:
    """A picture of a ramp, or of the curves of a parameter, of keys, or of several of them.

    `frames` are the first and the last one of the curves: without them those of the keys, or the scene's range.
    The title is what the picture is called where it can't be seen; without one the name.

    >>> node = zel.Scene().add("lamp", zel.Interface.from_text('parm { name "level" type float }', "lamp"))
    >>> node["level"].keys = [(0, 1), (1, 3)]
    >>> zel.draw(node["level"]).svg.startswith("<svg")
    True
    """
    ramp = _ramp_of(what)
    if ramp is not None:
        return Picture(ramp.svg(title))
    curves = _curves_of(what, frames)
    if title is None:
        title = ", ".join(curve.name for curve in curves)
    return Picture(_zel._draw_curves([(curve.points, curve.keys) for curve in curves], title))


def plot(what: _Drawn, *, frames: Optional[Tuple[float, float]] = None, ax: Any = None) -> Any:
    """The same with matplotlib, into its axes `ax` or new ones, which are returned; without matplotlib draw().

    Curves are over frames, with a marker for each key; a ramp is over its positions.
    """
    try:
        import matplotlib.pyplot as pyplot
    except ImportError:
        if ax is not None:
            raise
        return draw(what, frames=frames)
    ramp = _ramp_of(what)
    curves = _curves_of(what, frames) if ramp is None else ()
    if ax is None:
        ax = pyplot.subplots()[1]
    if ramp is not None:
        _plot_ramp(ramp, ax)
        return ax
    for number, curve in enumerate(curves):
        color = _COLORS[number % len(_COLORS)]
        ax.plot(*zip(*curve.points), color=color, label=curve.name)
        if curve.keys:
            ax.plot(*zip(*curve.keys), "o", color=color, label=f"_{curve.name}")
    ax.set_xlabel("frame")
    if curves:
        ax.legend()
    return ax


def _plot_ramp(ramp, ax):
    ends = [0.0, 1.0, *(key.position for key in ramp.keys)]
    low, high = min(ends), max(ends)
    grid = [low + (high - low) * step / _STEPS for step in range(_STEPS + 1)]
    ax.set_xlabel("position")
    ax.set_title(ramp.name)
    if not ramp.is_color:
        ax.plot(grid, [ramp.at(position) for position in grid], color=_COLORS[0])
        if ramp.keys:
            ax.plot([key.position for key in ramp.keys], [key.value for key in ramp.keys], "o", color=_COLORS[1])
        return
    from matplotlib.colors import to_rgb

    ax.imshow([[to_rgb(ramp.screen_color(position)) for position in grid]], extent=(low, high, 0, 1), aspect="auto")
    for key in ramp.keys:
        ax.plot(key.position, 0, "^", color=ramp.screen_color(key.position), markeredgecolor="black", clip_on=False)
    ax.set_yticks([])
