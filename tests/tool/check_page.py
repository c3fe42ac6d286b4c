#!/usr/bin/env python3
"""Runs the commands that a page shows, and compares what they print with what it shows.

    check_page.py PAGE ZEL EXAMPLES OUT [UPDATE]

An example is a block that begins with `$ `, indented by four blanks in a page of Markdown; any other file is one
block, in which a line with `# ` is a comment. A command goes on in the next line after `\\`, `|` or with `>` in front of
it, as on a terminal. What follows up to the next one is its output, errors included: a line `...` stands for any lines,
`...` at the end of a line for the rest of it. One bash runs them all, in a folder of its own beside a copy of the
examples. A command that fails is followed by `$ echo $?`.

With UPDATE the page gets what was printed, but for outputs that `...` allows.
"""
import os
import re
import shutil
import subprocess
import sys

from pages import copy_examples, fits, plain_environment


class Step:
    """A command, and where its output stands in the page."""

    def __init__(self, line, command):
        self.line = line
        self.command = command
        self.begin = self.end = line + 1

    def shown(self, lines, indent):
        return "".join(f"{line[indent:]}\n" for line in lines[self.begin : self.end])


def blocks_of(lines, indent):
    """Ranges of lines: all that is indented, without the empty lines behind it."""
    start = None
    for at, line in enumerate(lines + ["end"]):
        inside = at < len(lines) and (line.startswith(" " * indent) or not line)
        if inside and line and start is None:
            start = at
        elif not inside and start is not None:
            while not lines[at - 1]:
                at -= 1
            yield start, at
            start = None


def steps_of(lines, indent):
    for start, end in blocks_of(lines, indent):
        texts = [line[indent:] for line in lines[start:end]]
        if indent > 0 and not texts[0].startswith("$ "):
            continue
        step = None
        at = 0
        while at < len(texts):
            if texts[at].startswith("$ "):
                command = texts[at][2:]
                step = Step(start + at, command)
                while texts[at].endswith(("\\", "|")) or texts[at + 1 : at + 2] and texts[at + 1].startswith(">"):
                    at += 1
                    step.command += "\n" + re.sub("^> ?", "", texts[at])
                step.begin = step.end = start + at + 1
                yield step
            elif indent == 0 and texts[at].startswith("# "):
                step = None  # a comment
            elif step and texts[at]:
                step.end = start + at + 1
            at += 1


def run(steps, zel, examples, out):
    """What each of them prints, and how it ends."""
    shutil.rmtree(out, ignore_errors=True)
    os.makedirs(out)
    copy_examples(examples, out)
    script = "exec 2>&1\nset -o pipefail\n"
    for step in steps:
        script += f"{step.command}\nzel_status=$?; printf '\\n\\f%d\\n' $zel_status; (exit $zel_status)\n"
    with open(f"{out}/.commands", "w", encoding="utf-8") as file:
        file.write(script)
    environment = plain_environment(out, os.path.dirname(zel))
    done = subprocess.run(["bash", ".commands"], cwd=out, env=environment, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, check=False)
    printed = re.findall(r"(.*?)\n\f(\d+)\n", done.stdout.decode("utf-8", "replace"), re.S)
    if len(printed) != len(steps):
        sys.exit(f"{len(printed)} of {len(steps)} commands ran; the last ones:\n{printed[-1:]}")
    return printed


def main():
    page, zel, examples, out = sys.argv[1:5]
    with open(page, encoding="utf-8") as file:
        lines = file.read().split("\n")
    indent = 4 if page.endswith(".md") else 0
    steps = list(steps_of(lines, indent))
    if not steps:
        sys.exit(f"{page} has no commands")
    wrong = 0
    results = run(steps, os.path.abspath(zel), os.path.abspath(examples), os.path.abspath(out))
    for place, (step, (text, status)) in reversed(list(enumerate(zip(steps, results)))):
        text = text.replace("\r\n", "\n").replace(os.path.abspath(out), "FOLDER").strip("\n")
        text += "\n" if text else ""
        asked = place + 1 < len(steps) and steps[place + 1].command.startswith("echo $?")
        if status != "0" and not asked:
            wrong += 1
            print(f"{page}({step.line + 1}): ends with {status}: {step.command}\n{text}")
        if not fits(step.shown(lines, indent), text):
            wrong += 1
            print(f"{page}({step.line + 1}): {step.command}\nprints\n{text}and the page shows\n"
                  + step.shown(lines, indent))
            lines[step.begin : step.end] = [" " * indent + line if line else "" for line in text.splitlines()]
    if wrong and sys.argv[5:] == ["ON"]:
        with open(page, "w", encoding="utf-8") as file:
            file.write("\n".join(lines))
    sys.exit(1 if wrong else 0)


main()
