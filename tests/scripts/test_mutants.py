"""A source is changed at one place at a time: every operator, constant, branch and statement, and no more."""

import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts"))
import mutants  # noqa: E402


class Mutants(unittest.TestCase):
    def changed(self, source):
        """The sources that the changes lead to."""
        with tempfile.TemporaryDirectory() as folder:
            (pathlib.Path(folder) / "source.cpp").write_text(source)
            found = mutants.mutants_of(folder, "source.cpp")
        self.assertEqual(len({mutant.name for mutant in found}), len(found))
        return [mutant.apply(source) for mutant in found]

    def test_operators_are_exchanged(self):
        self.assertEqual(self.changed("return a == b;"), ["return a != b;"])
        self.assertEqual(self.changed("return a < b && !c;"),
                         ["return a <= b && !c;", "return a < b || !c;", "return a < b && c;"])

    def test_numbers_grow_and_flags_turn(self):
        self.assertEqual(self.changed("return 31U;"), ["return 32U;"])
        self.assertEqual(self.changed("return true;"), ["return false;"])

    def test_branches_are_always_and_never_taken(self):
        self.assertEqual(self.changed("if (f(a)) {"), ["if (false) {", "if (true) {"])
        self.assertEqual(self.changed("while (f(a)) {"), ["while (false) {"])
        self.assertEqual(self.changed("if (T* x = f(a)) {"), [])

    def test_statements_are_left_out(self):
        self.assertEqual(self.changed("{ a->b(c); }"), ["{ ; }"])
        self.assertEqual(self.changed("{\n    a = f(b,\n          c);\n}"), ["{\n    ;\n}"])
        self.assertEqual(self.changed("for (;;) {\n    break;\n}"), ["for (;;) {\n    ;\n}"])

    def test_what_is_no_code_stays(self):
        for source in ("// a == b 1", "/* a == b\n 1 */", 'f << "a == 1";', "#include <a1>\n", "case '1':",
                       "T const& f(T&& a);", "std::vector<T> a;", "static_assert(a == 1);",
                       "return f(a);", "    __builtin_prefetch(a, 1);"):
            self.assertEqual(self.changed(source), [], source)

    def test_equal_lines_have_names_of_their_own(self):
        self.assertEqual(len(self.changed("{\n    ++a;\n    ++a;\n}")), 4)


if __name__ == "__main__":
    unittest.main()
