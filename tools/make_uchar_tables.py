#!/usr/bin/env python3
"""Writes uchar/uchar_table_data.cc: the three range lists from which KelUChar
builds its character-class, upper-case and lower-case tables.

Inputs, both pinned by SHA-256:
  * the npm package @unicode/unicode-2.1.9, version 1.6.17, read straight
    from the tarball that `npm pack` downloads: general category, bidi class
    and simple case mappings of Unicode 2.1.9;
  * EastAsianWidth.txt of Unicode 15.0.0, as Debian's unicode-data package
    (15.0.0-1) installs it under /usr/share/unicode: the full-width and
    half-width forms and the wide East Asian characters.

Class bits of a BMP unit (0 for units unassigned in Unicode 2.1.9):
  L* 0x0004, plus Lu 0x0040, Ll 0x0080, Lt 0x0100, Lm 0x0200; M* 0x0008;
  N* 0x0002; P* 0x0010; Z* and U+0009, U+000A, U+000D 0x0001;
  bidi class R (Unicode 2.1 has no AL) 0x0020;
  L* or N* that is East Asian wide or half-width 0x0400;
  East Asian full-width 0x8000, half-width 0x4000.
Surrogates and the ideograph blocks that KelUChar classifies by range test
stay out of the list. Runs of equal non-zero values are merged.

Case lists: every BMP unit with a simple mapping to another unit, except
title-case letters and combining marks (their mappings are not one-to-one
case pairs), merged into runs where unit first + k maps to value + k.

Python 3 standard library only. Regenerate with tools/make_uchar_tables.py;
do not edit the output by hand.

Usage:
  tools/make_uchar_tables.py [--npm-tarball FILE | --cache DIR [--fetch]]
                             [--east-asian-width FILE] [OUTPUT_DIR]
OUTPUT_DIR defaults to uchar/. Without --npm-tarball the tarball is looked
for in DIR (default .cache/unicode); --fetch fills DIR with `npm pack` when
it is missing there. Exit status 77 means a pinned input is not available
(absent, different, or not downloadable); nothing is written then.
"""
import argparse
import base64
import gzip
import hashlib
import json
import pathlib
import re
import shutil
import subprocess
import sys
import tarfile

REPO = pathlib.Path(__file__).resolve().parent.parent

NPM_PACKAGE = "@unicode/unicode-2.1.9"
NPM_VERSION = "1.6.17"
NPM_TARBALL = "unicode-unicode-2.1.9-1.6.17.tgz"
NPM_SHA256 = "b558259b4ec2aeb770c5fc0324fd46058a48b67be5232bd77d139fc673d83e8d"

EAW_DEFAULT = pathlib.Path("/usr/share/unicode/EastAsianWidth.txt")
EAW_NAME = "EastAsianWidth-15.0.0.txt"
EAW_PACKAGE = "Debian unicode-data 15.0.0-1"
EAW_SHA256 = "743e7bc435c04ab1a8459710b1c3cad56eedced5b806b4659b6e69b85d0adf2a"

OUTPUT_NAME = "uchar_table_data.cc"
INPUTS_UNAVAILABLE = 77

# Ranges that KelUChar::getCharClass answers without its table.
IDEOGRAPH_RANGES = [
    (0x2E80, 0x2E99), (0x2E9B, 0x2EF3), (0x2F00, 0x2FD5), (0x3400, 0x4DB5),
    (0x4E00, 0x9FA5), (0xA000, 0xA48C), (0xAC00, 0xD7A3), (0xF900, 0xFA2D),
]
SURROGATES = (0xD800, 0xDFFF)

WHITE_SPACE, DIGIT, LETTER, MARK, PUNCTUATION, RIGHT_TO_LEFT = 0x1, 0x2, 0x4, 0x8, 0x10, 0x20
UPPER, LOWER, TITLE, MODIFIER, IDEOGRAPHIC = 0x40, 0x80, 0x100, 0x200, 0x400
HALF_WIDTH, FULL_WIDTH = 0x4000, 0x8000

