"""A repository with two branches that edit one node, merged by Git with `zel merge` as docs/git.md says it.

    check_git.py ZEL SCHEMA PAGE OUT GOLDEN [UPDATE]

Edits of neighbouring lines, an item each and a key each merge cleanly; two values of one parameter are a conflict, whose
file and report are in GOLDEN and keep to SCHEMA. `git diff` and `git show` print values. The lines of configuration
are those of PAGE. Exit 77, with a message, where there is no Git.
"""

import json
import os
import pty
import re
import shutil
import subprocess
import sys

ZEL, SCHEMA, PAGE, OUT, GOLDEN = (os.path.abspath(path) for path in sys.argv[1:6])
UPDATE = sys.argv[6:] not in ([], ["OFF"])

SCRIPT = """{ name lamp
    parm { name amount type float }
    parm { name tint type vector3 size 3 }
    parm { name note type string }
    multiparm { name points default 0
        parm { name w# type float }
        parm { name label# type string } } }
"""
ENTRIES = {"amount": "1", "tint": "1\t1\t1", "note": '"a note"', "points": "2", "w1": "10", "label1": '"one"',
           "w2": "20", "label2": '"two"'}


def stream(**changed):
    entries = {**ENTRIES, **changed}
    lines = [f"{name}\t[ 0\tlocks=0 ]\t(\t{value}\t)" for name, value in entries.items() if value is not None]
    return "{\nversion 0.8\n" + "\n".join(lines) + "\n}\n"


def channels(*keys):
    lines = "".join(f"        key {time} {value} linear()\n" for time, value in keys)
    return "channels 1.0\n{\n    channel amount {\n        default 0\n" + lines + "    }\n}\n"


