"""The stubs say what there is, with its true signatures, and the programs of docs/python.md pass with them."""

import ast
import os
import pathlib
import re
import subprocess
import sys

import pytest

import zel
from signatures import Parameter, signature_of, signature_of_class
from zel import _zel

FOLDER = pathlib.Path(zel.__file__).parent
SOURCE = pathlib.Path(__file__).resolve().parents[2]

pytest.importorskip("mypy")


def run_mypy(folder, *arguments):
    (folder / "mypy.ini").write_text(
        "[mypy]\nignore_missing_imports = True\ncheck_untyped_defs = True\ndisable_error_code = var-annotated\n"
        f"cache_dir = {folder / 'cache'}\n"
    )
    environment = dict(os.environ, MYPYPATH=str(FOLDER.parent), PYTHONPATH=str(FOLDER.parent))
    done = subprocess.run(
        [sys.executable, "-m", *arguments], cwd=folder, env=environment, text=True, capture_output=True
    )
    return done.returncode, done.stdout + done.stderr


def test_the_stubs_say_what_there_is(tmp_path):
    allowed = pathlib.Path(__file__).with_name("stubs_allowed.txt")
    status, said = run_mypy(
        tmp_path, "mypy.stubtest", "zel", "--mypy-config-file", str(tmp_path / "mypy.ini"), "--allowlist", str(allowed)
    )
    assert status == 0, said


def test_programs_pass(tmp_path):
    page = (SOURCE / "docs" / "python.md").read_text(encoding="utf-8")
    names = []
    for number, section in enumerate(page.split("\n## ")[1:]):
        pieces = re.findall(r"^```python\n(.*?)^```$", section, re.M | re.S)
        names.append(f"job{number}.py")
        (tmp_path / names[-1]).write_text("\n".join(pieces), encoding="utf-8")
    wrong = "import zel\nzel.Scene().ad('x')\nzel.load('x', scripts='all')\nzel.Scene().frame = 'x'\n"
    (tmp_path / "wrong.py").write_text(wrong)
    status, said = run_mypy(tmp_path, "mypy", *names)
    assert len(names) == 10 and status == 0, said
    status, said = run_mypy(tmp_path, "mypy", "wrong.py")
    assert re.findall(r"wrong\.py:(\d): error", said) == ["2", "3", "4"], said


def stub_functions():
    """Each function of the compiled part, with its stubs: several where it is overloaded."""
    found = {}

    def visit(body, prefix):
        for item in body:
            if isinstance(item, ast.ClassDef):
                visit(item.body, f"{prefix}{item.name}.")
            elif isinstance(item, ast.FunctionDef):
                words = {ast.unparse(decorator) for decorator in item.decorator_list}
                if not any(word == "property" or word.endswith(".setter") for word in words):
                    found.setdefault(prefix + item.name, []).append((item.args, "staticmethod" in words))

    visit(ast.parse((FOLDER / "_zel.pyi").read_text()).body, "")
    return found


def test_contents_are_texts_and_bytes_where_the_stubs_say_so():
    """What takes contents of files, in each type that the stub names, and in no other one."""
    said = {}
    for name, stubs in STUBS.items():
        for one in stubs[0][0].args:
            kind = ast.unparse(one.annotation) if one.annotation else ""
            if one.arg in ("text", "data") and "bytes" in kind:
                said[name] = "str" in kind
    calls = {
        "Interface.from_text": (zel.Interface.from_text, 'parm { name "x" type float }'),
        "Scene.from_bytes": (zel.Scene.from_bytes, zel.Scene().to_bytes().decode()),
        "Difference.from_json": (zel.Difference.from_json, zel.diff(b"{\n}\n", b"{\n}\n", exact=True).to_json()),
        "format": (zel.format, 'parm { name "x" type float }'),
        "Presets.save": (lambda text: zel.Presets("none").save(text, "a", folder="/nowhere"), "{\n}\n"),
    }
    assert set(said) == set(calls)
    for name, (call, text) in calls.items():
        for value in (text, text.encode(), 3):
            taken = isinstance(value, bytes) or (isinstance(value, str) and said[name])
            try:
                call(value)
                assert taken, name
            except zel.PresetError:
                assert taken, name
            except TypeError as error:
                assert not taken and "bytes" in str(error), name


def parameters_of_stub(arguments, static, has_self):
    plain = arguments.args[1:] if has_self and not static else arguments.args
    missing = len(plain) - len(arguments.defaults)
    listed = [Parameter(one.arg, "plain", at >= missing) for at, one in enumerate(plain)]
    named = zip(arguments.kwonlyargs, arguments.kw_defaults)
    listed += [Parameter(one.arg, "named", default is not None) for one, default in named]
    if arguments.kwarg:
        listed.append(Parameter(arguments.kwarg.arg, "all", False))
    return listed


def parameters_at_runtime(name):
    *owners, function = name.split(".")
    owner = _zel
    for word in owners:
        owner = getattr(owner, word)
    return signature_of_class(owner) if function == "__init__" else signature_of(owner, function)


STUBS = stub_functions()


@pytest.mark.parametrize("name", sorted(name for name in STUBS if not re.search(r"\.__(?!init)", name)))
def test_signatures_are_true(name):
    expected = parameters_at_runtime(name)
    overloads = [parameters_of_stub(*stub, has_self="." in name) for stub in STUBS[name]]
    if len(overloads) == 1:
        assert overloads[0] == expected
    for stub in overloads:
        allowed = [(one.name, one.kind) for one in expected]
        assert [(one.name, one.kind) for one in stub] in (allowed, allowed[: len(stub)])
