#!/usr/bin/env python3
"""Writes letter.pdf, the two-page sample letter that `make demo` sends.

A plain PDF 1.4 with the standard Helvetica font (not embedded), so the file is small and
the same on every machine: run it again and the bytes do not change.
"""

import os
import sys

PAGE_W, PAGE_H = 595, 842

PAGES = [
    [
        (16, "Muster & Partner GmbH"),
        (10, "Hauptstrasse 12 - 10115 Berlin - Telefon 030 5550100"),
        (10, ""),
        (10, "Faxolino Demo Customer"),
        (10, "Beispielweg 3"),
        (10, "50667 Koeln"),
        (10, ""),
        (10, "Berlin, 21 November 2026"),
        (10, ""),
        (13, "Order confirmation no. 2026-0815"),
        (10, ""),
        (10, "Dear Sir or Madam,"),
        (10, ""),
        (10, "thank you for your order of 19 November. We hereby confirm the delivery of the"),
        (10, "following items on the terms agreed in our offer of 12 November:"),
        (10, ""),
        (9, "  Pos.  Qty  Article                              Unit price      Total"),
        (9, "  1      12  Thermal paper rolls, 216 mm             4.90 EUR   58.80 EUR"),
        (9, "  2       2  Toner cartridge TN-2420                59.00 EUR  118.00 EUR"),
        (9, "  3       1  Document feeder maintenance kit        89.00 EUR   89.00 EUR"),
        (10, ""),
        (9, "                                           Net total      265.80 EUR"),
        (9, "                                           VAT 19 %        50.50 EUR"),
        (9, "                                           Total          316.30 EUR"),
        (10, ""),
        (10, "Delivery will be made within five working days. The terms of payment and the"),
        (10, "details of the delivery follow on the next page."),
    ],
    [
        (13, "Terms of payment and delivery"),
        (10, ""),
        (10, "1. Payment is due within 14 days of the invoice date without deduction."),
        (10, "2. Goods remain our property until they have been paid for in full."),
        (10, "3. Please check the delivery on arrival and report any damage within"),
        (10, "   three working days."),
        (10, "4. For questions about this order please quote the order number above."),
        (10, ""),
        (10, "We look forward to working with you."),
        (10, ""),
        (10, "Kind regards,"),
        (10, ""),
        (10, ""),
        (10, "Erika Mustermann"),
        (10, "Sales"),
    ],
]


def escape(text):
    return text.replace("\\", "\\\\").replace("(", "\\(").replace(")", "\\)")


def page_stream(lines, number, count):
    out = ["BT", "/F1 10 Tf", "14 TL", "72 770 Td"]
    for size, text in lines:
        # Table rows (indented) are set in Courier so that their columns line up.
        out.append("/%s %d Tf" % ("F2" if text.startswith("  ") else "F1", size))
        out.append("(%s) Tj T*" % escape(text))
        if size > 10:
            out.append("T*")
    out.append("ET")
    out.append("BT /F1 8 Tf 270 40 Td (Page %d of %d) Tj ET" % (number, count))
    out.append("0.5 w 72 60 m 523 60 l S")
    return "\n".join(out).encode("latin-1")


def build():
    objects = []

    def add(body):
        objects.append(body)
        return len(objects)

    catalog = add(None)
    pages = add(None)
    font = add(b"<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>")
    mono = add(b"<< /Type /Font /Subtype /Type1 /BaseFont /Courier /Encoding /WinAnsiEncoding >>")
    kids = []
    for i, lines in enumerate(PAGES, start=1):
        stream = page_stream(lines, i, len(PAGES))
        content = add(b"<< /Length %d >>\nstream\n" % len(stream) + stream + b"\nendstream")
        kids.append(add(("<< /Type /Page /Parent %d 0 R /MediaBox [0 0 %d %d] "
                         "/Resources << /Font << /F1 %d 0 R /F2 %d 0 R >> >> /Contents %d 0 R >>"
                         % (pages, PAGE_W, PAGE_H, font, mono, content)).encode()))
    objects[catalog - 1] = b"<< /Type /Catalog /Pages %d 0 R >>" % pages
    objects[pages - 1] = ("<< /Type /Pages /Kids [%s] /Count %d >>"
                          % (" ".join("%d 0 R" % k for k in kids), len(kids))).encode()

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
        len(objects) + 1, catalog, xref)
    return bytes(out)


if __name__ == "__main__":
    target = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), "letter.pdf")
    with open(target, "wb") as f:
        f.write(build())
