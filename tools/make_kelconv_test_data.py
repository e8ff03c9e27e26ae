#!/usr/bin/env python3
"""Writes the test data of kelconv and the Quick start's Japanese sample.

  make_kelconv_test_data.py extract DEBROOT
      Takes the real texts from Debian packages unpacked into DEBROOT
      (`apt-get download iso-codes manpages-ja`, then `dpkg-deb -x` each into
      DEBROOT) and writes them, as UTF-8, into tests/kelconv/data/text/.
  make_kelconv_test_data.py golden OUTDIR
      From those texts, writes one small file per character set into OUTDIR
      (committed as tests/kelconv/data/golden/): NAME.txt in the set and
      NAME.utf8, the same text in UTF-8, where NAME is the set's KelCS_ name.
  make_kelconv_test_data.py sample OUTDIR
      Writes the Quick start's samples (committed in examples/data/):
      sample-shift_jis.txt, a Japanese text in Shift_JIS, and
      sample-shift_jis.utf8, the same text in UTF-8; and
      sample-cp1252.utf8, the UTF-8 of examples/data/sample-cp1252.txt.

The encoded bytes come from Python's codecs. A line of text goes into a
set's file only when every character of it is encoded by the codec and the
library's mapping table for that set (resources/) reads the codec's bytes
back as the same character, so the files hold only text on which the two
agree. UTF-16 and UTF-32 are little-endian (the machine order of the test
machines); KelCS_UTF16ESC writes each UTF-16 unit above 0x7F as "U+XXXX".
"""

import codecs
import gettext
import gzip
import os
import re
import struct
import sys
import unicodedata

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
TEXT_DIR = os.path.join(ROOT, "tests", "kelconv", "data", "text")
RESOURCES = os.path.join(ROOT, "resources")

# Packages the texts come from (recorded in tests/kelconv/data/README.md).
ISO_CODES_LANGUAGES = [
    "ar", "cs", "cy", "de", "el", "et", "fa", "fr", "he", "is", "ja", "ko",
    "lt", "lv", "mt", "pl", "ro", "ru", "th", "tr", "uk", "vi", "zh_CN", "zh_TW",
]
ISO_CODES_DOMAIN = "iso_3166-1"
MANPAGE = "usr/share/man/ja/man1/iconv.1.gz"

# How many lines of a language's text a golden file holds at most.
GOLDEN_LINES = 40


# --- extract ------------------------------------------------------------------

def extract(debroot):
    os.makedirs(TEXT_DIR, exist_ok=True)
    for language in ISO_CODES_LANGUAGES:
        path = os.path.join(debroot, "usr/share/locale", language, "LC_MESSAGES",
                            ISO_CODES_DOMAIN + ".mo")
        with open(path, "rb") as mo:
            catalog = gettext.GNUTranslations(mo)._catalog
        names = [catalog[key] for key in sorted(k for k in catalog if k)
                 if catalog[key] and catalog[key] != key]
        write_text(os.path.join(TEXT_DIR, language + ".txt"), "\n".join(names) + "\n")
    with gzip.open(os.path.join(debroot, MANPAGE), "rt", encoding="utf-8") as page:
        write_text(os.path.join(TEXT_DIR, "ja-manpage.txt"), manpage_text(page.read()))


def manpage_text(roff):
    """The name and description sections of a man page as plain lines."""
    lines = []
    keep = False
    for line in roff.splitlines():
        if line.startswith(".SH"):
            keep = line.split(None, 1)[1] in ("名前", "説明")
            continue
        if not keep or line.startswith(".\\\""):
            continue
        if line.startswith("."):
            if lines and lines[-1] != "":
                lines.append("")
            continue
        line = re.sub(r"\\f[BIPR]", "", line).replace("\\-", "-")
        lines.append(line)
    return "\n".join(lines).strip() + "\n"


def write_text(path, text):
    with open(path, "w", encoding="utf-8", newline="\n") as out:
        out.write(text)


def read_text(name):
    with open(os.path.join(TEXT_DIR, name), encoding="utf-8") as text:
        return text.read()


# --- the library's mapping tables ------------------------------------------------

