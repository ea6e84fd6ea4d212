#!/usr/bin/env python3
"""Writes the PDF fixtures of the page preparation tests into this folder.

Every file is written byte for byte from here (Python's standard library only), so that the
page boxes, colours and damages are exactly what the tests expect; only encrypted.pdf is made
from text.pdf by the qpdf tool.  Run it again after changing it:  ./make-fixtures.py
"""

import os
import random
import subprocess
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))


def pdf(objects, root=1):
    """A complete PDF of the given object bodies (object n is objects[n - 1])."""
    out = bytearray(b"%PDF-1.4\n%\xe2\xe3\xcf\xd3\n")
    offsets = []
    for number, body in enumerate(objects, start=1):
        offsets.append(len(out))
        out += b"%d 0 obj\n" % number + body + b"\nendobj\n"
    xref = len(out)
    out += b"xref\n0 %d\n0000000000 65535 f \n" % (len(objects) + 1)
    for offset in offsets:
        out += b"%010d 00000 n \n" % offset
    out += b"trailer\n<< /Size %d /Root %d 0 R >>\nstartxref\n%d\n%%%%EOF\n" % (
        len(objects) + 1, root, xref)
    return bytes(out)


def stream(data, extra=b""):
    return b"<< /Length %d%s >>\nstream\n" % (len(data), extra) + data + b"\nendstream"


def document(pages):
    """pages: list of (page dictionary entries, content stream, resources)."""
    objects = [b"<< /Type /Catalog /Pages 2 0 R >>", None]
    kids = []
    for entries, content, resources in pages:
        page_number = len(objects) + 1
        kids.append(b"%d 0 R" % page_number)
        objects.append(b"<< /Type /Page /Parent 2 0 R " + entries + b" /Resources "
                       + resources + b" /Contents %d 0 R >>" % (page_number + 1))
        objects.append(stream(content))
    objects[1] = b"<< /Type /Pages /Kids [" + b" ".join(kids) + b"] /Count %d >>" % len(kids)
    return pdf(objects)


def box(width, height):
    return b"/MediaBox [0 0 %g %g]" % (width, height)


def filled(width, height, colour=b"0 g"):
    """A page of the given size painted edge to edge in one colour."""
    return (box(width, height), colour + b" 0 0 %g %g re f\n" % (width, height), b"<< >>")


HELVETICA = b"<< /Font << /F1 << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> >> >>"


def text_page(width=595, height=842, lines=40):
    content = bytearray(b"BT /F1 11 Tf 14 TL 56 %d Td\n" % (height - 72))
    words = ("fax transmission page receiver document invoice contract signature "
             "delivery account number date the of and with for").split()
    rng = random.Random(1234)
    content += b"/F1 20 Tf (Faxolino test page) Tj T* T* /F1 11 Tf\n"
    for _ in range(lines):
        line = " ".join(rng.choice(words) for _ in range(12))
        content += b"(" + line.encode("ascii") + b") '\n"
    content += b"ET\n"
    return (box(width, height), bytes(content), HELVETICA)


def write(name, data):
    with open(os.path.join(HERE, name), "wb") as f:
        f.write(data)


