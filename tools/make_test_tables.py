#!/usr/bin/env python3
"""Writes the small tables that the internal tests embed in place of the
library's mapping tables (tests/resources/), in the library's table format:
little-endian 4-byte records (code, UTF-16 unit), or 6-byte records (code,
32-bit Unicode scalar), ended by an all-zero record.

Python 3 standard library only. Regenerate with tools/make_test_tables.py;
do not edit the outputs by hand.

Usage: tools/make_test_tables.py [OUTPUT_DIR]   (default: tests/resources)
"""
import pathlib
import struct
import sys

# Records of "SYNTH-SBCS", in this order (what each one exercises):
SYNTH_SBCS = [
    (0x0041, 0x0041),  # A <-> U+0041
    (0x00C0, 0x2603),  # code 0xC0, replaced below
    (0x0080, 0x20AC),  # U+20AC, reverse replaced below
    (0x0181, 0x00E9),  # high byte of the code ignored: byte 0x81 <-> U+00E9
    (0x0082, 0x20AC),  # same unit again: 0x82 is what U+20AC converts to
    (0x00C0, 0x2604),  # same code again: 0xC0 converts to U+2604
    (0x0090, 0x2020),  # U+2020 from the higher byte, listed first ...
    (0x0085, 0x2020),  # ... and the lower byte after it: 0x90 is what U+2020 converts to
    (0x00FF, 0x0000),  # unit 0: byte 0xFF stays unmapped (not a terminator)
    (0x0100, 0x0000),  # code byte 0 and unit 0: ends the table
    (0x0042, 0x0042),  # after the end: never read
]

# Records of "SYNTH-UNTERMINATED": no terminator record, and two stray bytes
# after the last whole record.
SYNTH_UNTERMINATED = [(0x0061, 0x0391), (0x0062, 0x0392)]

# Records of "SYNTH-DBCS" (4-byte records), in this order:
SYNTH_DBCS = [
    (0x9F40, 0x5000),  # a pair before lower codes: no order is assumed
    (0x8140, 0x3000),  # pair <-> U+3000
    (0x0041, 0x0041),  # single byte A <-> U+0041
    (0x8142, 0x4E00),  # code 0x8142, replaced below
    (0x8150, 0x20AC),  # U+20AC from the higher code, listed first ...
    (0x0080, 0x20AC),  # ... same unit again, lower code: 0x8150 is what U+20AC converts to
    (0x8143, 0x3005),  # U+3005 from the lower code, listed first ...
    (0x8144, 0x3005),  # ... same unit again, higher code: 0x8144 is what U+3005 converts to
    (0x8142, 0x4E01),  # same code again: 0x8142 converts to U+4E01
    (0x0100, 0x0000),  # unit 0 but code not 0: not the end
    (0x0000, 0x0042),  # code 0 but unit not 0: not the end
    (0xFEFE, 0xFFFF),  # highest code and unit
    (0x0000, 0x0000),  # ends the table
    (0x8160, 0x5555),  # after the end: never read
]

# Records of "SYNTH-DBCS-EX" (6-byte records, 32-bit scalars), in this order:
SYNTH_DBCS_EX = [
    (0x8141, 0x20000),     # plane 2 <-> pair
    (0x8140, 0x3000),      # BMP <-> pair
    (0x0041, 0x0041),      # single byte A <-> U+0041
    (0x8142, 0x10FFFF),    # last scalar of plane 16
    (0x8143, 0x110000),    # beyond plane 16: code -> scalar only
    (0x8144, 0xFFFFFFFF),  # far beyond: code -> scalar only
    (0x8145, 0x2A6B2),     # scalar U+2A6B2 from the lower code ...
    (0x8146, 0x2A6B2),     # same scalar again, higher code: U+2A6B2 converts to 0x8146
    (0x814A, 0x1F602),     # scalar U+1F602 from the higher code ...
    (0x8149, 0x1F602),     # same scalar again, lower code: U+1F602 converts to 0x814A
    (0x8147, 0x1F600),     # code 0x8147, replaced below
    (0x8147, 0x1F601),     # same code again: 0x8147 converts to U+1F601
    (0x0000, 0x0000),      # ends the table
    (0x8148, 0x3042),      # after the end: never read
]

# Records of "SYNTH-ROWCELL": a 94x94 set in row/cell form (the main table
# of the EUC converters in the tests).
SYNTH_ROWCELL = [
    (0x2121, 0x3000),  # EUC 0xA1 0xA1
    (0x2422, 0x3042),  # EUC 0xA4 0xA2
    (0x3021, 0xAC00),  # EUC 0xB0 0xA1
    (0x216F, 0x00A5),  # EUC 0xA1 0xEF; SYNTH-JIS0201 takes U+00A5 over when merged
]

# Records of "SYNTH-JIS0201": single bytes merged into the EUC-JP main table.
SYNTH_JIS0201 = [
    (0x0041, 0x0041),  # A (reached as 0x80 0xC1 after the merge)
    (0x005C, 0x00A5),  # yen sign: written 0x80 0xDC after the merge
    (0x00B1, 0xFF71),  # half-width katakana: 0x8E 0xB1
]

# Records of "SYNTH-JIS0212": the EUC-JP supplementary set, row/cell form.
SYNTH_JIS0212 = [
    (0x222F, 0x02D8),  # EUC 0x8F 0xA2 0xAF
]

# Records of "SYNTH-GBK": the one- and two-byte part of GB18030.
SYNTH_GBK = [
    (0x0041, 0x0041),
    (0x8140, 0x4E02),
    (0xA1A1, 0x3000),
]


def records(pairs, terminated=True, record="<HH"):
    data = b"".join(struct.pack(record, code, unit) for code, unit in pairs)
    return data + (struct.pack(record, 0, 0) if terminated else b"")


def main():
    out = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else "tests/resources")
    out.mkdir(parents=True, exist_ok=True)
    files = {
        "SYNTH-SBCS": records(SYNTH_SBCS),
        "SYNTH-UNTERMINATED": records(SYNTH_UNTERMINATED, terminated=False) + b"\x63\x00",
        "SYNTH-DBCS": records(SYNTH_DBCS, terminated=False),
        "SYNTH-DBCS-EX": records(SYNTH_DBCS_EX, terminated=False, record="<HI"),
        "SYNTH-ROWCELL": records(SYNTH_ROWCELL),
        "SYNTH-JIS0201": records(SYNTH_JIS0201),
        "SYNTH-JIS0212": records(SYNTH_JIS0212),
        "SYNTH-GBK": records(SYNTH_GBK),
        # Plain files for the embedding itself: text, binary, empty.
        "THREE": b"ABC",
        "BINARY-4": bytes([0x00, 0x01, 0xFE, 0xFF]),
        "EMPTY": b"",
    }
    for name, data in files.items():
        (out / name).write_bytes(data)


if __name__ == "__main__":
    main()
