#!/usr/bin/env python3
"""Tests check_documents.py on a small repository."""

import tempfile
import unittest
from pathlib import Path

from check_documents import check

FILES = {"CMakeLists.txt": "add_executable(toy src/Toy.cpp)\n",
         "CMakePresets.json": '{"configurePresets": [{"name": "release"}]}',
         "README.md": "```tree\nsrc/  code\n  Toy.cpp  toy\ndocs/\nscript/\ntests/\n```\n",
         "docs/toys/Toy.cpp": "int kWheels;\n",
         "script/run": 'case "$1" in --data) ;; esac\n',
         "src/Toy.cpp": "int kWheels;\n",
         "tests/ToyTest.cpp": "TEST(ToyTest, Rolls) {}\n"}
GOOD = ["[up](../README.md) [part](#some-part) [web](https://localhost)",
        "`src/Toy.cpp`: `kWheels`", "`kWheels` `kName`",
        "`tests/<Class>Test.cpp` `toys/Toy.cpp` `/tmp/gone`", "`script/run --data DIR`",
        "```sh\nA=1 script/run\n```",
        "`cmake --build --preset release --target toy`", "`build/release/toy --gtest_filter=ToyTest.*`"]
BAD = {"[up](../GONE.md)": "no file for the link ../GONE.md",
       "[part](page.md#gone)": "no heading for the link page.md#gone",
       "`src/Gone.cpp`": "no file or folder src/Gone.cpp",
       "`kGone`": "no kGone in the sources",
       "`QELToy::kWheels`": "no QELToy in the sources",
       "`toys/Gone.cpp`": "no file or folder toys/Gone.cpp",
       "`src/Toy.cpp`: `Gone`": "no Gone in src/Toy.cpp",
       "`script/gone`": "no program script/gone",
       "```sh\nscript/gone\n```": "no program script/gone",
       "`script/run --gone`": "script/run has no argument --gone",
       "`cmake --preset gone`": "no preset gone",
       "`build/gone/toy`": "no preset gone",
       "`cmake --build --preset release --target gone`": "no target gone",
       "`build/release/toy --gtest_filter=GoneTest.*`": "no test suite GoneTest",
       "```tree\nsrc/\n  Gone.cpp\ndocs/\nscript/\ntests/\n```": "no file or folder src/Gone.cpp",
       "```tree\nsrc/\ndocs/\nscript/\n```": "no line for tests/"}


class CheckDocumentsTest(unittest.TestCase):
    def faults_of(self, text):
        with tempfile.TemporaryDirectory() as root:
            for name, content in {**FILES, "docs/page.md": f"## Some part\n\n{text}"}.items():
                Path(root, name).parent.mkdir(parents=True, exist_ok=True)
                Path(root, name).write_text(content)
            Path(root, "script/run").chmod(0o755)
            return [line.split(": ", 1)[1] for line in check(Path(root))]

    def test_accepts_correct_documents(self):
        self.assertEqual(self.faults_of("\n".join(GOOD)), [])

    def test_reports_each_wrong_statement(self):
        for text, fault in BAD.items():
            with self.subTest(text):
                self.assertEqual(self.faults_of(text), [fault])


if __name__ == "__main__":
    unittest.main()
