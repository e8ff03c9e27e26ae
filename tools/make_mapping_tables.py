#!/usr/bin/env python3
"""Writes the library's 37 UNICODEMAP mapping tables into resources/, and
resources/README.md, which records where each table comes from.

Table format: a flat array of little-endian records without header, ended by
an all-zero record. Every table uses 4-byte records (uint16 code, uint16
UTF-16 unit) except "SJIS0213", whose 6-byte packed records carry a uint32
Unicode scalar. A code is the character's bytes read as a big-endian number;
the 94x94 national sets (GB2312, KSX1001, JIS0208, JIS0212) store row/cell
codes (both bytes 0x21-0x7E). Records are written in ascending code order.

For each table the generator asserts: no code 0, no code twice, no Unicode
value twice (except the four shared values of BIG5, each of whose higher
code must be what Python's codec encodes it to, since the loader's reverse
map takes the higher code), and the record count and byte size the library
expects.

Inputs: Python 3 standard library codecs, and ICU's converter data through
ctypes (libicuuc) for the three IBM round-trip tables CP874, CP932 and CP950.
Python's codec tables can change between Python versions; the committed
tables were made with the versions named in resources/README.md.

Usage: tools/make_mapping_tables.py [OUTPUT_DIR]   (default: resources/)
Exits with status 3, writing nothing, when ICU cannot be loaded.
"""
import ctypes
import ctypes.util
import hashlib
import pathlib
import platform
import struct
import sys

ICU_MISSING_STATUS = 3

# --- helpers --------------------------------------------------------------


def dec(codec, data):
    """The code point `data` decodes to in `codec`, or None unless it
    decodes to exactly one character."""
    try:
        text = data.decode(codec)
    except UnicodeDecodeError:
        return None
    return ord(text) if len(text) == 1 else None


def code_bytes(code):
    return bytes([code]) if code < 0x100 else bytes([code >> 8, code & 0xFF])


def decode_codes(codec, codes):
    """{code: scalar} for each code (single byte or lead*256+trail) that
    decodes to one character."""
    table = {}
    for code in codes:
        scalar = dec(codec, code_bytes(code))
        if scalar is not None:
            table[code] = scalar
    return table


def pairs(leads, trails):
    return [(lead << 8) | trail for lead in leads for trail in trails]


def span(first, last):
    return range(first, last + 1)


def ascii_identity(table):
    """Makes 0x01-0x7F map to themselves."""
    for b in span(0x01, 0x7F):
        table[b] = b
    return table


def row_cell(table):
    """EUC codes (both bytes 0xA1-0xFE) as row/cell codes."""
    return {code - 0x8080: scalar for code, scalar in table.items()}


def shared_values(table):
    """{scalar: [codes]} for every Unicode value that more than one code has."""
    codes = {}
    for code, scalar in table.items():
        codes.setdefault(scalar, []).append(code)
    return {scalar: sorted(c) for scalar, c in codes.items() if len(c) > 1}


SINGLE_BYTES = span(0x01, 0xFF)
C1_BYTES = span(0x80, 0x9F)
EUC_BYTES = span(0xA1, 0xFE)
SJIS_LEADS = list(span(0x81, 0x9F)) + list(span(0xE0, 0xFC))
SJIS_TRAILS = list(span(0x40, 0x7E)) + list(span(0x80, 0xFC))
GBK_TRAILS = list(span(0x40, 0x7E)) + list(span(0x80, 0xFE))

# --- ICU through ctypes -------------------------------------------------------


