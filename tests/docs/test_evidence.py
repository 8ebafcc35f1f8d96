"""The evidence page is what scripts/evidence makes of the records, and each record names a command that is."""

import datetime
import json
import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
RECORD = {"promise": "Water is wet", "command": "scripts/pour --slowly", "date": "2026-01-31",
          "figures": {"drops": 1234567, "time": "1.5 s"}}


def run(root, *arguments):
    return subprocess.run([root / "scripts" / "evidence", *arguments],
                          capture_output=True, text=True, check=False)


class Repository(unittest.TestCase):
    def test_page_is_what_the_records_give(self):
        done = run(ROOT, "--check")
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "", ""))


class Evidence(unittest.TestCase):
    """In a repository of its own, which has the one command that the record names."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        (self.root / "scripts").mkdir()
        (self.root / "docs" / "evidence").mkdir(parents=True)
        shutil.copy(ROOT / "scripts" / "evidence", self.root / "scripts")
        (self.root / "scripts" / "pour").touch(mode=0o755)
        self.page = self.root / "docs" / "evidence.md"

    def write(self, record):
        (self.root / "docs" / "evidence" / "water.json").write_text(json.dumps(record))

    def assert_refused(self, *arguments, why):
        done = run(self.root, *arguments)
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertIn(why, done.stderr)

    def test_page_shows_all_of_a_record(self):
        self.write({**RECORD, "notes": ["Poured twice."]})
        self.assertEqual(run(self.root).returncode, 0)
        self.assertTrue(self.page.read_text().endswith(
            "\n## Water is wet\n\n`scripts/pour --slowly`, last run 2026-01-31:\n\n"
            "- drops: 1,234,567\n- time: 1.5 s\n\nPoured twice.\n"))
        self.assertEqual(run(self.root, "--check").returncode, 0)

    def test_page_that_was_edited_is_found(self):
        self.write(RECORD)
        self.assert_refused("--check", why="docs/evidence.md")
        run(self.root)
        self.page.write_text(self.page.read_text().replace("1,234,567", "1,234,568"))
        self.assert_refused("--check", why="docs/evidence.md")

    def test_records_that_are_not_right_are_named(self):
        for key, value, why in [
            ("command", "scripts/spill", "cannot be run: scripts/spill"),
            ("command", "AS=root docs", "cannot be run: AS=root docs"),
            ("command", "", "the command is one line"),
            ("date", "31 January", "the date: "),
            ("commit", 12, "the commit is one line"),
            ("promise", "two\nlines", "the promise is one line"),
            ("figures", {}, "there are figures"),
            ("figures", {"drops": None}, "the figure 'drops'"),
            ("figures", {"drops": True}, "the figure 'drops'"),
            ("notes", "one", "notes are lines"),
            ("more", 1, "has promise, command, date"),
        ]:
            with self.subTest(key=key, value=value):
                self.write({**RECORD, key: value})
                self.assert_refused(why="docs/evidence/water.json: " + why)
        (self.root / "docs" / "evidence" / "water.json").write_text("{")
        self.assert_refused("--check", why="docs/evidence/water.json: ")
        self.assertFalse(self.page.exists())

    def test_record_is_left_with_its_date_and_shown(self):
        done = run(self.root, "record", "water", "--promise", RECORD["promise"], "--command",
                   "SEED=1 scripts/pour", "--note", "Poured twice.", "drops=1234567", "ratio=0.5",
                   "time=1.5 s", "of=a=b")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        record = json.loads((self.root / "docs" / "evidence" / "water.json").read_text())
        self.assertLessEqual(datetime.date.fromisoformat(record.pop("date")), datetime.date.today())
        self.assertEqual(record, {
            "promise": RECORD["promise"], "command": "SEED=1 scripts/pour", "notes": ["Poured twice."],
            "figures": {"drops": 1234567, "ratio": 0.5, "time": "1.5 s", "of": "a=b"}})
        self.assertEqual(run(self.root, "--check").returncode, 0)
        self.assertIn("- drops: 1,234,567\n- ratio: 0.5\n", self.page.read_text())

    @unittest.skipUnless(shutil.which("git"), "no git here")
    def test_record_names_the_commit_of_its_tree(self):
        def git(*arguments):
            told = subprocess.run(["git", "-C", self.root, "-c", "user.name=n", "-c", "user.email=e", *arguments],
                                  capture_output=True, text=True, check=True)
            return told.stdout.strip()

        def recorded():
            done = run(self.root, "record", "water", "--promise", "p", "--command", "scripts/pour", "cups=2")
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            return json.loads((self.root / "docs" / "evidence" / "water.json").read_text()).get("commit")

        self.assertIsNone(recorded())
        git("init", "--quiet")
        git("add", "scripts")
        git("commit", "--quiet", "--message", "Pour")
        head = git("rev-parse", "--short=12", "HEAD")
        self.assertEqual(recorded(), head)
        self.assertIn(f"`scripts/pour`, last run {datetime.date.today()} on commit {head}:\n", self.page.read_text())
        (self.root / "scripts" / "spill").touch()
        self.assertEqual(recorded(), head + " and changes")

    def test_figures_are_taken_from_lines(self):
        lines = self.root / "lines"
        lines.write_text("drops: 1234567\ntime: 1.5 s: slow\n")
        record = ["record", "water", "--promise", "p", "--command", "scripts/pour",
                  f"@{lines}"]
        self.assertEqual(run(self.root, *record, "cups=2").returncode, 0)
        self.assertIn("- drops: 1,234,567\n- time: 1.5 s: slow\n- cups: 2\n", self.page.read_text())
        lines.write_text("and so on\n")
        self.assert_refused(*record, why="no LABEL: VALUE: and so on")

    def test_record_of_a_command_that_is_not_there_is_refused(self):
        self.assert_refused("record", "water", "--promise", "p", "--command", "scripts/spill", "a=1",
                            why="cannot be run")
        self.assert_refused("record", "../water", "--promise", "p", "--command", "scripts/pour", "a=1",
                            why="name")
        self.assertEqual(list((self.root / "docs" / "evidence").iterdir()), [])


if __name__ == "__main__":
    unittest.main()
