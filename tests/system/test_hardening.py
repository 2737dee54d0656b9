"""What is shipped carries the usual protections, read from the files themselves and from how each of
their sources was compiled."""

import json
import re
import shlex
import subprocess
from itertools import takewhile

import pytest

from conftest import BUILD, ROOT

# each shipped file, and the folder of its sources
SOURCES = {"bin/ponmgrd": "src", "lib/libCorvane.so": "corvane", "bin/chassis-sim": "sim", "bin/dbman": "dbman"}
PROGRAMS = [name for name in SOURCES if name.startswith("bin/")]

PROTECTIONS = ["-fstack-protector-strong", "-fstack-clash-protection", "-fcf-protection=full",
               "-D_FORTIFY_SOURCE=2", "-Wall", "-Wextra", "-Wformat=2", "-Wformat-nonliteral", "-Werror"]
# what would take one of them back behind it
TAKEN_BACK = re.compile(r"-w|-Wno-(?!psabi).*|-fno-(pic|pie|stack-.*)|-fcf-protection=(?!full).*"
                        r"|-D_FORTIFY_SOURCE=[01]|-O0")
# they write as much as they are given
UNBOUNDED = re.compile(r"\b(gets|strcpy|stpcpy|strcat|v?sprintf|v?f?scanf|v?sscanf|alloca)@")

pytestmark = pytest.mark.shipped
everything = pytest.mark.parametrize("name", SOURCES)


def run(*words):
    return subprocess.run(words, capture_output=True, text=True, check=True).stdout


def readelf(name, *options):
    return run("readelf", "--wide", *options, BUILD / name)


def compilations(name):
    """The command of each source of a shipped file."""
    folder = ROOT / SOURCES[name]
    commands = [shlex.split(entry["command"])
                for entry in json.loads((BUILD / "compile_commands.json").read_text())
                if folder in (BUILD / entry["file"]).resolve().parents]
    assert len(commands) >= 5, f"the sources in {folder}"
    return commands


@pytest.mark.parametrize("name", PROGRAMS)
def test_programs_are_position_independent(name):
    assert re.search(r"Type:\s+DYN \(Position-Independent Executable", readelf(name, "--file-header"))
    assert re.search(r"FLAGS_1.*\bPIE\b", readelf(name, "--dynamic"))


@everything
def test_code_has_no_relocations(name):
    assert "TEXTREL" not in readelf(name, "--dynamic")


@everything
def test_relocations_are_read_only_from_the_start(name):
    assert "GNU_RELRO" in readelf(name, "--program-headers")
    assert re.search(r"\(FLAGS\).*\bBIND_NOW\b", readelf(name, "--dynamic"))
    assert re.search(r"\(FLAGS_1\).*\bNOW\b", readelf(name, "--dynamic"))


@everything
def test_no_stack_can_be_executed_and_nothing_is_both_written_and_executed(name):
    segments = re.findall(r"^\s+(\w+)\s+(?:0x\w+\s+){5}([RWE ]{3})\s+0x", readelf(name, "--program-headers"), re.M)
    assert [flags.strip() for kind, flags in segments if kind == "GNU_STACK"] == ["RW"]
    loaded = [flags for kind, flags in segments if kind == "LOAD"]
    assert len(loaded) > 2
    assert not [flags for flags in loaded if "W" in flags and "E" in flags]


@everything
def test_libraries_are_looked_for_beside_the_programs_and_nowhere_else(name):
    paths = re.findall(r"\((RPATH|RUNPATH)\)\s.*\[(.*)\]", readelf(name, "--dynamic"))
    assert paths == [("RUNPATH", "$ORIGIN/../lib")]


@everything
def test_stacks_are_protected(name):
    assert re.search(r"UND __stack_chk_fail@", readelf(name, "--dyn-syms"))


@pytest.mark.parametrize("name", PROGRAMS)
def test_library_calls_are_fortified(name):
    assert re.search(r"UND __\w+_chk@", readelf(name, "--dyn-syms"))


@everything
def test_no_function_is_called_that_writes_without_a_bound(name):
    assert not UNBOUNDED.findall(readelf(name, "--dyn-syms"))


def functions(name):
    """The first instruction of each function, by its address; and the addresses that code loads."""
    code = run("objdump", "--disassemble", "--no-show-raw-insn", "--wide", BUILD / name)
    first = re.findall(r"^([0-9a-f]+) <(\S+)>:\n\s+[0-9a-f]+:\s+(\S+)", code, re.M)
    loaded = re.findall(r"\blea\s.*# ([0-9a-f]+) <", code)
    return {int(address, 16): (symbol, opcode) for address, symbol, opcode in first}, loaded


@everything
def test_functions_that_can_be_called_by_address_begin_with_a_mark_for_it(name):
    """Each of them without exception: those in tables, those whose address code loads, those exported."""
    first, loaded = functions(name)
    in_tables = re.findall(r"R_X86_64_RELATIVE\s+([0-9a-f]+)$", readelf(name, "--relocs"), re.M)
    exported = re.findall(r"\d+: ([0-9a-f]{16})\s+\d+ FUNC\s+(?:GLOBAL|WEAK)\s+DEFAULT\s+\d+ ",
                          readelf(name, "--dyn-syms"))
    targets = {int(address, 16) for address in [*in_tables, *loaded, *exported]} & first.keys()
    assert len(targets) >= 10
    assert [first[address] for address in targets if first[address][1] != "endbr64"] == []


def marked_as_a_whole(*files):
    """How many of the files say that nothing in them is called by address but what has the mark for it."""
    notes = run("readelf", "--wide", "--notes", *files)
    return len(re.findall(r"Properties:.*\bx86 feature: .*\bIBT\b", notes))


@everything
def test_all_of_our_code_is_marked_as_a_whole(name):
    objects = [BUILD / words[words.index("-o") + 1] for words in compilations(name)]
    assert marked_as_a_whole(*objects) == len(objects)


@everything
def test_what_is_shipped_is_not_marked_as_a_whole_since_debians_start_up_code_is_not(name):
    compiler = list(takewhile(lambda word: not word.startswith("-"), compilations(name)[0]))
    start_up_code = run(*compiler, "-print-file-name=crti.o").strip()
    assert marked_as_a_whole(start_up_code) == 0
    assert marked_as_a_whole(BUILD / name) == 0


@everything
def test_every_source_is_compiled_with_the_protections(name):
    for words in compilations(name):
        assert [option for option in PROTECTIONS if option not in words] == [], words
        assert {"-fPIC", "-fPIE"} & set(words), words
        assert [word for word in words if TAKEN_BACK.fullmatch(word)] == [], words


@everything
def test_a_format_string_from_outside_is_refused_by_the_compiler(name):
    """By the command of one of its sources, given a source that has one, and one that has none."""
    words = compilations(name)[0]
    command = [*words[:words.index("-o")], "-fsyntax-only", "-x", "c++", "-"]

    def compile_source(call):
        source = f"#include <cstdio>\nint say(const char* text);\nint say(const char* text) {{ return {call}; }}\n"
        return subprocess.run(command, input=source, capture_output=True, text=True, cwd=BUILD)

    accepted = compile_source('std::printf("%s", text)')
    assert accepted.returncode == 0, accepted.stderr
    for call in ("std::printf(text)", "std::printf(text, 1)"):
        refused = compile_source(call)
        assert refused.returncode != 0 and re.search(r"format-(nonliteral|security)\]", refused.stderr)
