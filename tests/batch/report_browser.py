"""Opens the review page of a batch in headless Chromium and checks what a
reader sees: every thumbnail loaded, the totals of the batch, failures first,
names as written and links that reach their files.

Exits 77 (skipped) when no Chromium is installed."""
import html.parser
import os
import random
import shutil
import subprocess
import sys
import tempfile
import urllib.parse

from PIL import Image, ImageDraw

BATCH = sys.argv[1]
SKIPPED = 77

# Marks in the DOM what the browser made of the page once it had loaded it.
PROBE = """<script>
// The picture a card's <svg> shows is the one its <use> names: loaded as an
// <img> too, so that the page's load waits for it and tells how it decoded.
// The length of the lines drawn over it, in the page's units, is kept too.
const decoded = new Map();
const drawn = new Map();
for (const svg of document.querySelectorAll('.thumb svg')) {
  const use = svg.querySelector('use');
  const held = use && document.querySelector(use.getAttribute('href'));
  const image = held && held.querySelector('image');
  if (!image) continue;
  const img = new Image();
  img.src = image.getAttribute('href');
  decoded.set(svg, img);
  const path = held.querySelector('path');
  drawn.set(svg, path ? Math.round(path.getTotalLength()) : 0);
}
const natural = (svg) => {
  const img = decoded.get(svg);
  return img && img.complete ? img.naturalWidth || -1 : -1;
};
window.addEventListener('load', () => {
  for (const svg of document.querySelectorAll('.thumb svg')) {
    svg.setAttribute('data-natural-width', natural(svg));
    svg.setAttribute('data-lines', drawn.get(svg) || 0);
  }
  for (const a of document.links) a.setAttribute('data-resolved', a.href);
  // A click on each thumbnail: what the preview it opens shows, and how large.
  for (const a of document.querySelectorAll('.thumb a.open')) {
    a.click();
    const view = document.getElementById(location.hash.slice(1));
    const full = view && view.querySelector('.full');
    const shown = full || (view && view.querySelector('svg'));
    const box = shown && shown.getBoundingClientRect();
    const width = !shown ? 0 : full ? full.complete && full.naturalWidth : natural(shown);
    a.setAttribute('data-opens', !shown ? 'nothing' : [getComputedStyle(view).position, width,
      box.width > 0.9 * innerWidth && box.height > 0.9 * innerHeight ? 'filling' : 'small'].join(' '));
  }
  location.hash = 'close';
  document.body.setAttribute('data-probed', 'yes');
});
</script>
"""

WRITTEN = ["plain.gif", "two words.gif", 'say "cheese" & <smile>.bmp', "\u00dcn\u00efc\u00f6d\u00e9 \u00df.gif",
           "it's #1 100%.jpg"]
BUSY = "busy paper.bmp"  # a noise of too many lines for their path: drawn into the picture instead
WRITTEN.append(BUSY)
REFUSED = "wide.gif"  # over the filters' 1501 pixels a side
UNREADABLE = "cut short.gif"


def drawing(path, size=(120, 90)):
    img = Image.new("RGB", size, "white")
    d = ImageDraw.Draw(img)
    d.rectangle([8, 8, size[0] - 9, size[1] - 9], outline="black", width=3)
    d.line([20, size[1] - 20, size[0] - 20, 20], fill="black", width=3)
    img.save(path)


class Dom(html.parser.HTMLParser):
    def __init__(self):
        super().__init__()
        # a card: class, name, [thumbnail natural widths], [resolved links to files], [what its thumbnail opens],
        # [length of its lines]
        self.cards = []
        self.totals = {}
        self.probed = False
        self._in = None

    def handle_starttag(self, tag, attrs):
        a = dict(attrs)
        if tag == "body":
            self.probed = a.get("data-probed") == "yes"
        elif tag == "article":
            self.cards.append([a.get("class", ""), "", [], [], [], []])
        elif self.cards and "data-natural-width" in a:
            self.cards[-1][2].append(int(a["data-natural-width"]))
            self.cards[-1][5].append(int(a["data-lines"]))
        elif tag == "a" and self.cards:
            if "data-opens" in a:
                self.cards[-1][4].append(a["data-opens"])
            elif not a.get("href", "").startswith("#"):
                self.cards[-1][3].append(a.get("data-resolved", ""))
        elif tag == "dd" and "id" in a:
            self._in = ("total", a["id"])
        elif tag == "h2" and self.cards:
            self._in = ("name", None)

    def handle_endtag(self, tag):
        if tag in ("dd", "h2"):
            self._in = None

    def handle_data(self, data):
        if self._in and self._in[0] == "total":
            self.totals[self._in[1]] = self.totals.get(self._in[1], "") + data
        elif self._in and self._in[0] == "name":
            self.cards[-1][1] += data


