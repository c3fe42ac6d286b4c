import os
import re
import sys
import xml.etree.ElementTree

import pytest

import zel


@pytest.fixture
def ramps(examples):
    node = zel.Scene().add("ramps", zel.Interface(examples / "ramps.ds"))
    return {name: parm for name, parm in node.items() if parm.is_ramp}


def path_of(svg, number=0):
    """The corners of a curve: (command, x, y)."""
    paths = re.findall(r'<path fill="none"[^>]* d="([^"]*)"', svg)
    return [(word, float(x), float(y)) for word, x, y in re.findall(r"([ML])([\d.-]+) ([\d.-]+)", paths[number])]


def test_ramps_are_those_of_the_documents(ramps, examples):
    for name, parm in ramps.items():
        image = examples.parent / "docs" / "images" / f"ramp_{name}.svg"
        assert zel.draw(parm).svg == parm.ramp().svg() == image.read_text(), name
    assert len(ramps) == 12


def test_ramps_are_values(scene, ramps):
    ramp = ramps["linear"].ramp()
    assert ramp.name == "linear" and not ramp.is_color and "5 keys" in repr(ramp)
    assert ramp.keys[1] == (0.2, 0.8, "linear")
    assert ramp.at(0.2) == 0.8 and ramp.at(0.1) == pytest.approx(0.45) and ramp.at(-5) == ramp.at(0)
    with pytest.raises(TypeError, match="no colors"):
        ramp.screen_color(0)
    band = ramps["rgb"].ramp()
    assert band.is_color and len(band.at(0.5)) == 3 and re.fullmatch("#[0-9a-f]{6}", band.screen_color(0.5))

    text = 'parm { name "fade" type ramp_flt default { 2 } } parm { name "x" type float }'
    node = scene.add("n", zel.Interface.from_text(text, "n"))
    node["fade"].items[1][1].keys = [(0, 1), (2, 3)]
    node["fade"].items[0][2].value = "linear"
    assert [node["fade"].ramp(time).at(1) for time in (0, 1, 2)] == [1, 2, 3]
    scene.time = 1
    assert node["fade"].ramp().at(0.5) == 1 and node["fade"].ramp(frame=49).at(1) == 3
    kept = node["fade"].ramp()
    node.remove()
    assert kept.at(1) == 2
    scene.undo()
    with pytest.raises(TypeError, match="x is no ramp"):
        node["x"].ramp()
    node["fade"].items[0][1].expression = "ch('nothing')"
    with pytest.raises(zel.EvaluationError):
        node["fade"].ramp()


def test_curves_are_drawn(scene, node, tmp_path):
    node["size"].set_keys([1, 3, 2], times=[0, 1, 2], expression="constant()")
    picture = zel.draw(node["size"], title="<size>")
    root = xml.etree.ElementTree.fromstring(str(picture))
    assert root[0].text == "<size>" and len(re.findall("<circle", picture.svg)) == 3
    corners = path_of(picture.svg)
    assert corners[0][0] == "M" and {word for word, _, _ in corners[1:]} == {"L"}
    assert sorted({y for _, _, y in corners}) == [16, 116, 216]  # three levels, and nothing between them
    assert re.findall(r">([\d.-]+)</text>", picture.svg) == ["1", "3", "1", "49"]
    picture.save(tmp_path / "a.svg")
    assert (tmp_path / "a.svg").read_text() == picture.svg == picture._repr_svg_()

    node["t"].expression = ("$F", "if($F > 10, 1e308 * 10, 1)", "1e308")
    scene.frame_range = (1, 21)
    svg = zel.draw([node["t"], node["size"][0].keys], frames=(1, 21)).svg
    assert svg.count('<path fill="none"') == 4 and "nan" not in svg and "inf" not in svg
    assert len(path_of(svg, 0)) == len(path_of(svg, 2)) > len(path_of(svg, 1)) > 1
    assert zel.draw(()).svg.startswith("<svg")


@pytest.mark.parametrize(
    "what, frames, error",
    [
        (lambda node: node["note"], None, "note has no numbers"),
        (lambda node: node["press"], None, "press"),
        (lambda node: node, None, "Parm|parameter|str"),
        (lambda node: 3, None, "int is no parameter"),
        (lambda node: node["size"], (5, 1), "before"),
        (lambda node: node["size"], (5,), "first and a last"),
        (lambda node: node["size"], (float("nan"), 1), "before|finite"),
        (lambda node: node["size"], (1, float("inf")), "finite"),
    ],
)
def test_what_has_no_curve_is_refused(node, what, frames, error):
    with pytest.raises((TypeError, ValueError), match=error):
        zel.draw(what(node), frames=frames)


@pytest.mark.skipif("asan" in os.environ.get("LD_PRELOAD", ""), reason="what matplotlib leaks isn't ours")
def test_matplotlib_gets_the_values(scene, node, ramps):
    pytest.importorskip("matplotlib").use("agg")
    from matplotlib import pyplot
    from matplotlib.colors import to_rgb

    node["t"][0].keys = [(0, 1), (1, 5), (2, 2)]
    node["t"][1].expression = "$F * 2"
    axes = zel.plot(node["t"], frames=(1, 49))
    lines = {line.get_label(): line.get_xydata() for line in axes.lines}
    assert set(lines) == {"tx", "ty", "tz", "_tx", "_ty"}  # an expression begins at a key
    for name in ("tx", "ty", "tz"):
        for frame, value in lines[name][::17]:
            assert node[name].at(frame=frame) == pytest.approx(value)
    assert lines["_tx"].tolist() == [[1, 1], [25, 5], [49, 2]]
    assert zel.plot(node["t"][0].keys, ax=axes) is axes

    curve = zel.plot(ramps["bezier"]).lines
    assert all(ramps["bezier"].ramp().at(x) == y for x, y in curve[0].get_xydata())
    assert curve[1].get_xydata().tolist() == [[key.position, key.value] for key in ramps["bezier"].ramp().keys]
    band = zel.plot(ramps["hsv"])
    (row,) = band.images[0].get_array()
    assert [tuple(row[0]), tuple(row[-1])] == [to_rgb(ramps["hsv"].ramp().screen_color(x)) for x in (0, 1)]
    pyplot.close("all")


def test_without_matplotlib_it_is_drawn(node, ramps, monkeypatch):
    for module in ("matplotlib", "matplotlib.pyplot"):
        monkeypatch.setitem(sys.modules, module, None)
    assert zel.plot(ramps["rgb"]).svg == zel.draw(ramps["rgb"]).svg
    assert zel.plot(node["size"], frames=(1, 5)).svg == zel.draw(node["size"], frames=(1, 5)).svg
    with pytest.raises(ImportError):
        zel.plot(node["size"], ax=object())
