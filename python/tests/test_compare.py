import json

import pytest

import zel


@pytest.fixture
def pair(scene, kinds):
    left, right = scene.add("left", kinds), scene.add("right", kinds)
    right.update(size=2, t=(1, 2, 4), points=3)
    right["count"].keys = [(0, 1), (1, 5)]
    return left, right


def test_a_difference_is_a_sequence_of_changes(pair):
    difference = zel.diff(*pair)
    assert difference and len(difference) == len(list(difference))
    sizes = [change for change in difference if change.path == "size"]
    assert [(one.verb, one.old, one.new) for one in sizes] == [("changed", 1.5, 2.0)]
    assert "size" in str(difference) and not zel.diff(pair[0], pair[0])
    assert not zel.diff(pair[0], pair[0].copy("twin"))


def test_exact_differences_are_applied_and_taken_back(scene, pair):
    left, right = pair
    before = left.to_bytes("node")
    difference = zel.diff(left, right, exact=True)
    again = zel.Difference.from_json(difference.to_json())
    assert len(again) == len(difference) and json.loads(difference.to_json())
    assert again.apply(left) is left
    assert not zel.diff(left, right, exact=True) and left["count"].at(1) == 5
    assert scene.undo() and left.to_bytes("node") == before
    difference.apply(left)
    difference.inverse().apply(left)
    assert left.to_bytes("node") == before
    with pytest.raises(zel.PatchError):
        difference.inverse().apply(left)


def test_a_scene_keeps_handles_handlers_and_undo(scene, node, kinds):
    other = scene.add("other", kinds)
    size, start, told = node["size"], scene.to_bytes(), []
    node.on_change(lambda where, what, parm: told.append((where.path, parm.name)))
    size.value = 3
    node.name = "renamed"
    other.remove()
    scene.add("third", kinds)["t"].value = (7, 8, 9)
    change, end = zel.diff(start, scene.to_bytes(), exact=True), scene.to_bytes()
    told.clear()
    labels = scene.undo_labels
    assert change.inverse().apply(scene) is scene and scene.to_bytes() == start
    assert node.path == "/n" and size.value == 1.5 and told
    assert scene.undo_labels == ("Apply difference", *labels)
    assert scene.undo() and scene.to_bytes() == end and size.value == 3
    scene["third"].remove()
    before = scene.to_bytes()
    with pytest.raises(zel.PatchError, match="third"):
        change.inverse().apply(scene)
    assert scene.to_bytes() == before


def test_files_bytes_and_scripts_are_compared(examples, tmp_path, kinds):
    light = zel.Interface(examples / "light.ds")
    day, night = examples / "light.parms", examples / "light_night.parms"
    difference = zel.diff(day, night, interface=light, exact=True)
    assert difference.apply(day, interface=light) == night.read_bytes()
    assert zel.diff(day.read_bytes(), night, interface=light, tolerance="0.1")
    assert zel.diff(light, examples / "light.ds") == [] or not zel.diff(light, examples / "light.ds")
    assert zel.diff(light, kinds)
    with pytest.raises(zel.PatchError, match="compared"):
        zel.diff(light, day)
    with pytest.raises(zel.PatchError):
        zel.diff(day, night, tolerance="wide")
    with pytest.raises(zel.PatchError):
        zel.diff(tmp_path / "nothing", day)


def test_scripts_of_strangers_are_not_read(tmp_path, scene):
    folder = tmp_path / "theirs"
    folder.mkdir()
    (tmp_path / "ours.inc").write_text('parm { name "x" type float }')
    theirs = folder / "a.ds"
    theirs.write_text('{\n\tname a\n#include "../ours.inc"\n}\n')
    for call in (
        lambda scripts: zel.diff(theirs, theirs, scripts=scripts),
        lambda scripts: zel.lint(theirs, includes=scripts),
        lambda scripts: zel.mend(theirs, includes=scripts),
    ):
        call(True)
        for scripts in ("folder", False):
            with pytest.raises(zel.Error, match="ours.inc"):
                call(scripts)
    assert [zel.check(theirs, includes=scripts) == () for scripts in (True, "folder")] == [True, False]
    (tmp_path / "ours.ds").write_text('{ name ours parm { name "x" type float } }')
    scene.add("n", zel.Interface(tmp_path / "ours.ds"))
    scene.save(folder / "a.scene")
    scene["n"]["x"].value = 2
    scene.save(folder / "b.scene")
    with pytest.warns(zel.MessageWarning, match="ours.ds"):
        merged = zel.merge(folder / "a.scene", folder / "a.scene", folder / "b.scene", scripts="folder")
    assert merged.to_bytes() == (folder / "b.scene").read_bytes()
    scene.clear()
    patch = zel.diff(scene, folder / "a.scene", exact=True)
    assert len(patch.apply(zel.Scene())["n"]) == 1
    with pytest.raises(zel.PatchError, match="scripts aren't read"):
        patch.apply(scene, scripts=False)


