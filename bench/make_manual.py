#!/usr/bin/env python3
"""Writes a long PDF in the manner of a TeX manual: make_manual.py PAGES FILE

Text is set in a dozen embedded Type 1 fonts (of the Debian package lmodern, cut down to the
characters in use, as TeX does), with kerning inside each line. The same arguments always give the
same bytes.
"""

import re
import sys
import zlib

FONTS = "/usr/share/texmf/fonts/type1/public/lm/"
FACES = ["lmr10", "lmbx10", "lmri10", "lmtt10", "lmss10", "lmr8", "lmbx12", "lmr7", "lmro10",
         "lmcsc10", "lmtto10", "lmr6"]
WORDS = """the a of to in is that for it as with be by on not this are or an which page line box
glue font number register token macro command mode paragraph penalty hyphen skip width height depth
space symbol character letter table entry example chapter section value dimension expand primitive
control sequence argument delimiter alignment column formula accent output routine insert mark
whatsit leader kern discretionary ligature badness demerits tolerance stretch shrink infinite
vertical horizontal internal restricted display style script fraction radical operator relation
punctuation opening closing inner spacing limit baseline reference point natural set order ratio
first second last any each every most best worst next previous current new old same other different
""".split()
PUNCTUATION = {",": "comma", ".": "period", "-": "hyphen", "(": "parenleft", ")": "parenright",
               " ": "space", ";": "semicolon", ":": "colon"}
DIGITS = ["zero", "one", "two", "three", "four", "five", "six", "seven", "eight", "nine"]


class Random:
    """A generator of our own, so that the text never changes."""

    def __init__(self):
        self.state = 1

    def below(self, limit):
        self.state = (self.state * 6364136223846793005 + 1442695040888963407) % 2**64
        return (self.state >> 33) % limit


def crypt(data, key, decrypt):
    out = bytearray()
    for byte in data:
        other = byte ^ (key >> 8)
        out.append(other)
        key = ((byte if decrypt else other) + key) * 52845 + 22719 & 0xFFFF
    return bytes(out)


def glyph_name(character):
    if character.isdigit():
        return DIGITS[int(character)]
    return PUNCTUATION.get(character, character)


USED = [chr(c) for c in range(ord("a"), ord("z") + 1)] + \
       [chr(c) for c in range(ord("A"), ord("Z") + 1)] + list("0123456789") + list(PUNCTUATION)


def subroutines_called(program):
    """The numbers of the subroutines that a glyph's (or subroutine's) program calls."""
    code = crypt(program, 4330, True)[4:]
    called, last, at = set(), None, 0
    while at < len(code):
        byte = code[at]
        if byte == 255:
            last, at = int.from_bytes(code[at + 1:at + 5], "big", signed=True), at + 5
        elif byte >= 251:
            last, at = -(byte - 251) * 256 - code[at + 1] - 108, at + 2
        elif byte >= 247:
            last, at = (byte - 247) * 256 + code[at + 1] + 108, at + 2
        elif byte >= 32:
            last, at = byte - 139, at + 1
        else:
            if byte == 10 and last is not None:
                called.add(last)
            at += 2 if byte == 12 else 1
    return called


def subset(name):
    """The three parts of the font program, with only the glyphs in use and what they call."""
    data = open(FONTS + name + ".pfb", "rb").read()
    parts = []
    at = 0
    while data[at + 1] in (1, 2):
        length = int.from_bytes(data[at + 2:at + 6], "little")
        parts.append((data[at + 1], data[at + 6:at + 6 + length]))
        at += 6 + length
    clear = parts[0][1]
    private = crypt(b"".join(p for kind, p in parts if kind == 2), 55665, True)
    keep = {glyph_name(c).encode() for c in USED} | {b".notdef"}
    start = re.search(rb"/CharStrings \d+ dict dup begin\s", private)
    glyphs, called, at = b"", {0, 1, 2, 3, 4}, start.end()
    entry = re.compile(rb"/(\S+) (\d+) (\S+) ")
    while match := entry.match(private, at):
        end = match.end() + int(match.group(2))
        rest = re.compile(rb"[^/]*?\n").match(private, end)
        if match.group(1) in keep:
            glyphs += private[at:rest.end()]
            called |= subroutines_called(private[match.end():end])
        at = rest.end()
    tail = private[at:]

    first = re.search(rb"/Subrs \d+ +array\s", private)
    programs, at = {}, first.end()
    entry = re.compile(rb"dup (\d+) (\d+) (\S+) ")
    while match := entry.match(private, at):
        end = match.end() + int(match.group(2))
        rest = re.compile(rb".*?\n").match(private, end)
        programs[int(match.group(1))] = (match.group(3), private[match.end():end],
                                         private[end:rest.end()])
        at = rest.end()
    waiting = list(called)
    while waiting:
        for number in subroutines_called(programs[waiting.pop()][1]) - called:
            called.add(number)
            waiting.append(number)
    out = private[:first.end()]
    for number, (read, program, end) in programs.items():
        if number not in called:
            program = crypt(b"\0\0\0\0\x0b", 4330, False)  # returns at once
        out += b"dup %d %d %s " % (number, len(program), read) + program + end
    out += private[at:start.start()] + b"/CharStrings %d dict dup begin\n" % len(keep)
    out += glyphs + tail
    return clear, crypt(out, 55665, False), parts[-1][1] if parts[-1][0] == 1 else b""


