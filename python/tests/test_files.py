import copy
import pathlib
import pickle

import pytest

import zel


@pytest.fixture
def rig(scene, examples):
    light = zel.Interface(examples / "light.ds")
    key = scene.add("rig").scene.add("rig/key", light)
    key["light_intensity"].keys = [(0, 1), (2, 4)]
    key["light_color"][0].expression = "$F / 100"
    key["shadow_mask"].value = "fünf \udcff"
    scene.root.variables = {"JOB": "/jobs"}
    scene.frame_range, scene.frame = (1, 49), 12
    return scene


@pytest.mark.parametrize("binary", [False, True])
def test_scenes_are_saved_and_loaded(rig, tmp_path, binary):
    path = tmp_path / "a.scene"
    rig.save(path, binary=binary)
    loaded = zel.load(path)
    assert loaded.frame == 12 and loaded["rig/key"].as_dict() == rig["rig/key"].as_dict()
    loaded.save(str(path) + "2", binary=binary)
    assert pathlib.Path(str(path) + "2").read_bytes() == path.read_bytes()
    assert zel.Scene.from_bytes(path.read_bytes())["rig/key"]["light_color"].value[0] == 0.12
    rig.load(path)
    assert rig["rig/key"]["light_intensity"].at(2) == 4


def test_pickles_and_copies_are_whole(rig):
    key = rig["rig/key"]
    for twin in (pickle.loads(pickle.dumps(rig)), copy.copy(rig), copy.deepcopy(rig)):
        assert twin is not rig and twin.to_bytes(self_contained=True) == rig.to_bytes(self_contained=True)
    for twin in copy.copy(rig), copy.deepcopy(rig):
        assert not zel.diff(rig, twin, exact=True) and twin["rig/key"].interface == key.interface
        assert twin.to_bytes() == rig.to_bytes() and twin.interfaces == rig.interfaces and not twin.undo_labels
        twin["rig/key"]["shadow_mask"].value = ""
        assert key["shadow_mask"].value == "fünf \udcff"
    assert pickle.loads(pickle.dumps(key["light_color"][1])).value == 0.9
    assert copy.copy(key) == key != copy.deepcopy(key)
    assert copy.copy(key.interface) == key.interface
    patch = zel.diff(key, twin["rig/key"], exact=True)
    again = pickle.loads(pickle.dumps(patch))
    assert again.to_json() == patch.to_json() and again.apply(key)["shadow_mask"].value == ""
    with pytest.raises(TypeError, match="exact"):
        pickle.dumps(zel.diff(key, key))
    assert copy.deepcopy(zel.Presets("light", "Own")).__reduce__()[1] == ("light", "Own")
    for thing in (zel.Key(0, 1), zel.SceneError("x", ()), zel.MessageWarning("x"), zel.Account((1,), True)):
        again = pickle.loads(pickle.dumps(thing))
        assert repr(again) == repr(thing) and vars(again) == vars(thing) if hasattr(thing, "__dict__") else True


def test_files_of_strangers(rig, tmp_path):
    rig.save(tmp_path / "a.scene")
    with pytest.warns(zel.MessageWarning, match="scripts aren't read"):
        scene = zel.load(tmp_path / "a.scene", scripts=False)
    assert len(scene["rig/key"]) == 0 and scene["rig/key"].type == "light"
    scene.save(tmp_path / "b.scene")
    assert (tmp_path / "b.scene").read_bytes() == (tmp_path / "a.scene").read_bytes()
    with pytest.raises(zel.SceneError):
        zel.load(tmp_path / "a.scene", scripts="folder", strict=True)
    with pytest.raises(ValueError, match="folder"):
        zel.load(tmp_path / "a.scene", scripts="none")


def test_values_of_nodes(rig, examples, tmp_path):
    key = rig["rig/key"]
    key.load(examples / "light_night.parms")
    with pytest.warns(zel.MessageWarning, match="channel file holds no values"):
        key.save(tmp_path / "channels", "channels")
    for form in ("text", "binary", "compact", "node"):
        key.save(tmp_path / form, form)
        assert (tmp_path / form).read_bytes() == key.to_bytes(form) or form == "node"
    twin = rig.add("twin", key.interface)
    twin.load(tmp_path / "channels")
    twin.load(tmp_path / "text")
    assert twin["light_exposure"].value == key["light_exposure"].value
    assert zel.load(tmp_path / "node")["key"]["light_exposure"].value == key["light_exposure"].value
    with pytest.raises(ValueError, match="text, binary"):
        key.save(tmp_path / "x", "json")
    with pytest.raises(zel.ValuesError):
        key.load(tmp_path / "nothing")
    with pytest.raises(zel.ValuesError) as caught:
        (tmp_path / "bad").write_text("{\nversion 0.8\nlight_color\t[ 0 locks=0 ]\t(\t1\t2")
        key.load(tmp_path / "bad")
    assert caught.value.file and caught.value.messages


