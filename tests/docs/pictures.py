"""The guide's pictures show what the command draws now. Arguments: the command. 77: no Graphviz.

Where texts stand and how wide they are depends on the fonts of a machine, so that only texts, nodes and
arrows are compared, in their order.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

import pages


def shown(picture):
    return re.findall(r"<(?:title|text)[^>]*>([^<]*)<", picture.read_text())


def main():
    if not shutil.which("dot"):
        sys.exit(77)
    kept = pages.ROOT / "docs" / "pictures"
    with tempfile.TemporaryDirectory() as name:
        subprocess.run([pages.ROOT / "scripts" / "pictures", name], check=True,
                       env={**os.environ, "LPMTRIE": sys.argv[1]})
        drawn = {picture.name: shown(picture) for picture in pathlib.Path(name).glob("*.svg")}
    old = [name for name, texts in drawn.items() if texts != shown(kept / name)]
    stray = [picture.name for picture in kept.glob("guide-*.svg") if picture.name not in drawn]
    if old or stray or not drawn:
        sys.exit(f"to be drawn anew by scripts/pictures: {old}; to be removed: {stray}")


main()
