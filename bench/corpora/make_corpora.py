#!/usr/bin/env python3
"""Makes the benchmark's text corpora from Debian packages.

Real text that nobody here wrote: translated manual pages (English, French,
Russian, Japanese, Simplified and Traditional Chinese) and the Korean help
of LibreOffice. The packages
are fetched with `apt-get download` and unpacked with `dpkg-deb -x` into a
work folder; nothing is installed. Markup is stripped (roff and man/mdoc
macros and escapes, HTML tags), the files of each language are joined in
sorted path order and the text is cut at a character boundary after
CORPUS_BYTES bytes of UTF-8 (French, Russian and Korean have less: their
corpora are the whole text there is).

Legacy-encoded versions are made with Python's codecs, dropping every
character that the target cannot express (see LEGACY). Every corpus is also
written as UTF-16LE, the expected output of the conversions to UTF-16.

The committed manifest (manifest.json beside this script) records the
package versions, the size and the SHA-256 of every file made. When the
files in the output folder already match it, nothing is downloaded. A fresh
build must reproduce it exactly; --update-manifest rewrites it instead.

Usage: make_corpora.py --out DIR [--update-manifest] [--force]
"""

import argparse
import codecs
import gzip
import hashlib
import html.parser
import json
import os
import re
import shutil
import subprocess
import sys
import unicodedata

HERE = os.path.dirname(os.path.abspath(__file__))
MANIFEST = os.path.join(HERE, "manifest.json")

# Bytes of UTF-8 per corpus (before the legacy versions drop characters).
CORPUS_BYTES = 4_000_000

# Each text corpus: its packages and the folders of those packages whose
# files it is made of, and the kind of markup.
SOURCES = {
    "en": {"packages": ["manpages", "manpages-dev"], "dirs": ["usr/share/man/man"], "markup": "roff"},
    "fr": {"packages": ["manpages-fr"], "dirs": ["usr/share/man/fr/"], "markup": "roff"},
    "ru": {"packages": ["manpages-ru"], "dirs": ["usr/share/man/ru/"], "markup": "roff"},
    "ja": {"packages": ["manpages-ja"], "dirs": ["usr/share/man/ja/"], "markup": "roff"},
    "zh": {"packages": ["manpages-zh"], "dirs": ["usr/share/man/zh_CN/"], "markup": "roff"},
    "tw": {"packages": ["manpages-zh"], "dirs": ["usr/share/man/zh_TW/"], "markup": "roff"},
    # LibreOffice's help is partly untranslated: only its lines with Hangul
    # are kept (about 2.2 MB, the largest Korean prose in Debian's archive).
    "ko": {"packages": ["libreoffice-help-ko"], "dirs": ["usr/share/libreoffice/help/ko/"],
           "markup": "html", "lines": "[\uac00-\ud7a3]"},
}

BIG5_DROPPED = ("\uff0f\uff3c\u5341\u5345\u2550\u255e\u2561\u256a\u256d\u256e\u256f\u2570"
                "\u2022\u00a2\u00a3\u00a5\u2013\u2014\uff5e")
EUCJP_DROPPED = "\u301c\u2016\u2212\u00a2\u00a3\u00ac\u00a6\u2116"
SJIS2004_DROPPED = "\\~\u2015"