def load_table(name):
    """code -> code point of a UNICODEMAP table."""
    with open(os.path.join(RESOURCES, name), "rb") as table:
        data = table.read()
    wide = name == "SJIS0213"
    size = 6 if wide else 4
    mapping = {}
    for offset in range(0, len(data) - size + 1, size):
        code, value = struct.unpack_from("<HI" if wide else "<HH", data, offset)
        if code == 0 and value == 0:
            break
        mapping[code] = value
    return mapping


def single_byte_reader(table):
    return lambda data: "".join(chr(table[b]) for b in data) if all(b in table for b in data) \
        else None


def windows_1252_reader():
    table = {b: ord(bytes([b]).decode("cp1252")) for b in range(1, 256)
             if b not in (0x81, 0x8D, 0x8F, 0x90, 0x9D)}
    return single_byte_reader(table)


def lead_trail_reader(table, is_lead, is_trail, offset=0):
    """Reads bytes as the library's double-byte and EUC-CN/KR converters do."""
    def read(data):
        out = []
        i = 0
        while i < len(data):
            b = data[i]
            if is_lead(b) and i + 1 < len(data) and is_trail(data[i + 1]):
                code = ((b << 8) | data[i + 1]) - offset
                i += 2
            else:
                code = b
                i += 1
            if b < 0x80 and offset:
                out.append(chr(b))
                continue
            if code not in table:
                return None
            out.append(chr(table[code]))
        return "".join(out)
    return read


def euc_japanese_reader():
    main = load_table("JIS0208")
    kana = load_table("JIS0201")
    supplement = load_table("JIS0212")

    def read(data):
        out = []
        i = 0
        while i < len(data):
            b = data[i]
            if b < 0x80:
                out.append(chr(b))
                i += 1
            elif b == 0x8E and i + 1 < len(data) and data[i + 1] in kana:
                out.append(chr(kana[data[i + 1]]))
                i += 2
            elif b == 0x8F and i + 2 < len(data):
                code = ((data[i + 1] & 0x7F) << 8) | (data[i + 2] & 0x7F)
                if code not in supplement:
                    return None
                out.append(chr(supplement[code]))
                i += 3
            elif i + 1 < len(data):
                code = ((b & 0x7F) << 8) | (data[i + 1] & 0x7F)
                if code not in main:
                    return None
                out.append(chr(main[code]))
                i += 2
            else:
                return None
        return "".join(out)
    return read


def gb18030_reader():
    """Two-byte GB18030 through the GBK table; four-byte codes through the
    codec (the library computes them from the published ranges)."""
    two_byte = lead_trail_reader(load_table("GBK"), lambda b: 0x81 <= b <= 0xFE,
                                 lambda b: 0x40 <= b <= 0x7E or 0x80 <= b <= 0xFE)

    def read(data):
        out = []
        i = 0
        while i < len(data):
            if 0x81 <= data[i] <= 0xFE and i + 1 < len(data) and 0x30 <= data[i + 1] <= 0x39:
                out.append(bytes(data[i:i + 4]).decode("gb18030"))
                i += 4
                continue
            length = 2 if data[i] >= 0x81 else 1
            piece = two_byte(data[i:i + length])
            if piece is None:
                return None
            out.append(piece)
            i += length
        return "".join(out)
    return read


def in_ranges(*ranges):
    return lambda b: any(first <= b <= last for first, last in ranges)


JAPANESE_LEAD = in_ranges((0x81, 0x9F), (0xE0, 0xFC))
JAPANESE_TRAIL = in_ranges((0x40, 0x7E), (0x80, 0xFC))
CHINESE_LEAD = in_ranges((0x81, 0xFE))
CHINESE_TRAIL = in_ranges((0x40, 0x7F), (0xA1, 0xFE))
KOREAN_TRAIL = in_ranges((0x41, 0x5A), (0x61, 0x7A), (0x81, 0xFE))
BIG5_TRAIL = in_ranges((0x40, 0x7E), (0xA1, 0xFE))
EUC_ROW = in_ranges((0xA1, 0xFE))


def unit_escape(text):
    units = text.encode("utf-16-le")
    out = []
    for i in range(0, len(units), 2):
        unit = units[i] | units[i + 1] << 8
        out.append(chr(unit) if unit < 0x80 else "U+%04X" % unit)
    return "".join(out).encode("ascii")