def browser_dom(browser, page):
    profile = tempfile.mkdtemp(prefix="quern-chromium-")
    try:
        flags = ["--headless", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking",
                 "--disable-component-update", "--disable-sync", "--user-data-dir=" + profile,
                 "--virtual-time-budget=5000", "--dump-dom"]
        if os.geteuid() == 0:
            flags.insert(1, "--no-sandbox")
        r = subprocess.run([browser, *flags, "file://" + urllib.parse.quote(page)], capture_output=True, text=True,
                           timeout=120)
        if r.returncode != 0:
            sys.exit("chromium failed: " + r.stderr[-2000:])
        return r.stdout
    finally:
        shutil.rmtree(profile, ignore_errors=True)


def main():
    browser = shutil.which("chromium") or shutil.which("chromium-browser")
    if not browser:
        print("no chromium installed: skipped")
        return SKIPPED
    failures = []

    def check(ok, what):
        if not ok:
            failures.append(what)

    with tempfile.TemporaryDirectory() as d:
        pictures = os.path.join(d, "scans")
        os.mkdir(pictures)
        for name in WRITTEN:
            drawing(os.path.join(pictures, name))
        drawing(os.path.join(pictures, REFUSED), (1700, 60))
        noise = random.Random(5)
        Image.frombytes("L", (600, 450), bytes(noise.randrange(150, 250) for _ in range(600 * 450))).save(
            os.path.join(pictures, BUSY))
        with open(os.path.join(pictures, UNREADABLE), "wb") as f:
            f.write(b"GIF89a\x10\x00")
        order = [WRITTEN[0], REFUSED, *WRITTEN[1:3], UNREADABLE, *WRITTEN[3:]]
        paths = [os.path.join(pictures, n) for n in order]
        page = os.path.join(d, "the report", "review.html")
        r = subprocess.run([BATCH, "--quiet", "-j", "2", "--out-dir", os.path.join(d, "dxf"), "--report", page, *paths],
                           capture_output=True, text=True, timeout=300)
        check(r.returncode == 1, "exit status %d with two failures: %s" % (r.returncode, r.stderr))
        # The batch's own account, from its summary table.
        lines = {}
        for path in paths:
            row = next(l for l in r.stdout.splitlines() if l.startswith(path + " "))
            fields = row[len(path):].split()
            lines[os.path.basename(path)] = int(fields[-3]) if fields[-1] == "written" else 0

        probe = os.path.join(os.path.dirname(page), "probe.html")
        with open(page, encoding="utf-8") as f:
            text = f.read()
        with open(probe, "w", encoding="utf-8") as f:
            f.write(text.replace("</body>", PROBE + "</body>"))
        dom = Dom()
        dom.feed(browser_dom(browser, probe))

        check(dom.probed, "the probe did not run: the page did not load")
        check(len(dom.cards) == len(order), "%d cards for %d pictures" % (len(dom.cards), len(order)))
        kinds = [c[0].split()[-1] for c in dom.cards]
        check(kinds == ["failed"] * 2 + ["ok"] * len(WRITTEN), "failures not first: %s" % kinds)
        check([c[1] for c in dom.cards] == [REFUSED, UNREADABLE, *[n for n in order if n in WRITTEN]],
              "names not as written, or out of order: %s" % [c[1] for c in dom.cards])
        # A preview in the page is its own thumbnail, the original at half the window's 400 pixels with the
        # lines over it, the refused picture's without, the busy one's drawn into it.
        widths = [c[2] for c in dom.cards]
        check(widths == [[200] if c[1] != UNREADABLE else [] for c in dom.cards],
              "thumbnails that did not load, or not one for each picture that loaded: natural widths %s" % widths)
        drawn = [c[5] for c in dom.cards]
        check(all((d[0] > 400) == (c[0].endswith("ok") and c[1] != BUSY) for c, d in zip(dom.cards, drawn) if d),
              "lines over the thumbnails of written line work only: lengths %s" % drawn)
        # Every picture that loaded opens its preview over the page, filling the window.
        opens = [c[4] for c in dom.cards if c[1] != UNREADABLE]
        check(all(o == ["fixed 200 filling"] for o in opens), "previews a click does not open over the page: %s" % opens)
        beside = sorted(os.listdir(os.path.dirname(page)))
        check(beside == ["probe.html", "review.html"], "files beside the page: %s" % beside)
        expected = {"pictures": len(order), "written": len(WRITTEN), "failed": 2, "lines": sum(lines.values())}
        for key, value in expected.items():
            check(dom.totals.get(key) == str(value), "total %s: %r, the batch says %d" % (key, dom.totals.get(key), value))
        for card in dom.cards:
            for link in card[3]:
                target = urllib.parse.unquote(urllib.parse.urlparse(link).path)
                check(link.startswith("file://") and os.path.isfile(target), "%s: link %s reaches no file" % (card[1], link))
            if card[0].endswith("ok"):
                dxf = os.path.join(d, "dxf", os.path.splitext(card[1])[0] + ".dxf")
                check(any(urllib.parse.unquote(l).endswith(dxf) for l in card[3]), "%s: no link to its DXF" % card[1])
    for f in failures:
        print("FAIL:", f)
    print("%d checks failed" % len(failures) if failures else "the page reads as the batch ran")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
