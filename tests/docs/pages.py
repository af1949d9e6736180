"""The code blocks of the documentation, each with the hidden marker before it."""

import re
from pathlib import Path

FENCE = re.compile(r"^( *)```(\S*)\s*$")
MARKER = re.compile(r"^ *<!-- test: (.*) -->$")
ATTRIBUTE = re.compile(r'\s*(\w+)="([^"]*)"')


class Block:
    """A fenced block, or a table that a marker asks to have checked."""

    def __init__(self, page, line, language, marker, lines):
        self.page = page
        self.line = line  # of its first line of text, from 1
        self.language = language
        self.attributes = dict(ATTRIBUTE.findall(marker or ""))
        self.marker = ATTRIBUTE.sub("", marker) if marker is not None else None
        self.lines = lines

    @property
    def text(self):
        return "".join(line + "\n" for line in self.lines)

    @property
    def place(self):
        return f"{self.page}:{self.line}"

    @property
    def name(self):
        return f"{Path(self.page).stem}_{self.line}".replace("-", "_")

    def argument_of(self, kind):
        """What follows the word or words KIND in the marker; None for another kind of marker."""
        if self.marker == kind:
            return ""
        if self.marker and self.marker.startswith(kind + " "):
            return self.marker[len(kind) + 1:]
        return None


def end_of_block(lines, start, is_fenced):
    end = start
    while end < len(lines) and (lines[end].strip() != "```" if is_fenced
                                else lines[end].startswith("|")):
        end += 1
    return end


def blocks_of_page(root, page):
    lines = (Path(root) / page).read_text(encoding="utf-8").splitlines()
    marker = None
    index = 0
    while index < len(lines):
        line = lines[index]
        fence = FENCE.match(line)
        index += 1
        if fence:
            indentation, language = fence.groups()
            end = end_of_block(lines, index, True)
            text = [line.removeprefix(indentation) for line in lines[index:end]]
            yield Block(page, index + 1, language, marker, text)
            index = end + 1
            marker = None
        elif marker is not None and line.startswith("|"):
            end = end_of_block(lines, index, False)
            yield Block(page, index, "table", marker, lines[index - 1:end])
            index = end
            marker = None
        elif MARKER.match(line):
            marker = MARKER.match(line).group(1)
        elif line:
            marker = None


def pages(root):
    root = Path(root)
    found = [root / "README.md", *sorted((root / "docs").glob("*.md"))]
    return [path.relative_to(root).as_posix() for path in found]


def blocks(root):
    return [block for page in pages(root) for block in blocks_of_page(root, page)]
