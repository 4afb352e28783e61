#!/usr/bin/env python3
"""Tests of quorvel-report as a program. Arguments: the program, shown_analysis, the source folder.

With QUORVEL_UPDATE_GOLDEN=1 in the environment, the test writes the golden files before the comparison.
"""

import base64
import csv
import io
import json
import os
import random
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from html.parser import HTMLParser
from pathlib import Path
from xml.sax.saxutils import escape

import fastjsonschema

PROGRAM, SHOWN, ROOT = sys.argv[1], sys.argv[2], Path(sys.argv[3])
GOLDEN = ROOT / "tests/tools/report/golden"
SAMPLES = ["typical", "network-failure", "no-failures", "damaged", "writing-systems"]
CASES = sorted(path.name for path in (ROOT / "tests/golden").iterdir() if (path / "qelXml.xml").exists())
RANDOM_RUNS = 300
SCRIPTS = ["Größe", "Ελληνικά", "Кириллица", "עברית", "العربية", "ไทย", "हिन्दी", "中文", "日本語", "한국어"]


def report(*arguments, **options):
    return subprocess.run([PROGRAM, *map(str, arguments)], stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, timeout=60, check=False, cwd=ROOT, **options)


VALIDATE = fastjsonschema.compile(json.loads((ROOT / "docs/report.schema.json").read_text("utf-8")))


def report_json(*arguments):
    """Returns the objects of a JSON report. Checks each object against the schema."""
    return [VALIDATE(json.loads(line)) for line in report("--format=json", *arguments).stdout.splitlines()]


def element(tag, text):
    return f"<{tag}>{escape(text)}</{tag}>"


def run_text(items, sn="SN1"):
    tests = "".join("<test>" + "".join(element(*field) for field in item.items()) + "</test>"
                    for item in items)
    return ('<?xml version="1.0" encoding="UTF-8"?>\n<R><Information>' + element("sn", sn) +
            f"</Information><Network/><Summary/><FAnetTest>\n{tests}</FAnetTest></R>\n")


def make_item(name, thread="1", start="1000", duration="500", **values):
    return {"type": "app", "name": name, "opcode": "11", "msgcode": "22", "result": "fail",
            "duration": duration, "timeAckAbsolute": start, "threadID": thread, **values}


def random_item(rng, number, invalid):
    item = make_item(f"item{number}", thread=rng.choice(["1", "2", "3", "007", " 2", "-1"]),
                     start=str(rng.randrange(40)), duration=str(rng.randrange(20)),
                     type=rng.choice(["app", "bt", "wifi", "rnsc", "image", "a", "other"]),
                     opcode=rng.choice(["50", "52", "cc", "11", "0x11", "1ff"]),
                     msgcode=rng.choice(["10", "14", "1A", "22"]),
                     result=rng.choice(["fail", "fail", "pass", "f", "FAIL"]))
    if rng.random() < 0.1:
        item["timeAckAbsolute"] = rng.choice(["2147483647", "-2147483648", "-1", "12.5"])
    if rng.random() < 0.1:
        item["duration"] = rng.choice(["2147483647", "-5", "-2147483648"])
    if rng.random() < 0.3:
        item["detailed"] = rng.choice(["a;b^c", "x"])
    for key in ("type", "opcode", "msgcode", "threadID", "timeAckAbsolute", "duration", "result"):
        if rng.random() < invalid:
            item[key] = rng.choice(["", "xyz", "99999999999"])
            if rng.random() < 0.4:
                del item[key]
    return item


def write_random_runs(folder):
    rng = random.Random(4711)
    folders = []
    for number in range(RANDOM_RUNS):
        run = folder / f"{number:03}"
        run.mkdir()
        invalid = rng.choice([0, 0, 0.005, 0.05])
        items = [random_item(rng, i, invalid) for i in range(rng.randrange(1, 30))]
        (run / "qelXml.xml").write_text(run_text(items), encoding="utf-8")
        folders.append(run)
    return folders


class ReportTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        temporary = tempfile.TemporaryDirectory(prefix="quorvel-report-test.")
        self.addCleanup(temporary.cleanup)
        self.folder = Path(temporary.name)

    def write_run(self, name, *items, **options):
        folder = self.folder / name
        folder.mkdir()
        (folder / "qelXml.xml").write_text(run_text(items, **options), encoding="utf-8")
        return folder


