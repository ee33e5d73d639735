#!/usr/bin/env python3
"""Generates unicode_table.inc, the per-code-point bit table of U+0000..U+2FFFF.

The table holds Unicode 7.0 data. It is derived from the UCD files of Debian's
`unicode-data` package (any later release works): code points whose DerivedAge is
above 7.0 count as unassigned, and the few characters whose General Category changed
after 7.0 get their 7.0 category back.

Entry bits: 0x80 assigned (not Cn), 0x20 NFKC_QC=N, 0x10 Lu, 0x08 Ll, 0x07 class.

    gen_unicode_table.py [--ucd DIR] [--out FILE] [--check]

--check verifies the known counts and samples and fails loudly if the inputs drift.
"""

import argparse
import os
import re
import sys

TABLE_LEN = 0x30000
MAX_AGE = (7, 0)

# General Category changes between 7.0 and later releases: (first, last, 7.0 category).
CATEGORY_7_0 = [
    (0x10D0, 0x10FA, "Lo"), (0x10FD, 0x10FF, "Lo"),
    (0x13A0, 0x13F4, "Lo"),
    (0x166D, 0x166D, "Po"),
    (0x1734, 0x1734, "Mn"),
    (0x1885, 0x1886, "Lo"),
    (0x19B0, 0x19C0, "Mc"), (0x19C8, 0x19C9, "Mc"),
    (0x1CF2, 0x1CF3, "Mc"),
    (0xA9BD, 0xA9BD, "Mc"),
]

# General Category to the library's class of code point (1..7).
CLASS_OF = {
    "Lu": 6, "Ll": 6, "Lt": 6, "Lm": 6, "Me": 6, "Co": 6, "Cs": 6,
    "Lo": 7,
    "Mn": 5, "Mc": 5, "Sk": 5,
    "Nd": 2, "Nl": 2, "No": 2,
    "Pd": 3, "Ps": 3, "Pe": 3, "Pc": 3, "Po": 3, "Sm": 3, "Sc": 3, "Pi": 3, "Pf": 3,
    "So": 4,
}

EXPECTED_PLANE_COUNTS = (63504, 10004, 47624)
EXPECTED_NFKC = 4793
EXPECTED_UPPER = 1490
EXPECTED_LOWER = 1841
SAMPLES = {
    0x0000: 0x81, 0x0009: 0x81, 0x0020: 0x81, 0x0030: 0x82, 0x005F: 0x83,
    0x0041: 0x96, 0x00C0: 0x96, 0x0061: 0x8E, 0x00E9: 0x8E, 0x00A0: 0xA1,
    0x3000: 0xA1, 0x4E00: 0x87, 0x20000: 0x87, 0xD800: 0x86, 0xE000: 0x86,
    0xFFFD: 0x84, 0x1D400: 0xB6, 0xFDD0: 0x00, 0xFFFE: 0x00, 0xFFFF: 0x00,
    0x2FFFF: 0x00,
}


def ucd_lines(path):
    with open(path, encoding="utf-8") as f:
        for line in f:
            line = line.split("#", 1)[0].strip()
            if line:
                yield [field.strip() for field in line.split(";")]


def parse_range(text):
    if ".." in text:
        first, last = text.split("..")
        return int(first, 16), int(last, 16)
    return int(text, 16), int(text, 16)


def load_categories(ucd):
    category = [None] * TABLE_LEN
    range_start = None
    for fields in ucd_lines(os.path.join(ucd, "UnicodeData.txt")):
        cp = int(fields[0], 16)
        name, gc = fields[1], fields[2]
        if name.endswith(", First>"):
            range_start = cp
            continue
        first = range_start if name.endswith(", Last>") else cp
        range_start = None
        for c in range(first, min(cp, TABLE_LEN - 1) + 1):
            category[c] = gc
    return category


def load_ages(ucd):
    age = [None] * TABLE_LEN
    for fields in ucd_lines(os.path.join(ucd, "DerivedAge.txt")):
        first, last = parse_range(fields[0])
        major, minor = (int(x) for x in fields[1].split("."))
        for c in range(first, min(last, TABLE_LEN - 1) + 1):
            age[c] = (major, minor)
    return age


