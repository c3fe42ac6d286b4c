"""The package from a wheel, in a process of its own."""

import importlib.util
import os
import pathlib
import shutil
import subprocess
import sys
import zipfile

import pytest

import zel

SOURCE = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(zel.__file__).parents[2]
CODE = """
import zel
node = zel.Scene().add("a", zel.Interface.from_text('parm { name "x" type float default { 2 } }', "a"))
print(node["x"].value, zel.__file__)
"""


def run(*command, **environment):
    done = subprocess.run(
        [str(word) for word in command],
        capture_output=True,
        text=True,
        env={**os.environ, **environment},
        timeout=250,
        cwd="/",
    )
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


def test_pip_makes_a_wheel(tmp_path):
    if any(importlib.util.find_spec(module) is None for module in ("pip", "setuptools", "wheel")):
        pytest.skip("without pip, setuptools and wheel")
    source = tmp_path / "source"
    source.mkdir()
    for name in ("CMakeLists.txt", "pyproject.toml", "setup.py"):
        shutil.copy(SOURCE / name, source)
    run(
        *(sys.executable, "-m", "pip", "wheel", source, "--no-build-isolation", "--no-deps", "--no-index"),
        *("--disable-pip-version-check", "-w", tmp_path / "wheels"),
        ZEL_BUILD_DIR=str(BUILD),
    )
    (wheel,) = (tmp_path / "wheels").glob("zel-*.whl")
    assert zel.__version__ in wheel.name
    with zipfile.ZipFile(wheel) as file:
        file.extractall(tmp_path / "wheel")
    value, file = run(sys.executable, "-c", CODE, PYTHONPATH=str(tmp_path / "wheel")).split()
    assert value == "2.0" and pathlib.Path(file).is_relative_to(tmp_path / "wheel")
    names = {path.name for path in (tmp_path / "wheel/zel").iterdir()}
    wanted = {path.name for path in (SOURCE / "python/zel").iterdir() if path.suffix in {".py", ".pyi", ".typed"}}
    assert wanted <= names and any(name.startswith("libzelnode.so") for name in names)