class Icu:
    """The round-trip mappings of an ICU converter, read through libicuuc."""

    def __init__(self):
        path = ctypes.util.find_library("icuuc")
        if path is None:
            raise OSError("libicuuc not found")
        self.library = path
        self.lib = ctypes.CDLL(path)
        suffixes = ["_%d" % v for v in range(99, 59, -1)] + [""]
        self.suffix = next(s for s in suffixes if hasattr(self.lib, "ucnv_open" + s))
        ptr, status = ctypes.c_void_p, ctypes.POINTER(ctypes.c_int)
        self.open = self.fn("ucnv_open", ptr, [ctypes.c_char_p, status])
        self.close = self.fn("ucnv_close", None, [ptr])
        self.reset = self.fn("ucnv_reset", None, [ptr])
        self.get_name = self.fn("ucnv_getName", ctypes.c_char_p, [ptr, status])
        self.to_uchars = self.fn("ucnv_toUChars", ctypes.c_int32,
                                 [ptr, ptr, ctypes.c_int32, ctypes.c_char_p, ctypes.c_int32, status])
        self.from_uchars = self.fn("ucnv_fromUChars", ctypes.c_int32,
                                   [ptr, ctypes.c_char_p, ctypes.c_int32, ptr, ctypes.c_int32, status])
        self.set_to_u = self.fn("ucnv_setToUCallBack", None, [ptr, ptr, ptr, ptr, ptr, status])
        self.set_from_u = self.fn("ucnv_setFromUCallBack", None, [ptr, ptr, ptr, ptr, ptr, status])
        version = (ctypes.c_uint8 * 4)()
        self.fn("u_getVersion", None, [ctypes.c_void_p])(version)
        parts = list(version)
        while len(parts) > 2 and parts[-1] == 0:
            parts.pop()
        self.version = ".".join(str(v) for v in parts)

    def fn(self, name, restype, argtypes):
        function = getattr(self.lib, name + self.suffix)
        function.restype = restype
        function.argtypes = argtypes
        return function

    def symbol(self, name):
        return ctypes.cast(getattr(self.lib, name + self.suffix), ctypes.c_void_p)

    def round_trip(self, name, double_byte):
        """{code: scalar} for the single bytes 0x01-0xFF and, if
        `double_byte`, the pairs 0x81-0xFE x 0x21-0xFE that decode to one
        code point and encode back to the same bytes."""
        error = ctypes.c_int(0)
        converter = self.open(name.encode(), ctypes.byref(error))
        if error.value > 0:
            raise OSError("ICU cannot open " + name)
        try:
            opened = self.get_name(converter, ctypes.byref(error)).decode()
            if opened != name:
                raise OSError("ICU opened %s for %s" % (opened, name))
            self.set_to_u(converter, self.symbol("UCNV_TO_U_CALLBACK_STOP"), None, None, None,
                          ctypes.byref(error))
            self.set_from_u(converter, self.symbol("UCNV_FROM_U_CALLBACK_STOP"), None, None, None,
                            ctypes.byref(error))
            codes = list(SINGLE_BYTES)
            if double_byte:
                codes += pairs(span(0x81, 0xFE), span(0x21, 0xFE))
            return {code: scalar for code in codes
                    for scalar in [self.round_trip_one(converter, code_bytes(code))]
                    if scalar is not None}
        finally:
            self.close(converter)

    def round_trip_one(self, converter, data):
        units = (ctypes.c_uint16 * 8)()
        back = ctypes.create_string_buffer(8)
        error = ctypes.c_int(0)
        self.reset(converter)
        count = self.to_uchars(converter, units, 8, data, len(data), ctypes.byref(error))
        if error.value > 0 or not 1 <= count <= 2:
            return None
        if count == 1:
            scalar = units[0]
        elif 0xD800 <= units[0] < 0xDC00 <= units[1] < 0xE000:
            scalar = 0x10000 + ((units[0] - 0xD800) << 10) + (units[1] - 0xDC00)
        else:
            return None
        error.value = 0
        self.reset(converter)
        written = self.from_uchars(converter, back, 8, units, count, ctypes.byref(error))
        return scalar if error.value <= 0 and back.raw[:written] == data else None


# --- the tables ---------------------------------------------------------------


def windows_single_byte(codec, extra=None):
    """Python's Windows code page with its undefined C1 bytes as U+0080-U+009F."""
    table = decode_codes(codec, SINGLE_BYTES)
    for b in C1_BYTES:
        table.setdefault(b, b)
    table.update(extra or {})
    return dict(sorted(table.items()))


def cp874(icu):
    table = ascii_identity(icu.round_trip("ibm-874_P100-1995", double_byte=False))
    # The same set written with Python's codec alone, as a cross-check.
    python_form = decode_codes("cp874", list(span(0x01, 0x7F)) + list(span(0xA1, 0xFB)))
    python_form.update({0xFC: 0x00A2, 0xFD: 0x00AC, 0xFE: 0x00A6, 0xFF: 0x00A0})
    assert table == python_form, "CP874: ICU and Python forms differ"
    return table


def jis0201():
    table = {b: b for b in span(0x01, 0x7E)}
    table.update({0x5C: 0x00A5, 0x7E: 0x203E})
    table.update({b: 0xFF61 + b - 0xA1 for b in span(0xA1, 0xDF)})
    return table


