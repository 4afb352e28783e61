#!/usr/bin/env python3
"""Reports links, paths, names, commands and lines of trees that do not fit the repository: check_documents.py ROOT

Checks each page below ROOT and prints one line for each fault. Exits with 1 if there is a fault."""

import os
import re
import shlex
import sys
from pathlib import Path


class Checker:
    """Finds the faults of a line and yields them as texts. A path is relative to root or to the page."""

    def __init__(self, root):
        self.root = root
        self.folders = {path.name for path in root.iterdir() if path.is_dir()} - {".git", "build"}
        self.presets = re.findall(r'"name": "([\w-]+)"', (root / "CMakePresets.json").read_text())
        sources = [path for folder in self.folders for path in (root / folder).rglob("*.[ch]*")]
        self.names = {name for path in sources if path.is_file()
                      for name in re.findall(r"\w+", path.read_text(errors="ignore"))}

    def in_prose(self, page, line):
        for target in re.findall(r"\]\((?![a-z]+:)([^)\s]+)\)", re.sub(r"`[^`]*`", "", line)):
            yield from self.in_link(page, target)
        for span in re.findall(r"`([^`]+)`", line):
            if " " in span or span.startswith(("build/", "script/")):
                yield from self.in_command(span)
            elif "/" in span and not span.startswith("/"):
                yield from self.in_path(page, span)
            elif re.match(r"(k[A-Z]|m_|QEL[A-Z])\w+(::\w+)?$", span) and span not in ("kName", "m_Name"):
                yield from (f"no {name} in the sources" for name in span.split("::") if name not in self.names)
        for path, spans in re.findall(r"`([\w./-]+\.\w+)`: ([^|;.]*)", line):
            names = re.findall(r"`(\w+)`", spans)
            yield from (f"no {name} in {path}" for name in names if not self.has_word(path, name))

    def in_path(self, page, path):
        for folder in {self.root, page.parent}:
            is_known = any(folder.glob(re.sub(r"<[^>]*>", "*", path).rstrip("/")))
            if (folder / path.split("/")[0]).is_dir() and not is_known:
                yield f"no file or folder {path}"

    def in_link(self, page, target):
        name, _, anchor = target.partition("#")
        linked = page.parent / name if name else page
        if not linked.exists():
            yield f"no file for the link {target}"
        elif anchor:
            titles = re.findall(r"^#+ (.+)", linked.read_text(), re.M)
            if anchor not in (re.sub(r"[^\w -]", "", title.lower()).replace(" ", "-") for title in titles):
                yield f"no heading for the link {target}"

    def in_command(self, line):
        words = [word for word in shlex.split(line, comments=True) if not re.match(r"[A-Z_]+=|sudo$", word)]
        program, argument = (words + ["", ""])[:2]
        if program.split("/")[0] in self.folders and "/" in program:
            if not os.access(self.root / program, os.X_OK):
                yield f"no program {program}"
            elif re.fullmatch(r"(--)?[a-z]+", argument) and not self.has_word(program, argument):
                yield f"{program} has no argument {argument}"
        presets = re.findall(r"(?:--preset |(?<!\S)build/)([\w-]+)", line)
        yield from (f"no preset {name}" for name in presets if name not in self.presets)
        targets = re.findall(r"--target ([\w-]+)", line)
        yield from (f"no target {name}" for name in targets if not self.has_word("**/CMakeLists.txt", name))
        suites = re.findall(r"--gtest_filter=(\w+)", line)
        yield from (f"no test suite {name}" for name in suites if not self.has_word("tests/**/*.cpp", name))

    def in_tree(self, lines):
        """Each line is a name, indented below the name of its folder, and an optional purpose."""
        above, paths = [], set()
        for line in lines:
            indent = len(line) - len(line.lstrip())
            above = [entry for entry in above if entry[0] < indent] + [(indent, line.split()[0])]
            paths.add("".join(name for _, name in above).rstrip("/"))
        yield from (f"no file or folder {path}" for path in sorted(paths) if not (self.root / path).exists())
        yield from (f"no line for {folder}/" for folder in sorted(self.folders - paths))

    def has_word(self, pattern, word):
        """Returns whether a file that matches the pattern contains the word."""
        return any(re.search(rf"(?<!\w){re.escape(word)}(?!\w)", path.read_text())
                   for path in self.root.glob(pattern) if path.is_file())


def check(root):
    """Yields a line for each fault, with the page, the line number and the text of the fault."""
    checker = Checker(root)
    for page in sorted(path for path in root.rglob("*.md") if "build" not in path.relative_to(root).parts):
        block, tree = None, []
        for number, line in enumerate(page.read_text().splitlines(), 1):
            faults = []
            if line.startswith("```"):
                faults = checker.in_tree(tree) if block == "tree" else []
                block = line[3:] if block is None else None
            elif block is None:
                faults = checker.in_prose(page, line)
            elif block == "sh":
                faults = checker.in_command(line)
            elif block == "tree":
                tree.append(line)
            yield from (f"{page.relative_to(root)}:{number}: {fault}" for fault in faults)


if __name__ == "__main__":
    sys.exit("\n".join(check(Path(sys.argv[1]))) or None)
