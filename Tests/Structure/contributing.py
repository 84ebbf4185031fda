#!/usr/bin/env python3
"""Checks the tables "Where to change what" of Docs/CONTRIBUTING.md against the sources.

Every file in a row must exist and contain the names in the parentheses after it. A change must need at most
four files, not counting tests and documents.

Usage: contributing.py ROOT: the repository.
"""

import pathlib
import re
import sys

MOST_FILES = 4
COLUMNS = ["change", "files", "tests to extend"]


def rows_of(document):
    """The rows of the tables with these columns, as lists of cells."""
    rows = []
    is_table = False
    for line in document.read_text(encoding="utf-8").splitlines():
        cells = [cell.strip() for cell in line.strip().strip("|").split("|")]
        if not line.startswith("|"):
            is_table = False
        elif cells == COLUMNS:
            is_table = True
        elif is_table and not line.startswith("|-"):
            rows.append(cells)
    return rows


def places_of(cell):
    """The paths that a cell names, each with the names in the parentheses after it."""
    for path, names in re.findall(r"`([\w./]+/[\w./]+)`(?: \(([^)]*)\))?", cell):
        yield path, re.findall(r"`(\w+)`", names)


def check_place(root, change, path, names, faults):
    file = root / path
    if not file.is_file():
        faults.append(f"{change}: there is no {path}")
        return
    text = file.read_text(encoding="utf-8")
    for name in names:
        if not re.search(rf"\b{name}\b", text):
            faults.append(f"{change}: {path} does not contain {name}")


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    faults = []
    rows = rows_of(root / "Docs" / "CONTRIBUTING.md")
    if len(rows) < 10:
        faults.append(f"CONTRIBUTING.md has {len(rows)} rows of changes, fewer than ten")
    for change, files, tests in rows:
        places = list(places_of(files))
        if not 1 <= len(places) <= MOST_FILES:
            faults.append(f"{change}: {len(places)} files, not 1 to {MOST_FILES}")
        if any(not names for _, names in places):
            faults.append(f"{change}: a file without a name to look for")
        if not list(places_of(tests)):
            faults.append(f"{change}: no test")
        for path, names in places + list(places_of(tests)):
            check_place(root, change, path, names, faults)
    for fault in faults:
        print(f"CONTRIBUTING.md: {fault}")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
