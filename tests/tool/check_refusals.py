#!/usr/bin/env python3
"""Every command of the tool, as its help lists them, on what it has to refuse.

    check_refusals.py ZEL EXAMPLES OUT (faults|output|scripts)

faults   files that are missing or not to be read, folders in the place of files, files that can't be written, wrong
         addresses and values, wrong calls: exit 1, or 2 for a call, a message that names the place, nothing on standard output, and
         no file that is new or another one than before.
output   standard output that is full, or that nobody reads: exit 1 and a message.
scripts  with --no-scripts no command runs Python of a script, a channel file or a scene.

The tables say what stands for a word of a usage and what is wrong for an option: a new command, word or option fails
until it is there. Exit 77, with a message, for `scripts` where the tool has no Python.
"""
import os
import re
import resource
import shutil
import signal
import subprocess
import sys

ZEL, EXAMPLES, OUT = (os.path.abspath(path) for path in sys.argv[1:4])

# What stands for a word of a usage, of one command or of all: a file to read (<), one to write (>), or a word.
WORDS = {
    "FILE": "<light.ds", "IN": "<light.parms", "A": "<light.parms", "B": "<light.parms", "OLD": "<light.ds",
    "NEW": "<light.ds", "OUT": ">out", "TABLE": "Node", "OPNAME": "light", "NAME": "Night", "NEWNAME": "Dusk",
    "ADDRESS": None, "LINE": None, "SHELL": "bash", "CODE": "DS24",
    "scene FILE": "<studio.scene", "command FILE": "<commands/image.cmd", "ramp FILE": "<shader.ds",
    "ramp TOKEN": "palette", "convert OUT": None, "diff B": "<light_night.parms", "preset save NAME": "Noon",
    "PATCH": "<night.json", "THEIRS": "<light_night.parms",
}
# Options that a command can't do without.
NEEDED = {"convert": ["--to", "text", "--out", ">out"], "rewrite": ["--allow-loss"],
          "doc": ["--out", ">pages"], "migrate": ["--out", ">out"],
          "ramp": ["--svg", ">out"], "patch": ["--out", ">out"], "set": ["--out", ">out"],
          "merge": ["--out", ">out"], "explain": ["--dot"]}
FLAGS = {"--binary", "--check", "--compact", "--allow-loss", "--diff", "--dry-run", "--fix", "--force", "--json",
         "--keep-going", "--list", "--no-scripts", "--numbers", "--page", "--sort", "--stop", "--strict", "--times",
         "--help", "--dot", "--graph", "--stamp", "--exact", "--patch", "--stat", "--reverse",
         "--interactive", "--no-notes", "--ours", "--theirs", "--base", "--path"}
READS = {"--channels", "--map", "--script", "--values"}
WRITES = {"--convert", "--out", "--report", "--svg"}
# Values that are refused, and what the message names; `ramp` has another script.
SETS = [("nothere=1", "nothere"), ("{number}=red", "red"), ("{number}", "{number}"), ("{number}:7=1", "7"),
        ("{menu}=nothere", "nothere"), ("nothere*=1", "nothere*")]
WRONG = {
    "--set": SETS, "--expr": [("nothere=1", "nothere"), ("{number}", "{number}"), ("{number}=ch(", "cannot be read")],
    "--key": [("nothere@0=1", "nothere"), ("{number}@soon=1", "soon"), ("{number}@0=red", "red"),
              ("{number}=1", "{number}")],
    "--time": [("soon", "soon"), ("1e999", "1e999")], "--fps": [("0", "--fps"), ("-24", "--fps")],
    "--frames": [("soon", "soon"), ("5:1", "5:1"), ("1:5:0", "1:5:0")], "--only": [("nothere", "nothere")],
    "--rename": [("nothere=other", "nothere"), ("nothere", "nothere")], "--dir": [("nowhere", "nowhere")],
    "--tolerance": [("much", "much"), ("-1", "-1")],
    "--disable": [("nothere", "nothere")], "--level": [("nothere", "nothere")],
}
# Values that are a wrong call.
NO_CALL = {"--as": "nothere", "--format": "nothere", "--to": "nothere", "--messages": "nothere", "--from": "nothere", "--threads": "-1", "--fps": "fast"}
# Lines of the shell.
LINES = [
    ("eval nothere", "nothere"), ("set {number} red", "red"), ("set {number}:7 1", "7"), ("key {number} soon 1", "soon"),
    ("time soon", "soon"), ("load nowhere", "nowhere"), ("load folder", "folder"), ("channels nowhere", "nowhere"),
    ("adopt nowhere", "nowhere"), ("adopt folder", "folder"), ("spare add nowhere", "nowhere"),
    ("preset load nowhere", "nowhere"), ("preset delete nowhere", "nowhere"), ("save text /dev/full", "/dev/full"),
    ("save node nowhere/out", "nowhere/out"), ("save text folder", "folder"), ("save nothere out", "form"),
    ("count {number}", "{number}"), ("menu {number}", "{number}"), ("keys nothere", "nothere"), ("nothere", "nothere"),
    ("set {number} 'open", "quote"), ("restore nothere", "nothere"),
]
NAMES = {"number": "light_intensity", "menu": "light_type"}
RAMP_NAMES = {"number": "rough", "menu": "falloff1interp"}

