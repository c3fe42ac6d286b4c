"""The same random edits through C++ and through Python give the same bytes and the same numbers."""

import os
import random
import subprocess

import pytest
from conftest import ALL_KINDS

import zel

PROGRAM = os.environ.get("ZEL_PYTHON_EDITS", "")


class Player:
    """Plays edits in Python; what can't be done is left out, as in C++."""

    def __init__(self, script):
        self.scene = zel.Scene()
        self.interface = zel.Interface(script)
        self.blocks = []
        self.numbers = []

    def play(self, word, *fields):
        if word not in ("read", "begin", "end", "undo", "redo", "frame"):
            try:
                getattr(self, word)(*fields)
            except (zel.EditError, IndexError):
                pass
        else:
            getattr(self, word)(*fields)

    def add(self, path):
        self.scene.add(path, self.interface)

    def remove(self, path):
        self.scene[path].remove()

    def rename(self, path, name):
        self.scene[path].name = name

    def copy(self, path, name):
        self.scene[path].copy(name)

    def set(self, path, name, value):
        self.scene[path][name].value = value

    setint = settext = set

    def setvector(self, path, name, *values):
        self.scene[path][name].value = values

    def key(self, path, name, time, value):
        self.scene[path][name].keys.add(time, value)

    def expression(self, path, name, text):
        self.scene[path][name].expression = text

    def constant(self, path, name):
        self.scene[path][name].expression = None

    def revert(self, path, name):
        self.scene[path][name].revert()

    def lock(self, path, name, locked):
        self.scene[path][name].locked = bool(locked)

    def insert(self, path, name, item):
        self.scene[path][name].insert(item)

    def take(self, path, name, item):
        self.scene[path][name].remove(item)

    def frame(self, frame):
        self.scene.frame = frame

    def begin(self, label):
        self.blocks.append(self.scene.undo(label).__enter__())

    def end(self):
        self.blocks.pop().__exit__(None, None, None)

    def undo(self):
        self.scene.undo()

    def redo(self):
        self.scene.redo()

    def read(self, path, name, frame):
        self.numbers.append(self.scene[path][name].at(frame=frame).hex())


def made_up(player, rng):
    """An edit that the scene of the player can have."""
    paths = [path for path in player.scene if path.count("/") < 3]
    path = rng.choice(paths) if paths else ""
    number = rng.choice([rng.uniform(-5, 15), float(rng.randrange(9)), 1e-17])
    float_name = rng.choice(["size", "tx", "ty", "tz"])
    if not paths or rng.random() < 0.08:
        return "add", f"{rng.choice(['', path])}/n{rng.randrange(20)}"
    if player.blocks and rng.random() < 0.2:
        return ("end",)
    item = rng.randrange(3)
    return rng.choice(
        [
            ("set", path, float_name, number),
            ("set", path, float_name, number),
            ("setint", path, "count", rng.randrange(-9, 9)),
            ("setint", path, "on", rng.randrange(2)),
            ("setint", path, "points", rng.randrange(4)),
            ("settext", path, "note", f"a b{rng.randrange(9)}"),
            ("settext", path, "mode", rng.choice(["hard", "soft", "none"])),
            ("setvector", path, "t", number, 2.0, -number) if not player.scene[path]["t"].locked else ("undo",),
            ("key", path, float_name, rng.randrange(5) / 2, number),
            ("expression", path, float_name, rng.choice(["$F * 2", "ch('count')", f"ch('../n{item}/tx')"])),
            ("constant", path, float_name) if player.scene[path][float_name].is_animated else ("redo",),
            ("revert", path, rng.choice(["t", "size", "note"])),
            ("lock", path, rng.choice(["t", "size"]), rng.randrange(2)),
            ("insert", path, "points", 0),
            ("take", path, "points", 0) if player.scene[path]["points"].value else ("undo",),
            ("remove", path),
            ("rename", path, f"r{rng.randrange(9)}"),
            ("copy", path, f"c{rng.randrange(9)}"),
            ("frame", rng.randrange(1, 50)),
            ("begin", "Block") if len(player.blocks) < 2 else ("end",),
            ("undo",) if not player.blocks else ("end",),
            ("redo",) if not player.blocks else ("end",),
            ("read", path, float_name, rng.randrange(1, 60)),
        ]
    )


@pytest.mark.skipif(not PROGRAM, reason="without the program of the same edits in C++")
@pytest.mark.parametrize("seed", range(4 if "libasan" in os.environ.get("LD_PRELOAD", "") else 20))
@pytest.mark.filterwarnings("ignore::zel.MessageWarning")
def test_edits_give_the_same_bytes_in_both_languages(seed, tmp_path):
    rng, script = random.Random(seed), tmp_path / "all_kinds.ds"
    script.write_text(ALL_KINDS)
    player, edits = Player(script), []
    for _ in range(300):
        edit = made_up(player, rng)
        if edit[0] == "read" and "ch('../" in repr(player.scene[edit[1]][edit[2]].expression):
            continue
        edits.append(edit)
        player.play(*edit)
    while player.blocks:
        edits.append(("end",))
        player.play("end")
    text = "".join("\t".join(map(str, edit)) + "\n" for edit in edits)
    done = subprocess.run(
        [PROGRAM, script, tmp_path / "cpp.scene"], input=text, capture_output=True, text=True, timeout=120
    )
    assert done.returncode == 0, done.stderr
    player.scene.save(tmp_path / "python.scene")
    assert (tmp_path / "python.scene").read_bytes() == (tmp_path / "cpp.scene").read_bytes()
    assert len(player.scene) > 0
    assert [float.fromhex(line).hex() for line in done.stdout.split()] == player.numbers
