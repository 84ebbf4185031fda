#!/usr/bin/env -S python3 -IS
"""Compiler launcher: an object that the build under test has made with the very same command is taken
from there; any other is compiled. Usage: reuse-object.py BUILD COMPILER ARGUMENTS..."""

import json
import os
import shlex
import shutil
import sys
from pathlib import Path

PLACEHOLDER = "<build>"


def normalised(command, build):
    """The command from the compiler on, without its launcher and wherever it builds. The system's
    include paths, which pkg-config puts now here and now there among the flags, come last but for the
    source."""
    words = [word.replace(str(build), PLACEHOLDER) for word in command]
    words = words[next(i for i, word in enumerate(words) if word.startswith("-")) - 1 :]
    plain, system = [], []
    rest = iter(words[:-1])
    for word in rest:
        if word == "-isystem":
            system += [word, next(rest)]
        else:
            plain.append(word)
    return plain + system + words[-1:]


def after(words, flag):
    return words[words.index(flag) + 1] if flag in words else None


def made_object(build, words):
    """The other build's object of this command, if it is there and younger than its source."""
    source = words[-1]
    with open(build / "compile_commands.json") as file:
        for entry in json.load(file):
            if not entry["command"].endswith(source.replace(PLACEHOLDER, str(build))):
                continue
            if normalised(shlex.split(entry["command"]), build) == words:
                made = build / after(words, "-o")
                is_new = made.exists() and made.stat().st_mtime >= Path(entry["file"]).stat().st_mtime
                return made if is_new else None
    return None


def take(made, target):
    try:
        os.link(made, target)
    except OSError:  # on another file system
        shutil.copyfile(made, target)


def main():
    build, command = Path(sys.argv[1]), sys.argv[2:]
    words = normalised(command, Path.cwd())
    # What says how to write the list of dependencies is not part of compile_commands.json.
    for flag in ("-MT", "-MF"):
        if flag in words:
            at = words.index(flag)
            del words[at : at + 2]
    words = [word for word in words if word != "-MD"]
    target = after(command, "-o")
    made = made_object(build, words) if target else None
    # What is there may be the other build's own file: it is replaced, never written to.
    if target:
        Path(target).unlink(missing_ok=True)
    if made is None:
        os.execvp(command[0], command)
    take(made, target)
    if dependencies := after(command, "-MF"):
        Path(dependencies).write_text(f"{target}: {command[-1]}\n")


main()
