import math
from collections.abc import Mapping

import pytest

import zel


@pytest.mark.parametrize(
    "name, default, values",
    [
        ("size", 1.5, [2.5, 3, True, 1e-300]),
        ("t", (1.0, 2.0, 3.0), [(4, 5, 6), [0.5, 0, -1], range(3)]),
        ("ty", 2.0, [7.25]),
        ("count", 4, [-5, 0, 2**31 - 1]),
        ("on", True, [False, True]),
        ("mode", 1, [0, 2]),
        ("note", "", ["", "a b", "ü\u2028", "\udcff"]),
        ("w1", 0.5, [1.0]),
        ("p2", (0.0, 0.0), [(1, 2)]),
    ],
)
def test_values_come_back(node, name, default, values):
    parm = node[name]
    assert parm.value == parm.default == default
    assert type(parm.value) is type(default)
    assert parm.is_default == node[name].is_default
    for value in values:
        parm.value = value
        expected = tuple(value) if isinstance(default, tuple) else value
        assert parm.value == expected == node[name].value
    parm.revert()
    assert parm.value == default


@pytest.mark.parametrize(
    "name, value, error",
    [
        ("size", "2", "size takes float, not str"),
        ("size", None, "size takes float, not NoneType"),
        ("size", (1,), "size takes float, not tuple"),
        ("t", 1.0, "t takes a sequence of 3, not float"),
        ("t", "abc", "t takes a sequence of 3, not str"),
        ("t", (1, 2), "t takes a sequence of 3, not of 2"),
        ("t", (1, 2, "x"), "t takes float, not str"),
        ("count", 2.0, "count takes int, not float"),
        ("count", 2**70, "int too big"),
        ("mode", "sofft", 'mode has no entry "sofft"; did you mean soft?'),
        ("on", 1.5, "on takes bool, not float"),
        ("note", 3, "note takes str, not int"),
        ("note", "a\0b", "note can't have a NUL"),
        ("press", 1, "press has no value"),
    ],
)
def test_what_is_no_value_is_refused(node, name, value, error):
    before = node.as_dict()
    with pytest.raises((TypeError, ValueError, OverflowError)) as caught:
        node[name].value = value
    assert error in str(caught.value)
    assert node.as_dict() == before


def test_a_hard_range_clamps_as_everywhere(node):
    node["size"].value = 99
    assert node["size"].value == 10.0
    assert node["size"].range == (0.0, 10.0, True, True)
    assert node["t"].range is None or isinstance(node["t"].range, zel.Range)


def test_menus_and_toggles_have_tokens(node):
    mode = node["mode"]
    mode.value = "none"
    assert (mode.value, mode.token) == (2, "none")
    assert [tuple(item) for item in mode.menu] == [("hard", "Hard"), ("soft", "Soft"), ("none", "None")]
    assert node["on"].token == "on" and node["size"].token is None and node["size"].menu is None


def test_texts_expand_and_stay_raw(scene, node):
    scene.root.variables = {"SHOT": "/shots"}
    assert (node["file"].value, node["file"].raw) == ("/shots/a.pic", "$SHOT/a.pic")
    node.variables = {"SHOT": "/own"}
    assert node["file"].value == "/own/a.pic"
    assert scene.root.variables == {"SHOT": "/shots"}


def test_states_follow_conditions(node):
    note = node["note"]
    assert note.visible and note.enabled
    node["on"].value = False
    assert not note.visible
    node["mode"].value = "none"
    assert not note.enabled and node["size"].enabled


def test_locks_refuse(node):
    t = node["t"]
    t[1].locked = True
    assert (t.locked, t[1].locked, t[0].locked) == (False, True, False)
    with pytest.raises(zel.EditError, match="ty is locked"):
        t.value = (7, 8, 9)
    assert t.value == (1, 2, 3)
    t[0].value = 7
    t.locked = True
    with pytest.raises(zel.EditError):
        t.expression = ("1", "2", "3")
    with pytest.raises(zel.EditError):
        t.revert()
    t[0].locked = False
    t.revert()
    assert t.value == (1, 2, 3) and node["ty"].locked
    t.locked = False
    t.value = (7, 8, 9)
    t[1].locked = True
    t.revert()
    assert t.value == (1, 8, 3)