# General-category names of the npm data -> class bits. Names not listed
# (symbols, controls, format, private use, surrogates, unassigned) give 0.
CATEGORY_BITS = {
    "Uppercase_Letter": LETTER | UPPER,
    "Lowercase_Letter": LETTER | LOWER,
    "Titlecase_Letter": LETTER | TITLE,
    "Modifier_Letter": LETTER | MODIFIER,
    "Other_Letter": LETTER,
    "Nonspacing_Mark": MARK,
    "Spacing_Mark": MARK,
    "Enclosing_Mark": MARK,
    "Decimal_Number": DIGIT,
    "Letter_Number": DIGIT,
    "Other_Number": DIGIT,
    "Connector_Punctuation": PUNCTUATION,
    "Dash_Punctuation": PUNCTUATION,
    "Open_Punctuation": PUNCTUATION,
    "Close_Punctuation": PUNCTUATION,
    "Initial_Punctuation": PUNCTUATION,
    "Final_Punctuation": PUNCTUATION,
    "Other_Punctuation": PUNCTUATION,
    "Space_Separator": WHITE_SPACE,
    "Line_Separator": WHITE_SPACE,
    "Paragraph_Separator": WHITE_SPACE,
}
WHITE_SPACE_CONTROLS = {0x0009, 0x000A, 0x000D}
# Sources left out of the case lists.
CASE_EXCLUDED_CATEGORIES = {"Titlecase_Letter", "Nonspacing_Mark"}


class InputUnavailable(Exception):
    """A pinned input is absent, different from the pin, or cannot be fetched."""