def test_what_is_no_scene_says_what_it_is(examples, tmp_path):
    with pytest.raises(zel.SceneError, match=r"zel.Interface\(path\)"):
        zel.load(examples / "light.ds")
    with pytest.raises(zel.SceneError, match=r"node.load\(path\)"):
        zel.load(examples / "light.parms")
    with pytest.raises(zel.SceneError, match="no such file"):
        zel.load(tmp_path / "nothing.scene")
    with pytest.raises(TypeError):
        zel.load(3)
    (tmp_path / "cut.scene").write_text((examples / "studio.scene").read_text()[:700])
    with pytest.raises(zel.SceneError) as caught:
        zel.load(tmp_path / "cut.scene")
    assert caught.value.file.endswith("cut.scene") and caught.value.line > 0


def test_script_errors_have_their_place(tmp_path):
    path = tmp_path / "bad.ds"
    path.write_text('{\n  name a\n  parm { name "x" tipe float }\n}\n')
    with pytest.raises(zel.ScriptError) as caught:
        zel.Interface(path)
    error = caught.value
    assert (error.file, error.line, error.column) == (str(path), 3, 19)
    assert error.messages[0].found == "tipe" and "type" in error.messages[0].expected
    assert isinstance(error, zel.Error) and str(path) in str(error)
    assert [message.line for message in zel.check(path)] == [3]
    with pytest.raises(zel.ScriptError):
        zel.Interface(tmp_path / "nothing.ds")


def test_interfaces_describe_themselves(examples):
    light = zel.Interface(str(examples / "light.ds"))
    assert (light.name, light.label, len(light)) == ("light", "Light", 17)
    assert light.file.endswith("light.ds") and light.text.startswith("// A light")
    assert light.describe()["dialog"]["name"] == "light"
    with pytest.raises(zel.ScriptError):
        zel.Interface.from_text('#include "light.ds"\n{ name a }', str(examples / "x.ds"), includes=False)


def test_scripts_are_judged_mended_and_laid_out():
    text = '{\n\tname a\n\tparm { name "v" label "V" type vector default { 1 2 3 4 } }\n}\n'
    with pytest.warns(zel.MessageWarning):
        script = zel.Interface.from_text(text, "a.ds")
    (finding,) = [one for one in zel.lint(script) if one.code == "Z205"]
    assert finding.message.line == 3 and "Z205" in str(finding)
    assert "Z205" not in [one.code for one in zel.lint(script, disable="Z205")]
    assert zel.lint(script, only=["Z101"]) == []
    mended = zel.mend(script)
    assert mended.fixed == 1 and "1 2 3 }" in mended.interface.text
    for bad in ({"disable": "Z999"}, {"only": ""}, {"level": "fatal"}):
        with pytest.raises(ValueError):
            zel.lint(script, **bad)
    laid_out = zel.format(script.text)
    assert zel.format(laid_out) == laid_out
    with pytest.raises(zel.ScriptError):
        zel.format("parm {")
    assert zel.explain("Z205")[0].sentence and zel.explain("ZEL 5")[0].remedy


def test_presets(scene, kinds, tmp_path, monkeypatch):
    node = scene.add("n", kinds)
    node["size"].value = 3
    data = node.preset_text(only=["size"])
    (tmp_path / "one.preset").write_bytes(data)
    node["size"].value = 1
    node["count"].value = 7
    node.load_preset(tmp_path / "one.preset")
    assert (node["size"].value, node["count"].value) == (3, 7)
    with pytest.raises(zel.PresetError):
        node.load_preset("Nothing")
    with pytest.raises(zel.PresetError):
        node.save_preset("A", folder="/nowhere")
    assert node.presets == [] and list(zel.Presets("nothing")) == [] and "x" not in zel.Presets("nothing")
