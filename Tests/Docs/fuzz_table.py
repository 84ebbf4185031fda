#!/usr/bin/env python3
"""Checks that the table of the last fuzz runs has a row for every target, and no other rows.
Usage: fuzz_table.py DOCUMENT FUZZ"""

import pathlib
import re
import sys

ROW = re.compile(r'^\| `(\w+Fuzz)` \| \d+ \| \d+ \| \d+ \| \d+ \|$', re.M)


def main():
    document, folder = map(pathlib.Path, sys.argv[1:])
    targets = sorted(source.stem for source in folder.glob('*Fuzz.cpp'))
    rows = ROW.findall(document.read_text())
    faults = [f'there is no row for {target}' for target in targets if target not in rows]
    faults += [f'there is a row for {row}, which is not a target' for row in rows if row not in targets]
    faults += [f'there are two rows for {row}' for row in sorted(set(rows)) if rows.count(row) > 1]
    if not targets:
        faults.append(f'there is no target in {folder}')
    for fault in faults:
        print(f'{document.name}: {fault}')
    sys.exit(1 if faults else 0)


main()
