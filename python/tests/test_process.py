"""The interpreter is the process's: what is run from another one."""

import subprocess
import sys
import textwrap


def run(code):
    done = subprocess.run([sys.executable, "-c", textwrap.dedent(code)], capture_output=True, text=True, timeout=120)
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
