#!/usr/bin/env python3
"""Tests of every format of quorvel-report with a million items, and with many runs. Arguments: as for report_test.py.

Every tenth item has the values that the analysis reads, and every hundredth item failed. The remaining items
only have a result, because a million complete items use four times the memory."""

import json
import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from input_test import READERS
from report_test import PROGRAM, ReportTest, make_item, parse_trace

ITEMS = 1_000_000
COMPLETE = ITEMS // 10
FAILED = ITEMS // 100
MAX_MEMORY = 1_200_000  # KiB
MAX_OUTPUT = 100_000_000  # bytes
THREADS = 16
# An item starts 1,000 ms after the previous item. The item overlaps six earlier and six later items.
DURATION = 6_500


def write_run(path):
    with open(path, "w", encoding="utf-8") as out:
        out.write("<R><FAnetTest>")
        for number in range(COMPLETE):
            out.write(f"<test><type>app</type><name>{number}</name><opcode>11</opcode><msgcode>22</msgcode>"
                      f"<result>{'pass' if number % 10 else 'fail'}</result><duration>{DURATION}</duration>"
                      f"<timeAckAbsolute>{number * 1000}</timeAckAbsolute><threadID>{number % THREADS}</threadID></test>")
            out.write("<test><result>pass</result></test>" * 9)
        out.write("</FAnetTest></R>")


def conflicts_of(number):
    """Returns the numbers of the conflicts of a complete item."""
    return [i for i in range(max(number - 6, 0), min(number + 7, COMPLETE)) if i != number]


FAILED_NUMBERS = range(0, COMPLETE, 10)
NAMES = [str(number) for number in FAILED_NUMBERS]


def run_program(*arguments):
    """Runs the program. Returns the exit status, the messages and the peak memory in KiB."""
    process = subprocess.Popen([PROGRAM, *arguments], stderr=subprocess.PIPE)
    messages = process.stderr.read()
    process.stderr.close()
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    return process.returncode, messages, usage.ru_maxrss


class LargeRunTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        temporary = tempfile.TemporaryDirectory(prefix="quorvel-report-test.")
        cls.addClassCleanup(temporary.cleanup)
        cls.folder = Path(temporary.name)
        write_run(cls.folder / "qelXml.xml")

    def report(self, output):
        """Writes a report of the large run within the limits. Returns the report as bytes."""
        path = self.folder / "report"
        status, messages, memory = run_program("--format", output, "--output", path, self.folder)
        self.assertEqual((status, messages), (1, b""))
        self.assertLess(memory, MAX_MEMORY)
        self.assertLess(path.stat().st_size, MAX_OUTPUT)
        return path.read_bytes()

    def test_writes_text(self):
        text = self.report("text").decode()
        self.assertEqual(READERS["text"](text), NAMES)
        self.assertIn(f"\n  items          {ITEMS}, {FAILED} failed\n", text)
        self.assertEqual(list(map(int, re.findall("^     conflicts: (.*)$", text, re.M))),
                         [len(conflicts_of(number)) for number in FAILED_NUMBERS])
        self.assertEqual(text.splitlines()[-1].split(), ["99996000", "100002500", "500", "12", "99996"])

    def test_writes_json(self):
        text = self.report("json").decode()
        self.assertEqual(READERS["json"](text), NAMES)
        run = json.loads(text)
        self.assertEqual(run["items"], ITEMS)
        for number, item in zip(FAILED_NUMBERS, run["failed"]):
            self.assertEqual([line["name"] for line in item["analysis"]["conflicts"]],
                             list(map(str, conflicts_of(number))))

    def test_writes_csv(self):
        text = self.report("csv").decode()
        self.assertEqual(READERS["csv"](text), NAMES)
        self.assertEqual([int(line.split(",")[-2]) for line in text.splitlines()[1:]],
                         [len(conflicts_of(number)) for number in FAILED_NUMBERS])

    def test_writes_trace(self):
        processes, slices = parse_trace(self.report("trace").decode())
        self.assertEqual(len(processes), 1)
        self.assertEqual([event["name"] for _, _, event in slices], list(map(str, range(COMPLETE))))
        self.assertEqual([event["name"] for _, _, event in slices if event["cat"] == "failed"], NAMES)
        self.assertEqual({thread for _, thread, _ in slices}, {f"thread {i}" for i in range(THREADS)})

    def test_writes_html(self):
        page = self.report("html")
        self.assertTrue(page.endswith(b"</html>\n"))
        self.assertEqual(page.count(b"<rect"), COMPLETE)
        self.assertEqual(page.count(b'<rect class="f"'), FAILED)
        self.assertEqual(page.count(b"<tr><td>"), ITEMS)
        # The positions of items start at 1.
        self.assertEqual([list(map(int, items.split())) for items in re.findall(b"<i>([^<]*)</i>", page)],
                         [[10 * i + 1 for i in conflicts_of(number)] for number in FAILED_NUMBERS])


class ManyRunsTest(ReportTest):
    def test_needs_memory_of_one_run(self):
        folders = [self.write_run(f"run{number}", *[make_item(f"{number}-{i} " + "x" * 4000, start="")
                                                    for i in range(1000)]) for number in range(15)]
        for output in ("json", "html", "csv", "trace"):
            with self.subTest(output):
                # The result includes about 30 MB of this script, from the time before the program starts.
                one, all_runs = (run_program("--format", output, "--output", "/dev/null", *paths)[2]
                                 for paths in (folders[:1], folders))
                self.assertLess(all_runs, one + 10_000)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
