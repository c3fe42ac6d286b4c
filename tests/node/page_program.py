#!/usr/bin/env python3
"""The program that a page tells in pieces.

    page_program.py make PAGE SOURCE            writes the pieces, put together, as one program
    page_program.py check PAGE PROGRAM [UPDATE] runs it: each piece prints what the page shows below it

A piece is a block fenced as `cpp`, what it prints a block fenced as `text` behind it. The pieces that begin
with `#include` or `class` stand in front of main(). With UPDATE the page gets what was printed.
"""
import re
import subprocess
import sys

MARK = "\f"
PIECE = re.compile(r"^```cpp\n(?P<code>.*?)^```\n(?:\n```text\n(?P<shown>.*?)^```\n)?", re.M | re.S)


def is_outside(code):
    return code.startswith(("#include", "class"))


def source_of(page, name):
    outside, inside = [], []
    for piece in PIECE.finditer(page):
        line = page.count("\n", 0, piece.start("code")) + 1
        code = f'#line {line} "{name}"\n{piece["code"]}'
        if is_outside(piece["code"]):
            outside.append(code)
        else:
            inside.append(f'std::printf("\\f");\n{code}')
    return "".join(outside) + "int main()\n{\n" + "".join(inside) + "return 0;\n}\n"


def check(page, program):
    """The page as it should be, and how many pieces have other output than is shown."""
    run = subprocess.run([program], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    printed = run.stdout.split(MARK)[1:]
    pieces = [p for p in PIECE.finditer(page) if not is_outside(p["code"])]
    if run.returncode != 0 or len(printed) != len(pieces):
        sys.exit(f"exit {run.returncode} after {len(printed)} of {len(pieces)} pieces:\n{run.stdout}")
    wrong = 0
    for piece, text in reversed(list(zip(pieces, printed))):
        if (piece["shown"] or "") != text:
            wrong += 1
            line = page.count("\n", 0, piece.start()) + 1
            print(f"the piece in line {line} prints\n{text}and the page shows\n{piece['shown']}")
            shown = f"```cpp\n{piece['code']}```\n" + (f"\n```text\n{text}```\n" if text else "")
            page = page[: piece.start()] + shown + page[piece.end() :]
    return page, wrong


def main():
    mode, path, other = sys.argv[1:4]
    with open(path, encoding="utf-8") as file:
        page = file.read()
    if mode == "make":
        with open(other, "w", encoding="utf-8") as file:
            file.write(source_of(page, path))
        return 0
    correct, wrong = check(page, other)
    if wrong and sys.argv[4:] == ["ON"]:
        with open(path, "w", encoding="utf-8") as file:
            file.write(correct)
        return 0
    return 1 if wrong else 0


sys.exit(main())