# The legacy corpora: (text corpus, Python codec, file suffix, characters to
# drop although the codec has them). The English text gives the ASCII-heavy
# case of every set.
#
# - cp932: only characters that Python's cp932 and shift_jis both encode to
#   the same bytes and read back. That is JIS X 0201 and JIS X 0208 without
#   the few characters whose Unicode mapping differs between Microsoft's and
#   IBM's or JIS's tables (wave dash, double vertical line, minus sign, the
#   cent, pound and not signs, fullwidth backslash), and without NEC's and
#   IBM's extension rows, which the IBM table of code page 932 orders
#   differently or lacks.
# - euc_kr: KS X 1001:1992, one code per character. Python's euc_kr also
#   has the euro and registered signs of the 1998 edition (0xA2E6, 0xA2E7),
#   and writes the Hangul syllables outside KS X 1001 as eight-byte jamo
#   sequences (the 1998 edition's annex 3), which other decoders read as
#   four characters.
# - gb18030: U+1E3F and U+E7C7 swapped places between the 2000 and 2005
#   editions of GB18030.
# - big5: only characters of Big5's standard blocks (codes 0xA140-0xA3BF,
#   0xA440-0xC67E, 0xC940-0xF9D5; Python's codecs also have the ETEN
#   extensions, which the other peers lack) that Python's big5 and cp950
#   encode alike; without the values that two codes share in Big5 (U+FF0F,
#   U+FF3C, U+5341, U+5345) or in code page 950 (eight box-drawing
#   characters), since which code a writer picks differs between peers; and
#   without the characters that vendors' tables map differently (U+2022,
#   which ICU and glibc read from 0xA145 as U+2027; U+00A2, U+00A3 and
#   U+00A5, which they read as the fullwidth signs; U+2013, U+2014 and
#   U+FF5E, which code page 950 places elsewhere than Big5).
# - euc_jp: without the JIS X 0208 characters whose Unicode mapping differs
#   between JIS's and Microsoft's tables (wave dash, double vertical line,
#   minus sign, the cent, pound and not signs), and the two JIS X 0212
#   characters that ICU writes with other codes (U+00A6, U+2116).
# - shift_jis_2004: without the backslash, the tilde and U+2015, which
#   Python writes as 0x815F, 0x81B0 and 0x815C and glibc reads as U+FF3C,
#   U+FF5E and U+2014.
LEGACY = [
    ("en", "cp1252", "cp1252", ""),
    ("fr", "cp1252", "cp1252", ""),
    ("en", "cp932", "cp932", ""),
    ("ja", "cp932", "cp932", ""),
    ("en", "gb18030", "gb18030", "\u1e3f\ue7c7"),
    ("zh", "gb18030", "gb18030", "\u1e3f\ue7c7"),
    ("en", "euc_kr", "euckr", "\u20ac\u00ae"),
    ("ko", "euc_kr", "euckr", "\u20ac\u00ae"),
    ("en", "big5", "big5", BIG5_DROPPED),
    ("tw", "big5", "big5", BIG5_DROPPED),
    ("en", "euc_jp", "eucjp", EUCJP_DROPPED),
    ("ja", "euc_jp", "eucjp", EUCJP_DROPPED),
    ("en", "shift_jis_2004", "sjis2004", SJIS2004_DROPPED),
    ("ja", "shift_jis_2004", "sjis2004", SJIS2004_DROPPED),
]

# A second codec that must agree with the first on every character kept.
AGREEING_CODEC = {"cp932": "shift_jis", "big5": "cp950"}

# The longest encoding of one character kept, where it is not the codec's.
LONGEST_CODE = {"euc_kr": 2}

# The two-byte codes kept, where not every code the codec writes is.
TWO_BYTE_CODES = {"big5": [(0xA140, 0xA3BF), (0xA440, 0xC67E), (0xC940, 0xF9D5)]}


# --- roff ------------------------------------------------------------------

