#!/usr/bin/env python3
"""Checks the includes of the port: check_includes.py FOLDER. FOLDER is platform/desktop.

Dependencies between the folders run one way. Every folder may include the headers of the main folder,
such as paths and resources. The main folder includes no header of a subfolder. Includes are
relative to FOLDER.

Prints one line for each fault and exits with 1 if there is a fault.
"""

import os
import re
import sys

# The folders that each folder may include, in addition to itself and the main folder.
ALLOWED = {
    "": set(),
    "log": set(),
    "log_copy": {"log"},
    "toolkit": {"log"},
    "lifecycle": {"log", "log_copy", "toolkit"},
}


def sources(root):
    """Yields the folder and the path, relative to root, of every C++ file except in include folders."""
    for folder, folders, files in os.walk(root):
        folders[:] = sorted(set(folders) - {"include"})
        folder = os.path.relpath(folder, root).replace(".", "", 1)
        for name in sorted(files):
            if name.endswith((".cpp", ".h")):
                yield folder, os.path.join(folder, name)


def includes(path):
    """Yields the line number and the path of every include in quotation marks."""
    with open(path, encoding="utf-8") as file:
        for number, line in enumerate(file, 1):
            found = re.match(r'\s*#\s*include\s*"([^"]+)"', line)
            if found:
                yield number, found[1]


def faults(root):
    """Returns a list of texts, one for each fault."""
    found = []
    for folder, path in sources(root):
        if folder not in ALLOWED:
            found.append(f"{path}: the check has no rule for the folder {folder}")
            continue
        for number, include in includes(os.path.join(root, path)):
            included = os.path.dirname(include)
            if not os.path.isfile(os.path.join(root, include)):
                found.append(f"{path}:{number}: {include} is not a file below {root}")
            elif included not in ALLOWED[folder] | {folder, ""}:
                found.append(f"{path}:{number}: {folder or 'the main folder'} must not include"
                             f" {include}")
    return found


def main():
    found = faults(sys.argv[1])
    for fault in found:
        print("check_includes: " + fault, file=sys.stderr)
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()
