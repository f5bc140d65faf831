"""Documents of examples/ that importers read: a page, mail, a book, an archive, a font, contacts
and a calendar. `FILES` maps their names to their bytes, which are the same each time."""

import io
import plistlib
import struct
import zipfile

PAGE = """<!DOCTYPE html>
<html lang="en-GB">
<head>
<meta charset="utf-8">
<title>The ferry house &amp; its bell</title>
<meta name="author" content="Anneliese Moor; Tom Weir">
<meta name="description" content="A house by the river that has not seen a ferry for years.">
<meta name="keywords" content="river, ferry, bell, caf&eacute;">
<meta name="date" content="2024-03-05T18:30:00+01:00">
<meta name="copyright" content="Valley Walks">
<link rel="canonical" href="https://walks.example/ferry-house">
<style>body { margin: 2em }</style>
</head>
<body>
<h1>The ferry house</h1>
<p>Its bell still hangs beside the door. Ring it twice, and somebody brings <em>gooseberry cake</em>.</p>
<ul><li>Open from ten</li><li>Closed on Tuesdays</li></ul>
</body>
</html>
"""

LETTER = """From: =?utf-8?Q?J=C3=BCrgen_M=C3=BChlbach?= <miller@mill.example>
To: Anneliese Moor <anneliese@walks.example>, tom@walks.example
Cc: "Ferry House, Kitchen" <kitchen@ferry.example>
Subject: =?utf-8?B?QXBwbGVzLCBxdWluY2VzIOKAkyBhbmQgYmFza2V0cw==?=
Date: Tue, 05 Mar 2024 09:12:45 +0100
Message-ID: <harvest-1@mill.example>
Keywords: harvest, baskets
Organization: The Old Mill
MIME-Version: 1.0
Content-Type: multipart/mixed; boundary="outer"

--outer
Content-Type: multipart/alternative; boundary="inner"

--inner
Content-Type: text/plain; charset=iso-8859-1
Content-Transfer-Encoding: quoted-printable

Dear both,

the quinces are ripe early this year. Please bring baskets f=FCr =DCbermorgen.

--inner
Content-Type: text/html; charset=utf-8

<p>Dear both,</p><p>the quinces are ripe early this year.</p>

--inner--
--outer
Content-Type: text/csv; name="harvest.csv"
Content-Disposition: attachment; filename*=utf-8''%C3%84pfel.csv
Content-Transfer-Encoding: base64

dHJlZSxiYXNrZXRzCnF1aW5jZSwzCg==

--outer--
"""

MAILBOX = """From anneliese@walks.example Tue Mar  5 10:00:00 2024
From: Anneliese Moor <anneliese@walks.example>
To: miller@mill.example
Subject: Re: baskets
Date: Tue, 05 Mar 2024 10:00:00 +0100

I can bring four of them.

>From the weir on the path is muddy.

From tom@walks.example Wed Mar  6 07:30:00 2024
From: Tom Weir <tom@walks.example>
To: miller@mill.example
Subject: Re: baskets
Date: Wed, 06 Mar 2024 07:30:00 +0100

And I have a cart.
"""

CONTACTS = """BEGIN:VCARD
VERSION:4.0
FN:Anneliese Moor
N:Moor;Anneliese;;;
ORG:Valley Walks;Path Keepers
TITLE:Guide
EMAIL;TYPE=work:anneliese@walks.example
TEL;VALUE=uri;TYPE=cell:tel:+44-1632-960123
IMPP:xmpp:anneliese@chat.example
ADR;TYPE=home:;;2 Mill Lane;Weirbridge;Rivershire;WB1 2AB;United Kingdom
CATEGORIES:guides,path keepers
NOTE:Knows where the key of the tower hangs\\; ask her\\, not the
  sexton.\\nSpeaks German.
BDAY:19700310
URL:https://walks.example/
REV:20240305T083000Z
UID:urn:uuid:4fbe8971-0bc3-424c-9c26-36c3e1eff6b1
END:VCARD
""".replace("\n", "\r\n")