def metrics(name):
    """Widths by glyph name, from the font's metrics file."""
    widths = {}
    path = FONTS.replace("type1", "afm") + name + ".afm"
    for line in open(path, encoding="ascii", errors="replace"):
        match = re.match(r"C\s+\S+ ; WX\s+([\d.]+) ; N (\S+) ;", line)
        if match:
            widths[match.group(2)] = float(match.group(1))
    return widths


class Document:
    def __init__(self):
        self.objects = []

    def add(self, body):
        self.objects.append(body if isinstance(body, bytes) else body.encode("latin-1"))
        return len(self.objects)

    def stream(self, data, entries=""):
        packed = zlib.compress(data, 9)
        head = "<<%s/Length %d/Filter/FlateDecode>>stream\n" % (entries, len(packed))
        return self.add(head.encode() + packed + b"\nendstream")

    def write(self, path):
        out = bytearray(b"%PDF-1.4\n")
        offsets = []
        for number, body in enumerate(self.objects, 1):
            offsets.append(len(out))
            out += b"%d 0 obj\n" % number + body + b"\nendobj\n"
        start = len(out)
        out += b"xref\n0 %d\n0000000000 65535 f \n" % (len(offsets) + 1)
        for offset in offsets:
            out += b"%010d 00000 n \n" % offset
        out += b"trailer\n<</Size %d/Root 1 0 R/Info 3 0 R>>\nstartxref\n%d\n%%%%EOF\n" % (
            len(offsets) + 1, start)
        open(path, "wb").write(out)


def add_font(document, name):
    widths = metrics(name)
    clear, private, end = subset(name)
    program = document.stream(clear + private + end, "/Length1 %d/Length2 %d/Length3 %d" % (
        len(clear), len(private), len(end)))
    descriptor = document.add(
        "<</Type/FontDescriptor/FontName/ABCDEF+%s/Flags 4/FontBBox[-100 -300 1200 1000]"
        "/Ascent 700/CapHeight 700/Descent -200/ItalicAngle 0/StemV 80/FontFile %d 0 R>>" %
        (name.upper(), program))
    names = "".join("%d/%s " % (ord(c), glyph_name(c)) for c in sorted(USED))
    table = " ".join("%g" % widths.get(glyph_name(chr(c)), 500) for c in range(32, 127))
    return document.add(
        "<</Type/Font/Subtype/Type1/BaseFont/ABCDEF+%s/FirstChar 32/LastChar 126/Widths[%s]"
        "/FontDescriptor %d 0 R/Encoding<</Type/Encoding/Differences[%s]>>>>" %
        (name.upper(), table, descriptor, names)), widths


def set_line(random, widths, size, measure):
    """One justified line as the operand of TJ, with a kern here and there."""
    words, width = [], 0
    while True:
        word = WORDS[random.below(len(WORDS))]
        length = sum(widths.get(glyph_name(c), 500) for c in word) * size / 1000
        if width + length + len(words) * size / 3 > measure:
            break
        words.append(word)
        width += length
    gap = (measure - width) / max(1, len(words) - 1) * 1000 / size
    parts = []
    for word in words:
        cut = 1 + random.below(len(word))
        parts.append("(%s)%d(%s)" % (word[:cut], random.below(60) - 30, word[cut:])
                     if cut < len(word) and random.below(3) == 0 else "(%s)" % word)
    return ("%g" % -gap).join(parts)


def page_content(random, fonts, number):
    """The page's instructions, and which fonts they use: the text font and a few others."""
    others = [1 + random.below(len(fonts) - 1) for _ in range(2 + random.below(4))]
    out = ["BT\n/F0 9.963 Tf 91.9 759.9 Td [(%d)]TJ\n" % number, "0 -30 Td\n"]
    for line in range(46):
        index = 0 if random.below(4) else others[random.below(len(others))]
        size = (9.963, 9.963, 8.966, 11.955)[random.below(4) if index else 0]
        out.append("/F%d %g Tf 0 -13.9 Td [%s]TJ\n" % (
            index, size, set_line(random, fonts[index][1], size, 411)))
    out.append("ET\n")
    return "".join(out).encode("latin-1"), sorted({0, *others})


def main():
    count, path = int(sys.argv[1]), sys.argv[2]
    document = Document()
    document.add("<</Type/Catalog/Pages 2 0 R>>")
    document.add("")
    document.add("<</Title(A long manual)/Producer(make_manual)/CreationDate(D:20240101000000Z)>>")
    fonts = [add_font(document, name) for name in FACES]
    random = Random()
    kids = []
    for number in range(1, count + 1):
        instructions, used = page_content(random, fonts, number)
        content = document.stream(instructions)
        # Each page has resources of its own, as TeX writes them.
        names = "".join("/F%d %d 0 R" % (i, fonts[i][0]) for i in used)
        resources = document.add("<</Font<<%s>>/ProcSet[/PDF/Text]>>" % names)
        kids.append(document.add(
            "<</Type/Page/Parent 2 0 R/MediaBox[0 0 595.276 841.89]/Contents %d 0 R"
            "/Resources %d 0 R>>" % (content, resources)))
    document.objects[1] = ("<</Type/Pages/Count %d/Kids[%s]>>" % (
        count, " ".join("%d 0 R" % kid for kid in kids))).encode()
    document.write(path)


if __name__ == "__main__":
    main()
