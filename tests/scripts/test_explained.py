"""Reasons are read with what they explain, and places in sources have names that move with their lines."""

import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts"))
import explained  # noqa: E402


class Explained(unittest.TestCase):
    def read(self, text):
        with tempfile.NamedTemporaryFile("w", suffix=".txt") as file:
            file.write(text)
            file.flush()
            return explained.read(file.name)

    def test_each_place_has_the_reason_above_it(self):
        self.assertEqual(self.read("# comment\nOne\nreason.\n    a\n    b\n\nAnother.\n    c\n"),
                         {"a": "One reason.", "b": "One reason.", "c": "Another."})

    def test_places_without_a_reason_are_refused(self):
        for text in ("    a\n", "A reason.\n    a\n\n    b\n", "A reason.\n# none\n    a\n"):
            with self.assertRaises(SystemExit):
                self.read(text)

    def test_a_new_reason_needs_no_blank_line(self):
        self.assertEqual(self.read("One.\n    a\nTwo.\n    b\n"), {"a": "One.", "b": "Two."})

    def test_equal_lines_are_told_apart_by_their_order(self):
        names = explained.Names()
        self.assertEqual([names.of("f", "x();", "w"), names.of("f", "x();", "w"), names.of("f", "y();", "w")],
                         ["f: x(); | w", "f: x(); | w (2)", "f: y(); | w"])


if __name__ == "__main__":
    unittest.main()
