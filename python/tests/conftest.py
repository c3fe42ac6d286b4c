import pathlib

import pytest
from kinds import KINDS

import zel

SOURCE = pathlib.Path(__file__).resolve().parents[2]

ALL_KINDS = f"""{{
    name all_kinds
{KINDS}    multiparm {{ name "points" default {{ 2 }}
        parm {{ name "w#" type float default {{ 0.5 }} }}
        parm {{ name "p#" type vector2 default {{ 0 0 }} }}
    }}
}}"""


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
