"""Lives, cycles and threads."""

import gc
import pathlib
import resource
import sys
import threading
import warnings
import weakref

import pytest

import zel


def test_cycles_by_handlers_are_collected(kinds):
    class Watcher:
        pass

    def build():
        scene = zel.Scene()
        node = scene.add("n", kinds)
        watcher = Watcher()
        watcher.scene, watcher.parm = scene, node["size"]
        node.on_change(lambda *event: watcher)
        node.on_press(lambda parm: (watcher, node))
        return weakref.ref(watcher), weakref.ref(scene)

    refs = [build() for _ in range(3)]
    gc.collect()
    assert [ref() for pair in refs for ref in pair] == [None] * 6


def test_handlers_may_change_anything(scene, kinds):
    node, other = scene.add("n", kinds), scene.add("other", kinds)

    @node.on_change
    def changed(where, what, parm):
        other["size"].value = node["size"].value
        if node["size"].value == 3:
            node.remove()

    node["size"].value = 2
    assert other["size"].value == 2
    node["size"].value = 3
    assert node.is_gone and other["size"].value == 3


def test_evaluations_change_nothing(scene, node):
    sys.modules["zel_test_scene"] = scene
    try:
        node["size"].set_expression("__import__('sys').modules['zel_test_scene']['n']['count'].value", "python")
        assert node["size"].value == 4
        node["size"].set_expression("setattr(__import__('sys').modules['zel_test_scene'], 'frame', 3)", "python")
        with pytest.raises(zel.EvaluationError, match="BusyError"):
            node["size"].value
    finally:
        del sys.modules["zel_test_scene"]


def run(*works):
    """Each work in a thread of its own; the first exception is raised."""
    failures = []

    def guarded(work):
        try:
            work()
        except BaseException as failure:
            failures.append(failure)

    threads = [threading.Thread(target=guarded, args=(work,)) for work in works]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(120)
        assert not thread.is_alive()
    if failures:
        raise failures[0]


def test_threads_read_while_others_change(kinds):
    scenes = [zel.Scene(), zel.Scene()]
    for scene in scenes:
        node = scene.add("n", kinds)
        node["size"].expression = "ch('count') + $F - $F"
        node["tx"].set_expression("vmr.ch('count') * 2", "python")
    stop = []

    def read(scene):
        for _ in range(6):
            node = scene["n"]
            value = node["size"].value
            assert value == int(value) and node["t"].at(frame=5)[0] % 2 == 0
        stop.append(1)

    def edit(scene):
        rounds = 0
        while len(stop) < 4:
            scene["n"]["count"].value = rounds % 9
            with scene.undo("More"):
                scene.add("extra", kinds)["points"].value = rounds % 5
            scene.undo()
            rounds += 1

    run(*[lambda scene=scene: read(scene) for scene in scenes * 2], *[lambda scene=scene: edit(scene) for scene in scenes])


def test_nodes_come_and_go_under_readers(scene, kinds):
    node = scene.add("n", kinds)
    parm = node["size"]
    parm.expression = "$F"
    gone = []

    def read():
        while not gone:
            try:
                assert parm.at(frame=2) == 2.0
            except zel.GoneError:
                pass

    def edit():
        for _ in range(200):
            node.remove()
            scene.undo()
        gone.append(1)

    run(read, read, edit)


def test_a_thousand_rounds_keep_the_memory(kinds):
    def rounds(count):
        for number in range(count):
            scene = zel.Scene()
            node = scene.add("n", kinds)
            node.on_change(lambda *event: scene)
            with scene.undo("Edit"):
                node.update(size=number % 7, t=(1, 2, number), points=number % 5)
                node["size"].keys = [(0, 1), (1, number % 3)]
                node["ty"].expression = "ch('size')"
            assert node["ty"].value == 1
            node.copy()
            scene.undo(), scene.undo(), scene.redo()
            try:
                node["nothing"]
            except KeyError:
                pass
        gc.collect()

    def resident():
        with open("/proc/self/statm", encoding="ascii") as file:
            return int(file.read().split()[1]) * resource.getpagesize()

    # A sanitizer is slow, and keeps what is freed for a while.
    is_sanitized = "libasan" in pathlib.Path("/proc/self/maps").read_text()
    count = 200 if is_sanitized else 1000
    rounds(count)
    before, objects = resident(), len(gc.get_objects())
    rounds(count)
    assert len(gc.get_objects()) - objects < 200
    assert resident() - before < (400 if is_sanitized else 1) * 2**20