# Named characters of roff (\(xx, \[xx]) that carry text; any other becomes
# nothing.
ROFF_CHARS = {
    "em": "\u2014", "en": "\u2013", "hy": "-", "mi": "-", "bu": "\u2022", "co": "\u00a9",
    "rg": "\u00ae", "tm": "\u2122", "lq": "\u201c", "rq": "\u201d", "oq": "\u2018",
    "cq": "\u2019", "aq": "'", "dq": '"', "Fo": "\u00ab", "Fc": "\u00bb", "fo": "\u2039",
    "fc": "\u203a", ">=": "\u2265", "<=": "\u2264", "!=": "\u2260", "->": "\u2192",
    "<-": "\u2190", "mu": "\u00d7", "di": "\u00f7", "de": "\u00b0", "+-": "\u00b1",
    "ti": "~", "ha": "^", "rs": "\\", "sl": "/", "ba": "|", "or": "|", "ul": "_",
    "ru": "_", "ps": "\u00b6", "sc": "\u00a7", "Eu": "\u20ac", "eu": "\u20ac",
    "Po": "\u00a3", "ct": "\u00a2", "Ye": "\u00a5", "aa": "\u00b4", "ga": "`",
    "ss": "\u00df", "at": "@", "sh": "#", "Do": "$", "pc": "\u00b7", "lB": "[",
    "rB": "]", "lC": "{", "rC": "}", "la": "\u27e8", "ra": "\u27e9", "ua": "\u2191",
    "da": "\u2193", "sq": "\u25a1", "ci": "\u25cb", "dg": "\u2020", "dd": "\u2021",
    "if": "\u221e", "es": "\u2205", "no": "\u00ac", "fm": "\u2032", "sd": "\u2033",
    "OK": "\u2713", "bv": "|", "br": "\u2502", "rn": "\u203e", "ff": "ff", "fi": "fi",
    "fl": "fl",
}
# Accented letters: \('e, \(`a, \(:u, \(^o, \(,c, \(~n.
ROFF_ACCENTS = {"'": "\u0301", "`": "\u0300", ":": "\u0308", "^": "\u0302", ",": "\u0327",
                "~": "\u0303"}

ROFF_ESCAPE = re.compile(
    r"""\\(?:
        \[(?P<bracket>[^\]]*)\]            # \[name]
      | \((?P<paren>..)                    # \(xx
      | [fFsmMgnVY*](?:\[[^\]]*\]|\(..|[-+]?\d+|.)  # fonts, sizes, registers, strings
      | [hvwoxbDLlHSRXZNCu]'[^']*'         # escapes with a quoted argument
      | [zk].                              # escapes with one character
      | \$.                                # macro arguments
      | (?P<char>.)                        # any other escape: one character
    )""", re.VERBOSE)

# Escapes of one character and what they stand for.
ROFF_SINGLE = {"-": "-", "e": "\\", "\\": "\\", " ": " ", "~": " ", "0": " ", "'": "'",
               "`": "`", ".": ".", "t": "\t"}

# Requests and macros whose arguments are not text.
ROFF_SKIPPED = set("""
ab ad af am as bd bp br c2 cc ce ch cs cu da de di ds dt ec el em eo ev ex fc fi fl fp ft hc
hw hy ie if ig in it lc lf ll ls lt mc mk na ne nf nh nm nn nr ns nx os pc pi pl pm pn po ps
pso rd rm rn rr rs rt so sp ss sv sy ta tc ti tm tr uf ul vs wh
PD PP LP P TP TQ RS RE TH UR UE MT ME EX EE YS OP SY TS TE T& EQ EN HP IX DT ne AT UC
Dd Dt Os Bl El Bd Ed Bk Ek Pp Lp Sm Bf Ef Rs Re
""".split())

# mdoc macro names that can appear inside a line among its words.
MDOC_CALLABLE = set("""
Ac Ad An Ao Ap Aq Ar At Bc Bo Bq Brc Bro Brq Bsx Bx Cd Cm Dc Dl D1 Do Dq Dv Ec Em En Eo Er
Ev Ex Fa Fc Fd Fl Fn Fo Ft Fx Hf Ic In It Lb Li Lk Ms Mt Nd Nm No Ns Nx Oc Oo Op Ot Ox Pa
Pc Pf Po Pq Qc Ql Qo Qq Rv Sc Sh Sm So Sq Ss St Sx Sy Ta Tn Ux Va Vt Xc Xo Xr
""".split())


def roff_escape(match):
    name = match.group("bracket") or match.group("paren")
    if name is not None:
        if name in ROFF_CHARS:
            return ROFF_CHARS[name]
        if re.fullmatch(r"u[0-9A-Fa-f]{4,6}", name):
            return chr(int(name[1:], 16))
        if len(name) == 2 and name[0] in ROFF_ACCENTS and name[1].isalpha():
            return unicodedata.normalize("NFC", name[1] + ROFF_ACCENTS[name[0]])
        return ""
    char = match.group("char")
    if char is None:
        return ""
    return ROFF_SINGLE.get(char, "" if char in "&%c:|^/,)!{}" else char)


