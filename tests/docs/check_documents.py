#!/usr/bin/env python3
"""Checks that what the documents name exists: paths, commands, options, presets, tests, labels,
environment variables, operations, links; that the architecture page has every source file and the
testing page every test file; that the README is short and its tree true; that the change log is at
the version of the build. In the last column of the platform's tables every name is that of a test.

usage: check_documents.py ROOT [BUILD-DIR]

Without a build folder the names of tests and labels are not checked.
"""

import os
import re
import sys

from commands import CommandChecker
from markdown import Document
from repository import Repository

README_LINES = 100
# Pages, and the files that each of them has to name.
INDEXES = {"docs/architecture.md": r"(inc|src|platform)/",
           "docs/testing.md": r"tests/(?!fakes/).*Test\.cpp$"}

# The page whose tables name tests, whatever their form, in the last column.
CONTRACT = "platform/README.md"

FILE_ENDINGS = (".cpp", ".edc", ".edj", ".h", ".in", ".json", ".log", ".md", ".png", ".py", ".svg",
                ".txt", ".webp", ".xml")


class Checker:
    """Collects the faults of all documents."""

    def __init__(self, repository):
        self.repository = repository
        self.commands = CommandChecker(repository, self)
        self.faults = []
        self.documents = {name: Document(name, repository.read(name))
                          for name in repository.documents()}
        self.document = None

    def check(self):
        for self.document in self.documents.values():
            tests = self.document.last_cells() if self.document.name == CONTRACT else []
            for number, span in self.document.spans:
                if (number, span) in tests:
                    self.check_test(number, span)
                else:
                    self.check_span(number, span)
            for block in self.document.blocks_of("sh", "console"):
                for number, line in enumerate(block.lines, block.number):
                    self.commands.check_line(number, line)
            for block in self.document.blocks_of("mermaid"):
                for number, line in enumerate(block.lines, block.number):
                    self.check_operations(number, line)
            for number, target in self.document.links:
                self.check_link(number, target)
        self.check_readme()
        for page, pattern in INDEXES.items():
            self.check_index(page, pattern)
        self.check_change_log()
        return self.faults

    def fault(self, number, text):
        self.faults.append(f"{self.document.name}:{number}: {text}")

    # --- Spans of code ---

    def check_span(self, number, span):
        words = span.split()
        if len(words) > 1 or span.startswith("script/"):
            if self.commands.is_command(words[0]):
                self.commands.check_line(number, span)
            return
        for pattern, check in KINDS_OF_NAMES:
            if re.fullmatch(pattern, span):
                check(self, number, span)
                return
        if self.is_path(span):
            self.check_path(number, span)

    def check_test(self, number, name):
        if not self.commands.has_test(rf"(^|[./]){re.escape(name)}([./]|$)"):
            self.fault(number, f"no test {name}")

    def check_program(self, number, name):
        if not self.repository.has_target(name) and not self.repository.has_word(name):
            self.fault(number, f"no program, target or library {name}")

    def check_variable(self, number, text):
        name = text.split("=")[0]
        if not self.repository.has_word(name):
            self.fault(number, f"nothing uses {name}")

    def check_operations(self, number, text):
        for name in re.findall(r"\b(?:QEL\w+|[ms]_[A-Z]\w+|\w+(?=\(\))|(?:[A-Z][a-z]+){2,}\b)", text):
            if not self.repository.has_word(name):
                self.fault(number, f"no class or operation {name}")

    # --- Paths ---

    @staticmethod
    def is_path(text):
        if not re.fullmatch(r"[\w.<>*/$~+-]+", text) or not re.search(r"[a-z]", text):
            return False
        return "/" in text.strip("/") or text.endswith(FILE_ENDINGS) or (
            text.endswith("/") and len(text) > 1)

    def check_path(self, number, path):
        if path.startswith("$"):
            self.check_variable(number, re.match(r"\$\{?(\w+)", path).group(1))
        elif path.startswith(("/", "~/")):
            if not self.is_said(path.lstrip("~").rstrip("/")):
                self.fault(number, f"nothing uses the path {path}")
        elif path.startswith("build/"):
            self.check_built(number, path)
        elif not self.is_in_repository(path) and not self.is_made(path):
            self.fault(number, f"no file or folder {path}")

    def is_said(self, path):
        """Whether the code names the path, or its folder and its last part apart."""
        folder, name = os.path.split(path)
        says = self.repository.says
        return says(path) or (len(folder) > 1 and says(folder) and says(name))

    def is_in_repository(self, path):
        beside = os.path.join(os.path.dirname(self.document.name), path)
        return (self.repository.exists(path) or self.repository.exists(beside)
                or ("/" not in path and path in self.repository.names))

    def is_made(self, path):
        """Whether it is no path of the repository, but one that the code names."""
        return path.split("/")[0] not in self.repository.folders and self.repository.says(path)

    def check_built(self, number, path):
        parts = path.rstrip("/").split("/")
        presets = self.repository.presets.get("configure", set())
        if len(parts) > 1 and parts[1] not in presets and not parts[1].startswith("<"):
            self.fault(number, f"no preset makes {path}")
        elif len(parts) > 2 and not self.repository.has_target(parts[-1]):
            self.fault(number, f"no target {parts[-1]} for {path}")

    # --- Links ---

    def check_link(self, number, target):
        if re.match(r"[a-z]+:", target):
            return
        path, _, anchor = target.partition("#")
        name = self.document.name
        if path:
            name = os.path.normpath(os.path.join(os.path.dirname(name), path))
            if not self.repository.exists(name):
                self.fault(number, f"the link {target} leads nowhere")
                return
        if anchor and (name not in self.documents
                       or anchor not in self.documents[name].anchors()):
            self.fault(number, f"no heading for the link {target}")

    # --- Single documents ---

    def open_document(self, name):
        self.document = self.documents.get(name)
        if self.document is None:
            self.faults.append(f"{name}: missing")
        return self.document

    def check_readme(self):
        readme = self.open_document("README.md")
        if readme is None:
            return
        if len(readme.lines) > README_LINES:
            self.fault(len(readme.lines), f"longer than {README_LINES} lines")
        named = set()
        for block in readme.blocks_of("tree"):
            named |= self.check_tree(block)
        for folder in sorted(self.repository.folders):
            if "/" not in folder and folder not in named:
                self.fault(1, f"{folder}/ is missing from the tree")

    def check_tree(self, block):
        """Each line: a name, indented below its folder's, then spaces and what it is for."""
        above, named = [], set()
        for number, line in enumerate(block.lines, block.number):
            name = line.split()[0] if line.strip() else ""
            if not name:
                continue
            indent = len(line) - len(line.lstrip())
            above = [entry for entry in above if entry[0] < indent] + [(indent, name)]
            path = os.path.normpath("/".join(part.rstrip("/") for _, part in above))
            named.add(path)
            if not self.repository.exists(path):
                self.fault(number, f"no file or folder {path} for the tree")
        return named

    def check_index(self, page, pattern):
        if self.open_document(page) is None:
            return
        named = {span for _, span in self.document.spans}
        for name in sorted(self.repository.files - named):
            if re.match(pattern, name):
                self.fault(1, f"{name} is missing")

    def check_change_log(self):
        log = self.open_document("CHANGELOG.md")
        if log is None:
            return
        versions = [re.match(r"[\d.]+", title) for _, title in log.headings[1:]]
        latest = next((found.group(0) for found in versions if found), None)
        if latest != self.repository.version():
            self.fault(1, f"the latest version is {latest}, that of the build "
                          f"{self.repository.version()}")


# What a span of code names, by its form; the first that fits decides.
KINDS_OF_NAMES = [
    (r"[A-Z][A-Z0-9_]{3,}(=.*)?", Checker.check_variable),
    (r"\w+Test(\.\w+)?", Checker.check_test),
    (r"(\w+::)*\w+\(\)|QEL\w+(::\w+)*|[ms]_\w+|([A-Z][a-z]+){2,}", Checker.check_operations),
    (r"quorvel[\w-]*", Checker.check_program),
]


def main():
    if len(sys.argv) not in (2, 3):
        print(__doc__, file=sys.stderr)
        return 2
    repository = Repository(sys.argv[1], *sys.argv[2:])
    faults = Checker(repository).check()
    print("\n".join(faults))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