class JsonTest(ReportTest):
    def compare_item(self, shown, item):
        analysis = item["analysis"]
        self.assertEqual(analysis["state"], shown["state"])
        if analysis["state"] != "done":
            return 0
        lines = ([analysis["own"]] if "own" in analysis else []) + analysis["conflicts"]
        text = "".join(f"{line['start']}\t{line['end']}\t{line['name']}({line['thread']})\n"
                       for line in lines)
        self.assertIn(shown["text"], [f"\n{text}\n"] if lines else ["", "\n\n"])
        return len(lines)

    def compare_folders(self, folders):
        shown = subprocess.run([SHOWN, *map(str, folders)], stdout=subprocess.PIPE, check=True,
                               cwd=ROOT).stdout.splitlines()
        objects = report_json(*folders)
        self.assertEqual(len(objects), len(folders))
        lines = 0
        for folder, expected, run in zip(folders, map(json.loads, shown), objects):
            with self.subTest(folder=str(folder)):
                self.assertEqual(run["path"], str(folder))
                self.assertEqual(len(run["failed"]), len(expected))
                for item, shown_item in zip(run["failed"], expected):
                    lines += self.compare_item(shown_item, item)
        return lines

    def test_writes_shown_analysis_of_samples(self):
        self.assertGreater(self.compare_folders([Path("samples") / name for name in SAMPLES]), 50)

    def test_writes_shown_analysis_of_golden_cases(self):
        self.assertGreater(self.compare_folders([Path("tests/golden") / name for name in CASES]), 3)

    def test_writes_shown_analysis_of_random_runs(self):
        self.assertGreater(self.compare_folders(write_random_runs(self.folder)), 1000)

    def test_keeps_every_value(self):
        name = 'a<b> & "c" \'d\'\n\te </script>' + " ".join(SCRIPTS)
        folder = self.write_run("run", make_item(name, detailed="a;b^c", spec="<x>"))
        run, = report_json(folder)
        self.assertEqual(run["information"], {"sn": "SN1"})
        item = run["failed"][0]
        self.assertEqual(item["name"], name)
        self.assertEqual(item["detailed"], "a\nb\n\nc")
        self.assertEqual(item["spec"], "<x>")
        self.assertEqual(item["analysis"]["own"]["name"], name)

    def test_rejects_other_objects_by_schema(self):
        run, = report_json("samples/typical")
        def changes():
            yield lambda run, item: run.pop("items")
            yield lambda run, item: run["files"][0].update(problem="x")
            yield lambda run, item: run["information"].update(model="")
            yield lambda run, item: item.update(opcode=21)
            yield lambda run, item: item["analysis"].update(state="refused")
            yield lambda run, item: item["analysis"].pop("own")
            yield lambda run, item: item["analysis"]["own"].update(end=-1)
        for change in changes():
            other = json.loads(json.dumps(run))
            change(other, next(item for item in other["failed"] if "own" in item["analysis"]))
            with self.assertRaises(fastjsonschema.JsonSchemaException):
                VALIDATE(other)

    def test_uses_element_names_of_sections(self):
        run, = report_json("samples/network-failure")
        self.assertIn("Pairing timed out", run["network"]["reason"])
        self.assertEqual(run["summary"]["fanet"], "NG")


class GoldenFilesTest(ReportTest):
    def check_format(self, name, *arguments):
        text = report(*arguments, "samples/typical", "samples/network-failure").stdout
        golden = GOLDEN / name
        if "QUORVEL_UPDATE_GOLDEN" in os.environ:
            golden.parent.mkdir(exist_ok=True)
            golden.write_bytes(text)
        self.assertEqual(text.decode(), golden.read_bytes().decode())

    def test_matches_golden_text(self):
        self.check_format("report.txt")

    def test_matches_golden_json(self):
        self.check_format("report.jsonl", "--format=json")

    def test_matches_golden_html(self):
        self.check_format("report.html", "--format=html")

    def test_matches_golden_csv(self):
        self.check_format("report.csv", "--format=csv")

    def test_matches_golden_trace(self):
        self.check_format("report.trace.json", "--format=trace")

    def test_writes_item_of_readme(self):
        readme = (ROOT / "README.md").read_text(encoding="utf-8")
        item = readme.split("```text\n")[1].split("```")[0]
        self.assertIn("\n" + item + "\n", report("samples/typical").stdout.decode())


