#!/usr/bin/env python3
"""Tests of every format of quorvel-report with unusual input. Arguments: as for report_test.py."""

import csv
import io
import json
import os
import re
import sys
import unittest

from report_test import (SCRIPTS, VALIDATE, Page, ReportTest, element, make_item, parse_trace, report,
                         run_text)

# Characters that control a terminal or change the direction of text.
CONTROLS = re.compile("[\x00-\x1f\x7f-\x9f\u2028-\u202e\u2066-\u2069]")


def read_text(text):
    return re.findall(r"^ *\d+\. (.*)\(11,22\)$", text, re.M)


def read_json(text):
    return [item["name"] for line in text.split("\n")[:-1] for item in VALIDATE(json.loads(line))["failed"]]


def read_html(text):
    page = Page(text)
    rows = [row.split("\n") for row in page.rows]
    names = [rows[int(item["data-i"])][6] for item in page.all("details", "item")]
    assert text.endswith("</html>\n") and len(page.all("rect", "f")) == len(names)
    return names


def read_csv(text):
    assert text.endswith("\r\n")
    return [row["name"] for row in csv.DictReader(io.StringIO(text, newline=""), strict=True)]


def read_trace(text):
    return [event["name"] for _, _, event in parse_trace(text)[1] if event["cat"] == "failed"]


# Each reader checks the form of a report and returns the names of its failed items.
READERS = {"text": read_text, "json": read_json, "html": read_html, "csv": read_csv, "trace": read_trace}
# People read these formats. The formats show '?' for each control character.
SHOWN = ("text", "html")


def write_item(path, name, encoding="UTF-8"):
    items = "<test>" + "".join(element(*field) for field in make_item(name).items()) + "</test>"
    path.write_bytes(f'<?xml version="1.0" encoding="{encoding}"?>\n<R><FAnetTest>{items}</FAnetTest></R>'
                     .encode(encoding))


# Each case: a function that writes the second result file, the file's state in the report, and a part of
# the message.
FILES = {
    "missing": (lambda path: None, "missing", None),
    "empty": (lambda path: path.write_bytes(b""), "damaged", "qelRnscXml.xml: is empty"),
    "blank": (lambda path: path.write_bytes(b"\n \n"), "damaged", "qelRnscXml.xml:"),
    "cut": (lambda path: path.write_text(run_text([make_item("B")])[:-40]), "damaged", "qelRnscXml.xml:3: "),
    "no XML": (lambda path: path.write_bytes(b"\x00\x01\x02 no XML"), "damaged", "qelRnscXml.xml:1: "),
    "wrong encoding": (lambda path: path.write_bytes(b"<R>\n\xff\xfe</R>"), "damaged", "qelRnscXml.xml:2: "),
    "unknown encoding": (lambda path: path.write_bytes(b'<?xml version="1.0" encoding="no"?><R>\xff</R>'), "damaged",
                         "qelRnscXml.xml:1: "),
    "FIFO": (os.mkfifo, "unreadable", "qelRnscXml.xml: not a regular file"),
    "folder": (os.mkdir, "unreadable", "qelRnscXml.xml: not a regular file"),
    "link": (lambda path: path.symlink_to("qelXml.xml"), "unreadable", "qelRnscXml.xml: is a symbolic link"),
}


