"""Every block of code on the pages is of a kind that a test looks after, every link leads somewhere, and
the library's manual page names what is there.

  cpp, python   lines of a program in examples/, which is built and run
  console       run by run_page.py, and what it prints is compared
  cmake         built by build_lines.py
  sh            scripts of this repository that take minutes: run by scripts/pages, and here they are there and
                have no fault of form
"""

import os
import re
import subprocess
import sys

import pages


def stripped(lines):
    """Without the blanks that all lines begin with."""
    indents = [len(line) - len(line.lstrip()) for line in lines if line.strip()]
    return [line[min(indents, default=0):] for line in lines]


def is_part_of(block, program):
    lines = program.read_text().splitlines()
    size = len(block.lines)
    return any(stripped(lines[at:at + size]) == stripped(block.lines)
               for at in range(len(lines) - size + 1))


def example_faults(block, suffix):
    programs = list((pages.ROOT / "examples").glob("*" + suffix))
    if not any(is_part_of(block, program) for program in programs):
        yield "not the lines of an example as they are"


def console_faults(block):
    if not block.commands() or not block.lines[0].startswith("$ "):
        yield "a console that does not begin with a command"


def script_faults(block):
    for line in block.lines:
        program = pages.ROOT / line.split()[0]
        if not os.access(program, os.X_OK):
            yield f"{line}: cannot be run"
        else:
            shell = program.read_text().splitlines()[0].split("/")[-1].split()[-1]
            if subprocess.run([shell, "-n", program], check=False).returncode != 0:
                yield f"{line}: has a fault of form"


def block_faults(block):
    kinds = {"cpp": lambda: example_faults(block, ".cpp"),
             "python": lambda: example_faults(block, ".py"),
             "console": lambda: console_faults(block),
             "sh": lambda: script_faults(block),
             "cmake": lambda: []}
    if block.language not in kinds:
        return [f"'{block.language}': neither compiled nor run"]
    return kinds[block.language]()


def page_faults(page):
    found = pages.blocks(page)
    for block in found:
        yield from (f"{block.place}: {fault}" for fault in block_faults(block))
    if page.read_text().count("\n```") != 2 * len(found):
        yield f"{page.name}: a block that does not begin or end as others do"
    for number, line in enumerate(pages.prose(page).splitlines()):
        before = pages.prose(page).splitlines()[number - 1] if number else ""
        if line.startswith("    ") and not before.strip():
            yield f"{page.name}: an indented block, '{line.strip()}'"
    for link in pages.links(page):
        target = page.parent / link.split("#")[0]
        if "://" not in link and not target.exists():
            yield f"{page.name}: a link to {link}, which is not there"


def unreached():
    """Pages of docs/ to which no link leads from the README."""
    reached, waiting = set(), [pages.ROOT / "README.md"]
    while waiting:
        page = waiting.pop().resolve()
        if page.suffix == ".md" and page not in reached and page.exists():
            reached.add(page)
            waiting += [page.parent / link.split("#")[0] for link in pages.links(page)]
    return (f"{page.name}: no link leads there" for page in pages.pages() if page not in reached)


def manual_faults():
    """Names in the library's manual page that no header knows."""
    page = pages.ROOT / "docs" / "lpmtrie.3"
    headers = "".join(header.read_text() for folder in ("Vexo", "Torvel", "Nimbal", "LpmTrie")
                      for header in (pages.ROOT / folder).glob("*.h"))
    names = re.findall(r"\b(?:Fn|Vt|In) ([^\s;]+)", page.read_text())
    if len(names) < 10:
        yield f"{page.name}: no names found"
    for name in names:
        if name.endswith(".h"):
            known = (pages.ROOT / name).exists() or name == "LpmTrie/Version.h"  # made by CMake
        else:
            known = name == "std::bad_alloc" or re.search(rf"\b{name.split('::')[-1]}\b", headers)
        if not known:
            yield f"{page.name}: no header knows {name}"


def main():
    faults = [fault for page in pages.pages() for fault in page_faults(page)] + [
        *unreached(), *manual_faults()]
    if faults:
        sys.exit("\n".join(faults))


main()
