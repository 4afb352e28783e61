#!/usr/bin/env python3
"""Tests check_includes.py on small source trees."""

import os
import tempfile
import unittest

from check_includes import ALLOWED, faults


class CheckIncludesTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = folder.name
        for name in ALLOWED:
            os.makedirs(os.path.join(self.root, name), exist_ok=True)
        for name in ("paths.h", "log/log.h", "log_copy/log_copy.h", "toolkit/window.h",
                     "lifecycle/owner.h"):
            self.write(name)

    def write(self, name, *includes):
        with open(os.path.join(self.root, name), "w", encoding="utf-8") as file:
            file.write("// A comment.\n" + "".join(f'#include "{path}"\n' for path in includes))

    def test_accepts_includes_in_allowed_direction(self):
        self.write("log/log.cpp", "log/log.h", "paths.h")
        self.write("log_copy/log_copy.cpp", "log_copy/log_copy.h", "log/log.h", "paths.h")
        self.write("toolkit/window.cpp", "toolkit/window.h", "log/log.h", "paths.h")
        self.write("lifecycle/main_loop.cpp", "log/log.h", "log_copy/log_copy.h",
                   "toolkit/window.h", "paths.h", "lifecycle/owner.h")
        self.assertEqual(faults(self.root), [])

    def test_reports_every_backward_include(self):
        for path, include in (("paths.h", "log/log.h"), ("log/log.h", "log_copy/log_copy.h"),
                              ("log/log.cpp", "toolkit/window.h"),
                              ("log_copy/log_copy.cpp", "lifecycle/owner.h"),
                              ("log_copy/log_copy.h", "toolkit/window.h"),
                              ("toolkit/window.h", "log_copy/log_copy.h"),
                              ("toolkit/window.cpp", "lifecycle/owner.h")):
            with self.subTest(path=path, include=include):
                self.write(path, include)
                folder = os.path.dirname(path) or "the main folder"
                self.assertEqual(faults(self.root),
                                 [f"{path}:2: {folder} must not include {include}"])
                self.write(path)

    def test_reports_include_that_is_not_relative_to_main_folder(self):
        self.write("toolkit/window.cpp", "window.h")
        self.write("lifecycle/owner.h", "../paths.h")
        self.assertEqual(
            faults(self.root),
            [f"lifecycle/owner.h:2: ../paths.h is not a file below {self.root}",
             f"toolkit/window.cpp:2: window.h is not a file below {self.root}"])

    def test_reports_folder_without_rule(self):
        os.mkdir(os.path.join(self.root, "sound"))
        self.write("sound/beep.cpp")
        self.assertEqual(faults(self.root),
                         ["sound/beep.cpp: the check has no rule for the folder sound"])


if __name__ == "__main__":
    unittest.main()