def gbk():
    return decode_codes("gb18030", list(span(0x01, 0x7F)) + pairs(span(0x81, 0xFE), GBK_TRAILS))


def cp936():
    table = gbk()
    holes = [code for code in sorted(table)
             if code > 0xFF and dec("cp936", code_bytes(code)) is None
             and not 0xE000 <= table[code] <= 0xE765]
    for index, code in enumerate(holes):
        table[code] = 0xE766 + index
    table.update({0x80: 0x20AC, 0xFF: 0xF8F5})
    return table


def cp949():
    table = decode_codes("cp949", list(SINGLE_BYTES) + pairs(span(0x81, 0xFE), span(0x41, 0xFE)))
    eudc = pairs([0xC9], EUC_BYTES) + pairs([0xFE], EUC_BYTES)
    table.update({code: 0xE000 + index for index, code in enumerate(eudc)})
    table.update({0x80: 0x0080, 0xFF: 0xF8F7})
    return table


# The Unicode values that two BIG5 codes decode to, with both codes; the
# loader writes the higher one, which is what Python's codec encodes.
BIG5_SHARED = {0xFF0F: [0xA1FE, 0xA241], 0xFF3C: [0xA240, 0xA242],
               0x5341: [0xA2CC, 0xA451], 0x5345: [0xA2CE, 0xA4CA]}


def big5():
    trails = list(span(0x40, 0x7E)) + list(span(0xA1, 0xFE))
    table = decode_codes("big5", list(SINGLE_BYTES) + pairs(span(0x81, 0xFE), trails))
    assert shared_values(table) == BIG5_SHARED, "BIG5: other shared values than expected"
    for scalar, codes in BIG5_SHARED.items():
        assert code_bytes(max(codes)) == chr(scalar).encode("big5"), \
            f"BIG5: Python encodes U+{scalar:04X} otherwise than the loader's rule"
    return table


def shiftjis():
    table = jis0201()
    table.update(decode_codes("shift_jis", pairs(SJIS_LEADS, SJIS_TRAILS)))
    table[0x815F] = 0x005C
    return table


def sjis0213():
    return decode_codes("shift_jis_2004", list(SINGLE_BYTES) + pairs(SJIS_LEADS, SJIS_TRAILS))


def gb2312():
    return row_cell(decode_codes("gb2312", pairs(EUC_BYTES, EUC_BYTES)))


def ksx1001():
    table = row_cell(decode_codes("cp949", pairs(EUC_BYTES, EUC_BYTES)))
    del table[0x2266], table[0x2267]  # the euro and registered signs added in 1998
    return table


def jis0208():
    table = row_cell(decode_codes("euc_jp", pairs(EUC_BYTES, EUC_BYTES)))
    table[0x2140] = 0x005C
    return table


def jis0212():
    table = {}
    for a in EUC_BYTES:
        for b in EUC_BYTES:
            scalar = dec("euc_jp", bytes([0x8F, a, b]))
            if scalar is not None:
                table[((a & 0x7F) << 8) | (b & 0x7F)] = scalar
    return table


