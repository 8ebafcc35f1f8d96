"""examples/capacity.py tells in one line why it cannot make its study, and never a traceback."""

import os
import pathlib
import subprocess
import sys
import unittest

EXAMPLE = pathlib.Path(__file__).resolve().parents[2] / "examples" / "capacity.py"
LPMTRIE = os.environ["LPMTRIE"]


class CapacityTest(unittest.TestCase):
    def failure(self, *arguments, lpmtrie=LPMTRIE):
        """The line that a run ends with."""
        environment = {"PATH": "/nowhere", **({"LPMTRIE": lpmtrie} if lpmtrie else {})}
        run = subprocess.run([sys.executable, "-B", EXAMPLE, *arguments], env=environment, text=True,
                             stdin=subprocess.DEVNULL, capture_output=True, check=False)
        self.assertEqual(run.returncode, 2)
        self.assertEqual(run.stdout, "")
        self.assertRegex(run.stderr, r"\A(capacity\.py|lpmtrie): [^\n]+\n\Z")
        return run.stderr

    def test_missing_table_is_named(self):
        self.assertEqual(self.failure("/nowhere/table"),
                         "lpmtrie: /nowhere/table: cannot open: No such file or directory\n")

    def test_sizes_are_numbers_from_one_on(self):
        for text in ("0", "64,0", "x", "", "64,", "-1", "1.5", "99999999999"):
            self.assertIn("--sizes" if text != "99999999999" else "--bucket",
                          self.failure(f"--sizes={text}", "--builtin"))

    def test_command_that_is_not_there_is_told(self):
        for lpmtrie in (None, "/nowhere/lpmtrie", "/"):
            self.assertIn("set LPMTRIE to the command", self.failure("table", lpmtrie=lpmtrie))

    def test_unknown_policy_is_told_by_the_command(self):
        self.assertIn("no policy is named no", self.failure("--policy", "no", "--builtin"))

    def test_owed_updates_make_no_study(self):
        self.assertIn("are owed", self.failure("--sizes=1", "--builtin", "--ipv4=50", "--ipv6=0",
                                               "--buckets=2"))


unittest.main()
