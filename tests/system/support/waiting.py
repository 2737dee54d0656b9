"""Waiting for something to become true, with a limit that a passing test never reaches."""

import time


def wait_for(predicate, limit=30.0, what=None, pause=0.02):
    """The first true answer of `predicate`; fails after `limit` seconds with the text `what`, which may
    be a function that makes it. Looks again after every `pause`."""
    end = time.monotonic() + limit
    while True:
        answer = predicate()
        if answer:
            return answer
        if time.monotonic() >= end:
            text = what() if callable(what) else what
            raise AssertionError(f"not true within {limit} s: {text or predicate}")
        time.sleep(pause)


def wait_until_it_is(count, wanted, stall=60.0, what=None, pause=0.5):
    """Until `count()` is what is wanted, however long that takes on a busy machine; fails with the text `what`,
    as above, when it hasn't changed for `stall` seconds."""
    last, since = None, time.monotonic()
    while (now := count()) != wanted:
        if now != last:
            last, since = now, time.monotonic()
        elif time.monotonic() >= since + stall:
            text = what() if callable(what) else what
            raise AssertionError(f"still {now}, not {wanted}, after {stall} s: {text or count}")
        time.sleep(pause)
