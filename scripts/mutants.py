"""Finds what can be changed in a C++ source: one operator, constant, branch or statement at a time.

Works on the formatted text, in which blanks stand around binary operators and nowhere in a template's
brackets, and not on a syntax tree: a change that makes no sense does not compile, and is left out.
"""

import bisect
import dataclasses
import pathlib
import re

import explained

# What to look for, and what to put in its place.
OPERATORS = [(re.compile(f"(?<= ){re.escape(old)}(?= )"), new) for old, new in (
    ("==", "!="), ("!=", "=="), ("<", "<="), ("<=", "<"), (">", ">="), (">=", ">"),
    ("&&", "||"), ("||", "&&"), ("+", "-"), ("-", "+"), ("*", "+"), ("%", "+"),
    ("&", "|"), ("|", "&"), ("^", "&"), (">>", "<<"), ("+=", "-="), ("-=", "+="), ("|=", "&="), ("&=", "|="))]
OPERATORS += [
    (re.compile(r"\+\+"), "--"),
    (re.compile(r"--"), "++"),
    (re.compile(r"!(?=[A-Za-z_(])"), ""),
    (re.compile(r"~(?=[A-Z]\w*\{|\w+\()"), ""),
]
NUMBER = re.compile(r"(?<![\w.'])(\d+)([uUlL]*)(?![\w.'])")
FLAG = re.compile(r"\b(true|false)\b")
BRANCH = re.compile(r"\b(if|while) (?=\()")
STATEMENT = re.compile(
    r"(?<=[;{}):])\s+("
    r"(?:break|continue);"  # jumps
    r"|(?:\+\+|--)[\w.>\[\]-]+;"
    r"|(?:\*?[A-Za-z_][\w:]*(?:(?:\.|->)[A-Za-z_]\w*|\[[^\]\n]*\]|\(\))*)"  # what is called or assigned to
    r"(?:\(| = | \+= | -= | \|= | &= )[^;{}]*;)")
NO_STATEMENT = re.compile(r"(?:return|throw|delete|case|static_assert|using|if|for|while|switch|else|do)\b")

# Text that is no code, or whose change nothing can be told from: comments, literals, preprocessor lines,
# checks at compile time, and what only fetches memory ahead of its use.
MASKED = re.compile(
    r"//[^\n]*|/\*.*?\*/|\"(?:\\.|[^\"\\])*\"|'(?:\\.|[^'\\\n])'|^\s*#[^\n]*(?:\\\n[^\n]*)*"
    r"|\bstatic_assert\([^;]*;|\b__builtin_prefetch\([^;]*;|(?:\w+->)?\bfetch\w+\([^;{]*;"
    r"|\b(?:Vexo::)?prefetch\w*\([^;{]*;",
    re.DOTALL | re.MULTILINE)


@dataclasses.dataclass(frozen=True)
class Mutant:
    path: str
    line: int
    kind: str
    start: int
    end: int
    new: str
    was: str
    name: str

    def apply(self, source):
        return source[:self.start] + self.new + source[self.end:]


def masked(source):
    """The source with blanks for all that is no code, of the same length and lines."""
    return MASKED.sub(lambda text: re.sub(r"[^\n]", " ", text.group()), source)


def closing(code, opening):
    """The place of the bracket that closes the one at `opening`."""
    depth = 0
    for place in range(opening, len(code)):
        depth += {"(": 1, ")": -1}.get(code[place], 0)
        if depth == 0:
            return place
    raise ValueError("a bracket is not closed")


def changes(code):
    """(kind, start, end, new text) of each."""
    for pattern, new in OPERATORS:
        for found in pattern.finditer(code):
            yield "operator", found.start(), found.end(), new
    for found in NUMBER.finditer(code):
        yield "constant", found.start(), found.end(), f"{int(found.group(1)) + 1}{found.group(2)}"
    for found in FLAG.finditer(code):
        yield "constant", found.start(), found.end(), "false" if found.group() == "true" else "true"
    for found in BRANCH.finditer(code):
        end = closing(code, found.end())
        condition = code[found.end() + 1:end]
        if ";" in condition or " = " in condition:
            continue  # it declares something
        for value in ("true", "false"):
            if found.group(1) == "if" or value == "false":
                yield "branch", found.end() + 1, end, value
    for found in STATEMENT.finditer(code):
        if not NO_STATEMENT.match(found.group(1)):
            yield "statement", found.start(1), found.end(1), ";"


def mutants_of(root, path):
    """All of a file, in the order of the text."""
    source = (pathlib.Path(root) / path).read_text()
    lines = source.splitlines()
    starts = [0] + [place + 1 for place, character in enumerate(source) if character == "\n"]
    names = explained.Names()
    found = []
    for kind, start, end, new in sorted(set(changes(masked(source))), key=lambda change: (change[1:], change[0])):
        line = bisect.bisect_right(starts, start)
        was = " ".join(source[start:end].split())
        name = names.of(path, lines[line - 1].strip(), f"{kind}: {was} -> {new or 'nothing'}")
        found.append(Mutant(path, line, kind, start, end, new, was, name))
    return found
