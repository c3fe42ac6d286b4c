"""Finds the literal texts of messages in the sources that have no row in the tables of messages.

    message_texts.py SOURCE_ROOT

A text is an argument of a call that reports, put together of literals; what stands between them is a hole, as the
`{}` of a row. Each arm of a `?:` is a text. Texts of a variable alone, replies of the shell and answers of the language server's protocol aren't
looked at.
"""
import glob
import itertools
import os
import re
import sys

FOLDERS = ["node/NOD/*", "DS/*", "ZEL/scripts", "ZEL/conditions", "tools/zel", "tools/zel/commands"]
OTHERS = ["node/NOD/lint/", "node/NOD/interface/NOD_InterfaceDifference", "node/NOD/server/NOD_MessageFrames",
          "node/NOD/server/NOD_ScriptServer", "node/NOD/server/NOD_ServerRename"]
CALL = re.compile(r"\b(?:(?:\w+(?:\.|->))*(?:error|warning|wordError)|tell|fail|warn|addError)\(|\bfault = \{?")
LITERAL = r'"(?:[^"\\]|\\.)*"'
TEXT = re.compile(rf"(?:std__string\()?((?:{LITERAL}\s*)+)\)?")
ROW = re.compile(rf'KIT_TEXT_MESSAGE\("\w+", \d+, \w+, ({LITERAL})')
NAMES = ["standard input", "there is no \0 \0"]  # no text of its own
HOLE = "\0"
SHORTEST = 6  # of the letters that a text must have to be one


def value_of(literals):
    return "".join(literal[1:-1] for literal in re.findall(LITERAL, literals)).encode().decode("unicode_escape")


def parts_of(text, at, separator):
    """The parts up to the parenthesis that closes, or the end."""
    parts, depth, begin = [], 0, at
    tokens = re.compile(rf"{LITERAL}|'(?:[^'\\]|\\.)'|[()\[\]{{}}{separator}]")
    for token in tokens.finditer(text, at):
        mark = token.group()
        if mark in "([{":
            depth += 1
        elif mark in ")]}":
            depth -= 1
            if depth < 0:
                return parts + [text[begin : token.start()]]
        elif mark == separator and depth == 0:
            parts.append(text[begin : token.start()])
            begin = token.end()
    return parts + [text[begin:]]


def arms_of(expression):
    """The two texts of `condition ? one : other`; none of another expression."""
    parts = parts_of(expression, 0, "?")
    if len(parts) < 2:
        return []
    arms = parts_of(expression[len(parts[0]) + 1 :], 0, ":")
    first = next(count for count in range(1, len(arms) + 1) if ":".join(arms[:count]).count("?") < count)
    return [":".join(arms[:first]), ":".join(arms[first:])]


def patterns_of(expression):
    """Each text that the expression may be."""
    expression = expression.strip()
    if expression.startswith("(") and len(parts_of(expression, 1, ",")[0]) == len(expression) - 2:
        expression = expression[1:-1]
    arms = arms_of(expression)
    if arms:
        return [pattern for arm in arms for pattern in patterns_of(arm)]
    parts = parts_of(expression, 0, "+")
    if len(parts) > 1:
        each = [patterns_of(part) for part in parts]
        return [re.sub(HOLE + "+", HOLE, "".join(one)) for one in itertools.product(*each)]
    text = TEXT.fullmatch(expression)
    return [value_of(text.group(1))] if text else [HOLE]


def main():
    os.chdir(sys.argv[1])
    with open("host/KIT/KIT_TextMessages.def", encoding="utf-8") as file:
        rows = [value_of(row) for row in ROW.findall(file.read())]
    known = re.compile("|".join(".*".join(map(re.escape, row.split("{}"))) + r"\Z" for row in rows), re.DOTALL)
    total, missing = 0, []
    for path in sorted(path for folder in FOLDERS for path in glob.glob(folder + "/*.cpp")):
        if path.startswith(tuple(OTHERS)):
            continue
        with open(path, encoding="utf-8") as file:
            source = re.sub(r"^\s*//.*$", "", file.read(), flags=re.MULTILINE)
        for call in CALL.finditer(source):
            for expression in parts_of(source, call.end(), ","):
                for text in patterns_of(expression.replace("::", "__")):
                    if len(text.replace(HOLE, "")) >= SHORTEST and " " in text and text not in NAMES:
                        total += 1
                        if not known.match(text):
                            missing.append(f"{path}: {text.replace(HOLE, '{}')!r}")
    print("\n".join(missing) or f"{total} texts, each with its row")
    return 1 if missing or total < 100 else 0


if __name__ == "__main__":
    sys.exit(main())
