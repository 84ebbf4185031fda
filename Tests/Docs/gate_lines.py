#!/usr/bin/env python3
"""Compares the lines that LoudGate can print with the tables of Docs/OPERATIONS.md: the tables must list every text,
and no other. Values within a text (names, numbers, "...") are not compared. Usage: gate_lines.py SOURCES DOCUMENT
PLACE...; a place is a folder or a file of the sources."""

import pathlib
import re
import sys

from call_arguments import LITERAL, arguments_at

# Calls that print a line, or throw what ends as one.
CALL = re.compile(r'\b(?:Tell|mReport|mComplaints\.Note|complaints\.Note|throw (?!CLI::)[\w:]*(?:Error|runtime_error))\(')
VALUE = re.compile(r'Address already in use|Failed to initialize TLS support\.'  # by the system and the HTTP library
                   r'|;|\.\.\.|FILE|UTC|https?://[^\s:]*:?|tcp://|/run/shm/mq|[0-9][0-9.:/]*|--[a-z-]+')
# Shorter pieces are units and punctuation.
SHORTEST = 12
# An answer to a request is not a line.
NOT_LINES = {'there is no room for the seconds'}


def pieces(text):
    """The longer parts of a text between its values, without blanks and punctuation at their ends."""
    found = (piece.strip(' :;,.()') for piece in VALUE.split(text))
    return [piece for piece in found if len(piece) >= SHORTEST]


def joined(expression):
    """The literals of an expression, with "..." for what is between them."""
    joint = re.sub(r'"\s*\+?\s*"', '', expression)
    return '...'.join(LITERAL.findall(joint))


def printed_by(text):
    for call in CALL.finditer(text):
        yield joined(arguments_at(text, call.end()))


def sources_in(place):
    return [place] if place.is_file() else sorted(place.rglob('*.[ch]*'))


def main():
    sources, document = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    texts = [re.sub(r'(?m)^\s*(//|#).*$', '', path.read_text())
             for place in sys.argv[3:] for path in sources_in(sources / place)]
    tables = re.findall(r'(?ms)^\| LoudGate says.*?\n\n', document.read_text())
    cells = [cell for table in tables for cell in re.findall(r'(?m)^\| (`.*?`) \|', table)]
    listed = [text for cell in cells for text in re.findall(r'`([^`]+)`', cell)]
    known = ' '.join(listed)
    literals = ' '.join(joined(text) for text in texts)
    printed = {piece for text in texts for line in printed_by(text) for piece in pieces(line)} - NOT_LINES
    complaints = [f'LoudGate prints what {document.name} does not list: {piece}'
                  for piece in sorted(printed) if piece not in known]
    complaints += [f'{document.name} lists what LoudGate never prints: {piece}' for text in listed
                   for piece in pieces(text) if piece not in literals]
    if len(listed) < 20 or len(printed) < 20:
        complaints.append(f'only {len(listed)} texts listed and {len(printed)} printed')
    print('\n'.join(complaints) or f'{len(listed)} texts')
    return 1 if complaints else 0


sys.exit(main())