def run(*words, fails=False, answers=None):
    """`answers` are typed on a terminal."""
    typed = subprocess.DEVNULL
    if answers:
        keyboard, typed = pty.openpty()
        os.write(keyboard, answers.encode())
    done = subprocess.run(words, cwd=OUT, env=environment(), check=False, stdin=typed, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, text=True)
    if (done.returncode != 0) != fails:
        sys.exit(f"{' '.join(words)}: {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout


def environment():
    own = {name: value for name, value in os.environ.items() if not name.startswith("GIT_")}
    who = {f"GIT_{role}_{what}": "a@b.c" for role in ("AUTHOR", "COMMITTER") for what in ("NAME", "EMAIL")}
    path = os.path.dirname(ZEL) + os.pathsep + own.get("PATH", "")
    return {**own, **who, "GIT_CONFIG_NOSYSTEM": "1", "GIT_CONFIG_GLOBAL": os.devnull, "HOME": OUT, "PATH": path,
            "GIT_PAGER": "cat"}


def write(files):
    for name, text in files.items():
        with open(os.path.join(OUT, name), "w", encoding="utf-8") as file:
            file.write(text)


def read(name):
    with open(os.path.join(OUT, name), encoding="utf-8") as file:
        return file.read()


def blocks(page):
    """The indented blocks of the page by the line in front of each."""
    with open(page, encoding="utf-8") as file:
        text = file.read()
    found = {}
    for match in re.finditer(r"^([^\n ][^\n]*):\n\n((?:    [^\n]*\n|\n)+)", text, re.M):
        found[match[1]] = "".join(line[4:] + "\n" for line in match[2].rstrip("\n").split("\n"))
    return found


def make_repository():
    shutil.rmtree(OUT, ignore_errors=True)
    os.makedirs(OUT)
    run("git", "init", "-q", "-b", "main")
    page = blocks(PAGE)
    write({".gitattributes": page["`.gitattributes`"], ".zelscripts": "*.parms lamp.ds\n", "lamp.ds": SCRIPT})
    for line in page["Once for each clone"].splitlines():
        run("sh", "-c", line)


def commit(files, what):
    write(files)
    run("git", "add", "-A")
    run("git", "commit", "-q", "-m", what)


def merge(base, ours, theirs, fails=False):
    """Of files by name, on top of what there is."""
    run("git", "checkout", "-q", "main") if run("git", "branch", "--list", "main") else None
    commit(base, "base")
    run("git", "checkout", "-q", "-B", "theirs")
    commit(theirs, "theirs")
    run("git", "checkout", "-q", "main")
    commit(ours, "ours")
    return run("git", "merge", "-q", "--no-edit", "theirs", fails=fails)


def expect(name, found, wanted):
    if found != wanted:
        sys.exit(f"{name}:\n{found}\nexpected:\n{wanted}")


def golden(name, text):
    file_name = f"{GOLDEN}_{name}"
    if UPDATE:
        with open(file_name, "w", encoding="utf-8") as file:
            file.write(text)
    with open(file_name, encoding="utf-8") as file:
        expect(file_name, text, file.read())


def clean():
    merge({"lamp.parms": stream(), "lamp.chan": channels((0, 1), (9, 2))},
          {"lamp.parms": stream(amount="5", points="3", w1="7", label1='"new"', w2="10", label2='"one"', w3="20",
                                label3='"two"'),
           "lamp.chan": channels((0, 1), (3, 4), (9, 2))},
          {"lamp.parms": stream(tint="0\t1\t1", points="3", w3="30", label3='"three"'),
           "lamp.chan": channels((0, 1), (5, 6), (9, 2))})
    expect("lamp.parms", read("lamp.parms"),
           stream(amount="5", tint="0\t1\t1", points="4", w1="7", label1='"new"', w2="10", label2='"one"', w3="20",
                  label3='"two"', w4="30", label4='"three"'))
    expect("lamp.chan", read("lamp.chan"), channels((0, 1), (3, 4), (5, 6), (9, 2)))


def check_schema(report):
    try:
        import jsonschema
    except ImportError:
        return
    with open(SCHEMA, encoding="utf-8") as file:
        schema = json.load(file)
    jsonschema.Draft202012Validator.check_schema(schema)
    validator = jsonschema.Draft202012Validator(schema)
    document = json.loads(report)
    validator.validate(document)
    if len(document["conflicts"]) != 2:
        sys.exit(f"expected two conflicts: {report}")
    for key in set(document["conflicts"][0]):
        broken = json.loads(report)
        del broken["conflicts"][0][key]
        if validator.is_valid(broken):
            sys.exit(f"the schema accepts a conflict without {key}")


def conflict():
    out = merge({"lamp.parms": stream()}, {"lamp.parms": stream(amount="2", note='"ours"')},
                {"lamp.parms": stream(amount="3", tint="0\t0\t0", points="1", w2=None, label2=None, note='"theirs"')},
                fails=True)
    golden("conflict.parms", read("lamp.parms"))
    golden("conflict.txt", "".join(line + "\n" for line in out.splitlines() if line.startswith("lamp.parms:")))
    expect("status", run("git", "status", "--short", "lamp.parms"), "UU lamp.parms\n")
    states = [f"{number}.parms" for number in (1, 2, 3)]
    for number, state in enumerate(states, 1):
        write({state: run("git", "show", f":{number}:lamp.parms")})
    run(ZEL, "merge", "lamp.ds", *states, "-o", "again.parms", "--report", "report.json", fails=True)
    expect("again.parms", read("again.parms"), read("lamp.parms"))
    golden("conflict.json", read("report.json"))
    check_schema(read("report.json"))
    run(ZEL, "merge", "lamp.ds", *states, "-o", "again.parms", "--theirs", "amount", "--base", "not?")
    expect("policies", read("again.parms"),
           stream(amount="3", tint="0\t0\t0", points="1", w2=None, label2=None))
    wanted = read("again.parms")
    run(ZEL, "merge", "lamp.ds", *states, "-o", "again.parms", "--interactive", answers="what\ntheirs\nb\n")
    expect("answers", read("again.parms"), wanted)
    run("git", "checkout", "-q", "--theirs", "lamp.parms")
    run("git", "commit", "-q", "-am", "theirs it is")


def scripts():
    """The dialog script is under version control, too; what it includes is beside it."""
    base = SCRIPT.replace("{ name lamp\n", '{ name lamp // all of it\n#include "common.dsh"\n')
    ours = base.replace("size 3", "size 4").replace("type string }", 'type string label "Ours" }', 1)
    theirs = base.replace("default 0\n", "default 2\n").replace("name note", "name remark")
    wanted = theirs.replace("size 3", "size 4").replace("type string }", 'type string label "Ours" }', 1)
    merge({"lamp.ds": base, "common.dsh": "parm { name common type float }\n"}, {"lamp.ds": ours}, {"lamp.ds": theirs})
    expect("lamp.ds", read("lamp.ds"), wanted)
    text = run("git", "diff", "--ext-diff", "HEAD~1", "HEAD", "--", "lamp.ds")
    if "renamed, was note" not in text:
        sys.exit(f"git diff of a script:\n{text}")
    merge({"lamp.ds": base}, {"lamp.ds": base.replace("size 3", "size 4")}, {"lamp.ds": base.replace("size 3", "size 2")},
          fails=True)
    if "// conflict: tint size: both changed it" not in read("lamp.ds"):
        sys.exit(f"no comment about the conflict:\n{read('lamp.ds')}")
    run("git", "checkout", "-q", "--ours", "lamp.ds")
    run("git", "commit", "-q", "-am", "ours it is")
    write({"lamp.ds": SCRIPT})
    run("git", "commit", "-q", "-am", "as it was")


def shown():
    run(ZEL, "convert", "lamp.ds", "--to", "binary", "lamp.parms", "-o", "lamp.bin.parms")
    run("git", "add", "lamp.bin.parms")
    run("git", "commit", "-q", "-m", "binary")
    text = run(ZEL, "cat", "lamp.parms")
    expect("cat", text, read("lamp.parms"))
    write({"lamp.parms": stream(points="3", w1="7", label1='"new"', w2="10", label2='"one"', w3="20", label3='"two"')})
    text = run("git", "diff", "--ext-diff", "--", "lamp.parms")
    if "points\n  + [0]" not in text:  # an item, by the script that .zelscripts names
        sys.exit(f"git diff of a stream:\n{text}")
    run("git", "checkout", "-q", "lamp.parms")
    log = run("git", "show", "HEAD", "--", "lamp.bin.parms")
    if "Binary files" in log or "w1" not in log:
        sys.exit(f"git show doesn't print the binary stream:\n{log}")


def main():
    if not shutil.which("git"):
        print("skipped: there is no git (Debian package git)")
        sys.exit(77)
    make_repository()
    clean()
    conflict()
    scripts()
    shown()


main()
