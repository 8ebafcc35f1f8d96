"""What the pages hold: blocks of code, links. Standard library only."""

import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parents[2]


class Block:
    """A fenced block of a page."""

    def __init__(self, page, language, line, text):
        self.language = language
        self.lines = text.splitlines()
        self.place = f"{page.relative_to(ROOT)}:{line}"

    def commands(self):
        """Of a console: pairs of a command, which may go on after "> ", and the lines printed."""
        commands = []
        for line in self.lines:
            if line.startswith("$ "):
                commands.append((line[2:], []))
            elif line.startswith("> ") and commands and not commands[-1][1]:
                commands[-1] = (commands[-1][0] + "\n" + line[2:], [])
            elif commands:
                commands[-1][1].append(line)
        return commands


def pages():
    return [ROOT / "README.md", ROOT / "ARCHITECTURE.md", *sorted((ROOT / "docs").glob("*.md"))]


def blocks(page):
    text = page.read_text()
    found = re.finditer(r"^```([^\n]*)\n(.*?)^```$", text, re.MULTILINE | re.DOTALL)
    return [Block(page, match[1], text.count("\n", 0, match.start()) + 1, match[2])
            for match in found]


def prose(page):
    """The page without its fenced blocks."""
    return re.sub(r"^```.*?^```$", "", page.read_text(), flags=re.MULTILINE | re.DOTALL)


def links(page):
    """Targets of links and pictures, and of rows `[name]: target`."""
    return re.findall(r"\]\(([^)\s]+)\)", prose(page))
