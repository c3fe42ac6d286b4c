import copy
import pickle
from collections.abc import Hashable, Sequence

import pytest

import zel


@pytest.fixture
def keys(node):
    node["size"].keys = [(0, 1), (1, 3), (2, 2)]
    return node["size"].keys


def test_keys_are_a_sequence(node, keys):
    assert len(keys) == 3 and keys.times == [0, 1, 2] and keys.frames == [1, 25, 49]
    assert keys[1].value == 3 and keys[-1].time == 2
    assert [key.value for key in keys] == [1, 3, 2]
    assert [key.time for key in keys[::2]] == [0, 2] and keys[5:] == []
    with pytest.raises(IndexError):
        keys[3]
    assert keys.parm == node["size"][0] and "3" in repr(keys)


def test_keys_are_edited_in_place(node, keys):
    keys[1] = 5
    assert node["size"].at(1) == 5
    keys[1] = zel.Key(1.5, 4, slope=2, expression="linear()")
    assert keys.times == [0, 1.5, 2] and keys[1].slope == 2 and keys[1].expression == "linear()"
    assert node["size"].at(1.75) == 3.0
    del keys[0]
    del keys[-1:]
    assert [(key.time, key.value) for key in keys] == [(1.5, 4)]
    keys.add(3, 7)
    keys[:] = [(0, 1), keys[1]]
    assert keys.times == [0, 3]
    keys.clear()
    assert len(keys) == 0 and not node["size"].is_animated


def test_vectors_have_keys_for_each_component(node):
    node["t"].keys = ([(0, 1)], [(0, 2), (1, 4)], [])
    assert [len(keys) for keys in node["t"].keys] == [1, 2, 0]
    assert node["t"].at(0.5) == (1, 3, 3)
    with pytest.raises(ValueError):
        node["t"].keys = ([], [])


def test_keys_of_texts(scene, node):
    node["note"].keys = [(0, "a b"), (1, "c")]
    assert node["note"].at(0.5) == "a b" and node["note"].at(1.5) == "c"
    assert [key.value for key in node["note"].keys] == ["a b", "c"]


def test_an_edit_of_keys_is_one_step(scene, node, keys):
    before = scene.to_bytes()
    for edit in (
        lambda: keys.__setitem__(slice(0, 2), [(0.5, 9)]),
        lambda: setattr(node["size"], "keys", []),
        lambda: keys.__delitem__(0),
        lambda: setattr(node["t"], "keys", ([(0, 1)], [(0, 1)], [(0, 1)])),
    ):
        edit()
        assert scene.to_bytes() != before
        assert scene.undo() and scene.to_bytes() == before
        assert scene.redo() and scene.undo()


@pytest.mark.parametrize("bad", [3, (1,), (1, 2, 3), ("a", 1), (0, "x"), (float("nan"), 1), (0, float("inf"))])
def test_what_is_no_key_is_refused(node, keys, bad):
    with pytest.raises((TypeError, ValueError)):
        keys.add(bad)
    with pytest.raises((TypeError, ValueError)):
        node["size"].keys = [(0, 1), bad]
    assert keys.times == [0, 1, 2]


def test_locked_keys_stay(node, keys):
    node["size"].locked = True
    for edit in (keys.clear, lambda: keys.add(5, 1), lambda: keys.__setitem__(0, 4)):
        with pytest.raises(zel.EditError):
            edit()
    assert [key.value for key in keys] == [1, 3, 2]


def test_keys_keep_to_a_hard_range_and_to_the_curve(node):
    size = node["size"]
    size.keys = [(0, 99), zel.Key(1, -5, in_value=20), (2, 3)]
    assert [(key.value, key.in_value) for key in size.keys] == [(10, 10), (0, 10), (3, 3)]
    size.set_keys([50, -50], frames=[1, 25])
    assert [key.value for key in size.keys] == [10, 0]


def test_keys_do_not_depend_on_those_they_replace(node, keys):
    size, other = node["size"], node["t"][0]
    keys[0] = zel.Key(0, 1, slope=3, expression="linear()")
    size.set_expression("1 + 1", "python")
    wanted = [(0, 1), zel.Key(0.5, 4, expression="linear()"), (2, 2)]
    other.keys = size.keys = wanted
    assert list(size.keys) == list(other.keys) and size.keys[0].expression == size.keys[2].expression == "bezier()"
    size.keys[:] = [(1, 3)]
    assert [(key.time, key.value, key.language) for key in size.keys] == [(1, 3, "native")]
    assert size.at(0) == size.at(1) == 3


def test_many_keys_are_edited_at_once(scene, node):
    told, t = [], node["t"][0]
    node.on_change(lambda where, what, parm: told.append(what))
    t.keys = [zel.Key(i / 10, i, expression="linear()") for i in range(3000)]
    first = len(told)
    del t.keys[::2]
    assert [key.value for key in t.keys[:3]] == [1, 3, 5] and len(t.keys) == 1500
    t.keys[1:] = [(1000, 1)]
    assert t.keys.times == [0.1, 1000] and first <= 3 and len(told) - first <= 4


def test_what_is_wrong_with_curves_is_told(node, keys):
    with pytest.raises(ValueError, match='"pyton"'):
        keys[0] = zel.Key(0, 1, language="pyton")
    for edit in (
        lambda: keys.add(zel.Key(3, 1, expression="nofn(")),
        lambda: node["size"].set_keys([1, 2], times=[0, 1], expression="linaer()"),
    ):
        with pytest.warns(zel.MessageWarning):
            edit()
    for edit in (
        lambda: node["size"].set_keys([1, 2, 3], times=[0, 1, 1]),
        lambda: setattr(node["size"], "keys", [(0, 1), (0, 2)]),
    ):
        before = list(keys)
        with pytest.raises(ValueError, match="two keys have the time"):
            edit()
        assert list(keys) == before


def test_keys_of_an_integer_are_rounded_or_all_refused(node):
    count = node["count"]
    count.set_keys([1, 2.7], times=[0, 1])
    assert [key.value for key in count.keys] == [1, 3]
    with pytest.raises(zel.EditError):
        count.set_keys([1, 1e30], times=[0, 1])
    assert [key.value for key in count.keys] == [1, 3]


def test_keys_behave_as_other_sequences(node, keys):
    saved = keys[:]
    assert isinstance(keys, Sequence) and not isinstance(keys, Hashable)
    assert keys == saved == list(keys) and keys == node["size"].keys and keys != saved[:2] and keys != tuple(saved)
    assert (keys.index(saved[1]), keys.index(saved[2], 1), keys.count(saved[0])) == (1, 2, 1)
    assert saved[1] in keys and (1, 3) not in keys and list(reversed(keys)) == saved[::-1]
    with pytest.raises(ValueError):
        keys.index(saved[0], 1)
    assert copy.copy(keys) == keys and copy.copy(keys).parm == keys.parm
    again = pickle.loads(pickle.dumps((keys, node["t"][1].keys)))
    assert again[0] == saved and again[0].parm.node.scene is not node.scene and again[1].parm.name == "ty"
    keys[0] = 2
    assert keys != saved and again[0] == saved