def sha256_of(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


def check_pinned(path, expected_sha256, what):
    if not path.is_file():
        raise InputUnavailable(f"{what} not found at {path}")
    actual = sha256_of(path)
    if actual != expected_sha256:
        raise InputUnavailable(
            f"{path} is not the pinned {what} (SHA-256 {actual}, expected {expected_sha256})")


def fetch_tarball(cache):
    npm = shutil.which("npm")
    if npm is None:
        raise InputUnavailable(f"npm is not installed, so {NPM_TARBALL} cannot be fetched")
    cache.mkdir(parents=True, exist_ok=True)
    command = [npm, "pack", f"{NPM_PACKAGE}@{NPM_VERSION}", "--silent",
               "--fetch-retries=0", "--fetch-timeout=30000"]
    try:
        subprocess.run(command, cwd=cache, check=True, timeout=120,
                       stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    except (subprocess.CalledProcessError, subprocess.TimeoutExpired) as error:
        raise InputUnavailable(f"`npm pack {NPM_PACKAGE}@{NPM_VERSION}` failed "
                               f"(registry unreachable?): {error}") from None


def locate_tarball(args):
    if args.npm_tarball is not None:
        return args.npm_tarball
    tarball = args.cache / NPM_TARBALL
    if not tarball.is_file() and args.fetch:
        fetch_tarball(args.cache)
    if not tarball.is_file():
        raise InputUnavailable(
            f"{tarball} not found; fill the cache with `tools/make_uchar_tables.py --fetch`")
    return tarball


class Unicode219:
    """The Unicode 2.1.9 properties of the npm package, read from its tarball."""

    BLOB = re.compile(r"Buffer\.from\('([^']*)'\s*,\s*'base64'\)")

    def __init__(self, tarball):
        with tarfile.open(tarball) as archive:
            self.category = self._property_map(archive, "General_Category/index.js")
            self.bidi = self._property_map(archive, "Bidi_Class/index.js")
            self.upper = dict(self._blob(archive, "Simple_Case_Mapping/Uppercase/code-points.js"))
            self.lower = dict(self._blob(archive, "Simple_Case_Mapping/Lowercase/code-points.js"))

    @classmethod
    def _blob(cls, archive, member):
        source = archive.extractfile("package/" + member).read().decode("utf-8")
        encoded = cls.BLOB.search(source).group(1)
        return json.loads(gzip.decompress(base64.b64decode(encoded)))

    @classmethod
    def _property_map(cls, archive, member):
        # Runs of [delta, length, value]: skip delta code points, then
        # length code points have value.
        runs = cls._blob(archive, member)
        values, cp = {}, 0
        for i in range(0, len(runs) - 2, 3):
            cp += runs[i]
            for _ in range(runs[i + 1]):
                values[cp] = runs[i + 2]
                cp += 1
        return values


def read_east_asian_width(path):
    """{code point: width} for the code points the file lists (N elsewhere)."""
    widths = {}
    for line in path.read_text(encoding="utf-8").splitlines():
        data = line.split("#", 1)[0].strip()
        if not data:
            continue
        codes, width = (field.strip() for field in data.split(";"))
        first, _, last = codes.partition("..")
        for cp in range(int(first, 16), int(last or first, 16) + 1):
            widths[cp] = width
    return widths


def outside_table(cp):
    if SURROGATES[0] <= cp <= SURROGATES[1]:
        return True
    return any(first <= cp <= last for first, last in IDEOGRAPH_RANGES)


def class_value(cp, unicode, widths):
    category = unicode.category.get(cp, "Unassigned")
    value = CATEGORY_BITS.get(category, 0)
    if cp in WHITE_SPACE_CONTROLS:
        value |= WHITE_SPACE
    if unicode.bidi.get(cp) == "Right_To_Left":
        value |= RIGHT_TO_LEFT
    width = widths.get(cp, "N")
    if value & (LETTER | DIGIT) and width in ("W", "H"):
        value |= IDEOGRAPHIC
    if width == "F":
        value |= FULL_WIDTH
    elif width == "H":
        value |= HALF_WIDTH
    return value if category != "Unassigned" else 0


def class_values(unicode, widths):
    return {cp: class_value(cp, unicode, widths)
            for cp in range(0x0001, 0xFFFF) if not outside_table(cp)}


def case_values(unicode, mapping):
    return {cp: target for cp, target in mapping.items()
            if cp <= 0xFFFF and target <= 0xFFFF and target != cp
            and unicode.category.get(cp) not in CASE_EXCLUDED_CATEGORIES}


def merge_runs(values, increment):
    """[(first, last, value)] over the non-zero values: maximal runs of
    consecutive units whose value is constant (or, with increment, grows by
    one per unit)."""
    records = []
    for cp in sorted(values):
        value = values[cp]
        if value == 0:
            continue
        if records:
            first, last, start = records[-1]
            expected = start + (cp - first) if increment else start
            if cp == last + 1 and value == expected:
                records[-1] = (first, cp, start)
                continue
        records.append((cp, cp, value))
    return records


def c_array(name, records, description):
    lines = [f"// {description}: {len(records)} records.",
             f"const tableData {name}[] = {{"]
    lines += [f"    {{0x{first:04X}, 0x{last:04X}, 0x{value:04X}}},"
              for first, last, value in records]
    lines += ["    {0x0000, 0x0000, 0x0000},", "};", ""]
    return lines


def render(classes, upper, lower, tarball_sha256, eaw_sha256):
    lines = [
        "// The range lists of KelUChar's property tables: character classes,",
        "// upper-case and lower-case mappings of the BMP.",
        "//",
        "// Generated by tools/make_uchar_tables.py from",
        f"//   npm {NPM_PACKAGE} {NPM_VERSION} ({NPM_TARBALL},",
        f"//     SHA-256 {tarball_sha256}):",
        "//     General_Category, Bidi_Class and Simple_Case_Mapping of Unicode 2.1.9;",
        f"//   {EAW_NAME} ({EAW_PACKAGE},",
        f"//     SHA-256 {eaw_sha256}).",
        "// Regenerate with tools/make_uchar_tables.py, do not edit.",
        '#include "uchar/uchar_table_data.h"',
        "",
        "namespace kelulib {",
        "",
    ]
    lines += c_array("kCharClassRanges", classes, "Class bits, one value per range")
    lines += c_array("kUpperCaseRanges", upper, "Upper case, unit first + k to value + k")
    lines += c_array("kLowerCaseRanges", lower, "Lower case, unit first + k to value + k")
    lines += ["}  // namespace kelulib", ""]
    return "\n".join(lines)


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", 1)[0])
    parser.add_argument("output", nargs="?", type=pathlib.Path, default=REPO / "uchar")
    parser.add_argument("--npm-tarball", type=pathlib.Path)
    parser.add_argument("--cache", type=pathlib.Path, default=REPO / ".cache" / "unicode")
    parser.add_argument("--fetch", action="store_true")
    parser.add_argument("--east-asian-width", type=pathlib.Path, default=EAW_DEFAULT)
    return parser.parse_args()


def main():
    args = parse_arguments()
    try:
        tarball = locate_tarball(args)
        check_pinned(tarball, NPM_SHA256, f"npm tarball {NPM_TARBALL}")
        check_pinned(args.east_asian_width, EAW_SHA256, f"{EAW_NAME} ({EAW_PACKAGE})")
    except InputUnavailable as reason:
        print(f"make_uchar_tables.py: inputs unavailable: {reason}", file=sys.stderr)
        return INPUTS_UNAVAILABLE
    unicode = Unicode219(tarball)
    widths = read_east_asian_width(args.east_asian_width)
    classes = merge_runs(class_values(unicode, widths), increment=False)
    upper = merge_runs(case_values(unicode, unicode.upper), increment=True)
    lower = merge_runs(case_values(unicode, unicode.lower), increment=True)
    args.output.mkdir(parents=True, exist_ok=True)
    text = render(classes, upper, lower, NPM_SHA256, EAW_SHA256)
    (args.output / OUTPUT_NAME).write_text(text, encoding="utf-8")
    print(f"{OUTPUT_NAME}: {len(classes)} class, {len(upper)} upper-case, "
          f"{len(lower)} lower-case records")
    return 0


if __name__ == "__main__":
    sys.exit(main())
