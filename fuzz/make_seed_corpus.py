#!/usr/bin/env python3
"""Writes the seed corpora of the fuzz targets (fuzz/corpus/<target>/).

Each seed is the choices a target reads first (see the target's
LLVMFuzzerTestOneInput) followed by text: real text from the kelconv test
data, in its own character set, and the edge cases of the encodings. Run
from anywhere; it rewrites the corpus directories. The seeds are committed;
this script only documents how they were made.
"""
import pathlib
import shutil
import struct

ROOT = pathlib.Path(__file__).resolve().parent
GOLDEN = ROOT.parent / "tests" / "kelconv" / "data" / "golden"
TEXT = ROOT.parent / "tests" / "kelconv" / "data" / "text"

# The order of kelulib_fuzz::kCharSets in fuzz/fuzz_input.h.
CHAR_SETS = [65001, 1200, 1202, 12000, 1250, 1251, 1252, 1253, 1254, 1255, 1256, 1257, 1258,
             874, 28591, 28592, 28593, 28594, 28595, 28596, 28597, 28598, 28599, 28600, 28601,
             28603, 28604, 28605, 28606, 20866, 932, 936, 949, 950, 30950, 30932, 30933, 51932,
             51936, 51949, 54936, -2, 437, 1201]
NAMES = {65001: "UTF8", 1200: "UTF16", 1202: "UTF16ESC", 12000: "UTF32", 1252: "WCP1252",
         1251: "WCP1251", 874: "WCP874", 28591: "ISO_8859_1", 28597: "ISO_8859_7",
         20866: "KOI8R", 932: "WCP932", 936: "WCP936", 949: "WCP949", 950: "WCP950",
         30950: "BIG5", 30932: "SHIFTJIS", 30933: "SJIS0213", 51932: "EUC_JP",
         51936: "EUC_CN", 51949: "EUC_KR", 54936: "GB18030"}
# stream_converter_fuzzer's own list of sets.
STREAM_SETS = [65001, 1200, 1202, 12000, 1252, 1251, 874, 28591, 28597, 20866, 932, 936, 949,
               950, 30950, 30932, 30933, 51932, 51936, 51949, 54936]


def pick(cs, sets=CHAR_SETS):
    return struct.pack("<H", sets.index(cs))


def golden(cs, limit=240):
    data = (GOLDEN / f"KelCS_{NAMES[cs]}.txt").read_bytes()
    unit = {1200: 2, 12000: 4}.get(cs, 1)
    return data[:limit - limit % unit]


def utf8_text(name, limit=240):
    return (TEXT / name).read_bytes()[:limit].decode("utf-8", "ignore").encode("utf-8")


EDGE_BYTES = [
    b"\xF0\x9F\x98\x80",                 # a 4-byte UTF-8 sequence
    b"\xED\xA0\xBD\xED\xB8\x80",         # CESU-8 pair
    b"\xED\xA0\x80ab",                   # an encoded unpaired high surrogate
    b"a\xC3A\x80\xE2\x82",               # malformed UTF-8
    b"\xC0\x80\xF8\x88\x80\x80\x80",     # overlong, 5-byte
    b"U+00E9U+D83DU+DE00U+00eU+004",     # unit escapes
    b"\x81\x30\x81\x30\x90\x30\x81\x30\xA2\xE3\x81\x30",  # GB18030 four-byte
    b"\x8E\xB1\x8F\xA2\xAF\x80\xDC\xA4\xA2\xF5\xD1\xD0Q",  # EUC-JP shifts
    b"\x81\x80\x85\x40\x82\xA0\xB0\xA1\xB0A\x82",          # lead/trail edges
    b"\x00\x01\x7F\x80\x81\x8D\x9F\xA0\xFF",
]
EDGE_UNITS = [
    "\uD800A\uD83D\uDE00\uDC00\u20AC\u00E9\u4E2D\uFFFF",
    "a\uD800",
    "\u0080\u0081\u00A5\u203E\uFF71\u02D8\u3042\uAC00",
]