class StatusTest(ReportTest):
    def expect(self, status, *arguments, errors=()):
        result = report(*arguments)
        self.assertEqual(result.returncode, status, result.stderr)
        lines = result.stderr.decode().splitlines()
        self.assertEqual(len(lines), len(errors), lines)
        for line, error in zip(lines, errors):
            self.assertTrue(line.startswith("quorvel-report: "), line)
            self.assertIn(error, line)
        return result.stdout.decode()

    def test_returns_0_when_all_items_passed(self):
        self.expect(0, "samples/no-failures")

    def test_returns_1_when_any_item_failed(self):
        self.expect(1, "samples/no-failures", "samples/typical")

    def test_returns_2_for_damaged_file_and_reports_other_file(self):
        text = self.expect(2, "samples/damaged", errors=["samples/damaged/qelXml.xml:"])
        self.assertIn("qelXml.xml     damaged", text)
        self.assertIn("failed", text)

    def test_accepts_one_missing_file(self):
        folder = self.write_run("run", make_item("A"))
        self.assertIn("qelRnscXml.xml missing", self.expect(1, folder))

    def test_reports_run_without_items(self):
        folder = self.write_run("run")
        self.expect(2, "samples/no-failures", folder, errors=["nothing was tested"])

    def test_reports_other_paths_after_wrong_path(self):
        text = self.expect(2, "--format=json", self.folder / "no", "samples/typical", errors=["no"])
        self.assertEqual(len(text.splitlines()), 1)

    def test_reports_other_runs_when_archive_cannot_be_unpacked(self):
        self.write_run("run", make_item("A"))
        subprocess.run(["tar", "-C", self.folder, "-cf", self.folder / "a.tar", "run"], check=True)
        result = report("--format=json", self.folder, "samples/typical", env={"TMPDIR": "/proc"})
        self.assertEqual(result.returncode, 2)
        self.assertRegex(result.stderr.decode(), "^quorvel-report: .*/a.tar: /proc/.*TMPDIR.*\n$")
        self.assertEqual([json.loads(line)["path"] for line in result.stdout.splitlines()],
                         [str(self.folder / "run"), "samples/typical"])

    def test_reads_folder_of_result_file(self):
        text = self.expect(1, "--format=json", "samples/typical/qelXml.xml")
        self.assertEqual(json.loads(text)["items"], 59)

    def test_finds_runs_below_folder_and_in_archive(self):
        for name in "ba":
            self.write_run(name, make_item(name))
        subprocess.run(["tar", "-C", self.folder, "-cf", self.folder / "c.tar", "a"], check=True)
        paths = [run["path"] for run in report_json(self.folder)]
        self.assertEqual(paths, [str(self.folder / name) for name in ("a", "b", "c.tar/a")])

    def test_rejects_wrong_options(self):
        for arguments, message in ((["--format=xml", "x"], "xml: unknown format"),
                                   (["--jobs=0", "x"], "0: the number of jobs must be from 1 to 256"),
                                   (["--jobs=two", "x"], "two: the number of jobs must be from 1 to 256"),
                                   (["--time-unit=h", "x"], "h: unknown time unit"),
                                   (["--no-such-option", "x"], "unrecognized option '--no-such-option'"),
                                   ([], "PATH: missing argument")):
            with self.subTest(arguments):
                result = report(*arguments)
                self.assertEqual((result.returncode, result.stdout), (2, b""))
                self.assertIn(b"Try `quorvel-report --help'", result.stderr)
                self.assertEqual(result.stderr.decode().splitlines()[0], f"quorvel-report: {message}")

    def test_prints_help_and_version(self):
        for option in ("--help", "--version"):
            result = report(option)
            self.assertEqual((result.returncode, result.stderr), (0, b""))
            self.assertIn(b"quorvel-report", result.stdout)
            with open("/dev/full", "wb") as full:
                result = subprocess.run([PROGRAM, option], stdout=full, stderr=subprocess.PIPE, timeout=60,
                                        check=False)
            self.assertEqual((result.returncode, result.stderr),
                             (2, b"quorvel-report: standard output: No space left on device\n"))

    def test_names_options_of_help_in_manual_page(self):
        text = report("--help").stdout.decode()
        manual = (ROOT / "docs/quorvel-report.1").read_text("utf-8")
        options = set(re.findall("--([a-z-]+)", text)) - {"usage"}
        self.assertEqual(options, set(re.findall(r"^\.It Fl (?:. Ar \w+ , Fl )?-([a-z-]+)", manual, re.M)))
        formats, = re.findall("FORMAT +(.*) \\(default", text)
        self.assertEqual(re.findall(r"\w+", formats.replace(" or", "")), re.findall(r"^\.It Cm (\w+)$", manual, re.M))


