"""What the checks of pages with examples have in common."""
import os
import re
import shutil


def copy_examples(examples, folder):
    """As `examples` in there, without what isn't for reading."""
    shutil.copytree(examples, os.path.join(folder, "examples"), ignore=shutil.ignore_patterns("CMakeLists.txt", "*.cpp"))


def plain_environment(folder, path):
    """This one without settings, a home in the folder, and programs of that folder found first."""
    environment = {key: value for key, value in os.environ.items() if not re.match("ZEL|XDG_|LC_|LANG", key)}
    environment.update(PATH=f"{path}:{environment['PATH']}", HOME=os.path.join(folder, "home"), LC_ALL="C.UTF-8")
    return environment


def fits(shown, printed):
    """A line `...` stands for any lines, `...` at the end of a line for the rest of it."""
    pattern = ""
    for line in shown.splitlines():
        rest = line.endswith("...")
        pattern += "(?:.*\n)*?" if line == "..." else re.escape(line[:-3]) + ".*\n" if rest else re.escape(line) + "\n"
    return re.fullmatch(pattern, printed) is not None