CALENDAR = """BEGIN:VCALENDAR
VERSION:2.0
PRODID:-//Valley Walks//Examples//EN
X-WR-CALNAME:Walks in spring
BEGIN:VEVENT
UID:walk-1@walks.example
SUMMARY:Along both arms of the river
DESCRIPTION:Four and a half miles.\\nBring boots\\, and bread for the
  ducks.
LOCATION:The old mill
GEO:51.5;-0.12
DTSTART;TZID=Europe/London:20240406T100000
DTEND;TZID=Europe/London:20240406T130000
ORGANIZER;CN=Anneliese Moor:mailto:anneliese@walks.example
ATTENDEE;CN="Weir, Tom":mailto:tom@walks.example
CATEGORIES:walk,river
CREATED:20240301T120000Z
LAST-MODIFIED:20240305T083000Z
BEGIN:VALARM
ACTION:DISPLAY
DESCRIPTION:Leave now
TRIGGER:-PT30M
END:VALARM
END:VEVENT
BEGIN:VTODO
UID:todo-1@walks.example
SUMMARY:Ask for the key of the tower
DUE;VALUE=DATE:20240405
END:VTODO
END:VCALENDAR
""".replace("\n", "\r\n")

CONTAINER = """<?xml version="1.0"?>
<container version="1.0" xmlns="urn:oasis:names:tc:opendocument:xmlns:container">
<rootfiles><rootfile full-path="OEBPS/book.opf" media-type="application/oebps-package+xml"/></rootfiles>
</container>
"""

PACKAGE = """<?xml version="1.0" encoding="UTF-8"?>
<package xmlns="http://www.idpf.org/2007/opf" version="3.0" unique-identifier="id">
<metadata xmlns:dc="http://purl.org/dc/elements/1.1/">
<dc:identifier id="id">urn:uuid:7d9a3c52-2f3b-4a43-8f6e-5a1c0f1d2b11</dc:identifier>
<dc:title>Walks &amp; Weirs</dc:title>
<dc:creator>Anneliese Moor</dc:creator>
<dc:creator>Tom Weir</dc:creator>
<dc:language>en</dc:language>
<dc:publisher>Valley Press</dc:publisher>
<dc:subject>Walking</dc:subject>
<dc:subject>Rivers</dc:subject>
<dc:description>&lt;p&gt;A small book of &lt;b&gt;short&lt;/b&gt; walks.&lt;/p&gt;</dc:description>
<dc:rights>Valley Press 2024</dc:rights>
<dc:date>2024-03-05</dc:date>
<meta property="dcterms:modified">2024-03-06T10:00:00Z</meta>
</metadata>
<manifest>
<item id="weir" href="the%20weir.xhtml" media-type="application/xhtml+xml"/>
<item id="mill" href="text/mill.xhtml" media-type="application/xhtml+xml"/>
</manifest>
<spine><itemref idref="mill"/><itemref idref="weir"/></spine>
</package>
"""

CHAPTER = """<?xml version="1.0" encoding="UTF-8"?>
<html xmlns="http://www.w3.org/1999/xhtml"><head><title>%s</title></head>
<body><h1>%s</h1><p>%s</p></body></html>
"""


def archive(entries):
    """A ZIP archive; the first entry is stored, as readers of books want it."""
    out = io.BytesIO()
    with zipfile.ZipFile(out, "w") as file:
        for number, (name, data) in enumerate(entries):
            info = zipfile.ZipInfo(name, (2024, 3, 5, 9, 12, 44))
            info.compress_type = zipfile.ZIP_DEFLATED if number else zipfile.ZIP_STORED
            info.external_attr = 0o40755 << 16 | 16 if name.endswith("/") else 0o100644 << 16
            file.writestr(info, data)
    return out.getvalue()


def book():
    chapter = lambda title, text: CHAPTER % (title, title, text)
    return archive([
        ("mimetype", "application/epub+zip"),
        ("META-INF/container.xml", CONTAINER),
        ("OEBPS/book.opf", PACKAGE),
        ("OEBPS/the weir.xhtml", chapter("The weir", "Here the river divides.")),
        ("OEBPS/text/mill.xhtml", chapter("The old mill", "The path begins behind it.")),
    ])


def parcel():
    return archive([
        ("parcel/", ""),
        ("parcel/list.txt", "four baskets\n" * 20),
        ("parcel/Äpfel und Quitten.csv", "tree,baskets\nquince,3\n"),
    ])


