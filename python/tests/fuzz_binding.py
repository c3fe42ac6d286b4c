#!/usr/bin/env python3
"""Random calls with random arguments on all that is public: exceptions are fine, anything else isn't.

    fuzz_binding.py [--seconds N | --steps N] [--seed S] [--threads N]

The calls are made in a process of its own. If that crashes, hangs or reports what Python calls a SystemError, the last
calls are printed, with the seed that makes them again (with one thread). Without --seed there is a new one each time.
"""
import argparse
import array
import copy
import faulthandler
import gc
import inspect
import operator
import os
import pickle
import random
import signal
import subprocess
import sys
import tempfile
import threading
import time
import warnings

SCRIPT = """{
    name fuzz
    parm { name "size" type float default { 1.5 } range { 0! 10! } }
    parm { name "t" type vector default { 1 2 3 } }
    parm { name "count" type integer default { 4 } }
    parm { name "on" type toggle default { 1 } }
    parm { name "mode" type ordinal default { "soft" } menu { "hard" "Hard" "soft" "Soft" } }
    parm { name "pick" type string default { "a" } menu { [ "return ['a', 'A', 'b', 'B']" ] language python } }
    parm { name "file" type string default { "$HIP/a" } disablewhen "{ on == off }" }
    parm { name "press" type button }
    parm { name "curve" type ramp_flt default { 3 } }
    parm { name "band" type ramp_rgb default { 2 } }
    parm { name "dict" type data }
    multiparm { name "points" default { 2 }
        parm { name "w#" type float default { 0.5 } }
        multiparm { name "in#" default { 1 } parm { name "q#_#" type vector2 } }
    }
}"""

TEXTS = (
    "", "a", "b", "/a", "/a/b", "..", "size", "t", "tx", "t[1]", "points", "w1", "w#", "*", "/*/t*", "curve", "$F / 8",
    "ch('../a/size')", "ch('size')", "vmr.frame()", "1/0", "python", "native", "linear()", "bezier()", "constant()",
    "text", "binary", "channels", "node", "folder", "hint", "Z305", "ours", "0.001", "ZEL 5", "fuzz", "on", "soft",
    "\ud800", "a\0b", "ü\u2028", "x" * 5000, "{", "parm {", "out.scene", "out.parms", "in.ds", "map", SCRIPT,
)  # fmt: skip
NUMBERS = (0, 1, -1, 2, 3, 7, 255, 2**31 - 1, -(2**31), 2**31, 2**63, -(2**70), True, False)
FLOATS = (0.0, -0.0, 0.5, 1.0, 24.0, 97.0, -3.25, 1e-320, 1e300, -1e300, float("inf"), float("-inf"), float("nan"))
# What writes gets only these: nothing else of the machine is a file of ours.
FILES = ("out.scene", "out.parms", "out.node", "nowhere/out", b"out.bytes", "in.ds", "")
WRITERS = ("save", "save_preset", "copy", "rename", "remove")


class Nasty:
    """What raises, or changes its mind, wherever it is asked."""

    def __init__(self, fuzz):
        self.fuzz = fuzz

    def _answer(self, *arguments):
        if self.fuzz.random.random() < 0.3:
            raise self.fuzz.random.choice((ValueError, RuntimeError, KeyError))("nasty")
        if self.fuzz.random.random() < 0.2:
            self.fuzz.step()
        return self.fuzz.value(2)

    __len__ = __iter__ = __getitem__ = __float__ = __index__ = __fspath__ = __str__ = __hash__ = __eq__ = _answer
    __call__ = __bool__ = __contains__ = __next__ = _answer


