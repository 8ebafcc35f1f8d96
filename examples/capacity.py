#!/usr/bin/env python3
"""How many buckets a table takes, for several sizes of a bucket: a study with `lpmtrie plan`.

    capacity.py [--policy NAME] [--sizes N,N,...] [ARGUMENT...]

The arguments go to `lpmtrie plan`: tables and --updates, or --builtin and its options. The command is
the one that LPMTRIE names, or else the one on the path.
"""

import argparse
import json
import os
import subprocess


def plan(size, policy, arguments):
    """The report for buckets of that size."""
    command = [os.environ.get("LPMTRIE", "lpmtrie"), "plan", "--json", "--optimum", "--check", "0",
               "--bucket", str(size), "--policy", policy, *arguments]
    return json.loads(subprocess.run(command, stdout=subprocess.PIPE, check=True).stdout)


def row(size, family):
    """One line of the study: what the table took at most, and what updates cost after it."""
    samples = family["samples"]  # one at least: after the table
    buckets = max(sample["buckets"] for sample in samples)
    routes = max(sample["routes"] for sample in samples)
    ratio = max(sample["buckets"] / sample["optimum"] for sample in samples if sample["optimum"])
    updates = samples[-1]["update"] - samples[0]["update"]
    moves = samples[-1]["moves"] - samples[0]["moves"]
    return (f"{family['family']:6}  {size:6}  {buckets:7}  {ratio:10.3f}  {buckets * size:7}  "
            f"{buckets * size / routes:11.3f}  {moves / updates if updates else 0:12.3f}")


def main():
    parser = argparse.ArgumentParser(allow_abbrev=False)
    parser.add_argument("--policy", default="window")
    parser.add_argument("--sizes", default="64,128,256,512,1024")
    options, arguments = parser.parse_known_args()
    print("family  bucket  buckets  of optimum    slots  slots/route  moves/update")
    for size in map(int, options.sizes.split(",")):
        for family in plan(size, options.policy, arguments)["families"]:
            print(row(size, family))


main()