def load_nfkc_no(ucd):
    no = [False] * TABLE_LEN
    for fields in ucd_lines(os.path.join(ucd, "DerivedNormalizationProps.txt")):
        if len(fields) >= 3 and fields[1] == "NFKC_QC" and fields[2] == "N":
            first, last = parse_range(fields[0])
            for c in range(first, min(last, TABLE_LEN - 1) + 1):
                no[c] = True
    return no


def build(ucd):
    category = load_categories(ucd)
    age = load_ages(ucd)
    nfkc_no = load_nfkc_no(ucd)
    for first, last, gc in CATEGORY_7_0:
        for c in range(first, last + 1):
            category[c] = gc
    table = bytearray(TABLE_LEN)
    for c in range(TABLE_LEN):
        gc = category[c]
        if gc is None or gc == "Cn" or age[c] is None or age[c] > MAX_AGE:
            continue
        entry = 0x80 | CLASS_OF.get(gc, 1)
        if nfkc_no[c]:
            entry |= 0x20
        if gc == "Lu":
            entry |= 0x10
        elif gc == "Ll":
            entry |= 0x08
        table[c] = entry
    return table


def check(table):
    problems = []
    planes = tuple(sum(1 for b in table[p * 0x10000:(p + 1) * 0x10000] if b) for p in range(3))
    if planes != EXPECTED_PLANE_COUNTS:
        problems.append(f"non-zero entries per plane {planes}, expected {EXPECTED_PLANE_COUNTS}")
    for name, bit, expected in (("NFKC", 0x20, EXPECTED_NFKC), ("upper", 0x10, EXPECTED_UPPER),
                                ("lower", 0x08, EXPECTED_LOWER)):
        count = sum(1 for b in table if b & bit)
        if count != expected:
            problems.append(f"{name} entries {count}, expected {expected}")
    for cp, expected in SAMPLES.items():
        if table[cp] != expected:
            problems.append(f"U+{cp:04X} is 0x{table[cp]:02X}, expected 0x{expected:02X}")
    return problems


def c_literal_lines(data, width=100):
    """Octal-escaped string literal lines. Escapes are at most three digits, and a digit never
    follows one unescaped, so every escape is unambiguous."""
    lines, line = [], []
    length = 0
    for i, b in enumerate(data):
        if 0x20 <= b < 0x7F and b not in (0x22, 0x5C, 0x3F) and not (0x30 <= b <= 0x37):
            piece = chr(b)
        else:
            nxt = data[i + 1] if i + 1 < len(data) else None
            if nxt is not None and 0x30 <= nxt <= 0x37:
                piece = f"\\{b:03o}"
            else:
                piece = f"\\{b:o}"
        line.append(piece)
        length += len(piece)
        if length >= width:
            lines.append('"' + "".join(line) + '"')
            line, length = [], 0
    if line:
        lines.append('"' + "".join(line) + '"')
    return lines


def write_inc(table, path):
    # The array's last entries are zero: the literal stops at the last non-zero entry and the
    # rest (the implicit terminator included) is zero-filled.
    end = max(i for i, b in enumerate(table) if b) + 1
    body = c_literal_lines(bytes(table[:end]))
    header = [
        "// Generated by gen_unicode_table.py from the Unicode Character Database; do not edit.",
        "// Unicode 7.0 data for U+0000..U+2FFFF; entry bits: 0x80 assigned, 0x20 NFKC_QC=N,",
        "// 0x10 upper case, 0x08 lower case, 0x07 class of code point.",
        f"// Literal covers U+0000..U+{end - 1:04X}; the entries after it are zero.",
    ]
    text = "\n".join(header + body) + "\n"
    tmp = path + ".tmp"
    with open(tmp, "w", encoding="ascii", newline="\n") as f:
        f.write(text)
    os.replace(tmp, path)


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--ucd", default="/usr/share/unicode", help="directory of the UCD files")
    parser.add_argument("--out", default=os.path.join(here, "unicode_table.inc"))
    parser.add_argument("--check", action="store_true", help="verify counts and samples")
    args = parser.parse_args()
    if not os.path.exists(os.path.join(args.ucd, "UnicodeData.txt")):
        sys.exit(f"gen_unicode_table: no UnicodeData.txt in {args.ucd} "
                 "(install Debian's unicode-data package or pass --ucd)")
    table = build(args.ucd)
    problems = check(table)
    if problems:
        for p in problems:
            print("gen_unicode_table: " + p, file=sys.stderr)
        if args.check:
            sys.exit(1)
    write_inc(table, args.out)


if __name__ == "__main__":
    main()
