#!/usr/bin/env python3
"""Runs a program of the documentation in an empty folder, then the commands that the pages have
for it, and compares what comes out with what the pages show.

Usage: run_program.py PROJECT NAME FOLDER COMMAND...
"""

import re
import shutil
import subprocess
import sys
from pathlib import Path

from grammar import grammar_of
from pages import blocks

project, name, folder, command = sys.argv[1], sys.argv[2], Path(sys.argv[3]), sys.argv[4:]
failures = []

# What differs from one run to the next.
VARIABLE = [
    (re.compile(r'(<d t=")[^"]*'), r"\1TIME"),
    (re.compile(r'( f=")[^"]*/'), r"\1"),  # the folder, which the build decides
    (re.compile(r"(Time taken |[Tt]ime: )-?\d+"), r"\1NUMBER"),
]


# The list of metrics comes early, but not always before the same record.
METRICS = re.compile(r"^.*<b>Dumping metric table</b></dbg>\n(?:<metric .*\n)*", re.MULTILINE)


def normalised(text):
    for pattern, replacement in VARIABLE:
        text = pattern.sub(replacement, text)
    text = "".join(METRICS.findall(text)) + METRICS.sub("", text)
    return text.splitlines()


def shows(shown, real):
    """Whether SHOWN is REAL, but for lines left out where SHOWN has an ellipsis."""
    if not shown or not real:
        return not real and all(line == "…" for line in shown)
    if shown[0] == "…":
        return shows(shown[1:], real) or shows(shown, real[1:])
    return shown[0] == real[0] and shows(shown[1:], real[1:])


def compare(block, real):
    if not shows(normalised(block.text), normalised(real)):
        failures.append(f"{block.place} shows what is not there; there is:\n{real}")


def check_log(block):
    wanted = block.attributes.get("log")
    logs = [path.read_text(encoding="utf-8") for path in folder.glob("*.log")]
    if wanted and not any(wanted in log for log in logs):
        failures.append(f"{block.place}: no log has '{wanted}'")


def run(arguments):
    return subprocess.run(arguments, cwd=folder, stdout=subprocess.PIPE, check=True,
                          encoding="utf-8").stdout


shutil.rmtree(folder, ignore_errors=True)
folder.mkdir(parents=True)
output = run(command)
printed = ""
found = blocks(project)
grammar = grammar_of(found)
for block in found:
    file = block.argument_of("file")
    if (block.argument_of("program") or "").split(" ")[0] == name:
        check_log(block)
    elif block.argument_of("run after") == name:
        printed = run(["sh", "-euc", block.text])
    elif block.argument_of("printed after") == name:
        compare(block, printed)
    elif block.argument_of("output of") == name:
        compare(block, output)
    elif file and file.split(" of ")[1] == name:
        compare(block, (folder / file.split(" of ")[0]).read_text(encoding="utf-8"))
for log in folder.glob("*.log"):
    if not grammar.accepts("log", log.read_text(encoding="utf-8")):
        failures.append(f"{log.name} is not what the grammar calls a log")
sys.exit("\n".join(failures) or 0)
