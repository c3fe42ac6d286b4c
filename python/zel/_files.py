"""Files that are replaced at once."""

import os
import tempfile


def replace(path, data):
    """Writes all of the file or, after an exception, leaves it as it was."""
    path = os.path.realpath(path)
    handle, temporary = tempfile.mkstemp(dir=os.path.dirname(path), prefix=os.path.basename(path) + ".")
    try:
        with os.fdopen(handle, "wb") as file:
            file.write(data)
        try:
            mode = os.stat(path).st_mode & 0o7777
        except FileNotFoundError:
            mask = os.umask(0)
            os.umask(mask)
            mode = 0o666 & ~mask
        os.chmod(temporary, mode)
        os.replace(temporary, path)
    except BaseException:
        os.unlink(temporary)
        raise