def roff_text(line):
    """The text of one line, its escapes resolved."""
    line = re.sub(r'\\".*$', "", line)
    return ROFF_ESCAPE.sub(roff_escape, line)


def roff_arguments(rest):
    """The words of a macro's arguments, quotes removed."""
    words = re.findall(r'"((?:[^"]|"")*)"|(\S+)', rest)
    return [quoted.replace('""', '"') if quoted or not bare else bare for quoted, bare in words]


def strip_roff(source):
    """The running text of a manual page."""
    out = []
    skipping_block = False
    pending = ""
    for raw in source.split("\n"):
        if pending:
            raw = pending + raw
            pending = ""
        if raw.endswith("\\") and not raw.endswith("\\\\"):
            pending = raw[:-1]
            continue
        if skipping_block:
            if raw.startswith(".."):
                skipping_block = False
            continue
        if raw[:1] in (".", "'"):
            control = raw[1:].lstrip()
            if control.startswith('\\"') or not control:
                continue
            name, _, rest = control.partition(" ")
            name = name.strip()
            if name in ("de", "de1", "am", "ig"):
                skipping_block = True
                continue
            if name in ROFF_SKIPPED or name.startswith("\\"):
                continue
            words = [w for w in roff_arguments(roff_text(rest)) if w not in MDOC_CALLABLE]
            if name == "IP":
                words = words[:1]
            text = " ".join(w for w in words if w)
        else:
            text = roff_text(raw)
        text = text.strip()
        if text or (out and out[-1]):
            out.append(text)
    return "\n".join(out).strip() + "\n"


# --- HTML ------------------------------------------------------------------

class HtmlText(html.parser.HTMLParser):
    """The text of an HTML page's body, without navigation and scripts."""

    SKIPPED = {"head", "script", "style", "header", "aside", "nav", "footer", "noscript",
               "button", "select"}
    BLOCKS = {"p", "div", "br", "li", "tr", "h1", "h2", "h3", "h4", "h5", "h6", "td", "th",
              "table", "ul", "ol", "pre", "dt", "dd"}

    def __init__(self):
        super().__init__(convert_charrefs=True)
        self.depth = 0
        self.parts = []

    def handle_starttag(self, tag, attrs):
        if tag in self.SKIPPED:
            self.depth += 1
        elif tag in self.BLOCKS:
            self.parts.append("\n")

    def handle_endtag(self, tag):
        if tag in self.SKIPPED:
            self.depth = max(0, self.depth - 1)
        elif tag in self.BLOCKS:
            self.parts.append("\n")

    def handle_data(self, data):
        if self.depth == 0:
            self.parts.append(data)


def strip_html(source):
    parser = HtmlText()
    parser.feed(source)
    parser.close()
    lines = (re.sub(r"[ \t\r\f\v]+", " ", line).strip() for line in "".join(parser.parts).split("\n"))
    return "\n".join(line for line in lines if line) + "\n"


# --- the text corpora ------------------------------------------------------

def clean(text):
    """Text without NULs, controls other than tab and newline, private-use
    characters, noncharacters and byte-order marks."""
    def wanted(c):
        o = ord(c)
        if c in "\t\n":
            return True
        if o < 0x20 or 0x7F <= o <= 0x9F or 0xE000 <= o <= 0xF8FF or o == 0xFEFF:
            return False
        if 0xFDD0 <= o <= 0xFDEF or (o & 0xFFFE) == 0xFFFE or o >= 0xF0000:
            return False
        return True
    return "".join(c for c in text if wanted(c))


def read_source(path):
    """The text of a packaged file (gzip-decompressed), or None when it is
    not UTF-8."""
    with open(path, "rb") as f:
        data = f.read()
    if path.endswith(".gz"):
        data = gzip.decompress(data)
    try:
        return data.decode("utf-8")
    except UnicodeDecodeError:
        return None


def source_files(root, dirs, markup):
    suffixes = (".html",) if markup == "html" else (".gz",)
    found = []
    for top, _, files in os.walk(root):
        for name in files:
            path = os.path.join(top, name)
            relative = os.path.relpath(path, root)
            if os.path.islink(path) or not name.endswith(suffixes):
                continue
            if any(relative.startswith(d) for d in dirs):
                found.append(relative)
    return sorted(found)


