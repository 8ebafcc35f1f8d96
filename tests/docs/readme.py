"""The README shows the example as it is, and what it prints. Argument: the built example."""

import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]


def blocks(language):
    text = (ROOT / "README.md").read_text()
    return re.findall(rf"^```{language}\n(.*?)^```$", text, re.MULTILINE | re.DOTALL)


def main():
    source = (ROOT / "examples" / "client.cpp").read_text()
    printed = subprocess.run([sys.argv[1]], capture_output=True, text=True, check=True).stdout
    if blocks("cpp") != [source]:
        sys.exit("README.md does not show examples/client.cpp as it is")
    if [block.strip("\n") for block in blocks("text")] != [printed.strip("\n")]:
        sys.exit("README.md does not show what the example prints")
    for command in blocks("sh"):
        program = ROOT / command.split()[0]
        if not program.is_file() or not program.stat().st_mode & 0o100:
            sys.exit(f"README.md names {command.strip()}, which cannot be run")


main()
