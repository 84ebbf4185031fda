#!/usr/bin/env python3
"""Compares the texts that the service can print with the tables of log lines in Docs/OPERATIONS.md: the tables
must list every text, and nothing else. Usage: log_lines.py SOURCES DOCUMENT FOLDER..."""

import pathlib
import re
import sys

from call_arguments import LITERAL, arguments_at

# Calls that write a line.
CALL = re.compile(r'\b(LOUDCALC_LOG|LOUDCALC_PRINT|LOUDCALC_CONSOLE|PrintEngineFault|Fprintf|(?:std::)?f?printf'
                  r'|Debug|Info|Warn|Error|Critical)\(')
SNPRINTF_OF_LOSS = re.compile(r'snprintf\((line, sizeof line, )')
MESSAGE = re.compile(r'\berror = (std::string[^;]*);', re.S)
CONVERSION = re.compile(r'%[-+ #0]*[0-9]*(?:\.[0-9]+)?(?:hh|h|ll|l|z)?[diuxXfscp]')
UNITS = re.compile(r'^\.\.\.\|\.\.\.\| ?')  # "%s|%u|": unit and line before the text
PREFIXES = {'kErrorPrefix': 'NET ERROR : ', 'PrintEngineFault': 'LOUD C ERR: '}
# Texts of functions that the service never calls: memory dumps, and complaints about network settings.
NEVER_CALLED = {
    'Utilities.cpp': {'Dumping 0x... (...) bytes.', '0x......', '..',
                      'ADDR 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 0123456789ABCDEF'},
    'NetworkUtils.cpp': {'NET ERROR :', 'NET ERROR : Unable to get mac address from ioctl.',
                         'ERROR: CreateTcpSocket IP <...>, port <...>, Result: ... Max Length: ...',
                         'Resultant string: <...>'}}


def unescape(literal):
    return re.sub(r'\\(.)', lambda m: {'n': '\n', 't': '\t'}.get(m[1], m[1]), literal)


def normal(text):
    """The text as the document writes it: single blanks, no quotation marks around it, no line feed."""
    text = ' '.join(text.replace('`', "'").split())
    return re.sub(r'^"(.*)"$', r'\1', text)


def of_format(arguments):
    """The text of the first run of adjacent literals among the arguments of a call."""
    first = re.search(r'"(?:[^"\\]|\\.)*"(?:\s*"(?:[^"\\]|\\.)*")*', arguments)
    if first is None:
        return None
    text = unescape(''.join(LITERAL.findall(first[0])))
    for name, prefix in PREFIXES.items():
        if name in arguments and text.startswith('%s'):
            text = prefix + text[2:]
    text = CONVERSION.sub('...', text)
    return normal(UNITS.sub('', text))


def of_sum(expression):
    """The text of literals and values that are put together with +."""
    pieces = re.split(r'\s*\+\s*(?=(?:[^"]|"(?:[^"\\]|\\.)*")*$)', expression)
    return normal(''.join(unescape(p.strip()[1:-1]) if p.strip().startswith('"') else '...' for p in pieces))


def printed_by(path):
    text = re.sub(r'(?m)^\s*(//|#define).*$', '', path.read_text())
    for call in CALL.finditer(text):
        found = of_format(arguments_at(text, call.end()))
        if found is not None:
            yield PREFIXES.get(call[1], '') + found
    for call in SNPRINTF_OF_LOSS.finditer(text):
        yield of_format(arguments_at(text, call.start(1)))
    for message in MESSAGE.finditer(text):
        yield of_sum(message[1])


def printed(sources, folders):
    texts = {}
    for folder in folders:
        for path in sorted((sources / folder).rglob('*.cpp')):
            never = NEVER_CALLED.get(path.name, set()) | {'...'}
            for text in printed_by(path):
                if text not in never:
                    texts.setdefault(text, path.relative_to(sources))
    return texts


def documented(document):
    section = document.read_text().split('\n## 6. Log lines\n')[1].split('\n## ')[0]
    return set(re.findall(r'(?m)^\| `([^`]+)` \|', section))


def main():
    sources, document = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    texts = printed(sources, sys.argv[3:])
    listed = documented(document)
    complaints = [f'{path} prints what {document.name} does not list: {text}'
                  for text, path in texts.items() if text not in listed]
    complaints += [f'{document.name} lists what nothing prints: {text}' for text in sorted(listed - set(texts))]
    if len(texts) < 60:
        complaints.append(f'only {len(texts)} texts found in the sources')
    print('\n'.join(complaints) or f'{len(texts)} texts')
    return 1 if complaints else 0


sys.exit(main())