def main():
    # Geometry: pages painted black edge to edge show where the page lands on the canvas.
    write("a4-black.pdf", document([filled(595, 842)]))
    write("letter-black.pdf", document([filled(612, 792)]))
    write("landscape-black.pdf", document([filled(842, 595)]))
    # The crop box (half an A4 page, scale 8) sits away from the origin; only it is black.
    write("cropbox-offset.pdf", document([(
        b"/MediaBox [0 0 700 1000] /CropBox [100 150 397.5 571]",
        b"0.5 g 0 0 700 1000 re f 0 g 100 150 297.5 421 re f\n", b"<< >>")]))
    # A portrait page turned a quarter: shown as landscape.
    write("rotated.pdf", document([(box(595, 842) + b" /Rotate 90",
                                    b"0 g 0 0 595 842 re f\n", b"<< >>")]))

    # Colour and transparency.
    write("blank.pdf", document([(box(595, 842), b"", b"<< >>")]))
    write("red.pdf", document([filled(595, 842, b"1 0 0 rg")]))
    write("half-transparent.pdf", document([(
        box(595, 842), b"/Half gs 0 g 0 0 595 842 re f\n",
        b"<< /ExtGState << /Half << /ca 0.5 >> >> >>")]))

    # Text, and text over a grey photograph-like ramp that reaches every edge.
    write("text.pdf", document([text_page()]))
    ramp = bytes((x * 4 + y) % 256 for y in range(64) for x in range(64))
    photo_objects = [
        b"<< /Type /Catalog /Pages 2 0 R >>",
        b"<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        b"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Resources << /XObject "
        b"<< /Ramp 5 0 R >> /Font << /F1 << /Type /Font /Subtype /Type1 /BaseFont "
        b"/Helvetica >> >> >> /Contents 4 0 R >>",
        stream(b"q 595 0 0 842 0 0 cm /Ramp Do Q BT /F1 30 Tf 60 400 Td (Mixed page) Tj ET\n"),
        stream(zlib.compress(ramp, 9),
               b" /Type /XObject /Subtype /Image /Width 64 /Height 64 /ColorSpace /DeviceGray"
               b" /BitsPerComponent 8 /Filter /FlateDecode"),
    ]
    write("photo.pdf", pdf(photo_objects))
    write("three-pages.pdf", document([text_page(), text_page(612, 792, 30),
                                        text_page(842, 595, 20)]))

    # Damaged and hostile inputs.
    text = document([text_page()])
    write("truncated.pdf", text[: len(text) // 2])
    xref = text.rindex(b"xref\n")
    write("broken-xref.pdf", text[:xref] + text[xref:].replace(b" 00000 n", b" 00000 x")
          .replace(b"0000000", b"9999999"))
    write("random.bin", random.Random(99).randbytes(4096))
    write("empty.pdf", b"")
    write("no-pages.pdf", pdf([b"<< /Type /Catalog /Pages 2 0 R >>",
                               b"<< /Type /Pages /Kids [] /Count 0 >>"]))
    # The page tree promises two pages; the second is an object that does not exist.
    write("missing-page.pdf", pdf([
        b"<< /Type /Catalog /Pages 2 0 R >>",
        b"<< /Type /Pages /Kids [3 0 R 9 0 R] /Count 2 >>",
        b"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Resources << >> "
        b"/Contents 4 0 R >>",
        stream(b"0 g 100 100 200 200 re f\n"),
    ]))
    # A page so flat that at the canvas width it is less than a pixel high: it cannot be
    # rendered and is left out, the page before it is not.
    write("sliver-page.pdf", document([filled(595, 842), filled(100000, 1)]))
    # A page tree that claims almost a million pages and holds one.
    write("huge-count.pdf", pdf([
        b"<< /Type /Catalog /Pages 2 0 R >>",
        b"<< /Type /Pages /Kids [3 0 R] /Count 999999 >>",
        b"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Resources << >> "
        b"/Contents 4 0 R >>",
        stream(b"0 g 100 100 200 200 re f\n"),
    ]))
    # One page inside 1,030 nested page tree nodes: deep enough to keep Qt Pdf busy for many
    # minutes.
    deep = [b"<< /Type /Catalog /Pages 2 0 R >>"]
    for level in range(1030):
        parent = b" /Parent %d 0 R" % (level + 1) if level else b""
        deep.append(b"<< /Type /Pages /Kids [%d 0 R] /Count 1%s >>" % (level + 3, parent))
    deep.append(b"<< /Type /Page /Parent 1031 0 R /MediaBox [0 0 595 842] /Resources << >> "
                b"/Contents 1033 0 R >>")
    deep.append(stream(b"0 g 100 100 200 200 re f\n"))
    write("deep-tree.pdf", pdf(deep))
    # Three pages; the second one's 120 KB of drawing instructions unpack to 48 MB.
    square = b"0 g 100 100 200 200 re f\n"
    bomb = zlib.compress(square * (48 * 1024 * 1024 // len(square)), 9)
    write("unpacks-too-far.pdf", pdf([
        b"<< /Type /Catalog /Pages 2 0 R >>",
        b"<< /Type /Pages /Kids [3 0 R 5 0 R 7 0 R] /Count 3 >>",
        b"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Resources << >> "
        b"/Contents 4 0 R >>",
        stream(square),
        b"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Resources << >> "
        b"/Contents 6 0 R >>",
        stream(bomb, b" /Filter /FlateDecode"),
        b"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Resources << >> "
        b"/Contents 8 0 R >>",
        stream(square),
    ]))
    encrypted = os.path.join(HERE, "encrypted.pdf")
    subprocess.run(["qpdf", "--encrypt", "user-secret", "owner-secret", "256", "--",
                    os.path.join(HERE, "text.pdf"), encrypted], check=True)


if __name__ == "__main__":
    main()
