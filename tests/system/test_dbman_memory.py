"""What dbman keeps of the memory that its longest answers take, as it is shipped: a sanitizer keeps what is freed."""

import sys

import pytest

from conftest import ROOT
from support.measures import resident

sys.path.insert(0, str(ROOT / "tests" / "soak"))

from plant import fill_event_log, give_longest_answers  # noqa: E402

# MiB. The answer with all events takes ten and more while it is made.
KEPT = 8


@pytest.mark.shipped
def test_the_memory_of_long_answers_is_given_back(chassis):
    manager = chassis("1-8", "--onus", "2", "--configured").manager
    fill_event_log()
    before = resident(manager.pid)
    for _ in range(3):
        give_longest_answers()
        after = resident(manager.pid)
        print(f"{before:.1f} MiB with all lines, {after:.1f} MiB after the longest answers")
        assert after < before + KEPT