# Each table: name, record form, records, bytes, builder, how it was made.
# The builder takes the ICU reader (None for tables that do not need it).
C1_NOTE = "undefined bytes 0x80-0x9F mapped to U+0080-U+009F"
ICU_NOTE = "round-trip mappings of ICU `{}`, 0x01-0x7F made identity"
TABLES = [
    ("CP1250", 16, 255, 1024, lambda icu: windows_single_byte("cp1250"), f"Python `cp1250`; {C1_NOTE}"),
    ("CP1251", 16, 255, 1024, lambda icu: windows_single_byte("cp1251"), f"Python `cp1251`; {C1_NOTE}"),
    ("CP1253", 16, 253, 1016, lambda icu: windows_single_byte("cp1253", {0xAA: 0x00AA}),
     f"Python `cp1253`; {C1_NOTE}; plus 0xAA -> U+00AA (as IBM's table for code page 1253)"),
    ("CP1254", 16, 255, 1024, lambda icu: windows_single_byte("cp1254"), f"Python `cp1254`; {C1_NOTE}"),
    ("CP1255", 16, 244, 980, lambda icu: windows_single_byte("cp1255"), f"Python `cp1255`; {C1_NOTE}"),
    ("CP1256", 16, 255, 1024, lambda icu: windows_single_byte("cp1256"), f"Python `cp1256`; {C1_NOTE}"),
    ("CP1257", 16, 253, 1016, lambda icu: windows_single_byte("cp1257"), f"Python `cp1257`; {C1_NOTE}"),
    ("CP1258", 16, 255, 1024, lambda icu: windows_single_byte("cp1258"), f"Python `cp1258`; {C1_NOTE}"),
    ("CP874", 16, 218, 876, cp874,
     ICU_NOTE.format("ibm-874_P100-1995") + " (equal to Python `cp874` over 0x01-0x7F and "
     "0xA1-0xFB plus 0xFC-0xFF -> U+00A2, U+00AC, U+00A6, U+00A0; checked)"),
] + [
    (f"8859-{n}", 16, records, size, (lambda codec: lambda icu: decode_codes(codec, SINGLE_BYTES))(
        f"iso8859_{n}"), f"Python `iso8859_{n}`, bytes 0x01-0xFF that decode")
    for n, records, size in [(2, 255, 1024), (3, 248, 996), (4, 255, 1024), (5, 255, 1024),
                             (6, 210, 844), (7, 252, 1012), (8, 219, 880), (9, 255, 1024),
                             (10, 255, 1024), (11, 247, 992), (13, 255, 1024), (14, 255, 1024),
                             (15, 255, 1024), (16, 255, 1024)]
] + [
    ("KOI8R", 16, 255, 1024, lambda icu: decode_codes("koi8_r", SINGLE_BYTES),
     "Python `koi8_r`, bytes 0x01-0xFF"),
    ("JIS0201", 16, 189, 760, lambda icu: jis0201(),
     "JIS X 0201: 0x01-0x7E as themselves except 0x5C -> U+00A5 and 0x7E -> U+203E; "
     "0xA1-0xDF -> U+FF61-U+FF9F"),
    ("CP932", 16, 9338, 37356, lambda icu: ascii_identity(icu.round_trip("ibm-942_P12A-1999", True)),
     ICU_NOTE.format("ibm-942_P12A-1999")),
    ("CP936", 16, 24069, 96280, lambda icu: cp936(),
     "the GBK table below, with the 255 two-byte codes that Python `cp936` does not decode "
     "(outside the user-defined area U+E000-U+E765) mapped to U+E766.. in code order, plus "
     "0x80 -> U+20AC and 0xFF -> U+F8F5"),
    ("CP949", 16, 17365, 69464, lambda icu: cp949(),
     "Python `cp949`, single bytes and pairs 0x81-0xFE x 0x41-0xFE that decode; user-defined "
     "rows C9A1-C9FE, FEA1-FEFE -> U+E000-U+E0BB; 0x80 -> U+0080, 0xFF -> U+F8F7"),
    ("CP950", 16, 20202, 80812, lambda icu: ascii_identity(icu.round_trip("ibm-950_P110-1999", True)),
     ICU_NOTE.format("ibm-950_P110-1999")),
    ("BIG5", 16, 13837, 55352, lambda icu: big5(),
     "Python `big5`, single bytes and pairs 0x81-0xFE x 0x40-0x7E/0xA1-0xFE that decode, "
     "whole: four Unicode values have two codes each (A1FE and A241 decode to U+FF0F, A240 "
     "and A242 to U+FF3C, A2CC and A451 to U+5341, A2CE and A4CA to U+5345); the higher "
     "code of each is written (A241, A242, A451, A4CA, as Python encodes them)"),
    ("SHIFTJIS", 16, 7068, 28276, lambda icu: shiftjis(),
     "the JIS0201 records plus Python `shift_jis` pairs (lead 0x81-0x9F/0xE0-0xFC, trail "
     "0x40-0x7E/0x80-0xFC), with 0x815F -> U+005C"),
    ("SJIS0213", 32, 11398, 68394, lambda icu: sjis0213(),
     "Python `shift_jis_2004`, single bytes and pairs as for SHIFTJIS that decode to exactly "
     "one code point; 6-byte records with 32-bit scalars"),
    ("GBK", 16, 24067, 96272, lambda icu: gbk(),
     "Python `gb18030` (the 2000 edition), 0x01-0x7F and every pair 0x81-0xFE x "
     "0x40-0x7E/0x80-0xFE"),
    ("GB2312", 16, 7445, 29784, lambda icu: gb2312(),
     "Python `gb2312`, pairs 0xA1-0xFE x 0xA1-0xFE, as row/cell codes"),
    ("KSX1001", 16, 8224, 32900, lambda icu: ksx1001(),
     "Python `cp949`, pairs 0xA1-0xFE x 0xA1-0xFE, as row/cell codes, without 0x2266 (U+20AC) "
     "and 0x2267 (U+00AE)"),
    ("JIS0208", 16, 6879, 27520, lambda icu: jis0208(),
     "Python `euc_jp`, pairs 0xA1-0xFE x 0xA1-0xFE, as row/cell codes, with 0x2140 -> U+005C"),
    ("JIS0212", 16, 6067, 24272, lambda icu: jis0212(),
     "Python `euc_jp`, three-byte codes 0x8F a b (a, b in 0xA1-0xFE), as row/cell codes"),
]