def cut(text, limit):
    """The longest prefix of `text` whose UTF-8 form has at most `limit`
    bytes."""
    data = text.encode("utf-8")[:limit]
    return data.decode("utf-8", errors="ignore")


def make_text(name, source, root):
    parts = []
    total = 0
    used = skipped = 0
    for relative in source_files(root, source["dirs"], source["markup"]):
        raw = read_source(os.path.join(root, relative))
        if raw is None:
            skipped += 1
            continue
        # Manual pages that only include another one carry no text.
        text = clean(strip_roff(raw) if source["markup"] == "roff" else strip_html(raw))
        if "lines" in source:
            text = "".join(line for line in text.splitlines(keepends=True)
                           if re.search(source["lines"], line))
        if len(text.strip()) == 0:
            continue
        parts.append(text + "\n")
        total += len(parts[-1].encode("utf-8"))
        used += 1
        if total >= CORPUS_BYTES:
            break
    text = cut("".join(parts), CORPUS_BYTES)
    return text, {"files_used": used, "files_not_utf8": skipped}


# --- the legacy corpora ----------------------------------------------------

def expressible(codec, extra_codec, longest, dropped, two_byte_codes=None):
    """A test of whether a character survives `codec` both ways (and agrees
    with `extra_codec`, and its two-byte code lies in `two_byte_codes`)."""
    cache = {}

    def test(c):
        if c not in cache:
            ok = c not in dropped
            if ok:
                try:
                    encoded = c.encode(codec)
                    ok = encoded.decode(codec) == c and len(encoded) <= longest
                    if ok and extra_codec:
                        ok = c.encode(extra_codec) == encoded
                    if ok and two_byte_codes and len(encoded) == 2:
                        code = encoded[0] << 8 | encoded[1]
                        ok = any(first <= code <= last for first, last in two_byte_codes)
                except UnicodeError:
                    ok = False
            cache[c] = ok
        return cache[c]
    return test


def make_legacy(text, codec, dropped):
    keep = expressible(codec, AGREEING_CODEC.get(codec), LONGEST_CODE.get(codec, 4), set(dropped),
                       TWO_BYTE_CODES.get(codec))
    kept = "".join(c for c in text if keep(c))
    return kept.encode(codec), len(text) - len(kept)


# --- download, manifest ----------------------------------------------------

def sha256(path):
    digest = hashlib.sha256()
    with open(path, "rb") as f:
        for block in iter(lambda: f.read(1 << 20), b""):
            digest.update(block)
    return digest.hexdigest()


def load_manifest():
    if not os.path.exists(MANIFEST):
        return None
    with open(MANIFEST, encoding="utf-8") as f:
        return json.load(f)


def up_to_date(manifest, out):
    if manifest is None:
        return False
    for name, entry in manifest["files"].items():
        path = os.path.join(out, name)
        if not os.path.exists(path) or os.path.getsize(path) != entry["bytes"]:
            return False
        if sha256(path) != entry["sha256"]:
            return False
    return True


def download(packages, pinned, work):
    """Downloads and unpacks `packages` (at the pinned versions where they are
    still offered) into work/<package>; returns {package: version}."""
    debs = os.path.join(work, "debs")
    os.makedirs(debs, exist_ok=True)
    versions = {}
    for package in packages:
        for f in os.listdir(debs):
            if f.startswith(package + "_"):
                os.remove(os.path.join(debs, f))
        wanted = [f"{package}={pinned[package]}"] if package in pinned else []
        for request in wanted + [package]:
            result = subprocess.run(["apt-get", "download", request], cwd=debs,
                                    capture_output=True, text=True)
            if result.returncode == 0:
                break
            print(f"apt-get download {request} failed: {result.stderr.strip()}", file=sys.stderr)
        else:
            sys.exit(f"cannot download {package} (run `apt-get update` first?)")
        deb = next(os.path.join(debs, f) for f in os.listdir(debs)
                   if f.startswith(package + "_") and f.endswith(".deb"))
        version = subprocess.run(["dpkg-deb", "-f", deb, "Version"], capture_output=True,
                                 text=True, check=True).stdout.strip()
        target = os.path.join(work, "root", package)
        shutil.rmtree(target, ignore_errors=True)
        os.makedirs(target)
        subprocess.run(["dpkg-deb", "-x", deb, target], check=True)
        versions[package] = version
        print(f"  {package} {version}")
    return versions