def test_expressions(scene, node):
    size = node["size"]
    size.expression = "$F / 8"
    assert (size.expression, size.language, size.is_animated) == ("$F / 8", "native", True)
    assert size.at(frame=16) == 2.0 and size.at(0) == 0.125
    scene.frame = 24
    assert size.value == 3.0
    size.expression = None
    assert (size.value, size.expression, size.is_animated) == (3.0, None, False)
    node["t"].expression = ("ch('size')", None, "1 + 1")
    assert node["t"].value == (3.0, 2.0, 2.0)
    with pytest.raises(TypeError, match="3 components"):
        node["t"].expression = "1"
    size.set_expression("vmr.ch('ty') + 1", "python")
    assert size.value == 3.0 and size.language == "python"
    with pytest.raises(ValueError, match="native"):
        size.set_expression("1", "ruby")


def test_failed_expressions_say_why(node):
    with pytest.warns(zel.MessageWarning):
        node["size"].expression = "nofunc(1"
    with pytest.raises(zel.EvaluationError) as caught:
        node["size"].value
    assert caught.value.parameter == "/n/size" and caught.value.code > 0
    node["size"].set_expression("1 / 0", "python")
    with pytest.raises(zel.EvaluationError, match="ZeroDivisionError"):
        node["size"].at(1.0)
    assert "can't be evaluated" in repr(node["size"])


def test_times_are_checked(scene, node):
    with pytest.raises(TypeError, match="not both"):
        node["size"].at(1.0, frame=2)
    for bad in (math.nan, math.inf):
        with pytest.raises(ValueError):
            node["size"].at(bad)
        with pytest.raises(ValueError):
            scene.time = bad
    scene.frame_rate = 25
    assert (scene.time_of(26), scene.frame_of(2.0)) == (1.0, 51.0)
    for rate in (0, -1, math.nan):
        with pytest.raises(ValueError):
            scene.frame_rate = rate
    with pytest.raises(ValueError):
        scene.frame_range = (5, 4)
    scene.frame_range = (5, 90)
    assert scene.frame_range == (5.0, 90.0)


def test_a_node_is_a_mapping(node):
    names = list(node)
    assert names == node.keys() and len(node) == len(names) and "press" not in names
    assert dict(node)["size"] is node["size"]
    assert "tx" in node and "tz" in node and "tw" not in node and 3 not in node
    assert node.get("nothing", 5) == 5 and node.get("size") is node["size"]
    node["t"] = (4, 5, 6)
    node["t"][2] = 9
    assert [one.value for one in node["t"]] == [4.0, 5.0, 9.0] and node["t"][-1].name == "tz"
    with pytest.raises(IndexError):
        node["t"][3]
    with pytest.raises(KeyError, match="did you mean size"):
        node["sice"]
    with pytest.raises(TypeError):
        node[3]


def test_dictionaries_in_and_out(scene, node, kinds):
    node.update({"w4": 2.0, "points": 4}, t=(7, 8, 9), mode="hard")
    assert node.as_dict(changed_only=True) == {"t": (7, 8, 9), "mode": 0, "points": 4, "w4": 2.0}
    other = scene.add("other", kinds)
    other.update(node.as_dict())
    assert other.as_dict() == node.as_dict()
    with pytest.raises(KeyError):
        other.update(size=3, nothing=4)
    with pytest.raises(TypeError):
        other.update(size=3, count="x")
    assert other.as_dict() == node.as_dict()


def test_items(node):
    points = node["points"]
    assert [[parm.name for parm in item] for item in points.items] == [["w1", "p1"], ["w2", "p2"]]
    node["w2"].value = 7
    points.insert(0)
    assert points.value == 3 and node["w3"].value == 7
    points.move(2, 0)
    assert node["w1"].value == 7
    points.remove(-1)
    assert points.value == 2
    with pytest.raises(IndexError):
        points.remove(2)
    with pytest.raises(TypeError, match="no multi-parameter"):
        node["size"].items
    with pytest.raises(zel.EditError):
        points.value = 10**9
    assert points.value == 2


