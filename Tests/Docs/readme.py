#!/usr/bin/env python3
"""Checks that a newcomer can read the README in a few minutes and find the rest from there.

It must fit on two pages and have a table that compares four meters by twenty items. The two main commands must
exist and come before all others. Links in the README and in the documents that it links to must lead to existing
files and headings. Pictures must be small.

Usage: readme.py ROOT: the repository.
"""

import pathlib
import re
import sys

MOST_LINES = 110  # two pages of 55 lines
TWO_COMMANDS = ["./demo", "./check"]
ITEMS = 20
METERS = ["LoudDesk", "ffmpeg", "loudgain", "libebur128"]
MOST_PICTURE_BYTES = 150_000

LINK = re.compile(r'\]\(([^)\s]+)\)|src="([^"]+)"')


def anchors_of(text):
    """The headings in the form that links use."""
    headings = re.findall(r"^#+ (.*)$", text, re.M)
    return {re.sub(r"[^\w -]", "", heading.lower()).replace(" ", "-") for heading in headings}


def check_links(document, faults):
    """Returns the documents that this one links to."""
    linked = set()
    for link in ("".join(groups) for groups in LINK.findall(document.read_text(encoding="utf-8"))):
        name, _, anchor = link.partition("#")
        target = document.parent / name if name else document
        if "://" in link:
            continue
        if not target.exists():
            faults.append(f"{document.name}: there is no {link}")
        elif anchor and anchor not in anchors_of(target.read_text(encoding="utf-8")):
            faults.append(f"{document.name}: there is no heading for {link}")
        elif target.suffix == ".md":
            linked.add(target.resolve())
        elif target.suffix == ".png" and target.stat().st_size > MOST_PICTURE_BYTES:
            faults.append(f"{link} has more than {MOST_PICTURE_BYTES} bytes")
    return linked


def check_table(text, faults):
    rows = [[cell.strip() for cell in line.strip().strip("|").split("|")]
            for line in text.splitlines() if line.startswith("|")]
    heads = [number for number, row in enumerate(rows) if row[1:] == METERS]
    items = rows[heads[0] + 2:] if heads else []
    if len(items) != ITEMS or not all(len(row) == 5 and all(row) for row in items):
        faults.append(f"the table of {', '.join(METERS)} does not have {ITEMS} full rows at the end")


def check_readme(root, faults):
    text = (root / "README.md").read_text(encoding="utf-8")
    if len(text.splitlines()) > MOST_LINES:
        faults.append(f"more than {MOST_LINES} lines")
    commands = re.findall(r"^    (\S+)", text, re.M)
    if commands[:1] + [word for word in commands[1:] if word.startswith("./")] != TWO_COMMANDS:
        faults.append(f"the first commands are not {' and '.join(TWO_COMMANDS)}")
    faults += [f"there is no {command}" for command in TWO_COMMANDS if not (root / command).is_file()]
    check_table(text, faults)


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    faults = []
    check_readme(root, faults)
    for document in check_links(root / "README.md", faults):
        check_links(document, faults)
    print("\n".join(faults) or "no faults in the README")
    sys.exit(bool(faults))


main()