def windows_vietnamese(text):
    """Vietnamese as code page 1258 writes it: a base letter (with its
    circumflex, breve or horn where the code page has that letter) and a
    combining tone mark."""
    tones = "\u0300\u0301\u0303\u0309\u0323"
    out = []
    for character in unicodedata.normalize("NFC", text):
        try:
            character.encode("cp1258")
            out.append(character)
            continue
        except UnicodeEncodeError:
            pass
        decomposed = unicodedata.normalize("NFD", character)
        base = unicodedata.normalize("NFC", "".join(c for c in decomposed if c not in tones))
        out.append(base + "".join(c for c in decomposed if c in tones))
    return "".join(out)


MULTILINGUAL = ["fr", "de", "el", "ru", "he", "ja", "zh_CN", "ko"]

# KelCS_ name, language of the text, Python codec (or a function), and the
# reader that checks the bytes against the library's table (None: the codec
# is the set's definition, as for the Unicode forms).
def character_sets():
    sbcs = lambda name: single_byte_reader(load_table(name))
    pairs = lambda name, lead, trail, offset=0: lead_trail_reader(load_table(name), lead, trail,
                                                                offset)
    return [
        ("KelCS_ISO_8859_1", "fr", "latin_1", single_byte_reader({b: b for b in range(1, 256)})),
        ("KelCS_ISO_8859_2", "pl", "iso8859_2", sbcs("8859-2")),
        ("KelCS_ISO_8859_3", "mt", "iso8859_3", sbcs("8859-3")),
        ("KelCS_ISO_8859_4", "lv", "iso8859_4", sbcs("8859-4")),
        ("KelCS_ISO_8859_5", "ru", "iso8859_5", sbcs("8859-5")),
        ("KelCS_ISO_8859_6", "ar", "iso8859_6", sbcs("8859-6")),
        ("KelCS_ISO_8859_7", "el", "iso8859_7", sbcs("8859-7")),
        ("KelCS_ISO_8859_8", "he", "iso8859_8", sbcs("8859-8")),
        ("KelCS_ISO_8859_9", "tr", "iso8859_9", sbcs("8859-9")),
        ("KelCS_ISO_8859_10", "is", "iso8859_10", sbcs("8859-10")),
        ("KelCS_ISO_8859_11", "th", "iso8859_11", sbcs("8859-11")),
        ("KelCS_ISO_8859_13", "lt", "iso8859_13", sbcs("8859-13")),
        ("KelCS_ISO_8859_14", "cy", "iso8859_14", sbcs("8859-14")),
        ("KelCS_ISO_8859_15", "et", "iso8859_15", sbcs("8859-15")),
        ("KelCS_ISO_8859_16", "ro", "iso8859_16", sbcs("8859-16")),
        ("KelCS_WCP1250", "cs", "cp1250", sbcs("CP1250")),
        ("KelCS_WCP1251", "uk", "cp1251", sbcs("CP1251")),
        ("KelCS_WCP1252", "de", "cp1252", windows_1252_reader()),
        ("KelCS_WCP1253", "el", "cp1253", sbcs("CP1253")),
        ("KelCS_WCP1254", "tr", "cp1254", sbcs("CP1254")),
        ("KelCS_WCP1255", "he", "cp1255", sbcs("CP1255")),
        ("KelCS_WCP1256", "fa", "cp1256", sbcs("CP1256")),
        ("KelCS_WCP1257", "lv", "cp1257", sbcs("CP1257")),
        ("KelCS_WCP1258", "vi", "cp1258", sbcs("CP1258")),
        ("KelCS_WCP874", "th", "cp874", sbcs("CP874")),
        ("KelCS_KOI8R", "ru", "koi8_r", sbcs("KOI8R")),
        ("KelCS_WCP932", "ja", "cp932", pairs("CP932", JAPANESE_LEAD, JAPANESE_TRAIL)),
        ("KelCS_SHIFTJIS", "ja", "shift_jis", pairs("SHIFTJIS", JAPANESE_LEAD, JAPANESE_TRAIL)),
        ("KelCS_SJIS0213", "ja", "shift_jis_2004", pairs("SJIS0213", JAPANESE_LEAD, JAPANESE_TRAIL)),
        ("KelCS_EUC_JP", "ja", "euc_jp", euc_japanese_reader()),
        ("KelCS_WCP936", "zh_CN", "gbk", pairs("CP936", CHINESE_LEAD, CHINESE_TRAIL)),
        ("KelCS_EUC_CN", "zh_CN", "gb2312", pairs("GB2312", EUC_ROW, EUC_ROW, 0x8080)),
        ("KelCS_GB18030", "zh_CN", "gb18030", gb18030_reader()),
        ("KelCS_WCP950", "zh_TW", "cp950", pairs("CP950", CHINESE_LEAD, CHINESE_TRAIL)),
        ("KelCS_BIG5", "zh_TW", "big5", pairs("BIG5", CHINESE_LEAD, BIG5_TRAIL)),
        ("KelCS_WCP949", "ko", "cp949", pairs("CP949", CHINESE_LEAD, KOREAN_TRAIL)),
        ("KelCS_EUC_KR", "ko", "euc_kr", pairs("KSX1001", EUC_ROW, EUC_ROW, 0x8080)),
        ("KelCS_UTF8", MULTILINGUAL, "utf-8", None),
        ("KelCS_UTF16", MULTILINGUAL, "utf-16-le", None),
        ("KelCS_UTF32", MULTILINGUAL, "utf-32-le", None),
        ("KelCS_UTF16ESC", MULTILINGUAL, unit_escape, None),
    ]


