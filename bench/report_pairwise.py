#!/usr/bin/env python3
"""Compares the failed items of runs pair by pair, as a reference for the speed of quorvel-report.

Usage: report_pairwise.py FOLDER. Reads every run below FOLDER with ElementTree and writes one JSON
line for each run, with the rules of the conflict analysis."""

import json
import os
import re
import sys
import xml.etree.ElementTree as ElementTree

FILES = ("qelRnscXml.xml", "qelXml.xml")
LISTS = ("RNSCImage", "RNSCTest", "FAnetTest")
SOURCE = os.path.join(os.path.dirname(__file__), "../src/QELAnalysisData.cpp")
NUMBER = re.compile(r"\s*[+-]?\d+")
HEXADECIMAL = re.compile(r"\s*[+-]?(0[xX])?[0-9a-fA-F]+")


def read_block_list():
    with open(SOURCE, encoding="utf-8") as source:
        pairs = re.findall(r"\{0x(..), 0x(..)\}", source.read())
    return {(int(opcode, 16), int(msgcode, 16)) for opcode, msgcode in pairs}


def number(item, key):
    value = int(NUMBER.match(item.get(key, "")).group())
    if not -2**31 <= value < 2**31:
        raise ValueError(value)
    return value


def codes(item):
    """Returns the code pair, or None without a code."""
    if not item.get("opcode") or not item.get("msgcode"):
        return None
    return tuple(int(HEXADECIMAL.match(item[key]).group(), 16) & 0xFF for key in ("opcode", "msgcode"))


def window(item):
    start = number(item, "timeAckAbsolute")
    return start % 2**32, (start + number(item, "duration")) % 2**32


def is_conflict(own, other):
    return (own[0] <= other[0] < own[1] or own[0] < other[1] <= own[1] or
            other[0] < own[0] and own[1] < other[1])


def analyse(own, items, blocked):
    pair = codes(own)
    if pair is None or pair in blocked:
        return []
    try:
        thread, span = number(own, "threadID"), window(own)
        lines = [(*span, own.get("name", ""), str(thread))]
        for item in items:
            pair = codes(item)
            if pair is None or pair in blocked or number(item, "threadID") == thread:
                continue
            other = window(item)
            if is_conflict(span, other):
                lines.append((*other, item.get("name", ""), item["threadID"]))
        return lines
    except (AttributeError, ValueError):
        return []


def read_items(folder):
    items = []
    for name in FILES:
        path = os.path.join(folder, name)
        if os.path.exists(path):
            root = ElementTree.parse(path).getroot()
            for tag in LISTS:
                section = root.find(tag)
                for test in section if section is not None else []:
                    items.append({child.tag: child.text for child in test if child.text})
    return items


def main():
    blocked = read_block_list()
    for folder, _, files in sorted(os.walk(sys.argv[1])):
        if not any(name in files for name in FILES):
            continue
        items = read_items(folder)
        failed = [item for item in items if "fail".startswith(item.get("result", ""))]
        results = [{**item, "analysis": analyse(item, items, blocked)} for item in failed]
        print(json.dumps({"path": folder, "items": len(items), "failed": results}))


if __name__ == "__main__":
    main()
