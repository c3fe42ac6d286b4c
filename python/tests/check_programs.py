#!/usr/bin/env python3
"""Runs the programs that a page tells in pieces, and compares what they print with what it shows.

    check_programs.py PAGE EXAMPLES OUT [UPDATE]

A section of the page is a program: its blocks fenced as `python` run one after the other in one interpreter, in a
folder of its own with a copy of the examples. A block whose first line is a comment with a file's name is put into that
file instead. The lines after `$ ` in a block fenced as `console` run in a shell. What a block prints, errors included,
is in a block fenced as `text` below it, or below the line of the console. A line `...` stands for any lines, `...` at the end
of a line for the rest of it.

With UPDATE the page gets what was printed, but for outputs that `...` allows.
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tests" / "tool"))
from pages import copy_examples, fits, plain_environment  # noqa: E402

MARK = "\f"
BLOCK = re.compile(r"^```(python|console)\n(.*?)^```\n(?:\n```text\n(.*?)^```\n)?", re.M | re.S)
FILE = re.compile(r"# ([\w/.-]+\.\w+)\n")


class Step:
    """What is run, and where in the page its output stands, or would."""

    def __init__(self, kind, code, line, begin, end, shown):
        self.kind, self.code, self.line = kind, code, line
        self.begin, self.end, self.shown = begin, end, shown

    def shows(self, text):
        if self.kind == "python" and text:
            return f"\n```text\n{text}```\n"
        return text


def steps_of(page):
    for block in BLOCK.finditer(page):
        kind, body, shown = block.groups()
        line = page.count("\n", 0, block.start(2)) + 1
        if kind == "python":
            name = FILE.match(body)
            kind = "file" if name else kind
            end = block.end(2) + len("```\n")
            yield block.start(), Step(kind, body, line, end, block.end(), shown or "")
            continue
        for one in re.finditer(r"^\$ (.*)\n((?:(?!\$ ).*\n)*)", body, re.M):
            begin = block.start(2) + one.start(2)
            yield block.start(), Step("console", one[1], line, begin, begin + len(one[2]), one[2])


def sections_of(page):
    """Steps of each section that has some."""
    heads = [match.start() for match in re.finditer(r"^## ", page, re.M)] + [len(page)]
    steps = list(steps_of(page))
    for start, end in zip(heads, heads[1:]):
        inside = [step for place, step in steps if start <= place < end]
        if inside:
            yield inside


def program_of(steps):
    """One that prints a mark after each step."""
    lines = ["import os, subprocess, sys", "sys.path.insert(0, '')", "def _mark():", "    sys.stdout.flush()"]
    lines += ["    sys.stderr.flush()", f"    os.write(1, {MARK.encode()!r})", "_names = {'__name__': '__main__'}"]
    above = ""  # lines of a warning or traceback are those of the program
    for step in steps:
        if step.kind == "python":
            lines.append(f"exec(compile({above + step.code!r}, 'job.py', 'exec'), _names)")
            above += "\n" * step.code.count("\n")
        elif step.kind == "file":
            lines.append(f"open({FILE.match(step.code)[1]!r}, 'w', encoding='utf-8').write({step.code!r})")
        else:
            lines.append(f"subprocess.run(['bash', '-c', {step.code!r}], stdin=subprocess.DEVNULL)")
        lines.append("_mark()")
    return "\n".join(lines)


def run(page, steps, examples, folder):
    """What each of them prints."""
    copy_examples(examples, folder)
    environment = plain_environment(folder, folder / "bin")
    environment["MPLBACKEND"] = "agg"
    environment["PYTHONPATH"] = os.path.abspath(environment.get("PYTHONPATH", "."))
    (folder / "bin").mkdir()
    (folder / "bin" / "python3").symlink_to(sys.executable)
    done = subprocess.run([sys.executable, "-c", program_of(steps)], cwd=folder,
                          env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    printed = done.stdout.decode("utf-8", "replace").replace(str(folder), "FOLDER").split(MARK)
    if done.returncode != 0 or len(printed) != len(steps) + 1:
        at = steps[min(len(printed), len(steps)) - 1].line
        sys.exit(f"{page}({at}): exit {done.returncode} after {len(printed) - 1} of {len(steps)} pieces:\n{printed[-1]}")
    return printed


def main():
    path, examples, out = sys.argv[1:4]
    examples, out = os.path.abspath(examples), pathlib.Path(out).resolve()
    page = pathlib.Path(path).read_text(encoding="utf-8")
    shutil.rmtree(out, ignore_errors=True)
    wrong = []
    sections = list(sections_of(page))
    for number, steps in enumerate(sections):
        folder = out / str(number)
        folder.mkdir(parents=True)
        for step, text in zip(steps, run(path, steps, examples, folder)):
            if not fits(step.shown, text):
                wrong.append((step, text))
                print(f"{path}({step.line}): prints\n{text}and the page shows\n{step.shown}")
    if not sections:
        sys.exit(f"{path} has nothing to run")
    if wrong and sys.argv[4:] == ["ON"]:
        for step, text in reversed(wrong):
            page = page[: step.begin] + step.shows(text) + page[step.end :]
        pathlib.Path(path).write_text(page, encoding="utf-8")
    sys.exit(1 if wrong else 0)


main()
