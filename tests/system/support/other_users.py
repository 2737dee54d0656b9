"""Users beside root, for a test that can't do without them."""

import os
from pathlib import Path

import pytest

from . import namespace
from .product import program

NOBODY = 65534
# Who runs the product in the place of root, with nobody else's processes counted as his.
SOMEBODY = 10_000 + os.getpid() % 50_000


def _is_mapped(map_file, number):
    ranges = (map(int, line.split()) for line in Path(map_file).read_text().splitlines())
    return any(first <= number < first + count for first, _, count in ranges)


def need_other_users():
    """The first line of such a test. When root runs the tests they are there, and ./test fails if one was
    skipped; tools/count_tests.py knows the text."""
    for user in (NOBODY, SOMEBODY):
        if os.geteuid() != 0 or not all(_is_mapped(f"/proc/self/{ids}_map", user) for ids in ("uid", "gid")):
            pytest.skip(f"needs other users: this user namespace has no user {user}")


def open_to_all(name):
    """A program of the product, where every user can start it."""
    built = program(name)
    folder = Path("/tmp/open-to-all") / name
    folder.mkdir(parents=True, exist_ok=True)
    namespace.mount(str(built.parents[1]), str(folder), None, namespace.MS_BIND)
    return folder / "bin" / name


def of_somebody(*words):
    """The words that start a program as SOMEBODY."""
    return ("/usr/bin/setpriv", f"--reuid={SOMEBODY}", f"--regid={SOMEBODY}", "--clear-groups", "--pdeathsig=KILL",
            *words)
