import pytest

import zel


def test_paths_lead_to_nodes(scene, kinds):
    rig = scene.add("rig")
    key = scene.add("/rig/key", kinds)
    assert scene["rig/key"] == scene["/rig/key"] == key == scene.get("rig/key")
    assert list(scene) == ["/rig", "/rig/key"] and len(scene) == 2
    assert [node.path for node in scene.values()] == list(scene) and dict(scene)["/rig"] == rig
    assert "rig" in scene and "rig/nothing" not in scene and 5 not in scene
    assert key.parent == rig and rig.children == [key] and rig.parent == scene.root
    assert key.find("..") == rig and key.find("nothing") is None
    assert len({rig, scene["rig"], key}) == 2
    assert (key.name, key.type, key.interface == kinds, rig.interface) == ("key", "all_kinds", True, None)
    with pytest.raises(KeyError, match="did you mean rig/key"):
        scene["rig/kex"]
    for bad in ("rig", "nothing/below", "", "a/"):
        with pytest.raises(zel.EditError):
            scene.add(bad)


def test_the_tree_changes_and_references_follow(scene, kinds):
    a, b = scene.add("a", kinds), scene.add("b", kinds)
    b["size"].expression = "ch('../a/size') + 1"
    a.name = "first"
    assert b["size"].expression == "ch('../first/size') + 1" and b["size"].value == 2.5
    group = scene.add("group")
    a.move(group)
    assert a.path == "/group/first" and b["size"].value == 2.5
    twin = group.copy()
    assert twin.path == "/group1" and list(twin.children)[0].path == "/group1/first"
    assert group.copy("third", parent=twin).path == "/group1/third"
    with pytest.raises(zel.EditError):
        b.name = "group"
    with pytest.raises(zel.EditError):
        group.move(a)
    with pytest.raises(ValueError, match="two scenes"):
        a.move(zel.Scene().root)


def test_undo_blocks(scene, kinds):
    with scene.undo("Build"):
        node = scene.add("n", kinds)
        node["size"].value = 2
        with scene.undo("inner"):
            node["count"].value = 9
    assert scene.undo_labels == ("Build",)
    assert scene.undo() and "n" not in scene and scene.redo_labels == ("Build",)
    assert scene.redo() and scene["n"]["count"].value == 9 and not scene.redo()
    with pytest.raises(RuntimeError, match="stop"):
        with scene.undo("Broken"):
            scene["n"]["size"].value = 5
            raise RuntimeError("stop")
    assert scene["n"]["size"].value == 5 and scene.undo_labels[0] == "Broken"
    with scene.undo("Cancelled") as block:
        scene["n"]["size"].value = 6
        assert block.cancel()
    assert scene["n"]["size"].value == 5
    scene.limit_undo(0)
    scene["n"]["size"].value = 7
    assert scene.undo_labels == () and not scene.undo()


def test_a_block_that_is_dropped_ends(scene, node):
    block = scene.undo("dropped")
    assert repr(block) == "<zel.Scene.UndoBlock 'dropped': not open>"
    block.__enter__()
    assert "dropped': open" in repr(block)
    with pytest.raises(zel.EditError, match="open"):
        block.__enter__()
    node["size"].value = 3
    del block
    assert scene.undo() and node["size"].value == 1.5


def test_what_is_gone_says_so(scene, kinds):
    node = scene.add("n", kinds)
    parm, keys, item = node["size"], node["t"][0].keys, node["w2"]
    assert repr(keys) == "<zel.Keys of '/n/tx': 0 keys>"
    node["points"].value = 1
    with pytest.raises(zel.GoneError, match="the parameter w2 of /n is gone"):
        item.value
    assert item.is_gone and "gone" in repr(item)
    node["points"].value = 2
    assert item.value == 0.5
    node.remove()
    for use in (
        lambda: node["size"],
        lambda: node.name,
        lambda: parm.value,
        lambda: setattr(parm, "value", 1),
        lambda: len(keys),
        lambda: keys.add(0, 1),
        lambda: node.update(size=1),
        lambda: node.copy(),
        lambda: parm.expression,
    ):
        with pytest.raises(zel.GoneError):
            use()
    assert node.is_gone and repr(node) == "<zel.Node '/n': gone>" and "gone" in repr(parm) and "gone" in repr(keys)
    scene.undo()
    assert not node.is_gone and parm.value == 1.5
    scene.clear()
    with pytest.raises(zel.GoneError):
        parm.value


def test_another_interface_keeps_handles(node):
    size, mode = node["size"], node["mode"]
    size.value = 3
    node.renew(zel.Interface.from_text('parm { name "size" type float default { 1 } }', "smaller"))
    assert size.value == 3 and list(node) == ["size"]
    with pytest.raises(zel.GoneError):
        mode.value


def test_scenes_outlive_their_names(kinds):
    parm = zel.Scene().add("n", kinds)["size"]
    parm.value = 4
    assert parm.value == 4 and parm.node.scene["n"]["size"] == parm


def test_each_scene_is_current_when_it_is_read(kinds):
    scenes = [zel.Scene() for _ in range(3)]
    for frame, scene in enumerate(scenes, 1):
        node = scene.add("n", kinds)
        node["size"].set_expression("vmr.ch('/n/count') + vmr.frame()", "python")
        node["count"].value = frame * 10
        scene.frame = frame
    for frame, scene in enumerate(scenes, 1):
        scene["n"]["size"].expression
        assert scene["n"]["count"].value == frame * 10
    assert [scene["n"]["t"].value for scene in scenes] == [(1, 2, 3)] * 3