# Lines added to particular files: characters beyond the BMP for the
# Unicode forms and GB18030 (U+20BB7 is the first character of a Japanese
# surname, U+1F600 an emoji), and GB18030's four-byte BMP codes.
EXTRA_LINES = {
    "KelCS_UTF8": ["\U00020BB7野家 \U0001F600"],
    "KelCS_UTF16": ["\U00020BB7野家 \U0001F600"],
    "KelCS_UTF32": ["\U00020BB7野家 \U0001F600"],
    "KelCS_UTF16ESC": ["\U00020BB7野家 \U0001F600"],
    "KelCS_GB18030": ["Straße, \U00020BB7野家"],
}


def encoder_of(codec):
    if callable(codec):
        return codec
    return lambda text: codecs.encode(text, codec)


def golden_lines(name, languages, codec, reader):
    encode = encoder_of(codec)
    if isinstance(languages, str):
        languages = [languages]
    per_language = GOLDEN_LINES // len(languages)
    lines = []
    for language in languages:
        taken = 0
        for line in read_text(language + ".txt").splitlines():
            if name == "KelCS_WCP1258":
                line = windows_vietnamese(line)
            try:
                data = encode(line)
            except UnicodeEncodeError:
                continue
            if reader is not None and reader(data) != line:
                continue
            lines.append(line)
            taken += 1
            if taken == per_language:
                break
    return lines + EXTRA_LINES.get(name, [])


def golden(outdir):
    os.makedirs(outdir, exist_ok=True)
    for name, languages, codec, reader in character_sets():
        text = "\n".join(golden_lines(name, languages, codec, reader)) + "\n"
        with open(os.path.join(outdir, name + ".txt"), "wb") as out:
            out.write(encoder_of(codec)(text))
        with open(os.path.join(outdir, name + ".utf8"), "wb") as out:
            out.write(text.encode("utf-8"))


# --- the Quick start's sample ------------------------------------------------------

def sample(outdir):
    text = read_text("ja-manpage.txt")
    reader = lead_trail_reader(load_table("SHIFTJIS"), JAPANESE_LEAD, JAPANESE_TRAIL)
    data = text.encode("shift_jis")
    if reader(data) != text:
        raise SystemExit("the sample reads back differently through the SHIFTJIS table")
    os.makedirs(outdir, exist_ok=True)
    with open(os.path.join(outdir, "sample-shift_jis.txt"), "wb") as out:
        out.write(data)
    with open(os.path.join(outdir, "sample-shift_jis.utf8"), "wb") as out:
        out.write(text.encode("utf-8"))
    with open(os.path.join(ROOT, "examples", "data", "sample-cp1252.txt"), "rb") as sample:
        windows_text = sample.read().decode("cp1252")
    with open(os.path.join(outdir, "sample-cp1252.utf8"), "wb") as out:
        out.write(windows_text.encode("utf-8"))


def main(argv):
    commands = {"extract": extract, "golden": golden, "sample": sample}
    if len(argv) != 3 or argv[1] not in commands:
        raise SystemExit(__doc__)
    commands[argv[1]](argv[2])


if __name__ == "__main__":
    main(sys.argv)
