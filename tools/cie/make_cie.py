#!/usr/bin/env python3
"""Writes zvc/imaging/zvcolor_cie.cpp, the colour-matching tables, from cie1931_1nm.csv beside this script.

Run it after a change of the table: tools/cie/make_cie.py. With --check it compares instead, and fails where they differ.
"""
import csv
import pathlib
import sys

HERE = pathlib.Path(__file__).resolve().parent
TARGET = HERE.parent.parent / "zvc" / "imaging" / "zvcolor_cie.cpp"

HEAD = """// Made by tools/cie/make_cie.py from tools/cie/cie1931_1nm.csv: do not edit.
//
// Colour-matching functions of the CIE 1931 standard colorimetric observer, 360 to 830 nm in steps of 1 nm, figures as
// published: ISO/CIE 11664-1:2019 (CIE 018:2019); International Commission on Illumination (CIE), Vienna, 2019,
// DOI 10.25039/CIE.DS.xvudnb9b, CC BY-SA 4.0.

#include "zvc/imaging/zvcolor.h"
"""


def source(rows):
    out = [HEAD]
    for axis in "xyz":
        figures = [f"{float(row[axis])!r}f" for row in rows]
        out.append(f"const float zvcolor::cie_{axis}[cie_num] = {{")
        for i in range(0, len(figures), 8):
            out.append("    " + ", ".join(figures[i:i + 8]) + ",")
        out.append("};\n")
    return "\n".join(out)


def main():
    with open(HERE / "cie1931_1nm.csv", newline="") as file:
        rows = list(csv.DictReader(file))
    assert [int(row["wavelength_nm"]) for row in rows] == list(range(360, 831))
    text = source(rows)
    if sys.argv[1:] == ["--check"]:
        return 0 if TARGET.read_bytes() == text.encode() else "zvcolor_cie.cpp is not what make_cie.py writes"
    TARGET.write_text(text)
    return 0


sys.exit(main())
