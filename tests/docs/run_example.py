"""Runs an example and compares what it prints with a file. Arguments: file, command."""

import difflib
import pathlib
import subprocess
import sys

expected = pathlib.Path(sys.argv[1])
run = subprocess.run(sys.argv[2:], stdout=subprocess.PIPE, text=True, check=False)
if run.returncode != 0:
    sys.exit(f"{sys.argv[2]}: exit status {run.returncode}")
if run.stdout != expected.read_text():
    sys.exit("".join(difflib.unified_diff(expected.read_text().splitlines(True),
                                          run.stdout.splitlines(True), expected.name, "printed")))