@pytest.mark.parametrize("undone", [True, False])
def test_handlers_are_called_when_the_edit_is_done(kinds, undone, tmp_path):
    zel.Scene().save(tmp_path / "empty.scene")

    def edits(node):
        yield lambda: setattr(node["size"], "value", 3)
        yield lambda: setattr(node["size"], "keys", [(0, 1), (1, 2)])
        yield lambda: node["ty"].keys.add(1, 2)
        yield lambda: setattr(node["t"], "expression", ("$F", "1", "2"))
        yield lambda: node["t"].set_keys([(1, 2, 3)], [1])
        yield lambda: node.update(size=2, points=3, w1=4)
        yield lambda: node["points"].insert(0)
        yield lambda: node["points"].remove(0)
        yield lambda: setattr(node["points"], "value", 0)
        yield lambda: node["press"].press()

    answers = (
        lambda scene, node: scene.clear(),
        lambda scene, node: node.remove(),
        lambda scene, node: scene.undo(),
        lambda scene, node: scene.load(tmp_path / "empty.scene"),
        lambda scene, node: node.renew(zel.Interface.from_text('parm { name "x" type float }', "x")),
        lambda scene, node: setattr(node["points"], "value", 0),
        lambda scene, node: node["size"].keys.clear(),
    )
    for answer in answers:
        for number in range(10):
            scene = zel.Scene()
            if not undone:
                scene.limit_undo(0)
            node = scene.add("n", kinds)
            called = []

            def handler(*event, scene=scene, node=node, answer=answer, called=called):
                called.append(event)
                if len(called) == 1:
                    answer(scene, node)

            node.on_change(handler)
            node.on_press(handler)
            try:
                list(edits(node))[number]()
            except (zel.Error, OSError, KeyError):
                pass
            assert called, number
            scene.undo(), scene.redo(), scene.to_bytes()


def test_handlers_that_go_on_for_ever_are_ended(node):
    node.on_change(lambda *event: setattr(node["size"], "value", node["size"].value % 9 + 0.25))
    with pytest.raises(RecursionError, match="handlers"):
        node["size"].value = 1
    assert 0 <= node["size"].value <= 10


def elsewhere(work):
    """Does it in another thread, and waits for that."""
    thread = threading.Thread(target=work, daemon=True)
    thread.start()
    thread.join(20)
    assert not thread.is_alive(), "the other thread waits for this one"


@pytest.mark.filterwarnings("always::zel.MessageWarning")
def test_what_is_called_may_wait_for_other_threads(scene, node, kinds, monkeypatch):
    other, waited = scene.add("other", kinds), []

    def use(*event, **more):
        def work():
            other["size"].value = len(waited)
            waited.append(other["t"].value)

        elsewhere(work)

    node.on_change(use)
    node.on_press(use)
    node["size"].value = 3
    node["press"].press()
    node.update(t=(7, 8, 9), points=3)
    assert len(waited) >= 3 and other["size"].value == len(waited) - 1
    node.off(use)
    del waited[:]
    monkeypatch.setattr(warnings, "showwarning", use)
    node["size"].expression = "nofn(1"
    node["t"].expression = ("nofn(2", "1", "nofn(3")
    assert len(waited) == 3
    base, ours, theirs = (scene.add(name, kinds) for name in ("base", "ours", "theirs"))
    ours.update(size=3, count=3), theirs.update(size=5, count=5)
    zel.merge(base, ours, theirs, choose=use)
    assert len(waited) == 5


def test_edits_of_handlers_on_two_threads_are_told_apart(scene, kinds):
    """Each thread's handlers are called by itself, and raise there."""
    nodes = [scene.add(name, kinds) for name in ("a", "b")]
    told = {0: [], 1: []}
    both = threading.Barrier(2, timeout=20)

    def work(number):
        def handler(where, what, parm):
            told[number].append(threading.get_ident())
            if len(told[number]) == 1:
                both.wait()
                where["count"].value = 7
                both.wait()
                raise ZeroDivisionError(number)

        nodes[number].on_change(handler)
        with pytest.raises(ZeroDivisionError, match=str(number)):
            nodes[number]["size"].value = 3
        assert told[number] == [threading.get_ident()] * 2 and nodes[number]["count"].value == 7

    run(lambda: work(0), lambda: work(1))
