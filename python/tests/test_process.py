"""Lifetimes as a process sees them: exceptions, interpreter exit, a client's own library."""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import textwrap
import unittest

from support import CLIENT_LIBRARY, LeakChecked, dumped, lpmtrie, partition_id

HERE = pathlib.Path(__file__).resolve().parent


def run(script):
    """Runs a script in a Python of its own, the package in reach; its standard output."""
    environment = dict(os.environ, PYTHONPATH=str(HERE.parent))
    done = subprocess.run([sys.executable, "-c", textwrap.dedent(script)], env=environment,
                          capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise AssertionError(f"status {done.returncode}: {done.stderr}")
    return done.stdout


class SharedLibrary(unittest.TestCase):
    """Where the package looks for its library: copied, it has no build tree beside it."""

    def setUp(self):
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        self.package = pathlib.Path(place.name) / "python" / "lpmtrie"
        shutil.copytree(HERE.parent / "lpmtrie", self.package, ignore=shutil.ignore_patterns("__pycache__"))
        self.library = pathlib.Path(os.environ["LPMTRIE_LIBRARY"]).resolve()

    def imported(self, told=None):
        """What an import prints; none is installed on this system."""
        environment = dict(os.environ, PYTHONPATH=str(self.package.parent))
        del environment["LPMTRIE_LIBRARY"]
        if told:
            environment["LPMTRIE_LIBRARY"] = told
        script = """
            import ctypes.util
            ctypes.util.find_library = lambda name: None
            try:
                import lpmtrie
                print("found")
            except ImportError as error:
                print(error)
            """
        done = subprocess.run([sys.executable, "-B", "-c", textwrap.dedent(script)], env=environment,
                              capture_output=True, text=True, check=True)
        return done.stdout

    def test_that_lies_nowhere_is_an_import_error(self):
        self.assertEqual(self.imported(), "liblpmtrie.so is not found; LPMTRIE_LIBRARY may name it\n")

    def test_that_is_named_wrongly_is_told(self):
        printed = self.imported(told="/nowhere/liblpmtrie.so")
        self.assertIn("LPMTRIE_LIBRARY may name it; /nowhere/liblpmtrie.so: ", printed)

    def test_that_hangs_in_the_air_is_passed_over(self):
        (self.package / "liblpmtrie.so").symlink_to("nothing")
        self.assertIn("is not found", self.imported())
        (self.package / "liblpmtrie.so.1").symlink_to(self.library)
        self.assertEqual(self.imported(), "found\n")

    def test_in_a_build_tree_needs_no_name(self):
        build = self.package.parents[1] / "build" / "release" / "LpmTrie"
        build.mkdir(parents=True)
        (build / "liblpmtrie.so").symlink_to(self.library)
        self.assertEqual(self.imported(), "found\n")


class Processes(unittest.TestCase):
    def test_nothing_is_alive_when_python_ends(self):
        # What runs first at import runs last at the end; the trie is still held by its module then.
        self.assertEqual(run("""
            import atexit
            atexit.register(lambda: print(lpmtrie.liveAllocations()))
            import lpmtrie
            numbers = lpmtrie.Bitmap(limit=10)
            trie = lpmtrie.Trie(vrfId=1)
            trie.af = lpmtrie.IPV4
            one = lpmtrie.PartitionId(1, 0xffff, numbers)
            trie.insertFromRoot("10.0.0.0/8", True, True, one, 1)
            cycle = [one, trie]
            cycle.append(cycle)
            try:
                trie.remove("nonsense")
            except ValueError:
                pass
            lpmtrie.removeAll(trie)
            print(lpmtrie.liveAllocations())
            """), "3\n0\n")

    def test_an_object_used_after_the_end_is_an_error_not_a_crash(self):
        self.assertEqual(run("""
            import atexit
            def use():
                try:
                    trie.vrfId
                except ReferenceError as error:
                    print("refused")
            atexit.register(use)
            import lpmtrie
            trie = lpmtrie.Trie(vrfId=1)
            """), "refused\n")

    def test_misuse_stops_the_process_with_its_message(self):
        with self.assertRaisesRegex(AssertionError, r"af\(\) == newPrefix.af\(\)"):
            run("""
                import lpmtrie
                lpmtrie.Trie(1).insertFromRoot("10.0.0.0/8", True, False, None, 1)
                """)

    def test_traces_are_switched_by_name(self):
        self.assertEqual(run("""
            import os, lpmtrie
            os.dup2(1, 2)
            lpmtrie.traceLevelsIs("LpmTrie/8")
            lpmtrie.Trie(1).remove("10.0.0.0/8")
            """), "LpmTrie/LpmTrie LpmTrie/8: LpmTrie::TrieNodeReturnCode "
                  "LpmTrie::Trie::remove(const Nimbal::IpGenPrefix&) prefix:10.0.0.0/8\n")

    def test_the_example_runs(self):
        example = HERE.parents[1] / "examples" / "routes.py"
        done = subprocess.run([sys.executable, str(example)], capture_output=True, text=True,
                              check=True)
        self.assertIn("192.168.0.0/16 is left out: the prefix is a FIB route already\n", done.stdout)
        self.assertIn("10.1.2.3 goes by 10.1.2.0/24\n10.1.2.3 goes by 10.1.0.0/16\n", done.stdout)
        self.assertTrue(done.stdout.endswith("objects left: 0\n"), done.stdout)


@unittest.skipUnless(CLIENT_LIBRARY, "LPMTRIE_CLIENT_LIBRARY names no library")
class ClientLibrary(LeakChecked):
    @classmethod
    def setUpClass(cls):
        assert "Client" not in lpmtrie.modules()
        lpmtrie.load(CLIENT_LIBRARY)

    def setUp(self):
        super().setUp()
        self.trie = lpmtrie.Client.ClientTrie(vrfId=4)
        self.trie.af = lpmtrie.IPV4
        self.top = partition_id(1)
        self.trie.insertFromRoot("0.0.0.0/0", False, True, self.top, 1)

    def tearDown(self):
        lpmtrie.removeAll(self.trie)
        del self.trie, self.top

    def test_its_type_appears_with_inherited_attributes(self):
        cls = lpmtrie.ClientTrie
        self.assertTrue(issubclass(cls, lpmtrie.Trie))
        self.assertIn("nodesLeft: value, U32, read and written", cls.__doc__)
        self.assertIn("dumpLimit: value, U32, read and written", cls.__doc__)
        self.assertEqual(self.trie.vrfId, 4)
        # Own numbers follow those of the base.
        self.assertEqual(lpmtrie.c.TypeAttributeNumber(cls._type, b"moves"),
                         lpmtrie.c.TypeAttributeNumber(cls._type, b"af") + 1)

    def test_its_overrides_are_what_a_call_reaches(self):
        self.trie.insertFromRoot("10.0.0.0/8", True, False, self.top, 1)
        self.assertIn("bank:1", dumped(self.trie.dump))
        before = self.trie.lookUps
        self.trie.findPartitionNode("10.0.0.0/8", False)
        self.assertEqual(self.trie.lookUps, before + 1)
        self.trie.verify()
        self.assertEqual(self.trie.verifiedPartitions, 1)
        self.assertEqual(self.trie.moves, 0)
        self.trie.insertFromRoot("10.0.0.0/7", False, True, partition_id(2), 1)
        self.assertEqual(self.trie.moves, 1)
        self.assertEqual(self.trie.nodesLeft, 997)

    def test_its_exception_arrives_and_changes_nothing(self):
        self.trie.nodesLeft = 1
        self.trie.insertFromRoot("10.0.0.0/8", True, False, self.top, 1)
        before = dumped(self.trie.dump)
        with self.assertRaisesRegex(RuntimeError, "the client has no nodes left"):
            self.trie.insertFromRoot("11.0.0.0/8", True, False, self.top, 1)
        self.assertEqual(dumped(self.trie.dump), before)
        self.trie.verify()
        self.trie.nodesLeft = 1000

    def test_a_reference_to_it_serves_where_a_trie_is_wanted(self):
        self.assertIsNone(lpmtrie.longestMatch(self.trie, "10.0.0.0/8"))
        self.assertIs(type(lpmtrie.Object("Client::ClientTrie",
                                          int(repr(self.trie).split("0x")[1][:-1], 16))),
                      lpmtrie.ClientTrie)


if __name__ == "__main__":
    unittest.main()
