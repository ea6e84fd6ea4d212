#!/usr/bin/env python3
"""Writes the small PDFs the page assembly tests join, trim and place.

Every page carries one short marker word ("A1", "B2", ...) in Helvetica, so that pdftotext can
tell the pages apart, and a stroked line, so that each page also holds vector art. The files are
written by hand (standard library only) to stay byte-for-byte reproducible; the two encrypted
ones are made with the qpdf tool and its fixed test IDs.

    tests/data/document/make-assembly-fixtures.py   # rewrites the fixtures beside this script
"""

import os
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
A4 = (0, 0, 595, 842)


def fmt(n):
    return ("%d" % n) if float(n).is_integer() else ("%g" % n)


def box(b):
    return "[" + " ".join(fmt(v) for v in b) + "]"


def content(mediabox, marker):
    x0, y0, x1, y1 = mediabox
    # The marker sits 72 pt in from the left and 72 pt below the top edge.
    tx, ty = x0 + 72, y1 - 72
    return (
        "0 0 1 RG 2 w %s %s m %s %s l S\n"
        "BT /F1 24 Tf %s %s Td (%s) Tj ET\n"
        % (fmt(x0 + 36), fmt(y0 + 36), fmt(x1 - 36), fmt(y0 + 36), fmt(tx), fmt(ty), marker)
    ).encode("ascii")


def build(pages, inherited=None):
    """pages: list of (mediabox, marker[, extra page entries]). inherited: a media box kept on the page tree only,
    together with the resources, as some producers write them."""
    objects = {}
    n = len(pages)
    page_ids = [4 + 2 * i for i in range(n)]
    objects[1] = b"<< /Type /Catalog /Pages 2 0 R >>"
    kids = " ".join("%d 0 R" % p for p in page_ids)
    tree = "<< /Type /Pages /Kids [%s] /Count %d" % (kids, n)
    if inherited:
        tree += " /MediaBox %s /Resources << /Font << /F1 3 0 R >> >>" % box(inherited)
    objects[2] = (tree + " >>").encode("ascii")
    objects[3] = b"<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>"
    for i, (mediabox, marker, *extra) in enumerate(pages):
        pid, cid = page_ids[i], page_ids[i] + 1
        page = " ".join(["<< /Type /Page /Parent 2 0 R /Contents %d 0 R" % cid, *extra])
        if not inherited:
            page += " /MediaBox %s /Resources << /Font << /F1 3 0 R >> >>" % box(mediabox)
        objects[pid] = (page + " >>").encode("ascii")
        data = content(mediabox or inherited, marker)
        objects[cid] = stream(data)
    return serialize(objects)


def stream(data, entries=""):
    return b"<< %s/Length %d >>\nstream\n" % (entries.encode("ascii"), len(data)) + data + b"endstream"


def serialize(objects):
    out = bytearray(b"%PDF-1.4\n%\xe2\xe3\xcf\xd3\n")
    offsets = {}
    for num in sorted(objects):
        offsets[num] = len(out)
        out += b"%d 0 obj\n" % num + objects[num] + b"\nendobj\n"
    xref = len(out)
    size = max(objects) + 1
    out += b"xref\n0 %d\n0000000000 65535 f \n" % size
    for num in range(1, size):
        out += b"%010d 00000 n \n" % offsets[num]
    out += b"trailer\n<< /Size %d /Root 1 0 R >>\nstartxref\n%d\n%%%%EOF\n" % (size, xref)
    return bytes(out)


def form():
    """One page with a filled-in text field, drawn by the widget's appearance stream."""
    objects = {}
    objects[1] = b"<< /Type /Catalog /Pages 2 0 R /AcroForm << /Fields [6 0 R] >> >>"
    objects[2] = b"<< /Type /Pages /Kids [4 0 R] /Count 1 >>"
    objects[3] = b"<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>"
    objects[4] = (b"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Contents 5 0 R"
                  b" /Resources << /Font << /F1 3 0 R >> >> /Annots [6 0 R] >>")
    objects[5] = stream(content(A4, "F1"))
    objects[6] = (b"<< /Type /Annot /Subtype /Widget /FT /Tx /T (name) /V (Jane Doe)"
                  b" /Rect [72 600 300 630] /P 4 0 R /AP << /N 7 0 R >> >>")
    objects[7] = stream(b"BT /F1 18 Tf 2 8 Td (Jane Doe) Tj ET\n",
                        "/Type /XObject /Subtype /Form /BBox [0 0 228 30]"
                        " /Resources << /Font << /F1 3 0 R >> >> ")
    return serialize(objects)


def write(name, data):
    with open(os.path.join(HERE, name), "wb") as f:
        f.write(data)


def qpdf(*args):
    subprocess.run(["qpdf", "--static-id", "--static-aes-iv", *args], check=True)


def main():
    write("a.pdf", build([(A4, "A1"), (A4, "A2")]))
    # Three shapes: US Letter, A4 landscape, and a box whose origin is not (0, 0).
    write("b.pdf", build([((0, 0, 612, 792), "B1"), ((0, 0, 842, 595), "B2"),
                          ((10, 20, 310, 440), "B3")]))
    write("five.pdf", build([(A4, "P%d" % i) for i in range(1, 6)]))
    write("one.pdf", build([(A4, "S1")]))
    write("cover.pdf", build([(A4, "C1"), (A4, "C2")]))
    write("inherited.pdf", build([(None, "I1"), (None, "I2")], inherited=(0, 0, 420, 595)))
    # Shown cropped in viewers; placed on report pages by its media box all the same.
    write("cropped.pdf", build([(A4, "K1", "/CropBox [50 400 400 800]")]))
    # A report page as tall as its document.
    write("form.pdf", form())
    write("tall.pdf", build([((0, 0, 595, 1800), "T1")]))

    # Every cross-reference offset points one byte off: readable only after repair.
    good = build([(A4, "R1"), (A4, "R2")])
    head, _, tail = good.partition(b"xref\n")
    lines = tail.split(b"\n")
    for i, line in enumerate(lines):
        if line.endswith(b" n "):
            lines[i] = b"%010d 00000 n " % (int(line[:10]) + 1)
    write("repairable.pdf", head + b"xref\n" + b"\n".join(lines))

    write("garbage.pdf", b"This is a shopping list, not a PDF.\n" * 20)

    plain = os.path.join(HERE, "owner-only-plain.tmp")
    with open(plain, "wb") as f:
        f.write(build([(A4, "O1")]))
    try:
        # Opens without a password (restrictions only), as many shop invoices do.
        qpdf("--encrypt", "", "owner-secret", "128", "--use-aes=y", "--", plain, os.path.join(HERE, "owner-only.pdf"))
        # Needs the user password, which the application never has.
        qpdf("--encrypt", "user-secret", "owner-secret", "128", "--use-aes=y", "--", plain,
             os.path.join(HERE, "locked.pdf"))
    finally:
        os.remove(plain)
    return 0


if __name__ == "__main__":
    sys.exit(main())
