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
