"""A session of `zel shell` on a terminal: completion, history, Ctrl-C, Ctrl-D.

    check_terminal.py ZEL SCRIPT SCENE FOLDER
"""

import os
import pty
import select
import shutil
import signal
import stat
import subprocess
import sys
import termios
import time

zel, script, scene, folder = sys.argv[1:]
PROMPT = "zel> "
LIMIT = 60  # seconds for anything that is waited for


class Terminal:
    def __init__(self, file=script):
        self.seen = ""
        self.child, self.fd = pty.fork()
        if self.child == 0:
            os.environ.update(XDG_STATE_HOME=folder, ZEL_PATH=folder, TERM="xterm", LC_ALL="C.UTF-8")
            os.execv(zel, [zel, "shell", file])
        self.expect(PROMPT)

    def expect(self, text):
        """Reads until the text has come; what came before it is returned, and both are taken.

        A list of completions ends with a prompt of its own: the test must take it, or what it sends next comes while
        the terminal changes its mode, which may lose it.
        """
        end = time.monotonic() + LIMIT
        while text not in self.seen:
            ready, _, _ = select.select([self.fd], [], [], max(0, end - time.monotonic()))
            try:
                data = os.read(self.fd, 4096) if ready else b""
            except OSError:  # the other side has ended
                data = b""
            if not data:
                sys.exit(f"expected {text!r}, but there is {self.seen!r}")
            self.seen += data.decode(errors="replace")
        before, _, self.seen = self.seen.partition(text)
        return before

    def wait(self, ready, what):
        end = time.monotonic() + LIMIT
        while not (value := ready()):
            if time.monotonic() > end:
                os.kill(self.child, signal.SIGKILL)
                sys.exit(what)
            time.sleep(0.01)
        return value

    def canonical(self):
        return termios.tcgetattr(self.fd)[3] & termios.ICANON

    def send(self, text):
        # Keys that come before are a plain line.
        self.wait(lambda: not self.canonical(), f"no line is read for {text!r}")
        os.write(self.fd, text.encode())

    def interrupt(self, line):
        """Ctrl-C while the line's command runs, which must never end by itself."""
        self.send(line + "\n")
        self.wait(self.canonical, f"{line!r} doesn't run")
        os.write(self.fd, b"\x03")
        self.expect("! interrupted")
        return self.expect(PROMPT)

    def end(self):
        self.send("\x04")
        status = self.wait(lambda: (done := os.waitpid(self.child, os.WNOHANG))[0] and done, "it doesn't end")[1]
        os.close(self.fd)
        return os.waitstatus_to_exitcode(status)


shutil.rmtree(folder, ignore_errors=True)
os.makedirs(folder)
with open(os.path.join(folder, "two words.parms"), "w") as file:
    file.write("{ version 0.8\nlight_intensity [ 0 locks=0 ] ( 5 )\n}\n")

# What the terminal shows of a line depends on it; what the line does shows what was typed.
first = Terminal()
first.send("eva\tlight_in\t\n")
first.expect("1\r\n")
first.expect(PROMPT)
first.send("set light_type \t\t")  # they have nothing in common: they are listed
first.expect("distant")
first.expect("point")
first.expect(PROMPT)
first.send("dis\t\n")
first.expect(PROMPT)
first.send("string light_type\n")
first.expect("distant\"\r\n")
first.expect(PROMPT)
first.send("nonsense\x03")
first.expect("^C")
first.expect(PROMPT)
first.send(f"load {folder}/tw\t\n")
first.expect(PROMPT)
first.send("eval light_intensity\n")
first.expect("5\r\n")
first.expect(PROMPT)
first.send("set light_intensity 3\n")
first.expect(PROMPT)
if first.end() != 0:
    sys.exit("a session without failures ends with 0")

history = os.path.join(folder, "zel", "history")
if stat.S_IMODE(os.stat(history).st_mode) != 0o600:
    sys.exit("the history may be read by others")

second = Terminal()
second.send("\x10\n")  # the line before, which was the other session's
second.expect(PROMPT)
second.send("\x12eval\n")  # searched backwards
second.expect("3\r\n")
second.expect(PROMPT)
second.send("nonsense\n")
second.expect("! there is no command nonsense")
second.expect(PROMPT)
if second.end() != 1:
    sys.exit("a session with a failure ends with 1")

