"""A session of `zel shell` on a terminal: completion, history, Ctrl-C, Ctrl-D.

    check_terminal.py ZEL SCRIPT FOLDER
"""

import os
import pty
import select
import shutil
import stat
import sys
import termios
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
        while termios.tcgetattr(self.fd)[3] & termios.ICANON:  # keys that come before are a plain line
            time.sleep(0.01)
        os.write(self.fd, text.encode())

    def end(self):
        self.send("\x04")
        _, status = os.waitpid(self.child, 0)
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
