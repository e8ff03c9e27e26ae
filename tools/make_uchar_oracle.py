#!/usr/bin/env python3
"""Writes tests/uchar/oracle/bmp_properties.txt: for every BMP unit the class
bits, upper case and lower case that KelUChar should give, worked out from
other Unicode data than the library's own tables, for the tests to compare
the library against.

Sources (none of them is the data that tools/make_uchar_tables.py reads):
  * Python's unicodedata.ucd_3_2_0 (the Unicode 3.2.0 database built into
    CPython): general category, bidirectional class, East Asian width;
  * DerivedAge.txt (Debian unicode-data 15.0.0-1): only characters assigned
    by Unicode 2.1 count, every other unit (and every noncharacter) has no
    class and no case, and no unit maps to a later character;
  * UnicodeData.txt (same package): simple upper- and lower-case mappings.
Where Unicode changed a character's properties after 2.1 the expectations
here follow the newer data; the tests list those units and the reason.

Rules applied, unit by unit:
  * U+D800-U+DFFF: class 0x1000. The CJK radicals, Kangxi radicals, CJK
    extension A and unified ideographs, Yi, Hangul syllables and CJK
    compatibility ideographs (the 3.0 extents): class 0x0404.
  * otherwise the OR of: white space 0x0001 (separators; tab, LF, CR),
    digit 0x0002 (numbers), letter 0x0004 (letters; case 0x0040 upper,
    0x0080 lower, 0x0100 title, 0x0200 modifier), mark 0x0008,
    punctuation 0x0010, right-to-left 0x0020 (bidi R or AL),
    ideographic 0x0400 (letter or number of East Asian width W or H),
    full-width 0x8000 (width F), half-width 0x4000 (width H).
  * case: the simple mapping of a unit that is not a title-case letter or
    a non-spacing mark, when it maps to another unit of the repertoire.

Output lines: FIRST LAST CLASS UPPER_DELTA LOWER_DELTA (the first three in
hex): every unit c of FIRST..LAST has the class CLASS, upper case
c + UPPER_DELTA and lower case c + LOWER_DELTA (a delta of 0: unchanged).

Python 3 standard library only. Regenerate with tools/make_uchar_oracle.py;
do not edit the output by hand.

Usage: tools/make_uchar_oracle.py [--unicode-data DIR] [OUTPUT_DIR]
DIR defaults to /usr/share/unicode. Exit status 77 means its files are not
the pinned ones (or absent); nothing is written then.
"""
import argparse
import hashlib
import pathlib
import sys
import unicodedata

REPO = pathlib.Path(__file__).resolve().parent.parent
OUTPUT_NAME = "bmp_properties.txt"
INPUTS_UNAVAILABLE = 77
PACKAGE = "Debian unicode-data 15.0.0-1"
PINNED = {
    "DerivedAge.txt": "7570877e0fa197c45338f7c41a02636da4e14c8dba6a3611a01cd30bf329d5ca",
    "UnicodeData.txt": "806e9aed65037197f1ec85e12be6e8cd870fc5608b4de0fffd990f689f376a73",
}

OLD_UCD = unicodedata.ucd_3_2_0
LAST_AGE = (2, 1)

HARD_CODED_IDEOGRAPHS = (
    range(0x2E80, 0x2E9A), range(0x2E9B, 0x2EF4), range(0x2F00, 0x2FD6),
    range(0x3400, 0x4DB6), range(0x4E00, 0x9FA6), range(0xA000, 0xA48D),
    range(0xAC00, 0xD7A4), range(0xF900, 0xFA2E),
)


def white_space(ch, category, bidi, width):
    return category[0] == "Z" or ch in "\t\n\r"


def digit(ch, category, bidi, width):
    return category[0] == "N"


def letter(ch, category, bidi, width):
    return category[0] == "L"


def mark(ch, category, bidi, width):
    return category[0] == "M"


def punctuation(ch, category, bidi, width):
    return category[0] == "P"


def right_to_left(ch, category, bidi, width):
    return bidi in ("R", "AL")


def upper(ch, category, bidi, width):
    return category == "Lu"


def lower(ch, category, bidi, width):
    return category == "Ll"


def title(ch, category, bidi, width):
    return category == "Lt"


def modifier(ch, category, bidi, width):
    return category == "Lm"


def ideographic(ch, category, bidi, width):
    return category[0] in "LN" and width in "WH"


def half_width(ch, category, bidi, width):
    return width == "H"


def full_width(ch, category, bidi, width):
    return width == "F"


