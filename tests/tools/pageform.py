"""Pages and pictures are well formed and refer to nothing. Arguments: HTML and SVG files."""

import html.parser
import pathlib
import re
import sys
import xml.etree.ElementTree

EMPTY = {"meta"}
POLICY = "default-src 'none'; style-src 'unsafe-inline'; base-uri 'none'; form-action 'none'"


class Page(html.parser.HTMLParser):
    def __init__(self):
        super().__init__()
        self.open = []
        self.headings = []
        self.faults = []
        self.policy = None

    def handle_starttag(self, tag, attributes):
        if tag not in EMPTY:
            self.open.append(tag)
        if re.fullmatch("h[1-6]", tag):
            self.headings.append(int(tag[1]))
        values = dict(attributes)
        if values.get("http-equiv") == "Content-Security-Policy":
            self.policy = values["content"]
        self.check(tag, values)

    def handle_startendtag(self, tag, attributes):
        self.check(tag, dict(attributes))

    def handle_endtag(self, tag):
        if not self.open or self.open.pop() != tag:
            self.faults.append(f"</{tag}> closes nothing")

    def check(self, tag, values):
        if tag in ("script", "link", "img", "iframe", "object", "embed", "a", "base", "form"):
            self.faults.append(f"<{tag}>")
        for name in values:
            if name in ("src", "href", "xlink:href", "style", "id") or name.startswith("on"):
                self.faults.append(f"<{tag} {name}>")


def picture_faults(text):
    try:
        root = xml.etree.ElementTree.fromstring(text)
    except xml.etree.ElementTree.ParseError as error:
        yield f"{error} in {text[:80]}"
        return
    names = [child.tag.rpartition("}")[2] for child in root]
    if names[:2] != ["title", "desc"] or not root[0].text or not root[1].text:
        yield "a picture without title and description"
    if re.search("nan|inf", " ".join(v for e in root.iter() for v in e.attrib.values())):
        yield "a coordinate that is no number"


def page_faults(text):
    page = Page()
    page.feed(text)
    page.close()
    yield from page.faults
    if page.open:
        yield f"not closed: {page.open}"
    if page.policy != POLICY:
        yield f"policy: {page.policy}"
    steps = zip([0] + page.headings, page.headings)
    if page.headings.count(1) != 1 or any(after > before + 1 for before, after in steps):
        yield f"headings: {page.headings}"
    if text.find("Content-Security-Policy") > text.find("<style"):
        yield "the policy comes after what it governs"
    for picture in re.findall(r"<svg.*?</svg>", text, re.DOTALL):
        yield from picture_faults(picture)


def faults(path):
    text = path.read_text(encoding="utf-8")
    yield from page_faults(text) if path.suffix == ".html" else picture_faults(text)
    if re.search(r"url\(|@import|javascript:", text):
        yield "refers to something"
    # The name of the SVG language, which nobody fetches, is the one address.
    if re.sub(r'xmlns="http://www\.w3\.org/2000/svg"', "", text).find("://") >= 0:
        yield "holds an address"


def main():
    found = [f"{name}: {fault}" for name in sys.argv[1:] for fault in faults(pathlib.Path(name))]
    if found:
        sys.exit("\n".join(found))


main()
