"""What the repository and its build offer for the documents to name."""

import fnmatch
import json
import os
import re
import subprocess


class Repository:
    """The files in the repository or about to be, and the words in those that are no documents."""

    def __init__(self, root, build=None):
        self.root = root
        self.files = {name for name in self._list(root)
                      if os.path.isfile(os.path.join(root, name))}
        self.folders = {folder for name in self.files for folder in _folders_above(name)}
        self.names = {os.path.basename(name) for name in self.files}
        # The checks themselves name what must not exist.
        self.code = "\n".join(self.read(name) for name in sorted(self.files)
                              if not name.endswith(".md") and not name.startswith("tests/docs/"))
        self.cmake = "\n".join(self.read(name) for name in sorted(self.files)
                               if os.path.basename(name) == "CMakeLists.txt")
        self.presets = self._read_presets()
        self.tests = self._read_tests(build) if build else None

    def documents(self):
        return sorted(name for name in self.files if name.endswith(".md"))

    def read(self, name):
        with open(os.path.join(self.root, name), encoding="utf-8", errors="replace") as file:
            return file.read()

    def exists(self, path):
        """Whether a file or folder matches path, in which <Name>, NAME and * stand for anything."""
        path = os.path.normpath(path)
        if path in self.files or path in self.folders or path == ".":
            return True
        pattern = re.sub(r"<[^>]*>|(?<![^/])[A-Z]+(?![^/])", "*", path)
        return any(fnmatch.fnmatchcase(name, pattern) for name in self.files | self.folders)

    def is_executable(self, path):
        return path in self.files and os.access(os.path.join(self.root, path), os.X_OK)

    def says(self, text):
        return text in self.code

    def has_word(self, word):
        return re.search(rf"(?<![\w-]){re.escape(word)}(?![\w-])", self.code) is not None

    def has_target(self, name):
        """Whether the build files name it, as it stands or as a word with a variable at its end."""
        words = set(re.findall(r"[\w-]+(?:\$\{\w+\})?", self.cmake))
        return name in words or any(re.fullmatch(re.sub(r"\$.*", r"\\w+", word), name)
                                    for word in words if "$" in word)

    def version(self):
        found = re.search(r"^project\([^)]*\bVERSION\s+([\d.]+)", self.read("CMakeLists.txt"), re.M)
        return found.group(1) if found else None

    def _read_presets(self):
        if "CMakePresets.json" not in self.files:
            return {}
        presets = json.loads(self.read("CMakePresets.json"))
        return {kind: {preset["name"] for preset in presets.get(kind + "Presets", [])
                       if not preset.get("hidden")}
                for kind in ("configure", "build", "test")}

    @classmethod
    def _read_tests(cls, build):
        """The tests of a build: name to labels."""
        listing = json.loads(cls._run("ctest", "--test-dir", build, "--show-only=json-v1"))
        return {test["name"]: {label for entry in test.get("properties", [])
                               if entry["name"] == "LABELS" for label in entry["value"]}
                for test in listing["tests"]}

    @classmethod
    def _list(cls, root):
        if os.path.exists(os.path.join(root, ".git")):
            return cls._run("git", "-C", root, "ls-files", "-z", "--cached", "--others",
                            "--exclude-standard").split("\0")
        # An unpacked archive.
        return [os.path.relpath(os.path.join(folder, name), root)
                for folder, _, names in os.walk(root) for name in names
                if not os.path.relpath(folder, root).startswith("build")]

    @staticmethod
    def _run(*command):
        return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def _folders_above(name):
    folder = os.path.dirname(name)
    while folder:
        yield folder
        folder = os.path.dirname(folder)