NOBODY = 65534

failures = []
counts = {}
nobody_runs = False


def fail(call, text):
    failures.append(f"zel {' '.join(call)}: {text}")


# ---------------------------------------------------------------------- #
# Calls
# ---------------------------------------------------------------------- #


def prepare():
    """A folder with files of each kind, presets and something in each file to write."""
    shutil.rmtree(OUT, ignore_errors=True)
    shutil.copytree(EXAMPLES, OUT)
    os.mkdir(f"{OUT}/folder")
    os.close(os.open(f"{OUT}/secret", os.O_CREAT, 0))
    os.mkdir(f"{OUT}/pages")
    for name in "out", "pages/light.md", "pages/light.html":
        with open(f"{OUT}/{name}", "w", encoding="utf-8") as file:
            file.write("before")
    made, _, text = run(["preset", "save", "Node", "light", "Night", "light.ds"])
    if made != 0:
        sys.exit(f"there is no preset to begin with:\n{text}")


def contents():
    """Of all files of the folder."""
    found = {}
    for folder, _, names in os.walk(OUT):
        for name in names:
            if name != "secret":
                with open(os.path.join(folder, name), "rb") as file:
                    found[os.path.join(folder, name)] = file.read()
        found[folder] = None
    return found


def limit_files():
    signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
    resource.setrlimit(resource.RLIMIT_FSIZE, (0, resource.RLIM_INFINITY))


def become_nobody():
    if os.geteuid() == 0:
        os.setuid(NOBODY)


def run(arguments, text="", stdout=subprocess.PIPE, before=None):
    """Exit code, standard output, standard error."""
    environment = dict(os.environ, ZEL_PATH=OUT, HOME=OUT, LC_ALL="C.UTF-8")
    done = subprocess.run([ZEL, *arguments], cwd=OUT, env=environment, input=text.encode(), stdout=stdout,
                          stderr=subprocess.PIPE, timeout=120, preexec_fn=before, check=False)
    counts[" ".join(arguments[:1])] = counts.get(" ".join(arguments[:1]), 0) + 1
    return done.returncode, (done.stdout or b"").decode("utf-8", "replace"), done.stderr.decode("utf-8", "replace")


def refused(arguments, name, exit_code=1, text="", before_run=None, quiet=True):
    """Runs a call that is to fail, and leave everything as it was."""
    before = contents()
    code, printed, told = run(arguments, text, before=before_run)
    after = contents()
    if code != exit_code:
        fail(arguments, f"ends with {code}, not {exit_code}:\n{text}{printed[-500:]}{told[-500:]}")
    elif name not in told + ("" if quiet else printed):
        fail(arguments, f"doesn't say '{name}':\n{text}{told[-500:]}")
    elif quiet and printed:
        fail(arguments, f"prints\n{printed[:500]}")
    changed = [path for path in {**before, **after} if before.get(path, 0) != after.get(path, 0)]
    if changed:
        fail(arguments, f"leaves another {', '.join(changed)}")
        prepare()


def commands(words=()):
    """The words of each command, with what its usage has behind them and its options."""
    _, text, _ = run([*words, "--help"])
    below = re.search(r"\nSubcommands:\n((?:  .*\n)+)", text)
    if below:
        for name in re.findall(r"^  ([a-z]+) ", below[1], re.M):
            yield from commands((*words, name))
        return
    usage = re.search(r"Usage: zel [a-z ]+\[OPTIONS\](.*)", text)[1]
    options = re.findall(r"^ +(?:-\w,)?(--[a-z-]+)", text, re.M)
    yield list(words), re.findall(r"[A-Z]+", usage), options


def meaning(command, word):
    own = f"{' '.join(command)} {word}"
    if own not in WORDS and word not in WORDS:
        sys.exit(f"say in WORDS what {word} of zel {' '.join(command)} stands for")
    return WORDS.get(own, WORDS.get(word))


def good_call(command, usage):
    """The command with files and words that are there: those of the call, with `<` or `>` in front."""
    words = [meaning(command, word) for word in usage]
    return command + [word for word in words if word] + NEEDED.get(command[0], [])


def plain(call):
    return [word.lstrip("<>") if word[0] in "<>" else word for word in call]


# ---------------------------------------------------------------------- #
# Faults
# ---------------------------------------------------------------------- #