class InputTest(ReportTest):
    def read(self, output, *arguments, status, errors=()):
        """Returns the report and the names of its failed items."""
        result = report("--format", output, *arguments)
        lines = result.stderr.decode().splitlines()
        self.assertEqual((result.returncode, len(lines)), (status, len(errors)), lines)
        for line, error in zip(lines, errors):
            self.assertIn(error, line)
        text = result.stdout.decode()
        return text, READERS[output](text)

    def test_reports_state_of_each_file(self):
        for case, (write, state, error) in FILES.items():
            folder = self.write_run(case, make_item("A"))
            write(folder / "qelRnscXml.xml")
            for output in READERS:
                with self.subTest(case, output=output):
                    text, names = self.read(output, folder, status=2 if error else 1, errors=[error] if error else [])
                    self.assertEqual(names, ["A"])
                    states = {"text": f"  qelRnscXml.xml {state}", "html": f"<dt>qelRnscXml.xml</dt><dd>{state}</dd>",
                              "json": f'{{"name":"qelRnscXml.xml","state":"{state}"'}
                    self.assertIn(states.get(output, ""), text)

    def test_reports_missing_run(self):
        for path in (self.folder, self.folder / "missing", "/dev/null"):
            for output in READERS:
                with self.subTest(path=path, output=output):
                    text, names = self.read(output, path, status=2, errors=[f"quorvel-report: {path}: "])
                    self.assertEqual(names, [])
                    self.assertNotIn(str(path), text)

    def test_reports_one_message_for_archive_without_run(self):
        archive = self.folder / "a.tar"
        archive.write_bytes(b"no archive")
        for output in READERS:
            self.read(output, archive, status=2, errors=["a.tar: no qelXml.xml or qelRnscXml.xml found; Unrecognized"])

    def test_reports_run_without_item(self):
        folder = self.write_run("run")
        (folder / "qelXml.xml").write_bytes(b"")
        for output in READERS:
            with self.subTest(output):
                _, names = self.read(output, folder, status=2, errors=["is empty", "nothing was tested"])
                self.assertEqual(names, [])

    def test_reads_other_encodings(self):
        for encoding, name in (("ISO-8859-1", "Größe"), ("UTF-16", "日本語"), ("Shift_JIS", "日本語"),
                               ("windows-1251", "Кириллица")):
            folder = self.folder / encoding
            folder.mkdir()
            write_item(folder / "qelXml.xml", name, encoding)
            for output in READERS:
                with self.subTest(encoding, output=output):
                    self.assertEqual(self.read(output, folder, status=1)[1], [name])

    def test_keeps_names(self):
        names = ["<b>&amp;</b> & </script><!-- ]]>", "' \" \"\" « “ `", "a,b;c|d\\n\\", "a\nb\n", "a\tb", "=1+1",
                 " blanks  ", "\U0001f600", *SCRIPTS]
        folder = self.write_run("run", *map(make_item, names))
        for output in READERS:
            with self.subTest(output):
                shown = [CONTROLS.sub("?", name) for name in names] if output in SHOWN else names
                self.assertEqual(self.read(output, folder, status=1)[1], shown)

    def test_keeps_control_characters_in_data_only(self):
        name = "a\x7fb\u0085c\u009b31md\u202ee\u2066f\u2028g"
        folder = self.write_run("run", make_item(name, detailed=name, reason=name), sn=name)
        for output in READERS:
            with self.subTest(output):
                text, names = self.read(output, folder, status=1)
                self.assertEqual(names, [CONTROLS.sub("?", name) if output in SHOWN else name])
                if output in SHOWN:
                    self.assertEqual(set(CONTROLS.findall(text)), {"\n"})

    def test_replaces_bytes_of_path_that_are_not_utf_8(self):
        folder = os.fsencode(self.write_run("run", make_item("A"))) + b"\xe9\x9b"
        os.rename(self.folder / "run", folder)
        for output in READERS:
            with self.subTest(output):
                text, names = self.read(output, os.fsdecode(folder), status=1)
                self.assertEqual(names, ["A"])
                self.assertIn(f"{self.folder}/run\ufffd\ufffd", text)

    def test_writes_no_control_character_to_terminal(self):
        path = self.folder / "a\x1b[31m\u009bb\u202e\nc"
        path.mkdir()
        for arguments in ([path], [path / "x"], ["--format", path, "x"], ["--jobs", path, "x"],
                          ["--time-unit", path, "x"], ["--output", path, "samples/typical"], [f"--{path}"]):
            with self.subTest(arguments):
                result = report(*arguments)
                self.assertEqual(set(CONTROLS.findall(result.stderr.decode())), {"\n"})
                self.assertIn(b"a?[31m?b??c", result.stderr)
        missing = os.fsdecode(b"\x9b31m")
        self.assertIn("quorvel-report: \ufffd31m: ", report(missing).stderr.decode())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
