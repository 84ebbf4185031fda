#!/usr/bin/env -S python3 -IS
"""For each object that BUILD is going to compile, makes OBJECT.made a link to the one that OTHER has
compiled with the very same command, if it has and the source has not changed since. take-object.sh
then takes that one. Usage: made-objects.py OTHER BUILD"""

import json
import sys
from pathlib import Path


def normalised(command, build):
    """The command from the compiler on, without its launcher and wherever it builds. The system's
    include paths, whose places among the flags pkg-config changes from run to run, come last but for
    the source."""
    words = command.replace(str(build), "<build>").split()
    words = words[next(i for i, word in enumerate(words) if word.startswith("-")) - 1 :]
    plain, system = [], []
    rest = iter(words[:-1])
    for word in rest:
        if word == "-isystem":
            system += [word, next(rest)]
        else:
            plain.append(word)
    return tuple(plain + system + words[-1:])


def compilations(build):
    """Command, object and source of everything that a build compiles."""
    with open(build / "compile_commands.json") as file:
        for entry in json.load(file):
            command = normalised(entry["command"], build)
            yield command, build / command[command.index("-o") + 1], Path(entry["file"])


def is_current(made, source):
    return made.exists() and made.stat().st_mtime >= source.stat().st_mtime


def main():
    other, build = Path(sys.argv[1]), Path(sys.argv[2])
    made = {command: made for command, made, source in compilations(other) if is_current(made, source)}
    for command, target, _ in compilations(build):
        link = target.with_name(target.name + ".made")
        link.unlink(missing_ok=True)
        if command in made:
            link.parent.mkdir(parents=True, exist_ok=True)
            link.symlink_to(made[command])


main()