BITS = (
    (0x0001, white_space), (0x0002, digit), (0x0004, letter), (0x0008, mark),
    (0x0010, punctuation), (0x0020, right_to_left), (0x0040, upper), (0x0080, lower),
    (0x0100, title), (0x0200, modifier), (0x0400, ideographic),
    (0x4000, half_width), (0x8000, full_width),
)


def read_semicolon_file(path):
    for line in path.read_text(encoding="utf-8").splitlines():
        line = line.split("#", 1)[0].strip()
        if line:
            yield [field.strip() for field in line.split(";")]


def assigned_by_2_1(derived_age):
    units = set()
    for codes, age in read_semicolon_file(derived_age):
        if tuple(int(part) for part in age.split(".")) > LAST_AGE:
            continue
        low, _, high = codes.partition("..")
        units.update(range(int(low, 16), int(high or low, 16) + 1))
    return units


def simple_case_mappings(unicode_data):
    """({unit: upper}, {unit: lower}) from UnicodeData.txt fields 12 and 13."""
    to_upper, to_lower = {}, {}
    for fields in read_semicolon_file(unicode_data):
        unit = int(fields[0], 16)
        if fields[12]:
            to_upper[unit] = int(fields[12], 16)
        if fields[13]:
            to_lower[unit] = int(fields[13], 16)
    return to_upper, to_lower


def class_of(unit, assigned):
    if 0xD800 <= unit <= 0xDFFF:
        return 0x1000
    if any(unit in block for block in HARD_CODED_IDEOGRAPHS):
        return 0x0404
    ch = chr(unit)
    if unit not in assigned or OLD_UCD.category(ch) == "Cn":
        return 0
    facts = (ch, OLD_UCD.category(ch), OLD_UCD.bidirectional(ch), OLD_UCD.east_asian_width(ch))
    total = 0
    for bit, holds in BITS:
        if holds(*facts):
            total |= bit
    return total


def case_delta(unit, mapping, assigned):
    if unit not in assigned or OLD_UCD.category(chr(unit)) in ("Lt", "Mn"):
        return 0
    target = mapping.get(unit, unit)
    return target - unit if target in assigned and target <= 0xFFFF else 0


def bmp_rows(assigned, to_upper, to_lower):
    rows = []
    for unit in range(0x10000):
        row = (class_of(unit, assigned), case_delta(unit, to_upper, assigned),
               case_delta(unit, to_lower, assigned))
        if rows and rows[-1][1] == unit - 1 and rows[-1][2:] == list(row):
            rows[-1][1] = unit
        else:
            rows.append([unit, unit, *row])
    return rows


def check_inputs(folder):
    for name, digest in PINNED.items():
        path = folder / name
        if not path.is_file():
            return f"{path} not found (install Debian's unicode-data)"
        actual = hashlib.sha256(path.read_bytes()).hexdigest()
        if actual != digest:
            return f"{path} is not the file of {PACKAGE} (SHA-256 {actual})"
    return None


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", 1)[0])
    parser.add_argument("output", nargs="?", type=pathlib.Path,
                        default=REPO / "tests" / "uchar" / "oracle")
    parser.add_argument("--unicode-data", type=pathlib.Path,
                        default=pathlib.Path("/usr/share/unicode"))
    args = parser.parse_args()
    problem = check_inputs(args.unicode_data)
    if problem is not None:
        print(f"make_uchar_oracle.py: inputs unavailable: {problem}", file=sys.stderr)
        return INPUTS_UNAVAILABLE
    assigned = assigned_by_2_1(args.unicode_data / "DerivedAge.txt")
    to_upper, to_lower = simple_case_mappings(args.unicode_data / "UnicodeData.txt")
    header = [
        "# Expected class bits and case mappings of every BMP unit.",
        "# Generated by tools/make_uchar_oracle.py from Python's unicodedata "
        f"{OLD_UCD.unidata_version}",
        f"# and DerivedAge.txt, UnicodeData.txt of {PACKAGE}.",
        "# Regenerate with tools/make_uchar_oracle.py, do not edit.",
        "# FIRST LAST CLASS UPPER_DELTA LOWER_DELTA",
    ]
    rows = bmp_rows(assigned, to_upper, to_lower)
    body = [f"{a:04X} {b:04X} {c:04X} {u:+d} {l:+d}" for a, b, c, u, l in rows]
    args.output.mkdir(parents=True, exist_ok=True)
    (args.output / OUTPUT_NAME).write_text("\n".join(header + body) + "\n", encoding="utf-8")
    print(f"{OUTPUT_NAME}: {len(body)} runs")
    return 0


if __name__ == "__main__":
    sys.exit(main())
