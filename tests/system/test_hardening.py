"""What is shipped carries the usual protections, read from the binaries themselves."""

import re
import subprocess

import pytest

from conftest import BUILD

PROGRAMS = ["bin/ponmgrd", "bin/chassis-sim", "bin/dbman"]
LIBRARY = "lib/libCorvane.so"


def readelf(name, *options):
    return subprocess.run(["readelf", "--wide", *options, BUILD / name], capture_output=True, text=True,
                          check=True).stdout


pytestmark = pytest.mark.shipped
everything = pytest.mark.parametrize("name", [*PROGRAMS, LIBRARY])


@pytest.mark.parametrize("name", PROGRAMS)
def test_programs_are_position_independent(name):
    assert re.search(r"Type:\s+DYN \(Position-Independent Executable", readelf(name, "--file-header"))
    assert re.search(r"FLAGS_1.*\bPIE\b", readelf(name, "--dynamic"))


@everything
def test_relocations_are_read_only_from_the_start(name):
    assert "GNU_RELRO" in readelf(name, "--program-headers")
    assert re.search(r"FLAGS.*BIND_NOW|FLAGS_1.*\bNOW\b", readelf(name, "--dynamic"))


@everything
def test_no_stack_can_be_executed(name):
    stack = re.search(r"GNU_STACK\s+(0x\w+\s+){5}(?P<flags>[RWE ]+?)\s+0x", readelf(name, "--program-headers"))
    assert stack and stack["flags"].strip() == "RW"


@everything
def test_stacks_are_protected(name):
    assert "__stack_chk_fail" in readelf(name, "--dyn-syms")


@pytest.mark.parametrize("name", PROGRAMS)
def test_library_calls_are_fortified(name):
    assert re.search(r"\b__\w+_chk@GLIBC", readelf(name, "--dyn-syms"))


@everything
def test_functions_begin_with_a_mark_for_indirect_branches(name):
    code = subprocess.run(["objdump", "--disassemble", "--no-show-raw-insn", BUILD / name],
                          capture_output=True, text=True, check=True).stdout
    # Debian's start-up code has none, so that the file as a whole isn't marked as protected.
    first = re.findall(r"^[0-9a-f]+ <_Z\w*(?:ponmgr|Corvane)\w*>:\n\s+[0-9a-f]+:\s+(\w+)", code, re.M)
    assert len(first) > 5
    assert first.count("endbr64") > len(first) / 2
