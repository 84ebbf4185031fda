#!/usr/bin/env python3
"""Checks the include lines against the tables of libraries in Docs/ARCHITECTURE.md.

The tables together list the libraries in order, the lowest first. A file may only include files of its own
library and of those listed earlier. Units and checked folders must not include each other in a circle. If a
table has a column "includes", it must name exactly the libraries whose files the library includes.

Usage: layers.py ROOT [FOLDER...]: the repository, and the folders to check. Files of other folders are only
included.
"""

import pathlib
import re
import sys

HEADER_COLUMNS = ("library", "folder")


def cells(line):
    return [cell.strip().replace("`", "") for cell in line.strip().strip("|").split("|")]


def read_tables(document):
    """The libraries in their order: name -> {column: text}."""
    libraries = {}
    columns = None
    for line in document.read_text(encoding="utf-8").splitlines():
        if not line.startswith("|"):
            columns = None
        elif columns is None:
            columns = cells(line)
        elif tuple(columns[:2]) == HEADER_COLUMNS and not line.startswith("|-"):
            row = dict(zip(columns, cells(line)))
            libraries[row["library"]] = row
    return libraries


def read_targets(folder, kind):
    """What a folder's CMakeLists.txt makes of a kind ("library", "executable"): name -> files."""
    text = re.sub(r"#.*", "", (folder / "CMakeLists.txt").read_text(encoding="utf-8"))
    targets = {}
    for name, body in re.findall(rf"\w*add_{kind}\(\s*(\w+)([^)]*)\)", text):
        words = body.split("LINK")[0].split()
        targets[name] = [folder / word for word in words if word.endswith((".cpp", ".h"))]
    return targets


class Tree:
    """The files of the libraries, and which files include which."""

    def __init__(self, root, libraries, faults):
        self.faults = faults
        self.library_of = {}  # path -> library
        self.paths = {}  # name of a header -> path
        for folder in sorted({row["folder"] for row in libraries.values()}):
            names = [name for name, row in libraries.items() if row["folder"] == folder]
            self.add_folder(root / folder, names)

    def add_folder(self, here, names):
        targets = read_targets(here, "library")
        sources = {name: {path.stem for path in files} for name, files in targets.items()}
        for name in names:
            if name not in sources:
                self.faults.append(f"{here}/CMakeLists.txt has no library {name}")
        files = [p for p in here.iterdir() if p.is_file()]
        files += (here / "Include").iterdir() if (here / "Include").is_dir() else []
        for path in sorted(p for p in files if p.suffix in (".cpp", ".h")):
            owners = [name for name in names if path.stem in sources.get(name, ())]
            if not owners and len(names) == 1 and path.suffix == ".h":
                owners = names  # a header without a source belongs to the folder's only library
            self.add_file(path, owners)

    def add_file(self, path, owners):
        if len(owners) > 1:
            self.faults.append(f"{path.name} belongs to several libraries: {', '.join(owners)}")
        if path.suffix == ".h":
            if path.name in self.paths:
                self.faults.append(f"two headers have the name {path.name}")
            self.paths[path.name] = path
        if owners:
            self.library_of[path] = owners[0]

    def includes(self, path):
        """The headers of ours that a file includes."""
        for name in re.findall(r'^#include "([^"]+)"', path.read_text(encoding="utf-8"), re.M):
            if name in self.paths:
                yield self.paths[name]
            else:
                self.faults.append(f"{path}: {name} does not belong to a library of the tables")


def check_order(tree, libraries, checked, faults):
    """Checks that includes only go down the list. Returns which library includes which."""
    rank = {name: place for place, name in enumerate(libraries)}
    used = {name: set() for name in libraries}
    for path, own in tree.library_of.items():
        if not checked(path):
            continue
        for header in tree.includes(path):
            other = tree.library_of.get(header)
            if other is None:
                faults.append(f"{path} includes {header.name}, which does not belong to a library")
            elif other != own:
                used[own].add(other)
                if rank[other] > rank[own]:
                    faults.append(f"{path} of {own} includes {header.name} of {other} above it")
    return used


def check_columns(libraries, used, faults):
    for name, row in libraries.items():
        if "includes" not in row:
            continue
        listed = {word for word in re.split(r"[,\s]+", row["includes"]) if word and word != "-"}
        for other in sorted(listed - used[name]):
            faults.append(f"ARCHITECTURE.md says that {name} includes {other}, which it does not")
        for other in sorted(used[name] - listed):
            faults.append(f"{name} includes {other}, which ARCHITECTURE.md does not say")


def unit_of(path):
    """A unit is a source with its header."""
    return path.stem


def folder_of(path):
    return str(path.parent.parent if path.parent.name == "Include" else path.parent)


def check_circles(tree, checked, group_of, what, faults):
    """Groups of files, by `group_of`, that include one another; found by walking down."""
    needs = {}
    for path in tree.library_of:
        if checked(path):
            group = needs.setdefault(group_of(path), set())
            group.update(group_of(header) for header in tree.includes(path))
            group.discard(group_of(path))
    done = set()

    def walk(group, trail):
        if group in trail:
            circle = trail[trail.index(group):] + [group]
            faults.append(f"a circle of {what}: " + " -> ".join(circle))
        elif group not in done:
            for other in sorted(needs.get(group, ())):
                walk(other, trail + [group])
            done.add(group)

    for group in sorted(needs):
        walk(group, [])


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    folders = [root / folder for folder in sys.argv[2:]]
    faults = []
    libraries = read_tables(root / "Docs" / "ARCHITECTURE.md")
    if not libraries:
        faults.append("ARCHITECTURE.md has no table of libraries")
    tree = Tree(root, libraries, faults)

    def checked(path):
        return any(folder in path.parents for folder in folders)

    if not any(checked(path) for path in tree.library_of):
        faults.append("nothing is checked")
    for folder in folders:
        programs = set()  # programs may include anything
        for build_file in folder.rglob("CMakeLists.txt"):
            programs.update(*read_targets(build_file.parent, "executable").values())
        for path in sorted(folder.rglob("*.cpp")) + sorted(folder.rglob("*.h")):
            if path not in tree.library_of and path not in programs:
                faults.append(f"{path} does not belong to a library of the tables")
    used = check_order(tree, libraries, checked, faults)
    in_tables = {n: row for n, row in libraries.items() if checked(root / row["folder"] / "file")}
    check_columns(in_tables, used, faults)
    check_circles(tree, checked, unit_of, "units", faults)
    check_circles(tree, checked, folder_of, "folders", faults)
    for fault in dict.fromkeys(faults):
        print(fault.replace(f"{root}/", ""))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
