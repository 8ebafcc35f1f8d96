#!/usr/bin/env python3
"""How many buckets a table takes, for several sizes of a bucket: a study with `lpmtrie plan`.

    capacity.py [--policy NAME] [--sizes N,N,...] [ARGUMENT...]

The arguments go to `lpmtrie plan`: tables and --updates, or --builtin and its options. The command is
the one that LPMTRIE names, or else the one on the path. Exit status 2: the study cannot be made, for a
reason that is told.
"""

import argparse
import json
import os
import subprocess
import sys


def fail(why):
    """Tells in one line why there is no study, and ends."""
    print(f"capacity.py: {why}", file=sys.stderr)
    sys.exit(2)


def plan(size, policy, arguments):
    """The report for buckets of that size."""
    lpmtrie = os.environ.get("LPMTRIE", "lpmtrie")
    command = [lpmtrie, "plan", "--json", "--optimum", "--check", "0",
               "--bucket", str(size), "--policy", policy, *arguments]
    try:
        run = subprocess.run(command, stdout=subprocess.PIPE, check=False)
    except OSError as error:
        fail(f"cannot run {lpmtrie}, set LPMTRIE to the command: {error.strerror}")
    if run.returncode < 0:
        fail(f"a signal has ended {lpmtrie}")
    if run.returncode != 0:
        sys.exit(2)  # it has told why
    return json.loads(run.stdout)


def row(size, family):
    """One line of the study: what the table took at most, and what updates cost after it."""
    samples = family["samples"]  # one at least: after the table
    buckets = max(sample["buckets"] for sample in samples)
    routes = max(sample["routes"] for sample in samples)
    ratio = max((sample["buckets"] / sample["optimum"] for sample in samples if sample["optimum"]),
                default=0)
    updates = samples[-1]["update"] - samples[0]["update"]
    moves = samples[-1]["moves"] - samples[0]["moves"]
    return (f"{family['family']:6}  {size:6}  {buckets:7}  {ratio:10.3f}  {buckets * size:7}  "
            f"{buckets * size / routes if routes else 0:11.3f}  {moves / updates if updates else 0:12.3f}")


def sizes(text):
    """The numbers in "64,128"."""
    words = text.split(",")
    if not all(word.isascii() and word.isdigit() and int(word) > 0 for word in words):
        fail(f"--sizes {text}: sizes of buckets are numbers from 1 on with commas between them")
    return [int(word) for word in words]


def main():
    parser = argparse.ArgumentParser(
        allow_abbrev=False, usage="%(prog)s [-h] [--policy NAME] [--sizes N,N,...] [ARGUMENT...]",
        description="How many buckets a table takes, for several sizes of a bucket.",
        epilog="The arguments go to `lpmtrie plan`: tables and --updates, or --builtin and its options.")
    parser.add_argument("--policy", default="window", help="one that `lpmtrie plan` knows (window)")
    parser.add_argument("--sizes", default="64,128,256,512,1024",
                        help="routes a bucket, with commas between them (%(default)s)")
    options, arguments = parser.parse_known_args()
    wanted = sizes(options.sizes)
    first = plan(wanted[0], options.policy, arguments)  # before anything is shown: it may fail
    print("family  bucket  buckets  of optimum    slots  slots/route  moves/update")
    for size in wanted:
        report = first if size == wanted[0] else plan(size, options.policy, arguments)
        for family in report["families"]:
            print(row(size, family), flush=True)


try:
    main()
except BrokenPipeError:
    # Whoever reads has had enough. Nothing is left to be written at the end.
    os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
    sys.exit(2)
