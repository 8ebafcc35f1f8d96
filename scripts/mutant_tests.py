"""Builds the library and its tests once, and then one changed source or header at a time.

Changed objects are linked in front of the unchanged static libraries, so that the linker never takes the
unchanged ones out of their archives. Those of a header, all that include it, come first of all, so that its
inline functions are theirs; what the compiler has inlined into the tests themselves stays unchanged.
"""

import functools
import json
import os
import pathlib
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import threading

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
        needed(["cmake", "--build", str(BUILD), "--parallel", os.environ.get("JOBS", str(os.cpu_count())),
                "--target", *programs])
        database = json.loads((BUILD / "compile_commands.json").read_text())
        self.compiles = {str(pathlib.Path(entry["file"]).relative_to(ROOT)): shlex.split(entry["command"])
                         for entry in database if entry["file"].startswith(str(ROOT))}
        self.links = {program: self.link(program) for program in programs}
        self.including = self.sources_including()
        self.times = {}
        self.lock = threading.Lock()

    @staticmethod
    def link(program):
        last = needed(["ninja", "-t", "commands", program]).strip().splitlines()[-1]
        return shlex.split(re.sub(r"^: && | && :$", "", last))

    @staticmethod
    def sources_including():
        """For each file, the library's sources that include it."""
        including, source = {}, None
        for line in needed(["ninja", "-t", "deps"]).splitlines():
            if not line.startswith(" "):
                source = None  # of the object that this line names
                continue
            path = (BUILD / line.strip()).resolve()
            if not path.is_relative_to(ROOT):
                continue
            path = str(path.relative_to(ROOT))
            source = source or path
            if source.split("/")[0] in FOLDERS:
                including.setdefault(path, set()).add(source)
        return {path: sorted(sources) for path, sources in including.items()}

    def time_of(self, program, stage):
        """Seconds of a processor that the unchanged program needs, found out when first asked for."""
        with self.lock:
            if (program, stage) not in self.times:
                before = os.times()
                verdict = run_tests(next(BUILD.glob(f"tests/*/{program}")), stage, 3600)
                if verdict:
                    sys.exit(f"mutation: the unchanged {program} fails: {verdict}")
                after = os.times()
                self.times[program, stage] = (after.children_user + after.children_system
                                              - before.children_user - before.children_system)
            return self.times[program, stage]


def stages(path):
    """Filter and variables of each run of a program: tests named like the source, short ones, all."""
    words = re.findall(r"[A-Z][a-z0-9]+", pathlib.Path(path).stem.replace("LpmTrie", ""))
    names = ":".join(f"*{word}*" for word in words if word != "Trie")
    result = [(names + "-" + LONG, "")] if names else []
    result += [("*-" + LONG, ""), (LONG, "")]
    if path.startswith("LpmTrie/"):
        result.append(("*-*Fault*", "1"))
    return result


def set_limits(seconds):
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_AS, (MOST_MEMORY, MOST_MEMORY))
    resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds + 5))


def used_by(group):
    """What the processes of a group have used of processors; a new object each time while one is suspended."""
    used = {}
    for file in pathlib.Path("/proc").glob("[0-9]*/stat"):
        try:
            pid, rest = file.parent.name, file.read_text().rpartition(") ")[2].split()
        except OSError:
            continue  # it has ended
        if int(rest[2]) == group:
            used[pid] = object() if rest[0] == "T" else rest[11:13]
    return used


def wait_for(process):
    """What it has printed at its end; none where it waits for ever, and then it is killed."""
    used = None
    while True:
        try:
            return process.communicate(timeout=60)[0]
        except subprocess.TimeoutExpired:
            before, used = used, used_by(process.pid)
            if used == before:
                os.killpg(process.pid, 9)  # with the children of its death tests
                process.communicate()
                return None


def run_tests(program, stage, seconds):
    """What told that something is wrong; empty where nothing did.

    The limit counts the processor's seconds, so that a machine that does other things besides kills nothing.
    """
    filter_, index = stage
    variables = dict(ENVIRONMENT, **({"LPMTRIE_TEST_INDEX": index} if index else {}))
    process = subprocess.Popen(
        [program, "--gtest_brief=1", "--gtest_fail_fast", f"--gtest_filter={filter_}"], cwd=program.parent,
        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace",
        env=variables, preexec_fn=functools.partial(set_limits, int(seconds)), start_new_session=True)
    output = wait_for(process)
    if output is None:
        return "no end, it waits"
    if process.returncode == 0:
        return ""
    if process.returncode == -signal.SIGXCPU:
        return f"no end within {int(seconds)} s"
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
        """The bytes of each object that is made of it; none where one does not compile."""
        shutil.rmtree(self.folder / "include", ignore_errors=True)
        changed = self.folder / "include" / path
        changed.parent.mkdir(parents=True)
        changed.write_text(source)
        objects = []
        for including in self.library.including.get(path, []):  # a source includes itself
            objects.append(self.compile_one(changed if including == path else ROOT / including, including))
            if objects[-1] is None:
                return None
        return objects

    def compile_one(self, file, path):
        out = self.folder / "changed.o"
        command = list(self.library.compiles[path])
        command[command.index("-o") + 1] = str(out)
        command[command.index("-c") + 1] = str(file)
        first = next(i for i, word in enumerate(command) if word.startswith("-"))
        command[first:first] = ["-I", str(self.folder / "include")]
        command.append("-w")  # what a warning tells is not what the tests tell
        done = run(command, env=dict(os.environ, CCACHE_DISABLE="1"))
        return out.read_bytes() if done.returncode == 0 else None

    def verdict(self, mutant):
        """(verdict, what told)"""
        source = (ROOT / mutant.path).read_text()
        if mutant.path not in self.unchanged:
            self.unchanged[mutant.path] = self.compile(mutant.path, source)
            if self.unchanged[mutant.path] is None:
                sys.exit(f"mutation: the unchanged {mutant.path} does not compile")
        changed = self.compile(mutant.path, mutant.apply(source))
        if changed is None:
            return "does not compile", ""
        if changed == self.unchanged[mutant.path]:
            return "same code", ""
        for program in FOLDERS[mutant.path.split("/")[0]]:
            if not self.link(program, mutant.path, changed):
                if not self.link(program, mutant.path, self.unchanged[mutant.path]):
                    sys.exit(f"mutation: {program} cannot be linked with the unchanged {mutant.path}")
                return "does not compile", f"{program} cannot be linked"
            told = self.told_by(program, mutant.path)
            if told:
                return "killed", f"{program}: {told}"
        return "survived", ""

    def link(self, program, path, objects):
        """Whether the program could be linked with the changed objects of a source or header."""
        command = list(self.library.links[program])
        archives = {pathlib.Path(word).name for word in command}
        names = []
        for including, content in zip(self.library.including.get(path, []), objects):
            # Of the folders that the program needs.
            if f"lib{including.split('/')[0]}.a" in archives:
                names.append(self.folder / f"changed{len(names)}.o")
                names[-1].write_bytes(content)
        command[command.index("-o") + 1] = str(self.folder / program)
        behind = ".o" if path.endswith(".h") else ".a"
        place = next(i for i, word in enumerate(command) if word.endswith(behind))
        command[place:place] = map(str, names)
        return run(command).returncode == 0

    def told_by(self, program, path):
        for stage in stages(path):
            told = run_tests(self.folder / program, stage, 20 + 5 * self.library.time_of(program, stage))
            if told:
                return told
        return ""