def refuse_read(call, place):
    """Another file in the place of one that is read."""
    reasons = {"nowhere": "No such file", "folder": "Is a directory", "secret": "Permission denied"}
    for file, reason in reasons.items():
        if file == "secret" and not nobody_runs:
            continue
        before = become_nobody if file == "secret" else None
        wrong = plain(call[:place]) + [file] + plain(call[place + 1 :])
        # Of several scripts the others are told.
        quiet = call[0] not in ("check", "doc", "format", "lint")
        refused(wrong, file, before_run=before, quiet=quiet)
        refused([*wrong, "--json"], reason, before_run=before, quiet=quiet)


def refuse_write(call, place):
    target = call[place][1:]
    for file, reason in ("/dev/full", ""), ("nowhere/out", "No such file"), ("folder", "Is a directory"):
        if call[0] != "doc":
            refused(plain(call[:place]) + [file] + plain(call[place + 1 :]), f"{file}: can't be written: {reason}")
    refused(plain(call), f"{target}", before_run=limit_files)


def names_of(command):
    return RAMP_NAMES if command == ["ramp"] else NAMES


def refuse_options(command, call, options):
    names = names_of(command)
    for option in options:
        if option in READS:
            refuse_read([*call, option, "<"], len(call) + 1)
        elif option in WRITES:
            if option not in call:
                refuse_write([*call, option, ">out"], len(call) + 1)
        elif option in WRONG or option in NO_CALL:
            for value, name in WRONG.get(option, []):
                if option not in ("--frames",) and command == ["preset", "list"]:
                    continue
                refused([*plain(call), option, value.format(**names)], name.format(**names))
            if option in NO_CALL:
                refused([*plain(call), option, NO_CALL[option]], option, 2)
        elif option not in FLAGS:
            sys.exit(f"say above what {option} of zel {' '.join(command)} is")


def refuse_call(command, usage, options):
    refused([*command, "--nothere"], "--nothere", 2)
    required = [word for word in usage if meaning(command, word)]
    if required and command != ["preset", "list"]:
        refused(command, "required", 2)
    call = good_call(command, usage)
    for place, word in enumerate(call):
        if word[0] == "<":
            refuse_read(call, place)
        elif word[0] == ">":
            refuse_write(call, place)
    refuse_options(command, call, options)


def check_faults():
    global nobody_runs
    try:
        nobody_runs = run(["check", "light.ds"], before=become_nobody)[0] == 0
    except (OSError, subprocess.SubprocessError):
        nobody_runs = False  # other people can't get at the tool
    if not nobody_runs:
        print("files that aren't to be read are left out")
    for command, usage, options in commands():
        refuse_call(command, usage, options)
    for line, name in LINES:
        for more in ([], ["--json"]):
            names = NAMES
            refused(["shell", "light.ds", *more], name.format(**names), 1, line.format(**names) + "\n", quiet=False)
    refused(["eval", "light.ds", "nothere"], "nothere")
    refused(["eval", "studio.scene", "/rig/nothere/light_intensity"], "nothere")
    refused(["eval", "studio.scene?/nothere"], "/nothere")
    refused(["ramp", "shader.ds", "nothere", "--svg", "out"], "nothere")
    refused(["command", "commands/image.cmd", "nothere"], "nothere")
    for preset in ("show", "delete", "apply", "copy", "rename"):
        refused(["preset", preset, "Node", "light", "nothere"] +
                {"apply": ["light.ds"], "copy": ["Dusk"], "rename": ["Dusk"]}.get(preset, []), "nothere")
    refused(["preset", "save", "Node", "light", "Noon", "light.ds"], "light.idx", before_run=limit_files)
    refused(["preset", "copy", "Node", "light", "Night", "Dusk"], "light.idx", before_run=limit_files)


# ---------------------------------------------------------------------- #
# Output
# ---------------------------------------------------------------------- #


def check_output():
    calls = [good_call(command, usage) for command, usage, _ in commands()]
    calls = [plain(call) for call in calls]
    texts = {"shell": "list\n"}
    calls += [call + ["--json"] for call in calls] + [["--help"], ["--version"], ["eval", "--help"]]
    calls += [["eval", "transform.ds", "--frames", "1:4000"], ["set", "light.ds", "--out", "-"],
              ["convert", "light.parms", "-", "--to", "binary"], ["ramp", "shader.ds", "palette", "--svg", "-"],
              ["migrate", "light.ds", "light.ds", "light.parms", "--out", "-"]]
    written = 0
    for call in calls:
        prepare()
        text = texts.get(call[0], "")
        code, printed, _ = run(call, text)
        if not printed:
            continue
        written += 1
        prepare()
        with open("/dev/full", "wb") as full:
            code, _, told = run(call, text, full)
        if code != 1 or "No space left" not in told:
            fail(call, f"> /dev/full ends with {code}:\n{told[-500:]}")
        prepare()
        reader, writer = os.pipe()
        os.close(reader)
        code, _, told = run(call, text, writer)
        os.close(writer)
        if code != 1 or "Broken pipe" not in told:
            fail(call, f"into a pipe that nobody reads ends with {code}:\n{told[-500:]}")
    if written < 30:
        sys.exit(f"only {written} calls print anything")
    with subprocess.Popen([ZEL, "eval", f"{OUT}/transform.ds", "--frames", "1:20000"], stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE) as process:
        process.stdout.readline()
        process.stdout.close()
        told = process.stderr.read().decode()
        if process.wait() != 1 or "Broken pipe" not in told:
            fail(["eval", "|", "head", "-1"], f"ends with {process.returncode}:\n{told}")


