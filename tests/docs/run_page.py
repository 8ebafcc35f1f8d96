"""Runs what the consoles of a page show and compares what is printed. Arguments: page, build folder.

All commands of a page run in one shell, in a folder that looks like the repository with a build in
build/release. In what is shown, a line of three dots stands for any lines, three dots in a line for any
text. A command must succeed.
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile

import pages


def lay_out(folder, build):
    for entry in pages.ROOT.iterdir():
        if entry.name not in ("build", ".git"):
            (folder / entry.name).symlink_to(entry)
    (folder / "build").mkdir()
    (folder / "build" / "release").symlink_to(build)
    (folder / "home").mkdir()


def environment(folder, build):
    return {"HOME": str(folder / "home"), "LC_ALL": "C", "PATH": os.environ["PATH"],
            "LPMTRIE_LIBRARY": str(build / "LpmTrie" / "liblpmtrie.so"),
            "PYTHONDONTWRITEBYTECODE": "1", "TMPDIR": str(folder)}


def run(commands, build):
    """What each command printed, and its exit status."""
    script = "".join(f"{command}\nprintf '\\036%d\\036' $?\n" for command in commands)
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        lay_out(folder, build)
        printed = subprocess.run(["bash"], input=script, stdout=subprocess.PIPE,
                                 stderr=subprocess.STDOUT, cwd=folder, text=True, check=False,
                                 env=environment(folder, build)).stdout
    pieces = printed.split("\036")
    return list(zip(pieces[0::2], map(int, pieces[1::2])))


def matches(shown, printed):
    pattern = "".join(r"(?:.*\n)*" if line == "..." else
                      re.escape(line).replace(re.escape("..."), ".*") + r"\n" for line in shown)
    return re.fullmatch(pattern, printed) is not None


def main():
    page, build = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
    expected = [(block.place, command, shown) for block in pages.blocks(page)
                if block.language == "console" for command, shown in block.commands()]
    results = run([command for _, command, _ in expected], build)
    faults = []
    for (place, command, shown), (printed, status) in zip(expected, results):
        if status != 0 or not matches(shown, printed):
            faults.append(f"{place}: $ {command}\nexit status {status}, printed:\n{printed}")
    if len(results) != len(expected):
        faults.append(f"only {len(results)} of {len(expected)} commands were run")
    if not expected:
        faults.append(f"{page.name} shows no command")
    if faults:
        sys.exit("\n".join(faults))


main()