def test_events(node):
    told = []

    @node.on_change
    def changed(where, what, parm):
        told.append((where == node, what, parm.name if parm else None))

    pressed = node.on_press(lambda parm: told.append(parm.name))
    node["size"].value = 2
    node["size"].locked = True
    node["press"].press()
    assert set(told[:-1]) == {(True, "value", "size"), (True, "locked", "size")} and told[-1] == "press"
    told.clear()
    node.off(changed)
    node.off(pressed)
    node["t"].value = (0, 0, 0)
    assert not told
    with pytest.raises(ValueError):
        node.off(changed)

    @node.on_change
    def fails(where, what, parm):
        raise RuntimeError("no")

    with pytest.raises(RuntimeError, match="no"):
        node["count"].value = 9
    assert node["count"].value == 9


def test_slices_of_components(scene, node):
    t = node["t"]
    assert t[1:] == [t[1], t[2]] and t[::-1][0] == t[2] and t[5:] == []
    steps = len(scene.undo_labels)
    t[::2] = (7, 8)
    assert t.value == (7, 2, 8) and len(scene.undo_labels) == steps + 1
    t[2].locked = True
    for start, values, error in (
        (1, (1,), ValueError),
        (1, (5, 5), zel.EditError),
        (1, (5, "x"), TypeError),
        (0, 3, TypeError),
    ):
        with pytest.raises(error):
            t[start:] = values
        assert t.value == (7, 2, 8)
    with pytest.raises(TypeError, match="int, not str"):
        t["x"]


def test_names_of_nodes_are_those_of_values(node, kinds):
    assert isinstance(node, Mapping) and isinstance(node.scene, Mapping)
    names = list(kinds)
    assert len(names) == len(kinds) and "p#" in kinds and "p1" not in kinds and 3 not in kinds
    for name in names:
        assert (name in node) == (name in node.keys()) == (name in node.as_dict()), name
    assert "press" not in node and node["press"].kind == "none" and node.get("press") == node["press"]
    assert "ty" in node and "nothing" not in node and node.get("nothing", 3) == 3


def test_wrong_types_say_what_is_right(scene, node, tmp_path):
    for call, words in (
        (lambda: scene.add("x", "light.ds"), r"zel.Interface, not str: zel.Interface\(path\)"),
        (lambda: scene.add("x", 3), "zel.Interface, not int$"),
        (lambda: node.move("/rig"), r"zel.Node, not str: scene\[path\]"),
        (lambda: zel.migrate("n", 3), "zel.Node, not str"),
        (lambda: setattr(scene, "frame", "x"), "a frame must be a number, not str"),
        (lambda: setattr(scene, "frame_range", (1, "x")), "the last frame must be a number"),
        (lambda: scene.time_of(None), "a frame must be a number"),
        (lambda: zel.Scene.from_bytes("text"), "data must be bytes, not str"),
        (lambda: setattr(node["t"], "locked", "yes"), "locked is True or False, not str"),
        (lambda: scene.add("x", scene), "zel.Interface, not zel.Scene$"),
        (lambda: node["t"] + 1, "'zel.Parm' and 'int'"),
        (lambda: node["points"].insert("x"), "int, not str"),
        (lambda: type("Mine", (zel.Scene,), {}), "not an acceptable base type"),
    ):
        with pytest.raises(TypeError, match=words) as caught:
            call()
        assert "incompatible function arguments" not in str(caught.value)
    with pytest.raises(ValueError, match="did you mean compact?"):
        node.save(tmp_path / "x", "compakt")
    size = node["size"]
    node.name = "other"
    node.remove()
    with pytest.raises(zel.GoneError, match="the node /n of the parameter size is gone"):
        size.value


def test_failing_menus_warn(scene, capfd):
    script = 'parm { name "pick" type string menu { [ "return nothing" ] language python } }'
    pick = scene.add("m", zel.Interface.from_text(script, "m"))["pick"]
    with pytest.warns(zel.MessageWarning, match="(?s)/m/pick.*NameError.*nothing"):
        assert pick.menu == ()
    assert capfd.readouterr() == ("", "")