# ---------------------------------------------------------------------- #
# Scripts
# ---------------------------------------------------------------------- #

TOUCH = "open('touched', 'w') and 1"
SCRIPT = f"""{{
    name "light"
    parm {{ name "light_intensity" type float default {{ [ "{TOUCH}" python ] }} }}
    parm {{ name "plain" type float }}
    parm {{ name "m" type ordinal menu {{ [ "{TOUCH}" ] [ "return ['a', 'A']" ] language python }} }}
    parm {{ name "light_type" type string default {{ [ "{TOUCH}" python ] }} menu {{ [ "{TOUCH}" ]
        [ "return ['a', 'A']" ] language python }} hidewhen "{{ light_intensity == 3 }}" }}
    multiparm {{ name "palette" default 2 parm {{ name "p#" type float default {{ [ "{TOUCH}" python ] }} }} }}
}}
"""
CHANNELS = f'channels 1.0 {{ channel plain {{ default 0 key 0 0 "{TOUCH}" python }} }}\n'
STREAM = '{ version 0.8 plain ( [ plain 1 ] ) m ( "a" ) light_type ( "a" ) }\n'
SCENE = f"""#STO_INDEX 1.0
section "scene"
	version 1.0
end
section "interface light"
	file "light.ds"
end
section "node /light"
	type "light"
end
section "channels /light"
	{CHANNELS}end
section "values /light"
	{STREAM}end
#END
"""


def check_scripts():
    prepare()
    for name, text in ("light.ds", SCRIPT), ("shader.ds", SCRIPT), ("light.chan", CHANNELS), \
            ("light.parms", STREAM), ("studio.scene", SCENE):
        with open(f"{OUT}/{name}", "w", encoding="utf-8") as file:
            file.write(text)
    lines = "list\nmenu m\neval light_intensity\nexpr plain \"" + TOUCH + "\" python\neval plain\nstring light_type\n" \
            "load light.parms\nchannels light.chan\nload studio.scene?/light\ngraph clean\nstate\nmagic\ntimedep\n" \
            "adopt light.ds\npreset load Night\n"
    touched = []
    calls = []
    for command, usage, options in commands():
        call = plain(good_call(command, usage))
        calls.append(call)
        calls.append([*call, "--json"])
        if "--values" in options:
            calls.append([*call, "--values", "light.parms", "--channels", "light.chan"])
            calls.append([*call, "--values", "studio.scene", "--time", "1"])
        if "--times" in options:
            calls.append([*call, "--times"])
        if "--frames" in options:
            calls.append([*call, "--frames", "1:3", "--threads", "2"])
            calls.append([*command, "studio.scene"])
    for call in calls:
        text = lines if call[0] == "shell" else ""
        more = ["--keep-going"] if call[0] == "shell" else []
        for sort, flags in ("with", more), ("without", [*more, "--no-scripts"]):
            if os.path.exists(f"{OUT}/touched"):
                os.remove(f"{OUT}/touched")
            code, _, told = run([*call, *flags], text)
            ran = os.path.exists(f"{OUT}/touched")
            if code not in (0, 1):
                fail(call, f"ends with {code}:\n{told[-500:]}")
            if sort == "with" and ran:
                touched.append(call[0])
            elif sort == "without" and ran:
                fail([*call, *flags], "runs Python")
    for name in "eval", "state", "shell", "stats":
        if name not in touched:
            fail([name], "runs no Python without --no-scripts either, so this shows nothing")


def main():
    prepare()
    if sys.argv[4] == "scripts" and run(["shell", "light.ds"], "expr coneangle 1+1 python\neval coneangle\n")[0]:
        print("skipped: the tool has no Python")
        sys.exit(77)
    {"faults": check_faults, "output": check_output, "scripts": check_scripts}[sys.argv[4]]()
    print("\n".join(failures))
    print(sum(counts.values()), "calls,", len(failures), "at fault")
    sys.exit(1 if failures else 0)


main()
