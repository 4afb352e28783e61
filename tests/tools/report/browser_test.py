#!/usr/bin/env python3
"""Tests of the HTML report in a browser. Arguments: as for report_test.py.

Exits with 77 if Chromium is not installed or does not start. With QUORVEL_MEASURE=1 in the environment,
a test prints and checks the time until a page of many runs is usable."""

import os
import sys
import time
import unittest
from collections import Counter

import browser
from report_test import ROOT, ReportTest, make_item, report, report_json

TWO_FRAMES = "new Promise(done => requestAnimationFrame(() => requestAnimationFrame(done)))"


class BrowserTest(ReportTest):
    @classmethod
    def setUpClass(cls):
        cls.browser = browser.Browser()
        cls.addClassCleanup(cls.browser.close)

    def open(self, *paths, fragment=""):
        page = self.folder / "report.html"
        page.write_bytes(report("--format=html", *paths).stdout)
        self.browser.open(f"file://{page}{fragment}")
        self.assertEqual(self.browser.requests, [f"file://{page}"])

    def tearDown(self):
        self.assertEqual(self.browser.console, [])

    def texts(self, selector):
        return self.browser.evaluate(
            f"Array.from(document.querySelectorAll('{selector}'), part => part.textContent)")

    def visible_items(self):
        return self.browser.evaluate(
            "Array.from(document.querySelectorAll('.item')).filter(item => item.checkVisibility())"
            ".map(item => item.id)")

    def enter(self, text):
        self.browser.evaluate("document.getElementById('filter').select()")
        self.browser.call("Input.dispatchKeyEvent", type="keyDown", key="Delete", windowsVirtualKeyCode=46)
        self.browser.call("Input.insertText", text=text)

    def click(self, selector):
        """Clicks the middle of an element with the mouse."""
        box = self.browser.evaluate(
            f"(() => {{ const part = document.querySelector('{selector}'); part.scrollIntoViewIfNeeded();"
            "const box = part.getBoundingClientRect();"
            "return [box.x + box.width / 2, box.y + box.height / 2]; })()")
        for kind in ("mousePressed", "mouseReleased"):
            self.browser.call("Input.dispatchMouseEvent", type=kind, x=box[0], y=box[1], button="left",
                              clickCount=1)

    def marked(self, mark):
        return Counter(self.texts(f"rect.{mark} title"))

    def test_highlights_exactly_conflicts(self):
        run, = report_json("samples/typical")
        self.open("samples/typical")
        compared = 0
        for item in run["failed"]:
            self.browser.evaluate(f"location.hash = '#1-{item['index'] + 1}'")
            self.browser.evaluate(TWO_FRAMES)
            conflicts = item["analysis"].get("conflicts", [])
            self.assertEqual(self.marked("c"), Counter(line["name"] for line in conflicts))
            self.assertEqual(self.marked("s"), Counter([item["name"]]))
            rows = self.texts(f"[id=\"1-{item['index'] + 1}\"] td:last-child")
            own = ["own"] if "own" in item["analysis"] else []
            self.assertEqual(rows, [item["name"] for _ in own] + [line["name"] for line in conflicts])
            compared += len(conflicts)
        self.assertGreater(compared, 20)

    def test_writes_windows_and_overlaps_of_conflicts(self):
        self.open(self.write_run("run", make_item("own", start="1000", duration="500", thread="007"),
                                 make_item("other", thread="2 <b>", start="1400", duration="-3", result="pass"),
                                 make_item("<b>third</b>", thread="2 <b>", start="900", duration="200")),
                  fragment="#1-1")
        self.assertEqual(self.texts(".item[open] td"),
                         ["1000", "1500", "", "7", "own", "1400", "1397", "-3", "2 <b>", "other",
                          "900", "1100", "100", "2 <b>", "<b>third</b>"])
        self.assertEqual(self.texts("td b"), [])

    def test_opens_item_of_clicked_bar(self):
        self.open("samples/typical")
        self.click("rect.f")
        name, = self.texts("rect.s title")
        opened, = self.texts(".item[open] > summary")
        self.assertIn(name, opened)
        self.click(".item[open] > summary")
        self.browser.evaluate(TWO_FRAMES)
        self.assertEqual(self.texts("rect.s"), [])

    def test_opens_linked_item(self):
        self.open("samples/no-failures", "samples/typical", fragment="#2-6")
        self.assertEqual(self.texts(".item[open] > summary"), ["Ambient light sensor(21,03)link"])
        self.assertTrue(self.browser.evaluate(
            "(() => { const box = document.querySelector('.item[open] > summary').getBoundingClientRect();"
            "return document.elementFromPoint(box.x + 5, box.y + 5).closest('.item[open]') !== null; })()"))

    def test_finds_items_by_name_and_code(self):
        self.write_run("a", make_item("Größe", opcode="2A"), make_item("other"))
        self.write_run("b", make_item("radio", type="bt", opcode="2B", msgcode="01"))
        self.open(self.folder)
        for text, items in (("größ", ["1-1"]), ("2a,22", ["1-1"]), ("RADIO", ["2-1"]), ("2b,01", ["2-1"]),
                            ("22", ["1-1", "1-2"]), ("nothing", []), ("", ["1-1", "1-2"])):
            self.enter(text)
            self.assertEqual(self.visible_items(), items, text)
        self.enter("nothing")
        self.browser.evaluate("location.hash = '#2-1'")
        self.browser.evaluate(TWO_FRAMES)
        self.assertIn("2-1", self.visible_items())

    def test_is_readable_without_script(self):
        self.browser.call("Emulation.setScriptExecutionDisabled", value=True)
        self.addCleanup(self.browser.call, "Emulation.setScriptExecutionDisabled", value=False)
        self.open("samples/typical")
        self.click("[id=\"1-6\"] > summary")
        text = self.browser.evaluate("document.querySelector('.item[open]').innerText")
        self.assertIn("light pipe missing", text)
        numbers = self.browser.evaluate("document.querySelector('.item[open] .own i').innerText").split()
        self.click(".all > summary")
        rows = self.browser.evaluate("document.querySelector('.all').innerText").splitlines()
        for number, name in zip(numbers, ("Speaker L 1 kHz", "Memory ageing DDR")):
            self.assertTrue(any(row.startswith(number + "\t") and row.endswith(name) for row in rows))
        self.assertFalse(self.browser.evaluate("document.getElementById('filter').checkVisibility()"))

    def test_prints_every_item(self):
        self.open("samples/typical", "samples/network-failure")
        self.browser.evaluate("dispatchEvent(new Event('beforeprint'))")
        self.assertEqual(len(self.visible_items()), 28)
        self.browser.evaluate("dispatchEvent(new Event('afterprint'))")
        self.assertEqual(len(self.visible_items()), 25)

    def test_fits_width_of_window(self):
        for width in (1280, 400):
            self.browser.call("Emulation.setDeviceMetricsOverride", width=width, height=800,
                              deviceScaleFactor=1, mobile=False)
            self.addCleanup(self.browser.call, "Emulation.clearDeviceMetricsOverride")
            self.open("samples", fragment="#4-6")
            self.assertLessEqual(self.browser.evaluate("document.documentElement.scrollWidth"), width)

    @unittest.skipUnless("QUORVEL_MEASURE" in os.environ, "QUORVEL_MEASURE is not set")
    def test_is_usable_within_one_second(self):
        for number in range(100):
            self.write_run(f"run{number:03}", *[
                make_item(f"item {i}", thread=str(i % 8), start=str(i * 100), duration="700",
                          result="fail" if i % 3 == 0 else "pass") for i in range(60)])
        page = self.folder / "report.html"
        page.write_bytes(report("--format=html", self.folder).stdout)
        start = time.monotonic()
        self.browser.open(f"file://{page}")
        self.browser.evaluate(TWO_FRAMES)
        loaded = time.monotonic()
        self.click("rect.f")
        self.browser.evaluate(TWO_FRAMES)
        clicked = time.monotonic()
        self.enter("item 33")
        self.browser.evaluate(TWO_FRAMES)
        print(f"loaded after {loaded - start:.2f} s, click {clicked - loaded:.2f} s, "
              f"filter {time.monotonic() - clicked:.2f} s", file=sys.stderr)
        self.assertEqual(len(self.visible_items()), 100)
        self.assertLess(loaded - start, 1)


if __name__ == "__main__":
    if browser.PROGRAM is None:
        print("browser_test.py: chromium is not installed", file=sys.stderr)
        sys.exit(77)
    try:
        browser.Browser().close()
    except (OSError, RuntimeError) as error:
        print(f"browser_test.py: chromium does not start: {error}", file=sys.stderr)
        sys.exit(77)
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
