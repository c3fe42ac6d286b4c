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

from kinds import KINDS
from signatures import Parameter, signature_of, signature_of_class

SCRIPT = f"""{{
    name fuzz
{KINDS}    parm {{ name "pick" type string default {{ "a" }} menu {{ [ "return ['a', 'A', 'b', 'B']" ] language python }} }}
    parm {{ name "curve" type ramp_flt default {{ 3 }} }}
    parm {{ name "band" type ramp_rgb default {{ 2 }} }}
    parm {{ name "dict" type data }}
    multiparm {{ name "points" default {{ 2 }}
        parm {{ name "w#" type float default {{ 0.5 }} }}
        multiparm {{ name "in#" default {{ 1 }} parm {{ name "q#_#" type vector2 }} }}
    }}
}}"""

MAP = 'migration 1.0\ntype fuzz\nunmarked 1\nversion 1 in.ds\nversion 2 in.ds\n\trename size mode\n'
NAMES = ("size", "t", "tx", "tz", "count", "on", "mode", "pick", "file", "press", "curve", "band", "dict")
NAMES += ("curve1value", "points", "w1", "w2", "in1", "q1_1", "nothing", "")
PATHS = ("a", "/a", "/a/b", "a/b", "c", "/a/c", "..", "/", "", "b", "*", "/a/**")
ADDRESSES = ("size", "t", "*", "/a/t", "/*/t*", "w#", "q*", "/a/b/size", "nothing", "t:1", "[", "note*")
EXPRESSIONS = ("$F / 8", "ch('../a/size')", "ch('size') + 1", "1 / 0", "vmr.frame()", "vmr.ch('size')", "sin(", "")
CURVES = ("linear()", "bezier()", "constant()", "cubic()", "nothing()", "$F")
TEXTS = ("text", "folder", "Z305", "ZEL 5", "on", "soft", "\ud800", "a\0b", "ü\u2028", "x" * 5000, "{", "parm {")
TEXTS += (SCRIPT,) + NAMES + PATHS + ADDRESSES + EXPRESSIONS + CURVES
NUMBERS = (0, 1, -1, 2, 3, 7, 255, 2**31 - 1, -(2**31), 2**31, 2**63, -(2**70), True, False)
SMALL = (0, 1, 2, -1, 5)
FLOATS = (0.0, -0.0, 0.5, 1.0, 24.0, 97.0, -3.25, 1e-320, 1e300, -1e300, float("inf"), float("-inf"), float("nan"))
FORMS = ("text", "binary", "compact", "channels", "node")
INPUTS = ("in.ds", "in.map", "in.scene", "in.parms", "in.node", "in.preset", "out.scene", "nothing", b"in.scene")
# What writes gets only these: nothing else of the machine is a file of ours.
OUTPUTS = ("out.scene", "out.parms", "out.node", "nowhere/out", b"out.bytes", "in.preset")
WRITERS = ("save", "save_preset", "copy", "rename", "remove")
# What a parameter of that name is likely to be.
CHOICES = {
    "name": NAMES + ("first", "second"), "new_name": ("first", "second", "c"), "label": ("step", "", "other"),
    "addresses": ADDRESSES + (ADDRESSES[:4],), "expression": EXPRESSIONS + CURVES + (None,), "form": FORMS,
    "language": ("native", "python"), "code": ("ZEL 5", "Z305", "NOD", ""), "title": ("", "<t>"),
    "level": ("hint", "error"),
    "scripts": (True, False, "folder"), "includes": (True, False, "folder"), "strict": (True, False, None),
    "tolerance": ((), "0.001", ("t*=4ulp", "0.1%")), "disable": ("", "Z305", ["Z1"]),
    "only": ((), ["size"], ("t", "w*")),
    "table": ("Node", "x"), "type": ("fuzz", "light"), "version": ("1", "2", None, "9"), "start": ("1", "2", None),
    "index": SMALL, "new_index": SMALL, "component": SMALL, "steps": SMALL, "bytes": (0, 10**6, -1), "position": FLOATS,
    "renames": ({}, {"size": "mode"}, {"a": "b", "b": "a"}),
    "policies": ({}, {"/a*": "ours"}, {"*": "theirs", "t": "base"}),
}  # fmt: skip
BOOLS = ("binary", "changed_only", "self_contained", "replace", "sort", "exact", "allow_loss", "on")


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
        made = (zel.Scene, zel.Interface, zel.MigrationMap, zel.Presets)
        self.functions = [(zel, made_class.__name__) for made_class in made]
        self.functions += [(zel, name) for name in zel.__all__ if inspect.isbuiltin(getattr(zel, name))]
        self.functions += [(zel, "plot"), (zel, "draw"), (zel._zel, "_draw_curves"), (zel.Scene, "from_bytes")]
        self.functions += [(zel.Interface, "from_text"), (zel.Difference, "from_json")]
        self.signatures = {}
        self.prepare()
        self.pool = []
        self.restart()

    def prepare(self):
        """Files of every kind."""
        for name, text in (("in.ds", SCRIPT), ("in.map", MAP)):
            with open(name, "w", encoding="utf-8") as file:
                file.write(text)
        self.interface = self.zel.Interface("in.ds")
        scene = self.zel.Scene()
        node = scene.add("a", self.interface)
        node["t"].value = (4, 5, 6)
        node["size"].keys = [(0, 1), (1, 2)]
        scene.save("in.scene")
        node.save("in.parms", "binary")
        node.save("in.node", "node")
        with open("in.preset", "wb") as file:
            file.write(node.preset_text(only=["t", "points"]))

    def restart(self):
        """A few objects of each class, and none of those before."""
        if "matplotlib.pyplot" in sys.modules:
            sys.modules["matplotlib.pyplot"].close("all")
        scene = self.zel.Scene()
        a = scene.add("a", self.interface)
        b = scene.add("a/b", self.interface)
        b["t"].keys = ([(0, 1), (2, 5)], [], [(1, 1)])
        a.on_change(self.handler)
        b.on_press(self.handler)
        self.pool = [scene, a, b, self.interface, a["t"], a["size"], b["points"], a["curve"], b["t"].keys[0], b["t"]]
        self.pool += [a["curve"].ramp(), self.zel.diff(a, b), self.zel.MigrationMap("in.map"), scene.undo("block")]
        self.pool += [self.zel.merge(a, b, b), self.zel.Presets("fuzz"), b["press"], b["mode"]]

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

    def some(self, *kinds):
        """One of the pool, of these classes if there is one."""
        fitting = [one for one in self.pool if isinstance(one, kinds)]
        return self.random.choice(fitting) if fitting else self.value()

    def document(self):
        """A state to compare: a scene, a node, a file's name or its bytes, whole or not."""
        zel = self.zel
        kind = self.random.randrange(4)
        if kind == 0:
            return self.random.choice(INPUTS)
        thing = self.some(zel.Scene, zel.Node, zel.Interface)
        if kind == 1 and isinstance(thing, (zel.Scene, zel.Node)):
            data = thing.to_bytes()
            return data[: self.random.randrange(len(data) + 1)] if self.random.random() < 0.3 else data
        return thing

    def key(self):
        numbers = [self.random.choice(FLOATS[:8]) for _ in range(7)]
        return self.random.choice((tuple(numbers[:2]), self.zel.Key(*numbers, self.random.choice(CURVES))))

    def argument(self, name, owner=""):
        """Of a likely kind for a parameter of that name, or anything."""
        zel, choice = self.zel, self.random.choice
        if self.random.random() < 0.08:
            return self.value()
        if name in CHOICES:
            return choice(CHOICES[name])
        if name in BOOLS:
            return self.random.random() < 0.5
        if name == "path":
            return choice(PATHS) if owner in ("add", "get", "find") else choice(INPUTS)
        if name in ("handler", "choose"):
            return self.handler
        if name in ("left", "right", "base", "ours", "theirs", "target"):
            return self.document()
        if name in ("time", "frame"):
            return choice(FLOATS)
        if name == "key":
            return self.key()
        if name in ("frames", "times"):
            many = [choice(FLOATS[:7]) for _ in range(self.random.randrange(4))]
            return array.array("d", many) if self.random.random() < 0.3 else many
        if name == "values":
            return {choice(NAMES): self.likely() for _ in range(2)} if owner == "update" else self.argument("frames")
        if name == "curves":
            return [([(1, choice(FLOATS)), (choice(FLOATS), 2)], [(0, choice(FLOATS))]) for _ in range(2)]
        if name == "data":
            return self.some(zel.Scene).to_bytes(binary=self.random.random() < 0.5)[: choice((None, 100, 700, -9))]
        if name == "text":
            made = (self.some(zel.Difference).to_json(), self.some(zel.Node).preset_text())
            return choice((SCRIPT, "parm {", b"\xff", MAP, *made))
        if name == "script":
            return choice((self.interface, "in.ds", "nothing"))
        wanted = {"interface": zel.Interface, "node": zel.Node, "parent": zel.Node, "map": zel.MigrationMap}
        wanted.update(what=(zel.Parm, zel.Keys, zel.Ramp), to=(zel.Interface, zel.MigrationMap))
        return self.some(wanted[name]) if name in wanted else self.likely()

    def likely(self):
        """A value of a parameter, more often than not."""
        kind = self.random.randrange(5)
        if kind == 0:
            return tuple(self.random.choice(FLOATS[:8]) for _ in range(3))
        if kind == 1:
            return self.random.choice(SMALL)
        return self.random.choice(FLOATS) if kind == 2 else self.value()

    # What is done.

    def note(self, *words):
        self.log.seek((self.done % 40) * 400)
        text = f"{self.done}: " + " ".join(ascii(word)[:100] if not isinstance(word, str) else word for word in words)
        self.log.write(text[:398].ljust(399).encode() + b"\n")
        self.log.flush()
        self.done += 1

    def parameters(self, owner, name):
        """Those of a function, once asked."""
        if (owner, name) not in self.signatures:
            thing = getattr(owner, name)
            if inspect.isclass(thing):
                found = signature_of_class(thing)
            elif inspect.isfunction(thing):
                found = []
                for one in inspect.signature(thing).parameters.values():
                    kind = "named" if one.kind == one.KEYWORD_ONLY else "plain"
                    found += [Parameter(one.name, kind, one.default is not one.empty)] if one.name != "self" else []
            else:
                found = signature_of(owner, name)
            self.signatures[owner, name] = found or []
        return self.signatures[owner, name]

    def call(self, function, owner, name, first=()):
        """With arguments that its parameters are likely to take."""
        given, named = list(first), {}
        parameters = [one for one in self.parameters(owner, name) if one.kind != "all"]
        for parameter in parameters:
            if parameter.has_default and self.random.random() < 0.55:
                continue
            value = self.argument(parameter.name, name)
            if name in WRITERS and parameter.name in ("path", "name", "new_name", "folder"):
                value = self.random.choice(OUTPUTS)
            if parameter.kind == "named" or parameter.has_default:
                named[parameter.name] = value
            else:
                given.append(value)
        if name == "undo" and "label" not in named and self.random.random() < 0.5:
            named["label"] = "step"
        if {"frames", "times"} <= {one.name for one in parameters} and not {"frames", "times"} & set(named):
            named["frames"] = self.argument("frames")
        if self.random.random() < 0.03:
            given.append(self.value())
        self.note("call", f"{owner.__name__}.{name}", given, named)
        return function(*given, **named)

    def use(self, thing):
        """An attribute of an object is read, set or called, or an operator used."""
        how, kind = self.random.random(), type(thing)
        if how < 0.25:
            return self.operate(thing)
        names = [name for name in dir(kind) if not name.startswith("_")]
        name = self.random.choice(names)
        found = inspect.getattr_static(kind, name)
        if how < 0.5 and not callable(getattr(kind, name)):
            choice = self.random.choice
            values = {"keys": lambda: [self.key() for _ in range(self.random.randrange(3))], "name": lambda: choice("cde")}
            values.update(expression=lambda: self.argument("expression"), variables=lambda: {"SHOT": "/x", "A": "$SHOT"})
            values.update(frame_range=lambda: (choice(FLOATS), choice(FLOATS)), locked=lambda: how < 0.4)
            value = values.get(name, self.likely)() if self.random.random() < 0.9 else self.value()
            self.note("set", thing, name, value)
            setattr(thing, name, value)
            return None
        if callable(getattr(kind, name)):
            return self.call(getattr(thing, name), kind, name)
        self.note("get", thing, name, found)
        return getattr(thing, name)

    def operate(self, thing):
        action = self.random.choice(
            (operator.getitem, operator.getitem, operator.setitem, operator.setitem, operator.delitem)
            + (operator.contains, operator.eq, len, iter, hash, repr, str, bool, list)
            + (pickle.dumps, copy.copy, copy.deepcopy, self.weird, self.block)
        )
        given = []
        if action.__name__ in ("getitem", "setitem", "delitem", "contains", "eq"):
            zel = self.zel
            places = NAMES if isinstance(thing, zel.Node) else PATHS if isinstance(thing, zel.Scene) else SMALL
            place = self.random.choice(places + (slice(None), slice(0, 1), slice(None, None, -1)))
            given.append(self.value() if self.random.random() < 0.1 or action is operator.eq else place)
        if action is operator.setitem:
            keys = isinstance(thing, self.zel.Keys)
            given.append(self.likely() if not keys else [self.key()] if isinstance(given[0], slice) else self.key())
        self.note(action.__name__, thing, given)
        return action(thing, *given)

    def block(self, thing):
        """Steps within a block of undo."""
        with self.some(self.zel.Scene).undo("block") as block:
            for _ in range(4):
                self.step()
            if self.random.random() < 0.3:
                block.cancel()

    def weird(self, thing):
        """A function of a class with anything for itself, or an object that nothing has made."""
        kind = self.random.choice(self.classes)
        if self.random.random() < 0.3:
            return kind.__new__(kind)
        name = self.random.choice([name for name in dir(kind) if not name.startswith("__") or name in vars(kind)])
        found = getattr(kind, name)
        if not callable(found) or name in WRITERS or name.startswith("__init"):
            return None
        return found(thing, *[self.value() for _ in range(self.random.randrange(3))])

    def step(self):
        if self.depth > 3:
            return
        self.depth += 1
        try:
            chance = self.random.random()
            if chance < 0.01:
                self.restart()
            elif chance < 0.015:
                gc.collect()
            elif chance < 0.15:
                owner, name = self.random.choice(self.functions)
                self.put(self.call(getattr(owner, name), owner, name))
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
        with open(os.path.join(folder, "said"), "w+b") as said:  # scripts that fail say so there
            status = subprocess.run(command, cwd=os.path.join(folder, "work"), env=environment, stderr=said).returncode
            said.seek(max(0, said.tell() - 10000))
            tail = said.read().decode("utf-8", "replace")
        if status != 0:
            print(tail)
            what = signal.Signals(-status).name if status < 0 else f"exit {status}"
            print(f"{what}, seed {options.seed}; the last calls, of which the newest has the highest number:")
            for number in range(options.threads):
                if os.path.exists(f"{log}.{number}"):
                    with open(f"{log}.{number}", "rb") as file:
                        calls = file.read().decode("ascii", "replace").split("\n")
                    calls = [call.rstrip("\0 ") for call in calls if call.strip("\0 ")]
                    calls.sort(key=lambda call: int(call.split(":")[0]))
                    print(f"thread {number}:", *calls[-25:], sep="\n")
        return 1 if status else 0


sys.exit(main())
