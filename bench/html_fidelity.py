#!/usr/bin/env python3
"""Compares the attributes that the HTML importer gives to words with those of a browser.

    bench/html_fidelity.py PROGRAM FILE...      (PROGRAM: the built html_runs)

Every page is shown by headless Chromium at 800 x 600 with scripts off; all requests are refused.
Words are aligned with the importer's, and the attributes of those that match are compared. Times
are those of a warm browser and of the importer, each page on its own.
"""
import argparse
import base64
import difflib
import json
import os
import re
import statistics
import subprocess
import tempfile
import time

MOST_WORDS = 6000
PAGE = "http://page.test/"
ATTRIBUTES = ["size", "bold", "italic", "underline", "color", "link"]
EXTRACTION = """(() => {
  const runs = [];
  const walker = document.createTreeWalker(document, NodeFilter.SHOW_TEXT);
  const range = document.createRange();
  for (let node; (node = walker.nextNode());) {
    const element = node.parentElement;
    if (!element || element.closest('svg, math, select')) continue;
    range.selectNodeContents(node);
    const style = getComputedStyle(element);
    const shown = style.visibility === 'visible' && range.getClientRects().length > 0;
    let underline = false;
    for (let e = element; shown && e; e = e.parentElement) {
      const s = getComputedStyle(e);
      underline = underline || s.textDecorationLine.includes('underline');
      if (s.float !== 'none' || ['absolute', 'fixed'].includes(s.position) ||
          s.display.startsWith('inline-')) break;
    }
    if (shown || /^\\s+$/.test(node.data)) {
      runs.push([node.data, parseFloat(style.fontSize), +style.fontWeight >= 600,
                 style.fontStyle !== 'normal', underline, style.color,
                 !!element.closest('a[href]:not([href^="javascript:" i])'), style.display]);
    }
    if (!shown || !style.display.startsWith('inline')) runs.push([' ']);
  }
  return JSON.stringify(runs);
})()"""


class Browser:
    """Headless Chromium, spoken to through a pair of pipes."""

    def __init__(self):
        read_commands, self.commands = os.pipe()
        self.answers, write_answers = os.pipe()
        self.profile = tempfile.TemporaryDirectory()
        os.set_inheritable(read_commands, True)
        os.set_inheritable(write_answers, True)
        # The browser reads from descriptor 3 and writes to 4.
        script = f"exec 3<&{read_commands} 4>&{write_answers}; exec chromium " \
                 "--headless --remote-debugging-pipe --no-sandbox --disable-gpu " \
                 f"--user-data-dir={self.profile.name} about:blank"
        self.process = subprocess.Popen(["bash", "-c", script], close_fds=False,
                                        stderr=subprocess.DEVNULL)
        os.close(read_commands)
        os.close(write_answers)
        self.buffer = b""
        self.number = 0
        self.session = None
        self.html = b""
        self.events = []
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        attached = self.call("Target.attachToTarget", targetId=target, flatten=True)
        self.session = attached["sessionId"]
        for method, parameters in [
                ("Page.enable", {}), ("Fetch.enable", {"patterns": [{"urlPattern": "*"}]}),
                ("Emulation.setScriptExecutionDisabled", {"value": True}),
                ("Emulation.setDeviceMetricsOverride",
                 {"width": 800, "height": 600, "deviceScaleFactor": 1, "mobile": False})]:
            self.call(method, **parameters)

    def send(self, method, parameters):
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters}
        if self.session:
            message["sessionId"] = self.session
        os.write(self.commands, json.dumps(message).encode() + b"\0")
        return self.number

    def receive(self):
        while b"\0" not in self.buffer:
            piece = os.read(self.answers, 1 << 20)
            if not piece:
                raise RuntimeError("the browser has gone")
            self.buffer += piece
        message, self.buffer = self.buffer.split(b"\0", 1)
        message = json.loads(message)
        if message.get("method") == "Fetch.requestPaused":
            self.answer_request(message["params"])
        return message

    def answer_request(self, request):
        if request["request"]["url"] == PAGE:
            self.send("Fetch.fulfillRequest", {
                "requestId": request["requestId"], "responseCode": 200,
                "responseHeaders": [{"name": "Content-Type", "value": "text/html"}],
                "body": base64.b64encode(self.html).decode()})
        else:
            self.send("Fetch.failRequest", {"requestId": request["requestId"],
                                            "errorReason": "AccessDenied"})

    def call(self, method, **parameters):
        number = self.send(method, parameters)
        while True:
            message = self.receive()
            if message.get("id") == number:
                return message.get("result", {})
            self.events.append(message.get("method"))

    def runs(self, html):
        """The text of the page as runs, and the milliseconds that it took."""
        self.html = html
        start = time.monotonic()
        self.events = []
        self.call("Page.navigate", url=PAGE)
        while "Page.loadEventFired" not in self.events:
            self.events.append(self.receive().get("method"))
        result = self.call("Runtime.evaluate", expression=EXTRACTION, returnByValue=True)
        taken = (time.monotonic() - start) * 1000
        return json.loads(result["result"]["value"]), taken

    def close(self):
        self.process.kill()
        self.process.wait()