# Ctrl-C stops what runs; the session and what it has stay, and what was cut short writes nothing.
flag = os.path.join(folder, "flag")
waits = f"sum(0 for x in iter(lambda: __import__('os').path.exists('{flag}'), False))"  # for as long as it is there
third = Terminal()
third.send(f'expr coneangle "42 + {waits}" python\n')
third.expect(PROMPT)
third.send("eval coneangle\n")
if "42\r\n" not in third.expect(PROMPT):
    third.end()
else:
    endless = "all(True for x in iter(int, 1))"
    third.send("set light_intensity 7\n")
    third.expect(PROMPT)
    open(flag, "w").close()
    third.interrupt("eval coneangle")
    third.interrupt("list")
    os.remove(flag)
    if "nothing is changed" not in third.interrupt(f'expr coneangle "{endless}" python'):
        third.send("undo\n")  # what reads it was told when it was set
        third.expect(PROMPT)
    third.send("eval light_intensity\n")
    third.expect("7\r\n")
    third.expect(PROMPT)
    third.send("eval coneangle\n")
    third.expect("42\r\n")
    third.expect(PROMPT)
    third.send(f"save text {folder}/saved.parms\n")
    third.expect(PROMPT)
    if third.end() != 1:
        sys.exit("an interrupted command has failed")
    if not os.path.exists(f"{folder}/saved.parms"):
        sys.exit("a session that goes on after Ctrl-C doesn't save")

    # What restores a state evaluates too; what it has changed is taken back.
    with open(os.path.join(folder, "block.ds"), "w") as file:
        file.write("{ name b multiparm { name m parm { name v# type float } } parm { name n type int } }\n")
    fifth = Terminal(os.path.join(folder, "block.ds"))
    for line in (f'expr m "2 + {waits}" python', "snapshot two", "preset save Two " + folder, "set m 1"):
        fifth.send(line + "\n")
        fifth.expect(PROMPT)
    open(flag, "w").close()
    fifth.interrupt("restore two")
    fifth.interrupt("preset load Two")
    os.remove(flag)
    for line, answer in (("eval m", "1\r\n"), ("undo", "set m 1"), ("eval m", "2\r\n")):
        fifth.send(line + "\n")
        fifth.expect(answer)
        fifth.expect(PROMPT)
    open(flag, "w").close()
    fifth.interrupt("snapshot none")
    fifth.interrupt("preset save None " + folder)
    os.remove(flag)
    for line, answer in (("restore none", "! there is no snapshot none"), ("preset load None", "! there is no preset"),
                         ("redo", "set m 1"), ("eval m", "1\r\n")):
        fifth.send(line + "\n")
        fifth.expect(answer)
        fifth.expect(PROMPT)
    fifth.end()

    # Lines that don't come from a terminal end with the signal.
    with subprocess.Popen([zel, "shell", script], stdin=subprocess.PIPE, stdout=subprocess.PIPE) as process:
        process.stdin.write(f"eval coneangle\nexpr coneangle '{endless}' python\neval coneangle\n".encode())
        process.stdin.flush()
        process.stdout.readline()
        process.send_signal(signal.SIGINT)
        try:
            process.wait(LIMIT)
        except subprocess.TimeoutExpired:
            process.kill()
        if process.wait() != -signal.SIGINT:
            sys.exit(f"a script that is interrupted ends with {process.returncode}")

# Nodes and their parameters in a scene.
fourth = Terminal(scene)
for typed, answer in (
    ("eval /r\tk\tconea\t\n", "45\r\n"),
    ("list /rig/fill/light_t\t\n", "/rig/fill/light_type point"),
    (f"save text {folder}/key.parms /r\t/k\t --allow-loss\n", "key"),
):
    fourth.send(typed)
    fourth.expect(answer)
    fourth.expect(PROMPT)
fourth.send("eval /rig/\t\t")
fourth.expect("/rig/fill/")
fourth.expect("/rig/key/")
fourth.expect(PROMPT)
fourth.send("\x03")
fourth.expect("^C")
fourth.expect(PROMPT)
fourth.end()
if "coneangle" not in open(os.path.join(folder, "key.parms"), encoding="utf-8").read():
    sys.exit("a node whose path was completed isn't saved")