class Fuzz:
    """A pool of objects, and steps that use them."""

    SIZE = 60

    def __init__(self, zel, seed, log):
        self.zel, self.random, self.log = zel, random.Random(seed), log
        self.depth = self.steps = self.done = 0
        self.classes = [zel.Scene, zel.Node, zel.Parm, zel.Keys, zel.Interface, zel.Ramp, zel.Difference, zel.Merge]
        self.classes += [zel.MigrationMap, zel.Presets, zel.Scene.UndoBlock, zel.Picture]
        self.functions = [getattr(zel, name) for name in zel.__all__ if inspect.isbuiltin(getattr(zel, name))]
        self.functions += [zel.plot, zel.draw, zel._zel._draw_curves, zel.Scene.from_bytes, zel.Interface.from_text]
        self.functions += [zel.Difference.from_json, *self.classes]
        self.interface = zel.Interface("in.ds")
        self.pool = []
        self.restart()

    def restart(self):
        scene = self.zel.Scene()
        a = scene.add("a", self.interface)
        b = scene.add("a/b", self.interface)
        self.pool = [scene, a, b, self.interface, a["t"], a["size"], b["points"], a["curve"], b["t"].keys[0]]

    def put(self, thing):
        """What is given from here on, and used if it is of a class of ours."""
        if isinstance(thing, (str, bytes)) and len(thing) > 10000:
            return
        if len(self.pool) >= self.SIZE:
            self.pool[self.random.randrange(self.SIZE)] = thing
        else:
            self.pool.append(thing)

    # What is given.

    def value(self, depth=0):
        kind = self.random.randrange(20)
        if kind < 6:
            return self.random.choice(self.pool)
        if kind < 10:
            return self.random.choice(TEXTS)
        if kind < 12:
            return self.random.choice(NUMBERS)
        if kind < 14:
            return self.random.choice(FLOATS)
        if kind == 14:
            return None
        if depth > 2 or kind == 15:
            return self.random.choice((b"", b"\xff", b"#STO_INDEX 1.0\n", object(), int, slice(None), slice(-1, 9, 2)))
        if kind == 16:
            return Nasty(self)
        if kind == 17:
            return array.array("d", [self.random.choice(FLOATS) for _ in range(self.random.randrange(5))])
        many = [self.value(depth + 1) for _ in range(self.random.randrange(4))]
        if kind == 18:
            return {self.random.choice(TEXTS): one for one in many}
        return self.random.choice((tuple, list, iter))(many)

    def handler(self, *arguments):
        """An event's handler, a chooser, anything callable."""
        if self.random.random() < 0.3:
            raise ValueError("handler")
        self.step()
        return self.value()

    def argument(self, name):
        """Of a likely kind for a parameter of that name, or anything."""
        if self.random.random() < 0.3:
            return self.value()
        choice = self.random.choice
        if name in ("path", "name", "new_name", "form", "text", "title", "addresses", "label", "expression", "code"):
            return choice(TEXTS)
        if name in ("handler", "choose"):
            return self.handler
        if name in ("time", "frame", "value", "key", "position"):
            return choice(FLOATS + NUMBERS)
        if name in ("frames", "times", "values", "keys", "curves"):
            return [self.value(2) for _ in range(self.random.randrange(4))]
        if name in ("index", "new_index", "component"):
            return choice((0, 1, -1, 2, 99))
        if name == "data":
            scenes = [one for one in self.pool if isinstance(one, (self.zel.Scene, self.zel.Node))]
            data = choice(scenes).to_bytes() if scenes else b""
            return data[: self.random.randrange(len(data) + 1)] if self.random.random() < 0.5 else data
        wanted = {"interface": self.zel.Interface, "node": self.zel.Node, "parent": self.zel.Node}.get(name)
        fitting = [one for one in self.pool if wanted and isinstance(one, wanted)]
        return choice(fitting) if fitting else self.value()

    # What is done.

    def note(self, *words):
        self.log.seek((self.done % 40) * 400)
        text = f"{self.done}: " + " ".join(ascii(word)[:100] if not isinstance(word, str) else word for word in words)
        self.log.write(text[:398].ljust(399).encode() + b"\n")
        self.log.flush()
        self.done += 1

    def call(self, function, name, arguments=()):
        words = [word.split(":")[0].split("=")[0].strip(" *") for word in (function.__doc__ or "").split(")")[0].split("(")[-1].split(",")]
        count = self.random.randrange(len(words) + 2) if self.random.random() < 0.2 else len([w for w in words if w])
        given = [*arguments, *(self.argument(words[at] if at < len(words) else "") for at in range(count))]
        if name in WRITERS:
            given = [one if isinstance(one, self.zel.Node) else self.random.choice(FILES) for one in given]
        named = {}
        if self.random.random() < 0.4 and words[-1]:
            word = self.random.choice(words)
            if word.isidentifier() and name not in WRITERS:
                named[word] = self.argument(word)
                given = given[: self.random.randrange(len(given) + 1)]
        self.note("call", name, given, named)
        return function(*given, **named)

    def use(self, thing):
        """An attribute of an object is read, set or called, or an operator used."""
        how = self.random.random()
        if how < 0.25:
            action = self.random.choice(
                (operator.getitem, operator.setitem, operator.delitem, operator.contains, operator.eq, len, iter, hash, repr, str)
                + (pickle.dumps, copy.copy, copy.deepcopy, bool, list, self.weird)
            )
            count = {"getitem": 1, "setitem": 2, "delitem": 1, "contains": 1, "eq": 1}.get(action.__name__, 0)
            given = [self.value() for _ in range(count)]
            self.note(action.__name__, thing, given)
            return action(thing, *given)
        names = [name for name in dir(type(thing)) if not name.startswith("_")]
        if not names:
            return None
        name = self.random.choice(names)
        if how < 0.4:
            value = self.value()
            self.note("set", thing, name, value)
            setattr(thing, name, value)
            return None
        self.note("get", thing, name)
        found = getattr(thing, name)
        return self.call(found, name) if callable(found) else found

    def weird(self, thing):
        """A function of a class with anything for itself, or an object that nothing has made."""
        kind = self.random.choice(self.classes)
        if self.random.random() < 0.3:
            return kind.__new__(kind)
        name = self.random.choice([name for name in dir(kind) if not name.startswith("__") or name in vars(kind)])
        found = getattr(kind, name)
        if not callable(found) or name in WRITERS or name in ("__class__", "__init_subclass__", "__subclasshook__"):
            return None
        return self.call(found, kind.__name__ + "." + name, [thing])

    def step(self):
        if self.depth > 3:
            return
        self.depth += 1
        try:
            chance = self.random.random()
            if chance < 0.002:
                self.restart()
            elif chance < 0.01:
                gc.collect()
            elif chance < 0.1:
                function = self.random.choice(self.functions)
                self.put(self.call(function, function.__name__))
            else:
                ours = [thing for thing in self.pool if isinstance(thing, tuple(self.classes))]
                if not ours:
                    self.restart()
                self.put(self.use(self.random.choice(ours or self.pool)))
        except SystemError:
            raise
        except RuntimeError as error:
            if "nasty" not in str(error) and "unknown exception" in str(error):
                raise SystemError(str(error)) from error
        except Exception:  # which is what is allowed
            pass
        finally:
            self.depth -= 1