def u16(text):
    return text.encode("utf-16-le", "surrogatepass")


def write(target, name, data):
    directory = ROOT / "corpus" / target
    directory.mkdir(parents=True, exist_ok=True)
    (directory / name).write_bytes(data)


def converter_seeds():
    choices = bytes([0x40, 0x11, 0x07, 0x22, 0x03, 0x90, 0x01, 0x05])
    operations = [0, 4, 2, 1, 3]  # decode, round trip, encode, count, byte count
    for i, cs in enumerate(NAMES):
        op = operations[i % len(operations)]
        if op == 4 and cs in (65001, 1200, 1202, 12000):
            op = 0
        if op in (2, 3):  # the encodings read the text as UTF-8
            text = (GOLDEN / f"KelCS_{NAMES[cs]}.utf8").read_bytes()[:240]
        else:
            text = golden(cs)
        write("converter_fuzzer", f"op{op}_{NAMES[cs]}", pick(cs) + bytes([op, 1]) + choices + text)
    edge_sets = (65001, 51932, 54936, 932)
    for i, edge in enumerate(EDGE_BYTES):
        cs = edge_sets[i % len(edge_sets)]
        write("converter_fuzzer", f"edge{i}_decode_{NAMES[cs]}", pick(cs) + b"\x00\x00" + choices + edge)
        if i % 3 == 0:
            write("converter_fuzzer", f"edge{i}_utf32_direct", pick(12000) + b"\x05\x00" + choices + edge)
    for i, units in enumerate(EDGE_UNITS):
        for cs, op in ((65001, 2), (30933, 2), (54936, 3)):
            write("converter_fuzzer", f"units{i}_op{op}_{NAMES[cs]}",
                  pick(cs) + bytes([op, 0]) + choices + u16(units))
    # Texts long enough for the block kernels, with room for all of them:
    # decoding (room as long as the text, no source limit) and encoding
    # (the natural room, the text at each of a few offsets in its block).
    whole = bytes([2, 0, 0x07, 0x22, 0x03, 0x90, 0x01, 0x05])
    for cs in (65001, 932, 950, 30950, 30933, 51932, 51949, 54936):
        write("converter_fuzzer", f"blocks_decode_{NAMES[cs]}",
              pick(cs) + bytes([0, 0]) + whole + golden(cs))
    for offset in (0, 3, 8):
        for cs in (65001, 932):
            text = (GOLDEN / f"KelCS_{NAMES[cs]}.utf8").read_bytes()[:240]
            write("converter_fuzzer", f"blocks_encode{offset}_{NAMES[cs]}",
                  pick(cs) + bytes([2, 1, 2, offset]) + whole[2:] + text)


def flat_seeds():
    choices = bytes([2, 3, 0, 0])
    texts = [("ja", utf8_text("ja.txt"), 932), ("ru", utf8_text("ru.txt"), 1251),
             ("fr", utf8_text("fr.txt"), 1252)]
    for function in range(13):
        name, text, cs = texts[function % len(texts)]
        payload = text if function in (1, 4, 6, 7, 10, 11, 12) else golden(cs)
        if function in (3, 5, 9):
            payload = u16(text.decode("utf-8"))
        write("flat_functions_fuzzer", f"f{function}_{name}",
              bytes([function]) + pick(cs) + choices + payload)
    for i, edge in enumerate(EDGE_BYTES[:6]):
        write("flat_functions_fuzzer", f"path_edge{i}", bytes([7 - i % 2]) + pick(65001) + choices + edge)


