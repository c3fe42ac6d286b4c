"""A session of `zel shell` on a terminal: completion, history, Ctrl-C, Ctrl-D.

    check_terminal.py ZEL SCRIPT FOLDER
"""

import os
import pty
import select
import shutil
import stat
import sys
import time

zel, script, folder = sys.argv[1:]
PROMPT = "zel> "


class Terminal:
    def __init__(self):
        self.seen = ""
        self.child, self.fd = pty.fork()
        if self.child == 0:
            os.environ.update(XDG_STATE_HOME=folder, TERM="xterm", LC_ALL="C.UTF-8")
            os.execv(zel, [zel, "shell", script])
        self.expect(PROMPT)

    def expect(self, text):
        """Reads until the text has come; what came before it is returned, and both are taken."""
        end = time.monotonic() + 60
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

    def send(self, text):
        os.write(self.fd, text.encode())

    def end(self):
        self.send("\x04")
        _, status = os.waitpid(self.child, 0)
        os.close(self.fd)
        return os.waitstatus_to_exitcode(status)


shutil.rmtree(folder, ignore_errors=True)
os.makedirs(folder)
with open(os.path.join(folder, "two words.parms"), "w"):
    pass

first = Terminal()
first.send("ev\t")
first.expect("eval ")
first.send("light_in\t\n")
first.expect("1\r\n")
first.expect(PROMPT)
first.send("set light_type \t\t")  # nothing in common: they are listed
first.expect("distant")
first.expect("point")
first.send("sp\t\n")
first.expect(PROMPT)
first.send("raw light_type\n")
first.expect("2\r\n")
first.expect(PROMPT)
first.send(f"load {folder}/tw\t")
first.expect("two\\ words.parms")
first.send("\x03")
first.expect("^C")
first.expect(PROMPT)
first.send("set light_intensity 3\n")
first.expect(PROMPT)
if first.end() != 0:
    sys.exit("a session without failures ends with 0")

history = os.path.join(folder, "zel", "history")
if stat.S_IMODE(os.stat(history).st_mode) != 0o600:
    sys.exit("the history may be read by others")

second = Terminal()
second.send("\x10")  # up
second.expect("set light_intensity 3")
second.send("\n")
second.expect(PROMPT)
second.send("\x12raw\n")  # search backwards
second.expect("raw light_type")
second.send("\n")
second.expect(PROMPT)
second.send("nonsense\n")
second.expect("! there is no command nonsense")
second.expect(PROMPT)
if second.end() != 1:
    sys.exit("a session with a failure ends with 1")