def work(options, log_path):
    import zel

    warnings.simplefilter("ignore")
    sys.unraisablehook = lambda unraisable: None
    faulthandler.enable()
    with open("in.ds", "w", encoding="utf-8") as file:
        file.write(SCRIPT)
    os.environ["ZEL_PATH"] = os.getcwd()
    failed = []

    def run(number):
        with open(f"{log_path}.{number}", "wb") as log:
            fuzz = Fuzz(zel, options.seed + number, log)
            end = time.monotonic() + options.seconds
            try:
                while fuzz.steps < options.steps if options.steps else time.monotonic() < end:
                    fuzz.steps += 1
                    if number == 0 and fuzz.steps % 50 == 0:
                        faulthandler.dump_traceback_later(120, exit=True)
                    fuzz.step()
            except SystemError as error:
                failed.append(error)
                import traceback

                traceback.print_exc()
            print(f"thread {number}: {fuzz.steps} steps, {fuzz.done} calls")

    threads = [threading.Thread(target=run, args=(number,)) for number in range(1, options.threads)]
    for thread in threads:
        thread.start()
    run(0)
    for thread in threads:
        thread.join()
    return 1 if failed else 0


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--seconds", type=float, default=10.0)
    parser.add_argument("--steps", type=int, default=0)
    parser.add_argument("--seed", type=int, default=random.randrange(2**30))
    parser.add_argument("--threads", type=int, default=1)
    parser.add_argument("--log", help=argparse.SUPPRESS)
    options = parser.parse_args()
    if options.log:
        return work(options, options.log)
    with tempfile.TemporaryDirectory() as folder:
        log = os.path.join(folder, "log")
        os.mkdir(os.path.join(folder, "work"))
        environment = dict(os.environ, PYTHONPATH=os.path.abspath(os.environ.get("PYTHONPATH", ".")), MPLBACKEND="agg")
        environment["HOME"] = os.path.join(folder, "work")
        command = [sys.executable, os.path.abspath(__file__), *sys.argv[1:], "--seed", str(options.seed), "--log", log]
        status = subprocess.run(command, cwd=os.path.join(folder, "work"), env=environment).returncode
        if status != 0:
            what = signal.Signals(-status).name if status < 0 else f"exit {status}"
            print(f"{what}, seed {options.seed}; the last calls, of which the newest has the highest number:")
            for number in range(options.threads):
                if os.path.exists(f"{log}.{number}"):
                    with open(f"{log}.{number}", "rb") as file:
                        calls = file.read().decode("ascii", "replace").split("\n")
                    calls = [call.rstrip("\0 ") for call in calls if call.strip("\0 ")]
                    calls.sort(key=lambda call: int(call.split(":")[0]))
                    print(*calls[-25:], sep="\n")
        return 1 if status else 0


sys.exit(main())