class OutputTest(ReportTest):
    def test_writes_file_under_its_name_only(self):
        folder = self.write_run("run", make_item("A"))
        output = self.folder / "report.txt"
        output.write_text("old")
        output.chmod(0o640)
        result = report("--output", output, folder)
        self.assertEqual((result.returncode, result.stdout, result.stderr), (1, b"", b""))
        self.assertEqual(output.read_bytes(), report(folder).stdout)
        self.assertEqual(output.stat().st_mode & 0o777, 0o640)
        self.assertEqual(sorted(os.listdir(self.folder)), ["report.txt", "run"])

    def test_returns_2_for_failed_write(self):
        with open("/dev/full", "wb") as full:
            result = subprocess.run([PROGRAM, "samples/typical"], stdout=full, cwd=ROOT,
                                    stderr=subprocess.PIPE, check=False)
        self.assertEqual(result.returncode, 2)
        self.assertIn(b"No space left", result.stderr)

    def test_keeps_old_file_when_output_fails(self):
        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (4096, 4096))
        output = self.folder / "report"
        output.write_text("old")
        result = report("--output", output, "samples/typical", preexec_fn=limit)
        self.assertEqual(result.returncode, 2)
        self.assertEqual(result.stderr.decode(), f"quorvel-report: {output}: File too large\n")
        self.assertEqual(output.read_text(), "old")
        self.assertEqual(os.listdir(self.folder), ["report"])

    def test_returns_2_for_output_that_cannot_be_created(self):
        for output, reason in (("", b"quorvel-report: FILE: empty argument"), (self.folder, b"Is a directory"),
                               (self.folder / "no/report", b"No such file"), ("/proc/report", b"/proc/report: ")):
            result = report("--output", output, "samples/typical")
            self.assertEqual((result.returncode, result.stdout), (2, b""))
            self.assertIn(reason, result.stderr)

    def test_keeps_messages_out_of_report(self):
        output = self.folder / "report"
        for redirection in ("2>&-", "<&- >&- 2>&-"):
            command = f'exec "$@" {redirection}'
            result = subprocess.run(["sh", "-c", command, "sh", PROGRAM, "--format=json", "--output", output,
                                     "samples/damaged"], cwd=ROOT, check=False)
            self.assertEqual(result.returncode, 2)
            json.loads(output.read_bytes())

    def test_writes_message_after_its_run(self):
        paths = ["samples/damaged", "samples/typical"]
        result = subprocess.run([PROGRAM, *paths], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, cwd=ROOT,
                                check=False).stdout.decode()
        start, message, end = re.split("^(quorvel-report: .*\n)", result, flags=re.M)
        self.assertIn("samples/damaged/qelXml.xml:", message)
        self.assertEqual(start + end, report(*paths).stdout.decode())
        self.assertTrue(end.startswith("\nRun samples/typical\n"))

    def interrupt_report(self, number, folder):
        """Sends a signal to a report that writes to a file in the folder."""
        process = subprocess.Popen([PROGRAM, "--format=html", "--output", folder / "report",
                                    *["samples/typical"] * 1500], cwd=ROOT, stderr=subprocess.DEVNULL)
        links = Path(f"/proc/{process.pid}/fd")
        is_open = False
        while not is_open:
            self.assertIsNone(process.poll())
            try:
                is_open = any(os.readlink(link).startswith(f"{folder}/") for link in links.iterdir())
            except OSError:
                pass  # the descriptor was closed during the check
        process.send_signal(number)
        self.assertEqual(process.wait(10), -number)

    def test_leaves_no_file_when_killed(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGKILL):
            with self.subTest(number):
                self.interrupt_report(number, self.folder)
                self.assertEqual(os.listdir(self.folder), [])

    def test_leaves_no_file_on_ntfs_when_killed(self):
        image, storage = self.folder / "image", self.folder / "storage"
        image.write_bytes(bytes(2 << 20))
        storage.mkdir()
        # This file system does not support unnamed files.
        mount = f"/sbin/mkfs.ntfs -F -Q '{image}' && /sbin/mount.ntfs-3g '{image}' '{storage}'"
        if os.getuid() != 0 or subprocess.run(mount, shell=True, stdout=subprocess.DEVNULL,
                                              stderr=subprocess.DEVNULL, check=False).returncode != 0:
            self.skipTest("cannot mount an image")
        self.addCleanup(subprocess.run, ["umount", storage], check=True)
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            with self.subTest(number):
                self.interrupt_report(number, storage)
                self.assertEqual(os.listdir(storage), [])
        self.assertEqual(report("--output", storage / "report", "samples/typical").returncode, 1)
        self.assertEqual(os.listdir(storage), ["report"])

    def test_reports_runs_in_order_of_paths(self):
        paths = [str(self.write_run(name, make_item(name))) for name in "abc"]
        for order in ([2, 0, 1], [1, 1, 0]):
            for jobs in (1, 2):
                runs = report_json(f"--jobs={jobs}", *[paths[i] for i in order])
                self.assertEqual([run["path"] for run in runs], [paths[i] for i in order])

    def test_returns_2_when_job_is_killed(self):
        # The jobs wait, because the report is larger than the pipes and the test does not read it yet.
        with subprocess.Popen([PROGRAM, "--jobs=2", "--format=json", *["samples/typical"] * 1500], cwd=ROOT,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
            children = []
            while len(children) < 2:
                self.assertIsNone(process.poll())
                children = Path(f"/proc/{process.pid}/task/{process.pid}/children").read_text().split()
            os.kill(int(children[1]), signal.SIGKILL)
            _, messages = process.communicate(timeout=60)
        self.assertEqual((process.returncode, messages), (2, b"quorvel-report: a job ended unexpectedly\n"))

    def test_keeps_order_with_jobs(self):
        for number in range(9):
            self.write_run(f"run{number}", *[make_item(f"{number}-{i}", thread=str(i))
                                             for i in range(10 * number)])
        for output in ("text", "json", "html", "csv", "trace"):
            alone = report("--format", output, self.folder)
            for jobs in (2, 5, 20):
                result = report("--format", output, "--jobs", jobs, self.folder)
                self.assertEqual(result.stdout, alone.stdout)
                self.assertEqual(result.stderr, alone.stderr)
                self.assertEqual(result.returncode, alone.returncode)


class ProgressTest(ReportTest):
    def run_on_terminal(self, seconds, items=60, output=subprocess.PIPE):
        """Returns the text that a report writes to a terminal. Reads the output after the given seconds."""
        for number in range(3):
            self.write_run(f"run{number}", *[make_item("x" * 99, thread=str(i)) for i in range(items)])
        leader, terminal = os.openpty()
        with subprocess.Popen([PROGRAM, self.folder], stdout=output or terminal, stderr=terminal) as process:
            os.close(terminal)
            time.sleep(seconds)
            if output:
                process.stdout.read()
            text = b""
            try:
                while piece := os.read(leader, 4096):
                    text += piece
            except OSError:
                pass  # the program closed the terminal
        os.close(leader)
        return text.decode()

    def test_shows_progress_after_one_second(self):
        text = self.run_on_terminal(1.1)
        self.assertRegex(text, r"\r\[#+ *\] \d of 3 runs")
        self.assertTrue(text.endswith("\r\033[K"))

    def test_shows_no_progress_for_short_report(self):
        self.assertEqual(self.run_on_terminal(0, items=1), "")

    def test_writes_no_progress_into_report(self):
        text = self.run_on_terminal(1.1, output=None)
        self.assertEqual(text.replace("\r\n", "\n"), report(self.folder).stdout.decode())


class ScaleTest(ReportTest):
    def write_large_run(self, name, count):
        """Writes a run in which every tenth item failed and each item overlaps about seven others."""
        items = "".join(
            f"<test><type>app</type><name>{i}</name><opcode>11</opcode><msgcode>22</msgcode><duration>700</duration>"
            f"<result>{'pass' if i % 10 else 'fail'}</result><timeAckAbsolute>{i * 100}</timeAckAbsolute>"
            f"<threadID>{i % 8}</threadID></test>" for i in range(count))
        folder = self.folder / name
        folder.mkdir()
        (folder / "qelXml.xml").write_text(f"<R><FAnetTest>{items}</FAnetTest></R>", encoding="utf-8")
        return folder

    def processor_time(self, folder):
        with open(self.folder / "report", "wb") as output:
            process = subprocess.Popen([PROGRAM, "--format=json", folder], stdout=output)
            usage = os.wait4(process.pid, 0)[2]
        return usage.ru_utime + usage.ru_stime

    def test_takes_linear_time(self):
        small = self.processor_time(self.write_large_run("small", 4_000))
        large = self.processor_time(self.write_large_run("large", 40_000))
        # A comparison of all pairs would take a hundred times as long for ten times the items.
        self.assertLess(large, 30 * small + 0.2)
        run = json.loads((self.folder / "report").read_bytes())
        self.assertEqual(len(run["failed"]), 4_000)
        self.assertEqual([line["name"] for line in run["failed"][100]["analysis"]["conflicts"]],
                         [str(1000 + i) for i in range(-6, 7) if i != 0])


class TextTest(ReportTest):
    def test_lists_most_frequent_items_of_several_runs(self):
        self.write_run("a", make_item("often"), make_item("once", opcode="12"))
        self.write_run("b", make_item("often"))
        table = report(self.folder).stdout.decode().split("most frequent first\n")[1].splitlines()
        self.assertEqual([line.split() for line in table],
                         [["runs", "share", "type", "codes", "name"],
                          ["2", "100", "%", "app", "11,22", "often"],
                          ["1", "50", "%", "app", "12,22", "once"]])

    def test_shows_name_that_row_omits(self):
        folder = self.write_run("run", make_item("Radio", type="bt", connection="x"),
                                make_item("Odd", type="unknown"))
        text = report(folder).stdout.decode()
        self.assertIn(" 1. bt , Radio\n", text)
        self.assertIn(" 2. Odd\n", text)

    def test_replaces_control_characters(self):
        text = report(self.write_run("run", make_item("a\u009bb\nc"))).stdout.decode()
        self.assertIn("a?b?c(11,22)", text)

    def test_aligns_wide_characters(self):
        self.write_run("a", make_item("1", type="日本語"), make_item("2", type="app"))
        self.write_run("b", make_item("3", type="größe"))
        table = report(self.folder).stdout.decode().split("most frequent first\n")[1].splitlines()
        rows = {line[-1]: line for line in table[1:]}
        self.assertIn("  app     11,22  2", rows["2"])
        self.assertIn("  日本語  11,22  1", rows["1"])
        self.assertIn("  größe   11,22  3", rows["3"])

    def test_warns_of_malformed_code_and_missing_times(self):
        folder = self.write_run("run", make_item("code", opcode="xy"), make_item("start", start="", opcode="11"))
        text = report(folder).stdout.decode()
        self.assertIn("warning: a code is not a hexadecimal number, so not analysed\n", text)
        folder = self.write_run("large", make_item("code", opcode="80000000"))
        self.assertIn("warning: a code is out of range, so not analysed\n", report(folder).stdout.decode())
        folder = self.write_run("other", make_item("start", start=""))
        self.assertIn("warning: a time, a thread or a code is missing", report(folder).stdout.decode())

    def test_writes_overlap(self):
        folder = self.write_run("run", make_item("own", start="1000", duration="500"),
                                make_item("other", thread="2", start="1400", duration="900",
                                          result="pass"))
        lines = report(folder).stdout.decode().splitlines()
        self.assertEqual(lines[-1].split(), ["1400", "2300", "100", "2", "other"])


class CsvTest(ReportTest):
    def test_quotes_values_as_rfc_4180_requires(self):
        name = 'a,"b"\nc'
        folder = self.write_run("run", make_item(name, detailed="x;y"))
        text = report("--format=csv", folder).stdout.decode()
        self.assertTrue(text.endswith("\r\n"))
        rows = list(csv.DictReader(io.StringIO(text, newline="")))
        self.assertEqual(rows[0]["name"], name)
        self.assertEqual(rows[0]["detailed"], "x;y")
        self.assertEqual(rows[0]["conflicts"], "0")
        self.assertEqual(rows[0]["sn"], "SN1")


# The colour names that the trace format permits.
COLOURS = {"good", "bad", "terrible", "black", "grey", "white", "yellow", "olive", "thread_state_running"}


def parse_trace(text):
    """Checks and reads Trace Event JSON. Returns the names of the processes, and the slices."""
    trace = json.loads(text, parse_constant=lambda name: 1 / 0)
    assert set(trace) <= {"traceEvents", "displayTimeUnit", "otherData", "systemTraceEvents", "samples"}
    assert trace.get("displayTimeUnit", "ms") in ("ms", "ns")
    processes, threads, slices = {}, {}, []
    for event in trace["traceEvents"]:
        assert isinstance(event["name"], str) and isinstance(event.get("args", {}), dict)
        place = event["pid"], event["tid"]
        assert all(type(number) is int and 0 <= number < 2**32 for number in place)
        if event["ph"] == "M":
            names = {"process_name": processes, "thread_name": threads}[event["name"]]
            key = event["pid"] if event["name"] == "process_name" else place
            assert key not in names and isinstance(event["args"]["name"], str)
            names[key] = event["args"]["name"]
        else:
            assert event["ph"] == "X" and isinstance(event["cat"], str)
            assert event.get("cname", "good") in COLOURS
            # A double holds whole microseconds up to 2**53.
            assert all(type(event[key]) is int and abs(event[key]) < 2**53 for key in ("ts", "dur"))
            assert event["dur"] >= 0
            assert all(isinstance(value, str) for value in event["args"].values())
            slices.append((processes[event["pid"]], threads[place], event))
    return processes, slices


class TraceTest(ReportTest):
    def events(self, *arguments):
        return json.loads(report("--format=trace", *arguments).stdout)["traceEvents"]

    def test_writes_complete_event_for_each_item_with_times(self):
        folder = self.write_run("run", make_item("A", thread="7"), make_item("B", thread="007"),
                                make_item("C", thread="-1", duration="-5", result="pass"),
                                make_item("no times", start=""))
        events = self.events(folder)
        names = {event["args"]["name"] for event in events if event["ph"] == "M"}
        self.assertEqual(names, {f"SN1 {folder}", "thread 7", "thread -1"})
        items = {event["name"]: event for event in events if event["ph"] == "X"}
        self.assertEqual(set(items), {"A", "B", "C"})
        self.assertEqual(items["A"]["tid"], items["B"]["tid"])
        self.assertEqual((items["A"]["ts"], items["A"]["dur"]), (1000000, 500000))
        self.assertEqual(items["C"]["dur"], 0)
        self.assertEqual(("cname" in items["A"], "cname" in items["C"]), (True, False))
        self.assertEqual(items["A"]["args"]["threadID"], "7")

    def test_follows_event_format(self):
        for arguments in (["samples/typical", "samples/damaged", "samples/no-failures"], ["samples/network-failure"],
                          [self.write_run("run", make_item("A", thread="-1", start="-2147483648"))], ["/dev/null"]):
            text = report("--format=trace", *arguments).stdout.decode()
            processes, slices = parse_trace(text)
            self.assertEqual(len(processes), len(arguments) if slices else 0)

    def test_uses_time_unit(self):
        folder = self.write_run("run", make_item("A"))
        for unit, factor in (("us", 1), ("ms", 1000), ("s", 1000000)):
            self.assertEqual(self.events("--time-unit", unit, folder)[-1]["ts"], 1000 * factor)

    def test_marks_exactly_failed_items(self):
        events = self.events("samples/typical")
        failed = sorted(e["name"] for e in events if e["ph"] == "X" and e["cat"] == "failed")
        run, = report_json("samples/typical")
        self.assertEqual(failed, sorted(item["name"] for item in run["failed"]))


class Page(HTMLParser):
    """The elements and the text of a page. Fails for an end tag without its start tag."""

    VOID = {"meta", "br", "input", "img"}
    IMPLIED = {"td", "th"}  # these elements have no end tags in the report

    def __init__(self, text):
        super().__init__()
        self.elements, self.texts, self.open = [], [], []
        self.rows, self.conflicts = [], []
        self.feed(text)
        self.close()
        assert not self.open, self.open

    def handle_starttag(self, tag, attrs):
        self.elements.append((tag, dict(attrs)))
        if tag not in self.VOID | self.IMPLIED:
            self.open.append(tag)
        if tag == "tr":
            self.rows.append("")
        elif tag in self.IMPLIED and self.rows[-1]:
            self.rows[-1] += "\n"
        elif tag == "i":
            self.conflicts.append([])

    def handle_endtag(self, tag):
        assert self.open.pop() == tag, (tag, self.getpos())

    def handle_data(self, data):
        self.texts.append(data)
        if "tr" in self.open:
            self.rows[-1] += data
        elif self.open and self.open[-1] == "i":
            self.conflicts[-1] = [int(number) for number in data.split()]

    def all(self, tag, name=None):
        return [attrs for element, attrs in self.elements
                if element == tag and (name is None or name in attrs.get("class", "").split())]


class HtmlTest(ReportTest):
    def page(self, *paths):
        return Page(report("--format=html", *paths).stdout.decode())

    def test_writes_bar_for_each_item_with_times(self):
        page = self.page("samples/typical")
        run, = report_json("samples/typical")
        self.assertEqual(len(page.all("rect")), run["items"])
        self.assertEqual(len(page.all("rect", "f")), len(run["failed"]))
        self.assertEqual({bar["data-i"] for bar in page.all("rect", "f")},
                         {item["data-i"] for item in page.all("details", "item")})

    def test_writes_lane_for_each_thread(self):
        page = self.page(self.write_run("run", make_item("A", thread="7"), make_item("B", thread="007"),
                                        make_item("C", thread="-1", start="-2147483648", duration="-5"),
                                        make_item("D", thread="x"), make_item("E", start="2147483647")))
        self.assertEqual([text for text in page.texts if text.startswith("thread ")],
                         ["thread -1", "thread 1", "thread 7"])
        self.assertEqual([(bar["data-i"], bar["y"]) for bar in page.all("rect")],
                         [("1", "43"), ("2", "43"), ("3", "3"), ("5", "23")])

    def test_names_conflicts_of_each_item_by_number(self):
        page = self.page("samples/typical")
        run, = report_json("samples/typical")
        rows = [row.split("\n") for row in page.rows]
        conflicts = iter(page.conflicts)
        for item in run["failed"]:
            if item["analysis"].get("conflicts"):
                shown = [rows[number] for number in next(conflicts)]
                self.assertEqual([[start, end, thread, name] for _, start, end, thread, _, _, name in shown],
                                 [[str(line["start"]), str(line["end"]), line["thread"], line["name"]]
                                  for line in item["analysis"]["conflicts"]])
        self.assertIsNone(next(conflicts, None))

    def test_escapes_every_value(self):
        name = "</script><u onload='x()'>&amp;\"" + " ".join(SCRIPTS)
        page = self.page(self.write_run("run", make_item(name, detailed=name, type=name), sn=name),
                         self.write_run("other", make_item(name)))
        self.assertFalse(page.all("u"))
        self.assertEqual(len(page.all("script")), 1)
        self.assertIn(name, page.texts)

    def test_refers_to_no_other_file(self):
        for tag, attrs in self.page("samples/typical", "samples/damaged").elements:
            for key in ("src", "href"):
                self.assertRegex(attrs.get(key, "#"), "^(#|data:image/)", tag)

    def test_has_unique_ids(self):
        ids = [attrs["id"] for _, attrs in self.page("samples/typical", "samples/typical").elements
               if "id" in attrs]
        self.assertEqual(len(ids), len(set(ids)))

    def test_embeds_pictures_only(self):
        picture = (ROOT / "samples/typical/capture/rnsc_hdmi1_2160p60.jpg").read_bytes()
        path = "/opt/usr/home/owner/apps_rw/org.tizen.quorvel/data/"
        for name, content, images in (("a.jpg", picture, 1), ("b.jpg", picture[:-1], 1),
                                      ("c.jpg", picture[:-2], 1), ("d.jpg", b"secret", 0)):
            folder = self.write_run(name, make_item("photo", type="image", detailed=path + name))
            (folder / name).write_bytes(content)
            shown = self.page(folder).all("img")
            self.assertEqual(len(shown), images)
            if images:
                self.assertEqual(base64.b64decode(shown[0]["src"].split(",")[1]), content)

    def test_omits_too_large_picture(self):
        folder = self.write_run("run", make_item("photo", type="image", detailed="/capture/a.jpg"))
        photo = folder / "a.jpg"
        photo.write_bytes(b"\xff\xd8\xff")
        for size, images in ((16 << 20, 1), ((16 << 20) + 1, 0)):
            os.truncate(photo, size)
            page = self.page(folder)
            self.assertEqual(len(page.all("img")), images)
            self.assertEqual("photo missing or larger than 16 MiB: /capture/a.jpg" in page.texts, images == 0)

    def test_stays_small_for_many_runs(self):
        run = self.write_run("run", *[
            make_item(f"Ambient light sensor {i}", thread=str(i), detailed="96 lx, 97 lx: E < 120 lx",
                      spec="120 < E < 180 lx", measure="96 lx") for i in range(60)])
        page = report("--format=html", *[run] * 100).stdout
        self.assertLess(len(page), 5_000_000)
        self.assertEqual(len(Page(report("--format=html", run).stdout.decode()).conflicts[0]), 59)

    def test_keeps_last_bar_inside_timeline(self):
        folder = self.write_run("run", make_item("first", start="0", duration="1000"),
                                make_item("last", start="1000", duration="0"))
        for bar in self.page(folder).all("rect"):
            self.assertLessEqual(int(bar["x"]) + int(bar["width"]), 10000)

    @unittest.skipUnless(shutil.which("tidy"), "tidy is not installed")
    def test_is_valid_html(self):
        path = self.folder / "report.html"
        name = "</script><u onload='x()'>&amp;\"" + " ".join(SCRIPTS)
        self.write_run("run", make_item(name, detailed=name, type=name), make_item(name), sn=name)
        report("--format=html", "--output", path, "samples", self.folder)
        result = subprocess.run(["tidy", "-quiet", "-errors", path], stderr=subprocess.PIPE, check=False)
        # tidy does not know the attribute "loading".
        problems = [line for line in result.stderr.decode().splitlines() if '"loading"' not in line]
        self.assertEqual(problems, [])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
