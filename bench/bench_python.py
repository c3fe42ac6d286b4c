#!/usr/bin/env python3
"""The Python package beside a dictionary, the standard library's json, C++, and other bindings of properties.

    bench_python.py BUILD [--benchmark_min_time=SECONDS] [--nodes=N]

BUILD is a build folder with the package and bench/python. D is one look-up of the same names in a dictionary: the empty
loop is taken off all times of single values. The best of several blocks counts. With other arguments than these, those
of a benchmark of C++, it ends with their usage.
"""
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time

PARMS = 100
FRAMES = 1000


def best(work, least):
    """Seconds of the best call, of several and as many as fill that time."""
    times = []
    end = time.perf_counter() + least
    while len(times) < 3 or time.perf_counter() < end:
        begin = time.perf_counter()
        work()
        times.append(time.perf_counter() - begin)
    return min(times)


def per_value(statement, names, least):
    """Nanoseconds of a statement for each `item`, with another `number` each round, the empty loop included."""
    space = dict(names)
    loops = "def run(rounds, items):\n    for number in rounds:\n        for item in items:\n"
    exec(f"{loops}            {statement}\n", space)
    rounds = range(max(1, 20000 // len(names["items"])))
    return best(lambda: space["run"](rounds, names["items"]), least) / (len(rounds) * len(names["items"])) * 1e9


def rows_of_values(node, recorded, names, least):
    """(what, nanoseconds, in D, at most); of two nodes, the second with steps of undo."""
    plain = {name: 0.5 for name in names}
    parms, steps = [[each[name] for name in names] for each in (node, recorded)]

    def measure(statement, items, **more):
        space = {"items": items, "plain": plain, "node": node, "recorded": recorded}
        return per_value(statement, {**space, **more}, least)

    empty = measure("pass", names)
    read = measure("plain[item]", names) - empty
    write = measure("plain[item] = number", names) - empty
    yield "a dictionary's look-up", read, read, ""
    yield "`parm.value`", measure("item.value", parms) - empty, read, "6"
    yield "`node[name].value`", measure("node[item].value", names) - empty, read, "6"
    yield "a dictionary's store", write, read, ""
    yield "`parm.value = number`", measure("item.value = number", steps) - empty, read, "6"
    yield "`node[name].value = number`", measure("recorded[item].value = number", names) - empty, read, "6"
    yield "`parm.value = number` without undo", measure("item.value = number", parms) - empty, read, "6"
    for what, get, put, thing in peers(names):
        yield f"{what}, get", measure(get, names, thing=thing) - empty, read, ""
        yield f"{what}, set", measure(put, names, thing=thing) - empty, read, ""


def peers(names):
    """Bindings of other property systems, where the machine has them."""
    try:
        from gi.repository import GObject
    except ImportError:
        pass
    else:
        made = {name.replace("_", "-"): (float, name, "", -1e9, 1e9, 0.5, GObject.ParamFlags.READWRITE) for name in names}

        def get(self, kind):
            return self.kept.get(kind.name, 0.5)

        def put(self, kind, value):
            self.kept[kind.name] = value

        kind = type("Plain", (GObject.Object,), {"__gproperties__": made, "do_get_property": get, "do_set_property": put})
        thing = kind()
        thing.kept = {}
        yield "GLib's objects", "thing.get_property(item)", "thing.set_property(item, number)", thing
    try:
        from PyQt5.QtCore import QObject
    except ImportError:
        return
    thing = QObject()
    for name in names:
        thing.setProperty(name, 0.5)
    yield "Qt's dynamic properties", "thing.property(item)", "thing.setProperty(item, number)", thing


def make_scenes(zel, folder, nodes):
    """One whose node is animated, and a large one; their paths, and the large one's values as JSON."""
    names = [f"parm_{number}" for number in range(PARMS)]
    text = "\n".join(f'parm {{ name "{name}" type float default {{ 0 }} }}' for name in names)
    kind = zel.Interface.from_text(text, "bench")
    sampled = zel.Scene()
    node = sampled.add("node", kind)
    for number, name in enumerate(names):
        node[name].set_keys([key * number % 7 for key in range(10)], frames=range(1, FRAMES + 1, FRAMES // 10))
    sampled.save(folder / "sampled.scene")
    loaded = zel.Scene()
    loaded.limit_undo(0)
    few = zel.Interface.from_text("\n".join(text.split("\n")[:10]), "few")
    for number in range(nodes):
        node = loaded.add(f"node{number}", few)
        node.update({name: number + at / 8 for at, name in enumerate(names[:10])})
    loaded.save(folder / "loaded.scene")
    data = json.dumps({path: node.as_dict() for path, node in loaded.items()})
    return names, sampled, data


def run_loop(build, folder, least):
    command = [build / "bench" / "python", folder / "sampled.scene", folder / "loaded.scene"]
    command += [f"--benchmark_min_time={least}", "--benchmark_repetitions=5", "--benchmark_format=json"]
    printed = subprocess.run(command, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
    scale = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}
    found = {}
    for row in json.loads(printed)["benchmarks"]:
        if row.get("run_type") != "aggregate":
            name = row["run_name"].removesuffix("/real_time")
            found[name] = min(found.get(name, 1e9), row["real_time"] * scale[row["time_unit"]])
    return found


def print_table(head, rows):
    print(f"\n| {' | '.join(head)} |\n|{'---|' * len(head)}")
    for row in rows:
        print(f"| {' | '.join(row)} |")


def main():
    options = dict(word.lstrip("-").split("=") for word in sys.argv[2:] if "=" in word)
    if len(sys.argv) < 2 or len(options) != len(sys.argv) - 2 or set(options) - {"benchmark_min_time", "nodes"}:
        print(__doc__, file=sys.stderr)
        return 2
    build = pathlib.Path(sys.argv[1]).resolve()
    least = float(options.get("benchmark_min_time", 0.5))
    nodes = int(options.get("nodes", 10000))
    sys.path.insert(0, str(build / "python"))
    import zel

    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        names, sampled, data = make_scenes(zel, folder, nodes)
        plain, recorded = [zel.Scene().add("plain", sampled["node"].interface) for _ in range(2)]
        plain.scene.limit_undo(0)
        rows = [
            (what, f"{time:.1f} ns", f"{time / one:.2f} D", limit and f"{limit} D")
            for what, time, one, limit in rows_of_values(plain, recorded, names, least / 4)
        ]
        print_table(("operation", "time", "ratio", "at most"), rows)
        loop = run_loop(build, folder, least)
        frames = list(range(1, FRAMES + 1))
        node = sampled["node"]
        cores = best(lambda: node.sample(names, frames), least)
        read = best(lambda: [[node[name].at(frame=frame) for name in names] for frame in frames[:10]], least / 4)
        load = best(lambda: zel.load(folder / "loaded.scene"), least)
        parsed = best(lambda: json.loads(data), least)

        def row(what, seconds, other, baseline, limit=""):
            return what, f"{seconds * 1e3:.2f} ms", f"{other} {baseline * 1e3:.2f} ms", f"{seconds / baseline:.2f}", limit

        rows = [
            row(f"`sample()`, {FRAMES:,} frames of {PARMS}", cores, "C++, one core", loop["sample/loop"], "1.1"),
            row("the same", cores, "C++, all cores", loop["sample/cores"]),
            row("the same by `at(frame=)`, one by one", read * FRAMES / 10, "C++, one core", loop["sample/loop"]),
            row(f"`load()`, {nodes:,} nodes of 10", load, "C++", loop["load"], "1.2"),
            row("the same", load, "`json.loads`", parsed),
        ]
        print_table(("operation", "time", "baseline", "ratio", "at most"), rows)
        print(f"\nThe scene is {os.path.getsize(folder / 'loaded.scene'):,} bytes, the JSON {len(data):,}.")
    return 0


sys.exit(main())
