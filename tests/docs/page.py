"""Pages look right in a real browser. Arguments: HTML files. Exit status 77: there is no browser.

On a narrow and on a wide screen, light and dark, and on paper: nothing is loaded and nothing complained
of, nothing reaches beyond the screen, texts stand out from what they stand on, and those of a chart
neither overlap nor leave it.
"""

import pathlib
import sys

import browser

# The faults of what a screen of that width shows. Wide pages make a telephone's window larger, so that the
# page's own idea of it is no measure.
FAULTS = r"""(width => {
  const faults = [];
  for (const details of document.querySelectorAll('details')) details.open = true;
  const root = document.documentElement;
  if (root.scrollWidth > width) faults.push('the page is ' + root.scrollWidth + ' wide');
  const rgb = text => (text.match(/[\d.]+/g) || []).map(Number);
  const light = text => {
    const [r, g, b] = rgb(text).map(c => c / 255).map(
      c => c <= 0.04045 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4);
    return 0.2126 * r + 0.7152 * g + 0.0722 * b;
  };
  const ground = light(getComputedStyle(document.body).backgroundColor);
  const shown = element => element.getClientRects().length > 0;
  for (const element of document.querySelectorAll('body *')) {
    if (!shown(element) || ![...element.childNodes].some(n => n.nodeType == 3 && n.data.trim()))
      continue;
    const style = getComputedStyle(element);
    const own = light(element.closest('svg') ? style.fill : style.color);
    const contrast = (Math.max(own, ground) + 0.05) / (Math.min(own, ground) + 0.05);
    if (contrast < 4.5) faults.push('contrast ' + contrast + ': ' + element.textContent);
  }
  for (const svg of document.querySelectorAll('svg')) {
    if (!shown(svg)) continue;
    const frame = svg.getBoundingClientRect();
    if (frame.width < svg.viewBox.baseVal.width * 0.9) faults.push('a chart is shrunk');
    const boxes = [...svg.querySelectorAll('text')].filter(t => t.textContent).map(
      t => [t.textContent, t.getBoundingClientRect()]);
    boxes.forEach(([text, box], at) => {
      if (box.left < frame.left - 1 || box.right > frame.right + 1 ||
          box.top < frame.top - 1 || box.bottom > frame.bottom + 1)
        faults.push('outside of its chart: ' + text);
      for (const [other, its] of boxes.slice(at + 1))
        if (box.left < its.right - 1 && its.left < box.right - 1 &&
            box.top < its.bottom - 4 && its.top < box.bottom - 4)
          faults.push('overlapping: ' + text + ' and ' + other);
    });
  }
  return faults;
})"""

PAPER = "[document.body, document.documentElement].map(e => getComputedStyle(e).backgroundColor).join()"


def complaints(path, events):
    address = path.absolute().as_uri()
    for event in events:
        method = event["method"]
        if method in ("Log.entryAdded", "Runtime.consoleAPICalled", "Runtime.exceptionThrown"):
            yield f"{method}: {event['params']}"
        if method == "Network.requestWillBeSent" and event["params"]["request"]["url"] != address:
            yield "loads " + event["params"]["request"]["url"]


def faults(page, path):
    for width in (360, 700, 1600):
        for scheme in ("light", "dark"):
            page.open(path, width, scheme)
            found = list(complaints(path, page.events)) + page.value(f"{FAULTS}({width})")
            yield from (f"{path.name}, {scheme}, {width} wide: {fault}" for fault in found)
    page.open(path, 700, "dark", "print")
    if page.value(PAPER) != "rgb(255, 255, 255),rgba(0, 0, 0, 0)":
        yield f"{path.name}: dark ground on paper, {page.value(PAPER)}"
    if not page.pdf().startswith(b"%PDF"):
        yield f"{path.name}: cannot be printed"


def main():
    if not browser.find():
        sys.exit(77)
    with browser.Browser() as page:
        found = [fault for name in sys.argv[1:] for fault in faults(page, pathlib.Path(name))]
    if found:
        sys.exit("\n".join(found))


main()
