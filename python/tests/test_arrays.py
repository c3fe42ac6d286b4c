import sys
import threading

import pytest

import zel

numpy = pytest.importorskip("numpy")


@pytest.fixture
def rig(scene, kinds):
    for name in ("a", "b"):
        node = scene.add(name, kinds)
        node["tx"].keys = [(0, 0), (1, 24)]
        node["size"].expression = "$F / 100"
    scene["b"]["ty"].set_expression("vmr.ch('tx') + 1", "python")
    return scene


def test_samples_are_what_reads_give(rig):
    node, frames = rig["b"], [1, 2, 3.5, 200]
    rows = node.sample(["t", "size", "count", "on", "w1"], frames)
    assert rows.dtype == numpy.float64 and rows.shape == (4, 7)
    for row, frame in zip(rows, frames):
        expected = node["t"].at(frame=frame) + tuple(node[name].at(frame=frame) for name in ("size", "count", "on", "w1"))
        assert tuple(row) == expected
    assert node.columns(["t", "size"]) == ["/b/tx", "/b/ty", "/b/tz", "/b/size"]
    times = [rig.time_of(frame) for frame in frames]
    assert (node.sample("t", times=numpy.array(times)) == rows[:, :3]).all()


def test_many_nodes_and_frames(rig):
    frames = numpy.arange(1, 2001, dtype=float)
    rows = rig.sample("/*/tx", frames)
    assert rig.columns("/*/tx") == ["/a/tx", "/b/tx"] and rows.shape == (2000, 2)
    assert (rows[:, 0] == rows[:, 1]).all() and rows[12, 0] == rig["a"]["tx"].at(frame=13)
    assert rig.sample([], frames).shape == (2000, 0) and rig.sample("a/t", []).shape == (0, 3)
    assert (rig.sample("/a/t", frames[::-2]) == rig.sample("/a/t", list(frames[::-2]))).all()


def test_samples_in_threads(rig):
    expected, failures = rig.sample("/*/t", range(500)), []

    def read():
        for _ in range(10):
            if not (rig.sample("/*/t", range(500)) == expected).all():
                failures.append(1)

    threads = [threading.Thread(target=read) for _ in range(4)]
    [thread.start() for thread in threads]
    [thread.join() for thread in threads]
    assert not failures


@pytest.mark.parametrize(
    "arguments, error",
    [
        ((["note"], [1]), zel.EditError),
        ((["nothing"], [1]), zel.EditError),
        ((["t"], ["x"]), TypeError),
        ((["t"], [float("nan")]), ValueError),
        ((["t"],), TypeError),
        (([3], [1]), TypeError),
        ((["t"], numpy.zeros((2, 2))), TypeError),
    ],
)
def test_what_cannot_be_sampled(rig, arguments, error):
    with pytest.raises(error):
        rig["a"].sample(*arguments)


def test_failures_say_where(rig):
    rig["a"]["ty"].set_expression("1 / (vmr.frame() - 5)", "python")
    with pytest.raises(zel.EvaluationError, match="/a/ty.*at frame 5"):
        rig.sample("/*/t", range(1, 9))


def test_keys_from_arrays(rig):
    node, frames = rig["a"], numpy.arange(1, 101)
    values = numpy.random.default_rng(1).random((100, 3))
    node["t"].set_keys(values, frames)
    assert [len(keys) for keys in node["t"].keys] == [100] * 3
    assert (node.sample("t", frames) == values).all()
    node["tx"].set_keys([5, 6], times=[0, 1], expression="constant()")
    assert node["tx"].at(0.9) == 5 and len(node["tx"].keys) == 2
    before = rig.to_bytes()
    for bad in (
        lambda: node["t"].set_keys(values, frames[:-1]),
        lambda: node["t"].set_keys([(1, 2)], [1]),
        lambda: node["t"].set_keys(values[:50].reshape(75, 2), frames[:50]),
        lambda: node["tx"].set_keys(["a"], [1]),
        lambda: node["note"].set_keys([1], [1]),
        lambda: node["tx"].set_keys([1], [1], times=[1]),
    ):
        with pytest.raises((TypeError, ValueError)):
            bad()
    assert rig.to_bytes() == before
    node["t"].set_keys([], [])
    assert not node["t"].is_animated


def test_without_numpy_it_is_a_memoryview(rig, monkeypatch):
    monkeypatch.setitem(sys.modules, "numpy", None)
    view = rig["a"].sample("t", [1, 13])
    assert isinstance(view, memoryview) and view.tolist() == [[0, 2, 3], [12, 2, 3]]
