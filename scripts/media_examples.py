"""Pictures, sounds and movies of examples/. `FILES` maps their names to their bytes, which are the
same each time."""

import math
import struct

PACKET = """<?xpacket begin="" id="W5M0MpCehiHzreSzNTczkc9d"?>
<x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#">
<rdf:Description rdf:about="" xmlns:dc="http://purl.org/dc/elements/1.1/"
 xmlns:xmp="http://ns.adobe.com/xap/1.0/" xmp:Rating="4">
<dc:title><rdf:Alt><rdf:li xml:lang="de">Das Wehr</rdf:li>
<rdf:li xml:lang="x-default">The weir &amp; the ferry house</rdf:li></rdf:Alt></dc:title>
<dc:creator><rdf:Seq><rdf:li>Anneliese Moor</rdf:li><rdf:li>Tom Weir</rdf:li></rdf:Seq></dc:creator>
<dc:subject><rdf:Bag><rdf:li>river</rdf:li><rdf:li>weir</rdf:li></rdf:Bag></dc:subject>
</rdf:Description></rdf:RDF></x:xmpmeta>
<?xpacket end="w"?>"""


def exif():
    """Directories of tags: number, type, values. Texts are type 2, rationals 5."""
    rational = lambda *numbers: struct.pack(">%dI" % (2 * len(numbers)), *(
        part for number in numbers for part in (round(number * 1000), 1000)))
    ascii_text = lambda text: text.encode() + b"\0"
    main = [(271, 2, ascii_text("Valley Optics")), (272, 2, ascii_text("Kestrel 2")),
            (274, 3, struct.pack(">H", 6)), (282, 5, rational(300)), (283, 5, rational(300)),
            (296, 3, struct.pack(">H", 2)), (305, 2, ascii_text("make-examples")),
            (34665, 4, None), (34853, 4, None)]
    camera = [(33434, 5, struct.pack(">2I", 1, 250)), (33437, 5, rational(5.6)),
              (34855, 3, struct.pack(">H", 200)),
              (36867, 2, ascii_text("2024:03:05 17:30:00")), (36881, 2, ascii_text("+01:00")),
              (37385, 3, struct.pack(">H", 0x41)), (37386, 5, rational(35)),
              (42036, 2, ascii_text("Kestrel 35 mm"))]
    place = [(1, 2, b"N\0"), (2, 5, rational(51, 30, 0)), (3, 2, b"W\0"), (4, 5, rational(0, 7, 12)),
             (5, 1, b"\0"), (6, 5, rational(12.5)), (7, 5, rational(16, 30, 0)),
             (29, 2, ascii_text("2024:03:05"))]
    sizes = {1: 1, 2: 1, 3: 2, 4: 4, 5: 8}

    def directory(start, entries, links=()):
        head, values = struct.pack(">H", len(entries)), b""
        beyond = start + 2 + 12 * len(entries) + 4
        links = list(links)
        for tag, kind, data in entries:
            data = struct.pack(">I", links.pop(0)) if data is None else data
            head += struct.pack(">2HI", tag, kind, len(data) // sizes[kind])
            if len(data) <= 4:
                head += data.ljust(4, b"\0")
            else:
                head += struct.pack(">I", beyond + len(values))
                values += data + bytes(len(data) % 2)
        return head + bytes(4) + values

    second = 8 + len(directory(8, main, (0, 0)))
    third = second + len(directory(second, camera))
    return b"MM\0\x2a" + struct.pack(">I", 8) + directory(8, main, (second, third)) + \
        directory(second, camera) + directory(third, place)


def iptc():
    record = lambda number, text: struct.pack(">3BH", 0x1C, 2, number, len(text.encode())) + \
        text.encode()
    records = record(90, "Weirbridge") + record(101, "United Kingdom") + \
        record(116, "Valley Walks 2024") + record(120, "Water over grey stone.")
    resource = b"8BIM\x04\x04\0\0" + struct.pack(">I", len(records)) + records
    return b"Photoshop 3.0\0" + resource + bytes(len(resource) % 2)


def picture(*segments, width=24, height=16):
    """A JPEG of one grey: each block says that nothing changes, in two bits."""
    segment = lambda marker, data: struct.pack(">2BH", 0xFF, marker, len(data) + 2) + data
    blocks = width // 8 * height // 8
    one_code = lambda kind: bytes([kind, 1]) + bytes(15) + b"\0"
    bits = "00" * blocks
    bits += "1" * (-len(bits) % 8)
    scan = bytes(int(bits[at:at + 8], 2) for at in range(0, len(bits), 8))
    return b"\xFF\xD8" + b"".join(segment(*each) for each in segments) + \
        segment(0xDB, b"\0" + b"\x10" * 64) + \
        segment(0xC0, struct.pack(">B2H4B", 8, height, width, 1, 1, 0x11, 0)) + \
        segment(0xC4, one_code(0x00)) + segment(0xC4, one_code(0x10)) + \
        segment(0xDA, b"\x01\x01\0\0\x3F\0") + scan + b"\xFF\xD9"


def chunk(kind, data):
    return kind + struct.pack("<I", len(data)) + data + bytes(len(data) % 2)


def info(**texts):
    return chunk(b"LIST", b"INFO" + b"".join(
        chunk(name.encode(), text.encode() + b"\0") for name, text in texts.items()))


def sound():
    """A tenth of a second of a bell that fades away."""
    rate = 8000
    samples = bytes(round(128 + 100 * math.sin(i * 2 * math.pi * 880 / rate) * (1 - i / 800))
                    for i in range(800))
    return chunk(b"RIFF", b"WAVE" + chunk(b"fmt ", struct.pack("<2H2I2H", 1, 1, rate, rate, 1, 8)) +
                 info(INAM="The bell of the ferry house", IART="Anneliese Moor; Tom Weir",
                      IPRD="Sounds of the valley", IPRT="3", IGNR="Field recording",
                      ICRD="2024-03-05", ICMT="Ring it twice.", ICOP="Valley Walks") +
                 chunk(b"data", samples))


def movie():
    """Five grey frames in half a second."""
    frame, frames, width, height = picture(), 5, 24, 16
    main = struct.pack("<14I", 100000, 0, 0, 0x10, frames, 0, 1, 4096, width, height, 0, 0, 0, 0)
    stream = b"vidsMJPG" + struct.pack("<I2H8I4H", 0, 0, 0, 0, 1, 10, 0, frames, 4096, 10000, 0,
                                       0, 0, width, height)
    form = struct.pack("<I2i2H4sI4I", 40, width, height, 1, 24, b"MJPG", width * height * 3, 0, 0,
                       0, 0)
    header = chunk(b"LIST", b"hdrl" + chunk(b"avih", main) + chunk(
        b"LIST", b"strl" + chunk(b"strh", stream) + chunk(b"strf", form)))
    data = chunk(b"LIST", b"movi" + chunk(b"00dc", frame) * frames)
    size = len(chunk(b"00dc", frame))
    index = chunk(b"idx1", b"".join(struct.pack("<4s3I", b"00dc", 0x10, 4 + i * size, len(frame))
                                    for i in range(frames)))
    return chunk(b"RIFF", b"AVI " + header + info(INAM="Fog over the weir", IART="Tom Weir") +
                 data + index)


FILES = {
    "weir.jpg": picture((0xE1, b"Exif\0\0" + exif()),
                        (0xE1, b"http://ns.adobe.com/xap/1.0/\0" + PACKET.encode()),
                        (0xED, iptc())),
    "bell.wav": sound(),
    "fog.avi": movie(),
}
