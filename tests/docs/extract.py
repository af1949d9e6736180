#!/usr/bin/env python3
"""Writes the C++ and CMake blocks of the documentation as sources, and blocks.cmake to build them.

Usage: extract.py PROJECT OUTPUT QT_MAJOR
"""

import re
import sys
from pathlib import Path

from pages import blocks

project, output, qt_major = Path(sys.argv[1]), Path(sys.argv[2]), sys.argv[3]
commands = []


def write(path, text):
    path = output / path
    path.parent.mkdir(parents=True, exist_ok=True)
    if not path.exists() or path.read_text(encoding="utf-8") != text:
        path.write_text(text, encoding="utf-8")
    return path


def located(block, text):
    """TEXT, for which the compiler names the place in the page."""
    return f'#line {block.line} "{block.page}"\n{text}'


def program_parts(found):
    """The files of each program, in the order of the pages."""
    programs = {}
    for block in found:
        words = (block.argument_of("program") or "").split()
        if words:
            name, file = (words + [words[0] + ".cpp"])[:2]
            programs.setdefault(name, {})[file] = block
    return programs


def write_programs(found):
    for name, files in program_parts(found).items():
        sources = [write(Path(name) / file, block.text) for file, block in files.items()]
        commands.append(f"zoldebug_add_doc_program({name} {' '.join(map(str, sources))})")


def is_for_this_qt(block):
    return qt_major in block.attributes.get("qt", qt_major).split()


def fragment_source(block):
    """A block that is no program by itself, as the part of a source file that is."""
    is_include = re.compile(r"#include .*").fullmatch
    includes = "".join(line + "\n" for line in block.lines if is_include(line))
    body = located(block, "".join("\n" if is_include(line) else line + "\n"
                                  for line in block.lines))
    needs = block.attributes.get("needs", "")
    if block.argument_of("fragment") is not None:
        body = f"void Fragment_{block.name}();\nvoid Fragment_{block.name}()\n{{\n{body}}}\n"
    return f"{includes}namespace {block.name} {{\n{needs}\n{body}}}\n"


def write_fragments(found):
    sources = {}
    for block in found:
        is_part = (block.argument_of("fragment") is not None
                   or block.argument_of("declarations") is not None)
        if is_part and is_for_this_qt(block):
            source = sources.setdefault(block.page, ['#include "prelude.h"\n'])
            source.append(fragment_source(block))
    for page, parts in sources.items():
        path = write(f"fragments_{Path(page).stem}.cpp", "\n".join(parts))
        commands.append(f"zoldebug_add_doc_fragments({path})")


def mask_rows(found):
    """Mask strings and their values, as the tables of them say."""
    row = re.compile(r"\| (?:`([^`]*)`|\*\(empty\)\*|the empty string) \| (-?\d+) ")
    for block in found:
        if block.argument_of("masks") is not None:
            for line in block.lines[2:]:
                match = row.match(line)
                yield (match.group(1) or "", match.group(2), block.page) if match else \
                    ("", "row without mask and value", line)


def write_masks(found):
    rows = "".join(f'    {{"{mask}", {value}, "{page}"}},\n' for mask, value, page in
                   mask_rows(found))
    write("mask_rows.h", rows)


def project_text(block):
    """The block as a whole CMakeLists.txt; a page may leave out what goes without saying."""
    text = block.text
    if "find_package(" not in text:
        text = "find_package(ZolDebug REQUIRED)\n" + text
    if "project(" not in text:
        text = "cmake_minimum_required(VERSION 3.16)\nproject(host CXX)\n" + text
    return text


def write_projects(found):
    programs = program_parts(found)
    for block in found:
        words = (block.argument_of("project") or "").split(" of ")
        if len(words) == 2 and words[1] in programs:
            name, program = words
            folder = Path("projects") / name
            for file, part in programs[program].items():
                write(folder / file, part.text)
            write(folder / "CMakeLists.txt", project_text(block))
            commands.append(f"zoldebug_add_doc_project({name})")


found = blocks(project)
write_programs(found)
write_fragments(found)
write_masks(found)
write_projects(found)
write("blocks.cmake", "\n".join(commands) + "\n")
