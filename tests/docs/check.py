#!/usr/bin/env python3
"""Checks the blocks of the documentation that are not built or run, and that none is forgotten.

Usage: check.py PROJECT
"""

import re
import sys
from pathlib import Path

from grammar import grammar_of
from pages import blocks, pages

project = Path(sys.argv[1])
errors = []

KINDS = {
    "cpp": ["program", "fragment", "declarations", "from", "run by", "not run:"],
    "sh": ["run after", "run by", "not run:"],
    "cmake": ["project", "from", "run by", "not run:"],
    "ebnf": ["grammar"],
    "table": ["masks"],
}
ANY_KINDS = ["from", "run by", "not run:", "output of", "printed after", "file", "records",
             "no records"]


def has_words(block, kinds):
    return any(block.argument_of(kind) is not None for kind in kinds)


def check_marker(block):
    kinds = KINDS.get(block.language, ANY_KINDS)
    if not has_words(block, kinds):
        errors.append(f"{block.place}: a block of '{block.language}' needs a marker, one of: " +
                      ", ".join(kinds))


def without_indentation(lines):
    indentation = min((len(line) - len(line.lstrip()) for line in lines if line), default=0)
    return [line[indentation:] for line in lines]


def check_excerpt(block):
    path = block.argument_of("from")
    if path is None:
        return
    if not (project / path).is_file():
        errors.append(f"{block.place}: there is no {path}")
        return
    source = (project / path).read_text(encoding="utf-8").splitlines()
    size = len(block.lines)
    wanted = without_indentation(block.lines)
    if not any(without_indentation(source[i:i + size]) == wanted
               for i in range(len(source) - size + 1)):
        errors.append(f"{block.place}: this is not in {path}")


def program_of(block):
    """The program of another block that this one goes with, if any."""
    for kind in ["run after", "output of", "printed after"]:
        if block.argument_of(kind) is not None:
            return block.argument_of(kind)
    named = block.argument_of("project") or block.argument_of("file")
    return named.rpartition(" of ")[2] if named else None


def check_program(block, programs):
    if program_of(block) not in programs | {None}:
        errors.append(f"{block.place}: there is no program '{program_of(block)}'")


def scripts_in(block):
    return re.findall(r"(?<![\w/.])(?:scripts|\.ci|tests)/[\w./-]*\w", block.text)


def names_test(name):
    """Whether a CMakeLists.txt or a file of the tests carries the name."""
    lists = (path.read_text(encoding="utf-8")
             for path in (project / "tests").rglob("CMakeLists.txt"))
    word = re.compile(rf"(?<![\w.-]){re.escape(name)}(?![\w.-])")
    return (any(word.search(text) for text in lists)
            or any((project / "tests").rglob(name.split(".")[0] + ".*")))


def check_runner(block):
    runner = block.argument_of("run by")
    if runner is None:
        return
    path = project / runner
    if not path.is_file():
        if "/" in runner or not names_test(runner):
            errors.append(f"{block.place}: there is no test and no script '{runner}'")
        return
    text = path.read_text(encoding="utf-8")
    if runner.startswith("tests/") and block.page not in text:
        errors.append(f"{block.place}: {runner} does not read {block.page}")
    for script in scripts_in(block):
        if script not in text and script != runner:
            errors.append(f"{block.place}: {runner} does not run {script}")


def check_not_run(block):
    reason = block.argument_of("not run:")
    if reason == "":
        errors.append(f"{block.place}: 'not run:' needs a reason")
    for script in scripts_in(block) if reason else []:
        if not (project / script).is_file():
            errors.append(f"{block.place}: there is no {script}")


def check_records(block, grammar):
    text = "".join(line + "\n" for line in block.lines if line != "…")
    if block.argument_of("records") is not None and not grammar.accepts("log", text):
        errors.append(f"{block.place}: not what the grammar calls a log")
    if block.argument_of("no records") is not None:
        for line in block.lines:
            if grammar.accepts("log", line + "\n"):
                errors.append(f"{block.place}: the grammar takes this for a log: {line}")


def check_indented(page):
    """Code that is only indented would have no marker."""
    before = ["", ""]
    for number, line in enumerate((project / page).read_text(encoding="utf-8").splitlines(), 1):
        if line.startswith("    ") and not before[-1] and re.match(r"\w|<", before[-2]):
            errors.append(f"{page}:{number}: code needs a fence")
        before = [before[-1], line]


def check_links(page):
    text = re.sub(r"^```.*?^```", "", (project / page).read_text(encoding="utf-8"),
                  flags=re.MULTILINE | re.DOTALL)
    text = re.sub(r"`[^`\n]*`", "", text)
    for target in re.findall(r"\]\(([^)\s]+)\)", text):
        path = target.split("#")[0]
        if "://" not in target and path and not (project / page).parent.joinpath(path).exists():
            errors.append(f"{page}: there is no {target}")


found = blocks(project)
programs = {block.argument_of("program").split(" ")[0]
            for block in found if block.argument_of("program")}
for block in found:
    check_marker(block)
    check_program(block, programs)
    check_excerpt(block)
    check_runner(block)
    check_not_run(block)

for page in pages(project):
    check_indented(page)
    check_links(page)

grammar = grammar_of(found)
for block in found:
    check_records(block, grammar)

not_run = sum(block.argument_of("not run:") is not None for block in found)
print(f"{len(found)} blocks, {not_run} of them not run")
sys.exit("\n".join(errors) or 0)
