"""Builds the library and its tests once, and then one changed source at a time.

A changed object is linked in front of the unchanged static libraries, so that the linker never takes the
unchanged one out of its archive.
"""

import json
import os
import pathlib
import re
import resource
import shlex
import shutil
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
BUILD = ROOT / "build" / "mutation"
FOLDERS = {"Vexo": ["VexoTest", "LpmTrieTest"], "Torvel": ["TorvelTest", "LpmTrieTest"],
           "Nimbal": ["NimbalTest", "LpmTrieTest"], "LpmTrie": ["LpmTrieTest"]}
# Long ones come last, when nothing shorter has told.
LONG = "*Model*:*SmallWorlds*:*BruteForce*:*Fault*:*Threads*"
MOST_MEMORY = 8 << 30  # of a test program: a changed loop may ask for all there is
ENVIRONMENT = dict(os.environ, LPMTRIE_MODEL_OPERATIONS="20000", LPMTRIE_MODEL_SEED="1")


def run(command, cwd=BUILD, **options):
    return subprocess.run(command, cwd=cwd, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, errors="replace", **options)


def needed(command, **options):
    done = run(command, **options)
    if done.returncode != 0:
        sys.exit(f"mutation: this failed: {shlex.join(command)}\n{done.stdout}")
    return done.stdout


class Library:
    """The unchanged library and its tests, built, and the commands that compile and link them."""

    def __init__(self):
        programs = sorted({program for programs in FOLDERS.values() for program in programs})
        needed(["cmake", "--preset", "release", "-B", str(BUILD), "-DLPMTRIE_INSTALL=OFF"], cwd=ROOT)
        needed(["cmake", "--build", str(BUILD), "--parallel", str(os.cpu_count()), "--target", *programs])
        database = json.loads((BUILD / "compile_commands.json").read_text())
        self.compiles = {str(pathlib.Path(entry["file"]).relative_to(ROOT)): shlex.split(entry["command"])
                         for entry in database if entry["file"].startswith(str(ROOT))}
        self.links = {program: self.link(program) for program in programs}
        self.times = {}
        for program in programs:
            for stage in stages("LpmTrie/LpmTrie.cpp"):
                self.times[program, stage] = self.time_of(program, stage)

    @staticmethod
    def link(program):
        last = needed(["ninja", "-t", "commands", program]).strip().splitlines()[-1]
        return shlex.split(re.sub(r"^: && | && :$", "", last))

    def time_of(self, program, stage):
        path = next(BUILD.glob(f"tests/*/{program}"))
        start = time.monotonic()
        verdict = run_tests(path, stage, 600)
        if verdict:
            sys.exit(f"mutation: the unchanged {program} fails: {verdict}")
        return time.monotonic() - start


def stages(path):
    """Filter and variables of each run of a program: tests named like the source, short ones, all."""
    words = re.findall(r"[A-Z][a-z0-9]+", pathlib.Path(path).stem.replace("LpmTrie", ""))
    names = ":".join(f"*{word}*" for word in words if word != "Trie")
    result = [(names + "-" + LONG, "")] if names else []
    result += [("*-" + LONG, ""), (LONG, "")]
    if path.startswith("LpmTrie/"):
        result.append(("*-*Fault*", "1"))
    return result


def limits():
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_AS, (MOST_MEMORY, MOST_MEMORY))


def run_tests(program, stage, seconds):
    """What told that something is wrong; empty where nothing did."""
    filter_, index = stage
    variables = dict(ENVIRONMENT, **({"LPMTRIE_TEST_INDEX": index} if index else {}))
    process = subprocess.Popen(
        [program, "--gtest_brief=1", "--gtest_fail_fast", f"--gtest_filter={filter_}"], cwd=program.parent,
        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace",
        env=variables, preexec_fn=limits, start_new_session=True)
    try:
        output, _ = process.communicate(timeout=seconds)
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, 9)  # with the children of its death tests
        process.communicate()
        return f"no end within {seconds:.0f} s"
    if process.returncode == 0:
        return ""
    failed = re.search(r"\[  FAILED  \] ([\w./]+)", output)
    return failed.group(1) if failed else f"status {process.returncode}"


class Worker:
    """A folder to compile and link one change in."""

    def __init__(self, library, number):
        self.library = library
        self.folder = BUILD / "workers" / str(number)
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir(parents=True)
        self.unchanged = {}

    def compile(self, path, source):
        """The object's bytes; none where it does not compile."""
        copy, out = self.folder / pathlib.Path(path).name, self.folder / "changed.o"
        copy.write_text(source)
        command = list(self.library.compiles[path])
        command[command.index("-o") + 1] = str(out)
        command[command.index("-c") + 1] = str(copy)
        command.append("-w")  # what a warning tells is not what the tests tell
        done = run(command, env=dict(os.environ, CCACHE_DISABLE="1"))
        return out.read_bytes() if done.returncode == 0 else None

    def verdict(self, mutant):
        """(verdict, what told)"""
        source = (ROOT / mutant.path).read_text()
        if mutant.path not in self.unchanged:
            self.unchanged[mutant.path] = self.compile(mutant.path, source)
        changed = self.compile(mutant.path, mutant.apply(source))
        if changed is None:
            return "does not compile", ""
        if changed == self.unchanged[mutant.path]:
            return "same code", ""
        for program in FOLDERS[mutant.path.split("/")[0]]:
            told = self.told_by(program, mutant.path)
            if told:
                return "killed", f"{program}: {told}"
        return "survived", ""

    def told_by(self, program, path):
        command = list(self.library.links[program])
        place = self.folder / program
        command[command.index("-o") + 1] = str(place)
        command.insert(next(i for i, word in enumerate(command) if word.endswith(".a")),
                       str(self.folder / "changed.o"))
        linked = run(command)
        if linked.returncode != 0:
            return "cannot be linked"
        for stage in stages(path):
            usual = self.library.times.get((program, stage), 10)
            told = run_tests(place, stage, 20 + 5 * usual)
            if told:
                return told
        return ""