def color_of(text):
    """RRGGBB of a computed colour, on white."""
    parts = [float(part) for part in re.findall(r"[\d.]+", text)]
    alpha = parts[3] if len(parts) > 3 else 1
    return [round(255 - (255 - part) * alpha) for part in parts[:3]]


def words_of(runs):
    """Words between white space, each with the attributes of its first run."""
    words = []
    attributes = None
    for run in runs:
        # Markers of lists are text of ours alone.
        text = re.sub(r"\t[^\t\n]{1,12}\t", " ", run[0])
        for piece in re.split(r"(\s+)", text.replace("\ufffc", " ").replace("\u00ad", "")):
            if not piece or piece.isspace():
                if piece:
                    attributes = None
            elif attributes is None:
                attributes = run[1:7]
                words.append([piece.lower(), attributes])
            else:
                words[-1][0] += piece.lower()
    return words[:MOST_WORDS]


def same(name, ours, theirs):
    if name == "size":
        return abs(ours - theirs) <= 1
    if name == "color":
        return all(abs(a - b) <= 2 for a, b in zip(ours, theirs))
    return ours == theirs


def compare(ours, theirs, show):
    counts = dict.fromkeys(["matched", "all"] + ATTRIBUTES, 0)
    counts.update(ours=len(ours), theirs=len(theirs), plain=0)
    names = ["size", "bold", "italic", "underline", "color", "link"]
    matcher = difflib.SequenceMatcher(None, [w[0] for w in ours], [w[0] for w in theirs], False)
    for block in matcher.get_matching_blocks():
        for i in range(block.size):
            word, a = ours[block.a + i]
            b = theirs[block.b + i][1]
            counts["matched"] += 1
            good = {name: same(name, x, y) for name, x, y in zip(names, a, b)}
            if not (a[5] or b[5]):
                counts["plain"] += 1
                counts["underline"] += good["underline"]
            for name in ["size", "bold", "italic", "color", "link"]:
                counts[name] += good[name]
            everything = all(good[n] for n in ["size", "bold", "italic", "color", "link"])
            counts["all"] += everything
            if show > 0 and not everything:
                show -= 1
                print("   ", word, "ours", a, "browser", b)
    if show > 0:
        for tag, a0, a1, b0, b1 in matcher.get_opcodes():
            if tag != "equal" and show > 0:
                show -= 1
                print("   ", tag, "ours", [w[0] for w in ours[a0:a1]][:12], "browser",
                      [w[0] for w in theirs[b0:b1]][:12])
    return counts


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("program")
    parser.add_argument("files", nargs="+")
    parser.add_argument("--show", type=int, default=0, help="print so many differences of a page")
    options = parser.parse_args()
    browser = Browser()
    browser.runs(b"<p>warm")
    total = {}
    times = []
    whole = 0
    for file in options.files:
        with open(file, "rb") as page:
            html = page.read()
        runs, theirs_ms = browser.runs(html)
        for run in runs:
            if len(run) > 1:
                run[5] = color_of(run[5])
        browser_words = words_of(runs)
        output = json.loads(subprocess.run([options.program, file], capture_output=True,
                                           check=True).stdout)
        own = output["runs"]
        for run in own:
            run[5] = list(bytes.fromhex(run[5]))
        counts = compare(words_of(own), browser_words, options.show)
        times.append((output["milliseconds"], theirs_ms))
        for name, value in counts.items():
            total[name] = total.get(name, 0) + value
        share = counts["all"] / max(counts["matched"], 1)
        whole += share >= 0.99
        print(f"{os.path.basename(file)[:40]:40} words {counts['theirs']:5} "
              f"matched {counts['matched'] / max(counts['theirs'], 1):.3f} all {share:.3f} "
              f"ms {output['milliseconds']:7.1f} browser {theirs_ms:7.1f}")
    browser.close()
    matched = max(total["matched"], 1)
    print(f"recall {total['matched'] / max(total['theirs'], 1):.4f} "
          f"precision {total['matched'] / max(total['ours'], 1):.4f}")
    for name in ["bold", "italic", "size", "color", "link", "all"]:
        print(f"{name} {total[name] / matched:.4f}")
    print(f"underline {total['underline'] / max(total['plain'], 1):.4f} (words outside links)")
    print(f"pages with 99 % of the words: {whole} of {len(times)}")
    ratios = [theirs / ours for ours, theirs in times]
    print(f"time: ours {sum(t[0] for t in times):.0f} ms, browser {sum(t[1] for t in times):.0f} ms, "
          f"median ratio {statistics.median(ratios):.1f}")


if __name__ == "__main__":
    main()
