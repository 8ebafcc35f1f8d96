"""Files that give reasons for what a command finds and nobody is going to change:

    # a comment
    The reason, on one line or several.
        what the command found, as it prints it
        another one

    The next reason.
        ...
"""

import pathlib
import sys


def read(path):
    """What is explained, each with its reason."""
    reasons, reason, found = {}, [], True
    for number, line in enumerate(pathlib.Path(path).read_text().splitlines(), 1):
        if line.startswith("    "):
            if not reason:
                sys.exit(f"{path}:{number}: without a reason")
            reasons[line.strip()] = " ".join(reason)
            found = True
        elif line.startswith("#") or not line:
            if not found:
                sys.exit(f"{path}:{number}: the reason above is for nothing")
            reason = []
        else:
            reason = [line] if found else reason + [line]
            found = False
    if not found:
        sys.exit(f"{path}: the last reason is for nothing")
    return reasons


class Names:
    """Names for places in sources that stay the same as long as the line does, wherever it moves to."""

    def __init__(self):
        self.seen = {}

    def of(self, path, line, what):
        """`line` is the text; equal ones of a file are numbered in the order of asking."""
        name = f"{path}: {line} | {what}"
        self.seen[name] = self.seen.get(name, 0) + 1
        return name if self.seen[name] == 1 else f"{name} ({self.seen[name]})"
