#!/usr/bin/env python3
"""Writes the vCard fixtures of the recipients tests into vcards/.

Each file imitates what one kind of writer produces (line endings, folding, encodings,
labels), written by hand from the vCard 2.1, 3.0 (RFC 2426) and 4.0 (RFC 6350) formats.
Run it again after a change; the output is deterministic.
"""
import base64
import os
import struct
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))
OUT = os.path.join(HERE, "vcards")


def png(width, height, pixel):
    rows = b"".join(
        b"\x00" + b"".join(bytes(pixel(x, y)) for x in range(width)) for y in range(height)
    )

    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))

    return (
        b"\x89PNG\r\n\x1a\n"
        + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0))
        + chunk(b"IDAT", zlib.compress(rows, 9))
        + chunk(b"IEND", b"")
    )


def fold(line, width=75):
    """Folds a content line the RFC way: CRLF followed by one blank."""
    out = []
    while len(line) > width:
        out.append(line[:width])
        line = " " + line[width:]
    out.append(line)
    return "\r\n".join(out)


def write(name, text, encoding="utf-8"):
    with open(os.path.join(OUT, name), "wb") as f:
        f.write(text.encode(encoding) if isinstance(text, str) else text)


def main():
    os.makedirs(OUT, exist_ok=True)
    # A 40 by 20 picture, red on the left half, blue on the right: the square crop keeps
    # the middle, so both colours stay visible side by side.
    picture = png(40, 20, lambda x, y: (220, 30, 30) if x < 20 else (30, 30, 220))
    photo = base64.b64encode(picture).decode("ascii")

    # Apple Contacts (3.0): CRLF, folded lines, item groups with X-ABLabel, a company card
    # and a group card naming its member.
    write("apple-contacts.vcf", "\r\n".join([
        "BEGIN:VCARD",
        "VERSION:3.0",
        "PRODID:-//Apple Inc.//macOS 13.4//EN",
        fold("N:Berg;Anna;Maria;;"),
        "FN:Anna Maria Berg",
        "NICKNAME:Annie",
        "ORG:Berg & Partner;",
        "TEL;type=CELL;type=VOICE;type=pref:+49 170 1234567",
        "item1.TEL:030 1234-56",
        fold("item1.X-ABLabel:B\u00fcro Berlin with a label long enough to be folded by the writer"),
        "item2.TEL;type=FAX:030 1234-99",
        "item2.X-ABLabel:_$!<HomeFAX>!$_",
        "TEL;type=IPHONE;type=CELL;type=VOICE:+49 171 7654321",
        fold("PHOTO;ENCODING=b;TYPE=PNG:" + photo),
        "UID:7A1C0F2E-0A4B-4E55-9C2A-3F7B9D1E0001",
        "END:VCARD",
        "BEGIN:VCARD",
        "VERSION:3.0",
        "N:;;;;",
        "FN:Acme GmbH",
        "ORG:Acme GmbH;",
        "TEL;type=WORK;type=VOICE;type=pref:+49 89 555 0",
        "X-ABShowAs:COMPANY",
        "UID:7A1C0F2E-0A4B-4E55-9C2A-3F7B9D1E0002",
        "END:VCARD",
        "BEGIN:VCARD",
        "VERSION:3.0",
        "N:Tennis club",
        "FN:Tennis club",
        "X-ADDRESSBOOKSERVER-KIND:group",
        "X-ADDRESSBOOKSERVER-MEMBER:urn:uuid:7A1C0F2E-0A4B-4E55-9C2A-3F7B9D1E0001",
        "UID:7A1C0F2E-0A4B-4E55-9C2A-3F7B9D1E00FF",
        "END:VCARD",
        "",
    ]))

    # An Android phone's export (2.1): quoted-printable UTF-8 with a soft line break, bare
    # type parameters, two cards in one file.
    write("android-export.vcf", "\r\n".join([
        "BEGIN:VCARD",
        "VERSION:2.1",
        "N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=C3=96zt=C3=BCrk;Ay=C5=9Fe;;;",
        "FN;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:Ay=C5=9Fe =C3=96zt=C3=BC=",
        "rk",
        "TEL;CELL:0176-11 22 33",
        "TEL;HOME:+49 (0)40 123 456",
        "TEL;WORK;FAX:040 123 457",
        "END:VCARD",
        "BEGIN:VCARD",
        "VERSION:2.1",
        "N:Nguyen;Lan;;;",
        "FN:Lan Nguyen",
        "TEL;PAGER:0911 42",
        "END:VCARD",
        "",
    ]))

    # An old Outlook export (2.1): Windows-1252 bytes with a charset tag, no UID.
    write("outlook-export.vcf", "\r\n".join([
        "BEGIN:VCARD",
        "VERSION:2.1",
        "N;CHARSET=Windows-1252:M\u00fcller;J\u00fcrgen",
        "FN;CHARSET=Windows-1252:J\u00fcrgen M\u00fcller",
        "ORG;CHARSET=Windows-1252:Stra\u00dfenbau \u2013 Nord",
        "TEL;WORK;VOICE:0221 123",
        "TEL;WORK;FAX:0221 124",
        "END:VCARD",
        "",
    ]), encoding="cp1252")

    # Nextcloud (4.0): LF only, KIND:org without N, tel: URIs with parameters, a person with
    # only a formatted name, categories.
    write("nextcloud.vcf", "\n".join([
        "BEGIN:VCARD",
        "VERSION:4.0",
        "KIND:org",
        "FN:Stadtwerke Nord",
        'TEL;VALUE=uri;TYPE="voice,work":tel:+49-30-1234567;ext=12',
        "UID:urn:uuid:0d1f5c6e-4c55-4a64-8f8e-000000000004",
        "END:VCARD",
        "BEGIN:VCARD",
        "VERSION:4.0",
        "FN:Hanna Maria Schulz",
        "CATEGORIES:Familie,Nachbarn",
        "TEL;VALUE=uri;TYPE=cell:tel:+49-160-555",
        "TEL;VALUE=uri;TYPE=home:tel:030%2F555",
        "UID:urn:uuid:0d1f5c6e-4c55-4a64-8f8e-000000000005",
        "END:VCARD",
        "",
    ]))

    # Evolution (3.0): its own type values and slots, nickname, categories, the same number
    # twice.
    write("evolution.vcf", "\r\n".join([
        "BEGIN:VCARD",
        "VERSION:3.0",
        "UID:pas-id-5F3A2B1C00000001",
        "N:Kowalski;Zofia;;;",
        "FN:Zofia Kowalski",
        "X-EVOLUTION-FILE-AS:Kowalski\\, Zofia",
        "NICKNAME:Zosia",
        "CATEGORIES:Kunden,VIP",
        "TEL;TYPE=X-EVOLUTION-COMPANY;X-EVOLUTION-UI-SLOT=1:0341 9999",
        "TEL;TYPE=OTHER;X-EVOLUTION-UI-SLOT=2:0341 9999",
        "TEL;TYPE=CAR;X-EVOLUTION-UI-SLOT=3:0172 3",
        "END:VCARD",
        "",
    ]))

    # A Windows tool's UTF-16 export with byte order mark.
    write("windows-utf16.vcf", "\ufeff" + "\r\n".join([
        "BEGIN:VCARD",
        "VERSION:3.0",
        "N:\u0141\u0105cki;\u0106wiek;;;",
        "FN:\u0106wiek \u0141\u0105cki",
        "TEL;TYPE=WORK:+48 22 123",
        "END:VCARD",
        "",
    ]), encoding="utf-16-le")

    # A person without numbers gives no entry.
    write("no-numbers.vcf", "\r\n".join([
        "BEGIN:VCARD", "VERSION:3.0", "N:Stumm;Stefan;;;", "FN:Stefan Stumm",
        "EMAIL:stefan@example.org", "UID:no-numbers-1", "END:VCARD", "",
    ]))

    # Broken files: a card cut off by an interrupted sync, and binary data.
    write("broken-truncated.vcf", "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Abbruch;Tom;;;\r\nTEL:0301")
    write("broken-binary.vcf", b"\x89PNG\r\n\x1a\n\x00\x00\x00\rIHDR" + bytes(range(256)))

    # Not a vCard file name: never read.
    write("notes.txt", "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Ignored;Ivy\r\nTEL:1\r\nEND:VCARD\r\n")


if __name__ == "__main__":
    main()