def web_archive():
    frame = {"WebResourceData": b"<p>Ferry times: none.</p>", "WebResourceMIMEType": "text/html",
             "WebResourceTextEncodingName": "UTF-8", "WebResourceFrameName": "times",
             "WebResourceURL": "https://walks.example/times"}
    return plistlib.dumps({
        "WebMainResource": {
            "WebResourceData": PAGE.encode(), "WebResourceFrameName": "",
            "WebResourceMIMEType": "text/html", "WebResourceTextEncodingName": "UTF-8",
            "WebResourceURL": "https://walks.example/ferry-house"},
        "WebSubframeArchives": [{"WebMainResource": frame}],
    }, fmt=plistlib.FMT_BINARY, sort_keys=True)


def name_table(names):
    records, strings = b"", b""
    for number, text in sorted(names.items()):
        data = text.encode("utf-16-be")
        records += struct.pack(">6H", 3, 1, 0x409, number, len(data), len(strings))
        strings += data
    return struct.pack(">3H", 0, len(names), 6 + len(records)) + records + strings


def font():
    """A TrueType font of two glyphs: a missing one, and a square for the letter A."""
    corners = [(100, 0), (100, 700), (600, 700), (600, 0)]
    deltas = [[b - a for a, b in zip((0,) + axis, axis)] for axis in zip(*corners)]
    glyph = struct.pack(">5h2H4B", 1, 100, 0, 600, 700, 3, 0, 1, 1, 1, 1)
    glyph += b"".join(struct.pack(">4h", *axis) for axis in deltas)
    glyph += bytes(-len(glyph) % 4)
    created = 3792563564  # seconds since 1904
    head = struct.pack(">4I2H2q4h2H3h", 0x10000, 0x10000, 0, 0x5F0F3CF5, 3, 1000, created, created,
                       100, 0, 600, 700, 0, 8, 2, 0, 0)
    cmap = struct.pack(">2H2HI", 0, 1, 3, 1, 12) + struct.pack(
        ">7H", 4, 32, 0, 4, 4, 1, 0) + struct.pack(">9H", 65, 0xFFFF, 0, 65, 0xFFFF,
                                                   (1 - 65) & 0xFFFF, 1, 0, 0)
    os2 = struct.pack(">HhHHH", 4, 600, 400, 5, 0) + bytes(22) + bytes(10) + struct.pack(
        ">4I4sHHH", 1, 0, 0, 0, b"CRVY", 64, 65, 65) + struct.pack(
        ">hhhHHIIhhHHH", 800, -200, 0, 800, 200, 1, 0, 500, 700, 0, 32, 1)
    tables = {
        b"OS/2": os2, b"cmap": cmap, b"glyf": glyph, b"head": head,
        b"hhea": struct.pack(">I3hH11hH", 0x10000, 800, -200, 0, 700, 100, 100, 600, 1, 0, 0, 0, 0,
                             0, 0, 0, 2),
        b"hmtx": struct.pack(">HhHh", 700, 0, 700, 100),
        b"loca": struct.pack(">3H", 0, 0, len(glyph) // 2),
        b"maxp": struct.pack(">I14H", 0x10000, 2, 4, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0),
        b"name": name_table({
            0: "In the public domain", 1: "Corvy Square", 2: "Regular", 3: "Corvy Square 1.5",
            4: "Corvy Square Regular", 5: "Version 1.5", 6: "CorvySquare-Regular",
            8: "Valley Press", 9: "Anneliese Moor", 10: "A square, for tests."}),
        b"post": struct.pack(">2I2h5I", 0x30000, 0, -100, 50, 0, 0, 0, 0, 0),
    }
    offset = 12 + 16 * len(tables)
    directory, body = struct.pack(">I4H", 0x10000, len(tables), 128, 3, 32), b""
    for tag, data in sorted(tables.items()):
        padded = data + bytes(-len(data) % 4)
        total = sum(struct.unpack(">%dI" % (len(padded) // 4), padded)) & 0xFFFFFFFF
        directory += struct.pack(">4s3I", tag, total, offset + len(body), len(data))
        body += padded
    return directory + body


FILES = {
    "ferry-house.html": PAGE.encode(),
    "ferry-house.webarchive": web_archive(),
    "harvest.eml": LETTER.encode(),
    "replies.mbox": MAILBOX.encode(),
    "walks.epub": book(),
    "parcel.zip": parcel(),
    "square.ttf": font(),
    "anneliese.vcf": CONTACTS.encode(),
    "spring.ics": CALENDAR.encode(),
}
