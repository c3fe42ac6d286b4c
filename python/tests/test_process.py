"""The interpreter is the process's: what is run from another one."""

import os
import subprocess
import sys
import textwrap

import pytest


def run(code, **environment):
    done = subprocess.run(
        [sys.executable, "-c", textwrap.dedent(code)],
        capture_output=True,
        text=True,
        timeout=120,
        env={**os.environ, **environment},
    )
    assert done.returncode == 0, done.stderr
    assert done.stderr == ""
    return done.stdout


def test_it_is_imported_without_numpy_and_ends_quietly():
    assert run(
        """
        import sys
        sys.modules["numpy"] = None
        import zel
        scene = zel.Scene()
        box = zel.Interface.from_text('parm { name "x" type float }', "box")
        node = scene.add("a", box)
        node.on_change(lambda *event: node)
        node["x"].set_expression("vmr.frame()", "python")
        print(node["x"].value)
        """
    ) == "1.0\n"


def test_a_scene_may_outlive_everything():
    run(
        """
        import atexit, threading, zel
        scene = zel.Scene()
        atexit.register(lambda: scene.add("late"))
        threading.Thread(target=lambda: len(scene)).start()
        """
    )


def test_python_can_be_switched_off():
    assert "EvaluationError" in run(
        """
        import zel
        zel.enable_python(False)
        node = zel.Scene().add("a", zel.Interface.from_text('parm { name "x" type float }', "box"))
        node["x"].set_expression("1 + 1", "python")
        try:
            node["x"].value
        except zel.Error as error:
            print(type(error).__name__)
        """
    )


@pytest.mark.skipif(
    "libasan" in os.environ.get("LD_PRELOAD", ""),
    reason="the address sanitizer trips over its own marks in frames that CPython's end of a thread leaves",
)
@pytest.mark.parametrize(
    "work",
    [
        'node["y"].value',
        'node.sample(["x", "y"], range(200))',
        'node["s"].value = "a"; scene.to_bytes()',
        'node["size"].value += 1',
    ],
)
def test_the_process_ends_while_threads_are_at_work(work):
    """Also with what is deleted at the very end, when whoever has the gate is gone."""
    assert run(
        f"""
        import gc, os, threading, time, zel
        script = " ".join(f'parm {{{{ name "{{name}}" type float }}}}' for name in ("x", "y", "size"))
        scene = zel.Scene()
        node = scene.add("a", zel.Interface.from_text(script + 'parm {{ name "s" type string }}', "a"))
        node["x"].set_expression("sum(range(300)) + vmr.frame()", "python")
        node["y"].expression = "ch('x') + 1"
        node.on_change(lambda *event: time.sleep(0.001))
        began = threading.Event()

        class Late:
            def __del__(self, scene=scene, write=os.write):
                try:
                    scene.add("late")
                except RuntimeError:
                    pass
                write(1, b"late\\n")

        def forever():
            while True:
                {work}
                began.set()

        gc.disable()
        late = Late()
        late.late = late
        del late
        for _ in range(3):
            threading.Thread(target=forever, daemon=True).start()
        began.wait()
        print("end", flush=True)
        """,
        ASAN_OPTIONS="detect_leaks=0",  # the threads have what they had
    ) == "end\nlate\n"


def test_counts_that_are_refused_leave_everything():
    """Also where an expression makes the count, where items have items, and without undo."""
    run(
        """
        import os
        os.environ["ZEL_MAX_STREAM_ITEMS"] = "300"
        import zel
        scene = zel.Scene()
        cells = 'multiparm { name "cells#" default { 2 } parm { name "y#_#" type float } }'
        script = f'multiparm {{ name "rows" default {{ 2 }} parm {{ name "x#" type float }} {cells} }}'
        for name in "undone", "not":
            node = scene.add(name, zel.Interface.from_text(script, "rows"))
            rows = node["rows"]
            node["cells2"].value = 3
            for expression, refused in (None, 200), ("1 + 1", 1000):
                rows.expression = expression
                before = node.as_dict()
                try:
                    rows.value = refused
                    raise SystemExit(f"{refused} rows")
                except zel.EditError:
                    assert node.as_dict() == before, (name, refused)
            scene.limit_undo(0)
        """
    )
