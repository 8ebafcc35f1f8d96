"""What is explained is still there: a reason for a change or a gap that has gone would explain nothing."""

import pathlib
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "scripts"))
import explained  # noqa: E402
import mutants  # noqa: E402


def paths_of(reasons):
    return {name.partition(": ")[0] for name in reasons}


class Reasons(unittest.TestCase):
    def test_changes_that_no_test_can_tell(self):
        reasons = explained.read(ROOT / "tests" / "mutation" / "equivalent.txt")
        self.assertTrue(reasons)
        there = {mutant.name for path in paths_of(reasons) for mutant in mutants.mutants_of(ROOT, path)}
        self.assertEqual(sorted(reasons.keys() - there), [])

    def test_lines_and_branches_that_no_test_runs(self):
        reasons = explained.read(ROOT / "tests" / "coverage" / "gaps.txt")
        self.assertTrue(reasons)
        there = {f"{path}: {line.strip()}" for path in paths_of(reasons)
                 for line in (ROOT / path).read_text().splitlines()}
        self.assertEqual(sorted(name for name in reasons if name.rpartition(" | ")[0] not in there), [])

    def test_a_reason_for_nothing_is_refused(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "reasons"
            for text in ["Why not.\n", "Why not.\n\nWhy.\n    what\n", "Why.\n    what\n\nWhy\nnot.\n"]:
                path.write_text(text)
                with self.assertRaisesRegex(SystemExit, "for nothing"):
                    explained.read(path)
            path.write_text("# Of these.\n\nWhy\nnot.\n    what\n    else\nAnd why.\n    more\n")
            self.assertEqual(explained.read(path), {"what": "Why not.", "else": "Why not.", "more": "And why."})


if __name__ == "__main__":
    unittest.main()
