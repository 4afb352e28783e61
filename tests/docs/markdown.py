"""The parts of a Markdown document that the checks look at."""

import re


class Block:
    """A fenced block: the word after the fence, the number of its first line, and its lines."""

    def __init__(self, kind, number):
        self.kind = kind
        self.number = number
        self.lines = []


class Document:
    """Spans of code, links and headings with their line numbers, and the fenced blocks."""

    def __init__(self, name, text):
        self.name = name
        self.lines = text.splitlines()
        self.blocks = []
        self.spans = []
        self.links = []
        self.headings = []
        block = None
        for number, line in enumerate(self.lines, 1):
            if line.lstrip().startswith("```"):
                if block is None:
                    block = Block(line.strip().strip("`"), number + 1)
                    self.blocks.append(block)
                else:
                    block = None
            elif block is not None:
                block.lines.append(line)
            else:
                self._read_prose(number, line)

    def blocks_of(self, *kinds):
        return [block for block in self.blocks if block.kind in kinds]

    def last_cells(self):
        """The spans of code in the last cells of all rows of tables."""
        rows = ((number, line.rstrip()) for number, line in enumerate(self.lines, 1))
        return {(number, span) for number, row in rows if re.fullmatch(r"\|.*\|", row)
                for span in _code(row.removesuffix("|").rpartition("|")[2])}

    def anchors(self):
        """The anchors of the headings, as the usual viewers make them."""
        anchors = set()
        for _, title in self.headings:
            slug = re.sub(r"[^\w\- ]", "", title.replace("`", "").lower()).replace(" ", "-")
            anchor, count = slug, 0
            while anchor in anchors:
                count += 1
                anchor = f"{slug}-{count}"
            anchors.add(anchor)
        return anchors

    def _read_prose(self, number, line):
        if line.startswith("#"):
            self.headings.append((number, line.lstrip("#").strip()))
        self.spans += [(number, span) for span in _code(line)]
        prose = re.sub(r"(`+)(.+?)\1", "", line)
        self.links += [(number, target) for target in re.findall(r"\]\(([^)\s]+)\)", prose)]
        self.links += [(number, target) for target in re.findall(r"(?:src|href)=\"([^\"]+)\"", prose)]


def _code(text):
    return [found.group(2).strip() for found in re.finditer(r"(`+)(.+?)\1", text)]