def write(out, name, data, files):
    path = os.path.join(out, name)
    with open(path, "wb") as f:
        f.write(data)
    files[name] = {"bytes": len(data), "sha256": hashlib.sha256(data).hexdigest()}


def build(out, pinned):
    work = os.path.join(out, "work")
    packages = sorted({p for s in SOURCES.values() for p in s["packages"]})
    print("downloading", " ".join(packages))
    versions = download(packages, pinned, work)
    files = {}
    corpora = {}
    texts = {}
    for name, source in SOURCES.items():
        texts[name] = ""
        info = {"packages": source["packages"], "files_used": 0, "files_not_utf8": 0}
        for package in source["packages"]:
            text, counts = make_text(name, source, os.path.join(work, "root", package))
            texts[name] += text
            info["files_used"] += counts["files_used"]
            info["files_not_utf8"] += counts["files_not_utf8"]
        texts[name] = cut(texts[name], CORPUS_BYTES)
        write(out, f"{name}.utf8", texts[name].encode("utf-8"), files)
        write(out, f"{name}.utf16le", texts[name].encode("utf-16-le"), files)
        info["characters"] = len(texts[name])
        corpora[name] = info
        print(f"  {name}: {len(texts[name].encode('utf-8'))} bytes of UTF-8 from "
              f"{info['files_used']} files")
    for text_name, codec, suffix, dropped in LEGACY:
        data, lost = make_legacy(texts[text_name], codec, dropped)
        name = f"{text_name}.{suffix}"
        write(out, name, data, files)
        write(out, f"{name}.utf16le", data.decode(codec).encode("utf-16-le"), files)
        corpora[name] = {"from": text_name, "codec": codec, "characters_dropped": lost}
        print(f"  {name}: {len(data)} bytes, {lost} characters dropped")
    shutil.rmtree(work, ignore_errors=True)
    return {"python": sys.version.split()[0], "corpus_bytes": CORPUS_BYTES,
            "packages": versions, "corpora": corpora, "files": files}


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--out", required=True, help="folder of the corpora (build tree)")
    parser.add_argument("--update-manifest", action="store_true",
                        help="write the committed manifest from this build")
    parser.add_argument("--force", action="store_true", help="rebuild even when up to date")
    args = parser.parse_args()
    out = os.path.abspath(args.out)
    os.makedirs(out, exist_ok=True)
    manifest = load_manifest()
    if not args.force and not args.update_manifest and up_to_date(manifest, out):
        print(f"corpora in {out} match the manifest")
        return 0
    made = build(out, manifest["packages"] if manifest else {})
    with open(os.path.join(out, "manifest.json"), "w", encoding="utf-8") as f:
        json.dump(made, f, indent=1, sort_keys=True)
        f.write("\n")
    if args.update_manifest or manifest is None:
        with open(MANIFEST, "w", encoding="utf-8") as f:
            json.dump(made, f, indent=1, sort_keys=True)
            f.write("\n")
        print(f"wrote {MANIFEST}")
        return 0
    if made["files"] != manifest["files"]:
        changed = sorted(n for n in set(made["files"]) | set(manifest["files"])
                         if made["files"].get(n) != manifest["files"].get(n))
        print("the corpora differ from the manifest: " + ", ".join(changed), file=sys.stderr)
        if made["packages"] != manifest["packages"]:
            print(f"package versions now {made['packages']}, manifest {manifest['packages']}; "
                  "check the text and rerun with --update-manifest", file=sys.stderr)
        return 1
    print("corpora match the manifest")
    return 0


if __name__ == "__main__":
    sys.exit(main())