def encode(name, form, table, records, size):
    assert 0 not in table, f"{name}: code 0"
    assert all(0 < code <= 0xFFFF for code in table), f"{name}: code out of range"
    allowed_shared = BIG5_SHARED if name == "BIG5" else {}
    assert shared_values(table) == allowed_shared, f"{name}: a Unicode value occurs twice"
    limit = 0xFFFF if form == 16 else 0x10FFFF
    assert all(0 < scalar <= limit for scalar in table.values()), f"{name}: value out of range"
    assert len(table) == records, f"{name}: {len(table)} records, expected {records}"
    record = "<HH" if form == 16 else "<HI"
    data = b"".join(struct.pack(record, code, table[code]) for code in sorted(table))
    data += struct.pack(record, 0, 0)
    assert len(data) == size, f"{name}: {len(data)} bytes, expected {size}"
    return data


README_HEAD = """\
# Mapping tables

Each file here is one UNICODEMAP table, named exactly as the converters ask
for it. The build embeds every file of this folder except `*.md` into the
library; a converter finds its table by name.

Generated by `tools/make_mapping_tables.py`; regenerate with
`python3 tools/make_mapping_tables.py`, do not edit. The files are binary:
little-endian records, 4 bytes (uint16 code, uint16 UTF-16 unit) or, for
`SJIS0213` only, 6 bytes packed (uint16 code, uint32 Unicode scalar), in
ascending code order, ended by an all-zero record. The 94x94 sets (GB2312,
KSX1001, JIS0208, JIS0212) hold row/cell codes (the EUC bytes minus 0x8080).
No code occurs twice in a table, and code 0 never appears.

A Unicode value occurs twice in one table only: in `BIG5`, four values have
two codes each, and both codes decode to the value. The reverse map (Unicode
to code) takes the higher of two codes that share a value, whatever the
order of their records, so each of those four values is written as its
higher code, as Python's `big5` codec writes it. (Of two records with the
same code, the later one's value would win; no table has such records.)
`BIG5` used to leave out all eight of those codes (13,829 records), so that
十 and 卅 neither read nor wrote; it now holds Python's `big5` whole.

Inputs of this generation: Python {python} (standard library codecs named
below) and ICU {icu} (`{icu_library}`, with its built-in converter data)
through `ctypes`. Python's codec tables can change between Python versions,
so a regeneration with another version must reproduce the SHA-256 values
below, which the tests also check.

"ICU round trip" means: every single byte 0x01-0xFF and pair 0x81-0xFE x
0x21-0xFE that the ICU converter decodes to one code point and encodes back
to the same bytes. CP874, CP932 and CP950 are thus IBM's tables for those
code pages: CP932 is IBM-942 (no NEC row 13, IBM's kanji order for 28 pairs),
CP950 is IBM-950 and CP874 is IBM's TIS-620 form; none has the euro sign.

| Table | Records | Bytes | Source | SHA-256 |
|---|---|---|---|---|
"""


def main():
    out = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else \
        pathlib.Path(__file__).resolve().parent.parent / "resources"
    try:
        icu = Icu()
    except (OSError, AttributeError, StopIteration) as error:
        print(f"make_mapping_tables: needs ICU (libicuuc) through ctypes: {error}", file=sys.stderr)
        return ICU_MISSING_STATUS
    files = {}
    rows = []
    for name, form, records, size, build, source in TABLES:
        data = encode(name, form, build(icu), records, size)
        files[name] = data
        rows.append(f"| `{name}` | {records} | {size} | {source} | "
                    f"`{hashlib.sha256(data).hexdigest()}` |\n")
    out.mkdir(parents=True, exist_ok=True)
    for name, data in files.items():
        (out / name).write_bytes(data)
    readme = README_HEAD.format(python=platform.python_version(), icu=icu.version,
                                icu_library=icu.library) + "".join(rows)
    (out / "README.md").write_text(readme, encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main())