def test_states_in_memory_are_merged(scene, kinds):
    base, ours, theirs = (scene.add(name, kinds) for name in ("base", "ours", "theirs"))
    ours["size"].value, theirs["t"].value = 3, (7, 8, 9)
    merged = zel.merge(base, ours, theirs)
    with pytest.raises(zel.PatchError, match=r"apply\(\)"):
        merged.to_bytes()
    assert merged.apply(base) is base
    assert base.as_dict(changed_only=True) == {"size": 3, "t": (7, 8, 9)}
    assert scene.undo() and base.as_dict(changed_only=True) == {}
    start, size = scene.to_bytes(), base["size"]
    size.value = 2
    end = scene.to_bytes()
    assert scene.undo() and zel.merge(start, scene, end).apply(scene) is scene
    assert scene.to_bytes() == end and size.value == 2
    for target in (ours, start, None):
        with pytest.raises(TypeError, match="scene"):
            zel.merge(start, scene, end).apply(target)
    with pytest.raises(zel.PatchError, match="save"):
        zel.merge(*[base.to_bytes("node")] * 3).apply(base)


def test_merges_join_and_say_what_cannot_be_had(scene, kinds, tmp_path):
    base = scene.add("n", kinds)
    start = base.to_bytes()
    base["size"].value = 3
    base["count"].value = 8
    ours = base.to_bytes()
    scene.undo(), scene.undo()
    base["t"].value = (9, 9, 9)
    base["count"].value = 9
    theirs = base.to_bytes()
    merged = zel.merge(start, ours, theirs, interface=kinds)
    (conflict,) = merged.conflicts
    assert (conflict.base, conflict.ours, conflict.theirs, conflict.standing) == ("4", "8", "9", "ours")
    assert merged.open_count == 1 and "count" in str(conflict)
    chosen = zel.merge(start, ours, theirs, interface=kinds, choose=lambda conflict: "theirs")
    assert chosen.open_count == 0
    chosen.save(tmp_path / "n.parms")
    scene.undo(), scene.undo()
    base.load(tmp_path / "n.parms")
    assert base.as_dict(changed_only=True) == {"size": 3, "t": (9, 9, 9), "count": 9}
    assert zel.merge(start, ours, theirs, interface=kinds, policies={"*count*": "base"}).open_count == 0
    with pytest.raises(ValueError, match="side"):
        zel.merge(start, ours, theirs, interface=kinds, policies={"*": "mine"})


def test_a_choice_that_fails_ends_the_merge(scene, kinds, capfd):
    base, ours, theirs, other = (scene.add(name, kinds) for name in ("base", "ours", "theirs", "other"))
    ours.update(size=3, count=3, t=(4, 4, 4)), theirs.update(size=5, count=5, t=(6, 6, 6))
    asked = []

    def choose(conflict):
        asked.append(conflict)
        return "theirs" if len(asked) == 1 else 1 / 0 if len(asked) == 2 else "nobody's"

    def merge(*event):
        asked.clear()
        with pytest.raises(ZeroDivisionError):
            zel.merge(base, ours, theirs, choose=choose)
        assert len(asked) == 2

    merge()
    other.on_change(merge)
    other["size"].value = 4
    asked.append(None), asked.append(None)
    with pytest.raises(ValueError, match="side"):
        zel.merge(base, ours, theirs, choose=choose)
    assert capfd.readouterr() == ("", "")


def test_migration_by_names_and_by_maps(scene, examples):
    old = zel.Interface(examples / "migration/emitter_v1.ds")
    emitter = zel.MigrationMap(examples / "migration/emitter.map")
    assert len(emitter.versions) == 3 and emitter.check().failed == 0 < emitter.check().tests
    node = scene.add("e", emitter.interface(emitter.versions[0]))
    name = list(node)[0]
    account = zel.migrate(node, emitter, start=emitter.versions[0])
    assert account and {one.version for one in account} == set(emitter.versions[1:])
    assert node.interface == emitter.interface()
    scene.undo()
    assert list(node)[0] == name
    with pytest.raises(zel.MapError, match="version"):
        zel.migrate(node, emitter, start="none")
    with pytest.raises(zel.MapError):
        zel.migrate(node, old, renames={"nothing": "else"})
    with pytest.raises(TypeError):
        zel.migrate(node, "path")
    small = zel.Interface.from_text('parm { name "other" type float }', "small")
    node[name].value = 3
    assert zel.migrate(node, small).has_loss
