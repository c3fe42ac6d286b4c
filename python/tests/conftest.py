import pathlib

import pytest

import zel

SOURCE = pathlib.Path(__file__).resolve().parents[2]

ALL_KINDS = """{
    name all_kinds
    parm { name "size" type float default { 1.5 } range { 0! 10! } }
    parm { name "t" type vector default { 1 2 3 } }
    parm { name "count" type integer default { 4 } }
    parm { name "on" type toggle default { 1 } }
    parm { name "mode" type ordinal default { "soft" }
        menu { "hard" "Hard" "soft" "Soft" "none" "None" } }
    parm { name "file" type string default { "$SHOT/a.pic" } }
    parm { name "note" type string default { "" } hidewhen "{ on == off }" disablewhen "{ mode == none }" }
    parm { name "press" type button }
    multiparm { name "points" default { 2 }
        parm { name "w#" type float default { 0.5 } }
        parm { name "p#" type vector2 default { 0 0 } }
    }
}"""


@pytest.fixture
def kinds():
    return zel.Interface.from_text(ALL_KINDS, "kinds.ds")


@pytest.fixture
def scene():
    return zel.Scene()


@pytest.fixture
def node(scene, kinds):
    return scene.add("n", kinds)


@pytest.fixture
def examples():
    return SOURCE / "examples"
