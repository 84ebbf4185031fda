#!/usr/bin/env -S python3 -IS
"""Links OBJECT.made to the object that OTHER has compiled with the same command, for each object that BUILD
will compile, unless the source has changed since. take-object.sh then uses it. Usage: made-objects.py OTHER BUILD"""

import json
import sys
from pathlib import Path


def normalised(command, build):
    """The command without the compiler's launcher and the build folder. The system's include paths, whose
    order among the flags varies between runs of pkg-config, are moved to the end, before the source."""
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
