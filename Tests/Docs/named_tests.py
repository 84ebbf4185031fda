#!/usr/bin/env python3
"""Checks that the tests that a document names exist. Names are `Suite.Name`, with asterisks for any text.
Usage: named_tests.py DOCUMENT TESTS"""

import fnmatch
import pathlib
import re
import sys

NAMED = re.compile(r'`([A-Za-z*]+\.[A-Za-z]*\*)`')
EXAMPLES = {'Name.*'}  # not tests, but examples of names
IN_SOURCE = re.compile(r'^TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)', re.M)
IN_LIST = re.compile(r'^\s*add_test\(NAME (\w+\.)', re.M)


def tests_in(folder):
    """The names of all tests. Those that a loop in a CMakeLists.txt adds end before the part that varies."""
    for source in folder.rglob('*.cpp'):
        for suite, name in IN_SOURCE.findall(source.read_text()):
            yield f'{suite}.{name}'
    for build_list in folder.rglob('CMakeLists.txt'):
        yield from IN_LIST.findall(build_list.read_text())


def main():
    document, folder = map(pathlib.Path, sys.argv[1:])
    tests = list(tests_in(folder))
    named = set(NAMED.findall(document.read_text())) - EXAMPLES
    missing = sorted(name for name in named if not fnmatch.filter(tests, name))
    for name in missing:
        print(f'{document.name} names {name}, which is not a test')
    if not named:
        print(f'{document.name} names no test')
    sys.exit(1 if missing or not named else 0)


main()