def ustring_seeds():
    for cs in (65001, 1252, 932, 51932, 54936, 1200, 12000, 1202):
        text = golden(cs, 120) if cs in NAMES and cs != 65001 else utf8_text("de.txt", 120)
        steps = b"".join(bytes([0, 0, 4, ord("a"), ord(","), 0, 1, 2, k, 0, 0]) for k in range(16))
        write("ustring_fuzzer", f"construct_{NAMES.get(cs, cs)}",
              pick(cs) + bytes([len(text)]) + text + bytes([k % 5 for k in range(2)]) + steps)
    write("ustring_fuzzer", "pascal_lead_byte", pick(932) + b"\x02\x82\xa0\x02\x00")
    write("ustring_fuzzer", "long_repeat", pick(1252) + b"\x01\xe9\x03\x2c\x01")


def stream_seeds():
    samples = {"words": b"  two words\tand\na line\n\nend", "ja": utf8_text("ja.txt", 120),
               "ff": b"ab\xffcd ef", "width": b"abcdef ghi\njkl",
               "cp1252": golden(1252, 120), "zero": b"a\x00b c\n"}
    for name, text in samples.items():
        choices = bytes([0, 1, 0x11, 3, 0x21, ord(" "), 0x41, 0, 1, 0x31, 2, ord("d")] + [0] * 12)
        write("ustring_stream_fuzzer", name, choices + text)


def stream_converter_seeds():
    cuts = bytes([1, 3, 0, 1, 7, 0, 2, 11, 0, 0, 0, 0, 0, 0, 0, 0])
    pairs = [(65001, 1200), (65001, 54936), (51932, 65001), (932, 65001), (1200, 65001),
             (12000, 1202), (1202, 65001), (54936, 51949), (30933, 65001), (65001, 1252),
             (950, 936), (51936, 30950), (1252, 65001), (1251, 65001), (28597, 65001)]
    for source, target in pairs:
        if source == 65001:
            text = utf8_text("zh_CN.txt") if target in (54936, 936) else utf8_text("ja.txt")
        elif source in NAMES and source not in (1202,):
            text = golden(source)
        else:
            text = b"aU+00E9U+D83DU+DE00b"
        policy = (source + target) % 3
        write("stream_converter_fuzzer", f"{NAMES[source]}_to_{NAMES[target]}_{policy}",
              pick(source, STREAM_SETS) + pick(target, STREAM_SETS) +
              bytes([policy, 1, 0]) + cuts + text)
    # A single-byte set to UTF-8 stopping at an unmapped byte past a few
    # blocks of ASCII and accented letters (one text).
    write("stream_converter_fuzzer", "WCP1252_to_UTF8_stop",
          pick(1252, STREAM_SETS) + pick(65001, STREAM_SETS) + bytes([2, 1, 1]) + cuts +
          b"Le caf\xe9 na\xeff, " * 4 + b"d\xe9j\xe0 \x81 fin")
    for i, edge in enumerate(EDGE_BYTES[5:]):
        write("stream_converter_fuzzer", f"edge{i}", pick(51932, STREAM_SETS) +
              pick(65001, STREAM_SETS) + bytes([2, 1, 0]) + cuts + edge)
    # With the handlers, leaving out (0 picks them; stop becomes skip).
    for source, target, text in [(65001, 28591, "a\u20ac\u00e9\u4e2d".encode() + b"\xff!"),
                                 (54936, 1252, b"a\x80\x81\x80\xa2\xe3\x81 z"),
                                 (1252, 65001, b"Cr\xe8me br\xfbl\xe9e \x81\x8d, " * 3 + b"\x90!")]:
        for policy in (0, 2):
            write("stream_converter_fuzzer", f"handlers_{NAMES[source]}_to_{NAMES[target]}_{policy}",
                  pick(source, STREAM_SETS) + pick(target, STREAM_SETS) +
                  bytes([policy, 0, 0]) + cuts + text)


if __name__ == "__main__":
    for target in ("converter_fuzzer", "flat_functions_fuzzer", "ustring_fuzzer",
                   "ustring_stream_fuzzer", "stream_converter_fuzzer"):
        shutil.rmtree(ROOT / "corpus" / target, ignore_errors=True)
    converter_seeds()
    flat_seeds()
    ustring_seeds()
    stream_seeds()
    stream_converter_seeds()
