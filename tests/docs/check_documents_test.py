#!/usr/bin/env python3
"""The checker itself: a small repository passes, and each wrong statement in it is found."""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest

from check_documents import Checker
from repository import Repository

FILES = {
    "CMakeLists.txt": "project(toy VERSION 1.2.3)\nadd_executable(quorvel src/QELToy.cpp)\n"
                      "add_executable(toy_${kind} src/QELToy.cpp)\n",
    "CMakePresets.json": '{"configurePresets": [{"name": "base", "hidden": true},'
                         ' {"name": "release"}], "buildPresets": [{"name": "release"}],'
                         ' "testPresets": [{"name": "release"}]}',
    "src/QELToy.cpp": 'void QELToy::m_Run() { getenv("QUORVEL_TOY"); open("/tmp/toy_flag"); }\n',
    "inc/QELToy.h": "class QELToy;\n",
    "script/test": "#!/bin/sh\n",
    "script/run": '#!/bin/sh\ncase "$1" in --data) ;; esac\n',
    "README.md": "# Toy\n\nSee [the page](docs/architecture.md#files).\n\n"
                 "```tree\nCMakeLists.txt  the build\ninc/\nsrc/  sources\n  QELToy.cpp  the toy\n"
                 "script/\ndocs/\nplatform/\n```\n",
    "CHANGELOG.md": "# Changes\n\n## 1.2.3\n",
    "docs/architecture.md": "# Architecture\n\n## Files\n\n| `inc/QELToy.h` `src/QELToy.cpp`"
                            " `platform/README.md` | toy |\n",
    "docs/testing.md": "# Testing\n",
    "platform/README.md": "# Platform\n\n`m_Run()` is a call.\n\n| Call | Tests |\n|---|---|\n"
                          "| `m_Run()` | `Toy.Walks`, then `Toy` |\n",
}
TESTS = {"QELToyTest.Runs": {"unit"}, "lint.format": {"lint"}, "platform.Toy.Walks": {"unit"}}


class CheckDocumentsTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = folder.name
        subprocess.run(["git", "init", "-q", self.root], check=True)
        for name, text in FILES.items():
            self.write(name, text)
        for name in ("script/test", "script/run"):
            os.chmod(os.path.join(self.root, name), 0o755)

    def write(self, name, text):
        path = os.path.join(self.root, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)

    def faults(self):
        repository = Repository(self.root)
        repository.tests = TESTS
        return Checker(repository).check()

    def faults_of(self, text):
        self.write("docs/page.md", text)
        return self.faults()

    def assert_good(self, text):
        self.assertEqual(self.faults_of(text), [])

    def assert_fault(self, text, fault):
        self.assertEqual(self.faults_of(text), [f"docs/page.md:1: {fault}"])

    def assert_command_fault(self, line, fault):
        self.assertEqual(self.faults_of(f"```sh\n{line}\n```\n"), [f"docs/page.md:2: {fault}"])

    def test_good_repository(self):
        self.assertEqual(self.faults(), [])

    def test_without_version_control(self):
        shutil.rmtree(os.path.join(self.root, ".git"))
        self.write("build/release/CMakeCache.txt", "")
        self.assertEqual(self.faults(), [])

    # Paths

    def test_file_of_the_repository(self):
        self.assert_good("`src/QELToy.cpp`, `src/`, `QELToy.h`, `src/<Class>.cpp`, `src/*.cpp`\n")

    def test_missing_file(self):
        self.assert_fault("`src/QELGone.cpp`\n", "no file or folder src/QELGone.cpp")

    def test_missing_folder(self):
        self.assert_fault("`sources/`\n", "no file or folder sources/")

    def test_missing_name(self):
        self.assert_fault("`QELGone.h`\n", "no file or folder QELGone.h")

    def test_pattern_without_match(self):
        self.assert_fault("`src/<Class>.c`\n", "no file or folder src/<Class>.c")

    def test_path_in_the_system(self):
        self.assert_good("`/tmp/toy_flag`\n")
        self.assert_fault("`/tmp/other_flag`\n", "nothing uses the path /tmp/other_flag")

    def test_built_file(self):
        self.assert_good("`build/release/quorvel`, `build/release/toy_one`\n")
        self.assert_fault("`build/fast/quorvel`\n", "no preset makes build/fast/quorvel")
        self.assert_fault("`build/release/game`\n", "no target game for build/release/game")

    # Names

    def test_variable(self):
        self.assert_good("`QUORVEL_TOY`, `QUORVEL_TOY=1`\n")
        self.assert_fault("`QUORVEL_PLAY`\n", "nothing uses QUORVEL_PLAY")
        self.assert_command_fault("QUORVEL_PLAY=1 script/run", "nothing uses QUORVEL_PLAY")

    def test_operation(self):
        self.assert_good("`QELToy::m_Run`, `m_Run()`\n")
        self.assert_fault("`QELToy::m_Walk`\n", "no class or operation m_Walk")
        self.assert_fault("`DoWalk`\n", "no class or operation DoWalk")
        self.assertEqual(self.faults_of("```mermaid\nA->>B: m_Walk()\n```\n"),
                         ["docs/page.md:2: no class or operation m_Walk"])

    def test_program(self):
        self.assert_good("`quorvel`\n")
        self.assert_fault("`quorvel-gone`\n", "no program, target or library quorvel-gone")

    # Commands

    def test_script(self):
        self.assert_good("`script/run --data DIR`\n")
        self.assert_fault("`script/gone`\n", "no script script/gone")
        self.assert_fault("`script/run --gone`\n", "script/run has no option --gone")
        self.assert_command_fault("script/run && script/gone", "no script script/gone")

    def test_script_that_cannot_be_run(self):
        os.chmod(os.path.join(self.root, "script/run"), 0o644)
        self.assert_fault("`script/run`\n", "no script script/run")

    def test_unknown_command(self):
        self.assert_command_fault("no-such-command --now", "no command no-such-command")

    def test_path_in_a_command(self):
        self.assert_command_fault("script/run src/gone", "no file or folder src/gone")

    def test_preset(self):
        self.assert_good("`cmake --preset release`, `script/test release`\n")
        self.assert_fault("`cmake --preset fast`\n", "no configure preset fast")
        self.assert_fault("`cmake --build --preset fast`\n", "no build preset fast")
        self.assert_fault("`script/test fast`\n", "no test preset fast")
        self.assert_fault("`cmake --preset base`\n", "no configure preset base")

    def test_build_option(self):
        self.assert_fault("`cmake -DQUORVEL_GONE=ON`\n", "no build option QUORVEL_GONE")

    def test_test_name_and_label(self):
        self.assert_good("`ctest -R QELToy`, `script/test -L lint`\n")
        self.assert_good("`QELToyTest`, `QELToyTest.Runs`\n")
        self.assert_fault("`ToyTest.Runs`\n", "no test ToyTest.Runs")
        self.assert_fault("`QELToyTest.Rests`\n", "no test QELToyTest.Rests")
        self.assert_fault("`script/test -R QELGone`\n", "no test matches QELGone")
        self.assert_fault("`ctest -L gone`\n", "no test has the label gone")

    def test_tests_of_the_platform(self):
        for name in ("Toys", "To", "Toy.Walk", "Toy.Rests", "QELToyTest.Rests", "ui.toy"):
            self.write("platform/README.md",
                       FILES["platform/README.md"].replace("`Toy.Walks`", f"`{name}`"))
            self.assertEqual(self.faults(), [f"platform/README.md:7: no test {name}"])

    # Links

    def test_link(self):
        self.assert_good("[up](../README.md), [heading](architecture.md#files)\n")
        self.assert_fault("[gone](gone.md)\n", "the link gone.md leads nowhere")
        self.assert_fault("![gone](gone.png)\n", "the link gone.png leads nowhere")
        self.assert_fault("[gone](architecture.md#gone)\n",
                          "no heading for the link architecture.md#gone")

    # Single documents

    def test_source_file_missing_from_the_architecture_page(self):
        self.write("src/QELNew.cpp", "")
        self.assertEqual(self.faults(), ["docs/architecture.md:1: src/QELNew.cpp is missing"])

    def test_test_file_missing_from_the_testing_page(self):
        self.write("docs/QELToyTest.cpp", "")
        self.assertEqual(self.faults(), [])
        self.write("tests/QELToyTest.cpp", "")
        self.assertIn("docs/testing.md:1: tests/QELToyTest.cpp is missing", self.faults())

    def test_missing_document(self):
        os.remove(os.path.join(self.root, "docs/architecture.md"))
        self.assertIn("docs/architecture.md: missing", self.faults())

    def test_long_readme(self):
        self.write("README.md", FILES["README.md"] + "\n" * 100)
        self.assertRegex(self.faults()[0], "^README.md:1[0-9]*: longer than 100 lines$")

    def test_tree(self):
        self.write("README.md", FILES["README.md"].replace("  QELToy.cpp", "  QELGone.cpp"))
        self.assertRegex(self.faults()[0], "no file or folder src/QELGone.cpp for the tree$")

    def test_folder_missing_from_the_tree(self):
        self.write("tests/toy.sh", "")
        self.assertEqual(self.faults(), ["README.md:1: tests/ is missing from the tree"])

    def test_version(self):
        self.write("CHANGELOG.md", "# Changes\n\n## 1.2.4\n\n## 1.2.3\n")
        self.assertEqual(self.faults(),
                         ["CHANGELOG.md:1: the latest version is 1.2.4, that of the build 1.2.3"])


if __name__ == "__main__":
    sys.exit(unittest.main())
