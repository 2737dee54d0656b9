"""Users beside root, for a test that can't do without them."""

import os
from pathlib import Path

import pytest

NOBODY = 65534


def _is_mapped(map_file, number):
    ranges = (map(int, line.split()) for line in Path(map_file).read_text().splitlines())
    return any(first <= number < first + count for first, _, count in ranges)


def need_other_users():
    """The first line of such a test. When root runs the tests they are there, and ./test fails if one was
    skipped; tools/count_tests.py knows the text."""
    if os.geteuid() != 0 or not all(_is_mapped(f"/proc/self/{ids}_map", NOBODY) for ids in ("uid", "gid")):
        pytest.skip(f"needs other users: this user namespace has no user {NOBODY}")
