"""Sums the JUnit files of a folder into one last line: N passed, N failed[, N skipped].

The exit status is 1 when a test failed or was skipped, or when there were none: a skipped test is one
that nobody would miss. Only who isn't root, and so has no other users to test with, may skip the tests
that need them.
"""

import os
import sys
import xml.etree.ElementTree as ElementTree
from pathlib import Path

SHOWN_LINES = 40
NEEDS_OTHER_USERS = "needs other users:"


def may_be_skipped(case):
    """Whether the reason is told, by ctest in the output or by pytest in the message."""
    told = [element.get("message", "") + (element.text or "")
            for element in case if element.tag in ("skipped", "system-out")]
    return os.geteuid() != 0 and any(NEEDS_OTHER_USERS in text for text in told)


def last_lines(case):
    """What ctest, which is quiet, has kept of a test's output. What pytest has to say it has said."""
    lines = [line for element in case if element.tag == "system-out" for line in (element.text or "").splitlines()]
    return "".join(f"    {line}\n" for line in lines[-SHOWN_LINES:])


def count(folder):
    passed, failed, skipped, allowed = 0, [], [], []
    for file in sorted(Path(folder).glob("*.xml")):
        for case in ElementTree.parse(file).getroot().iter("testcase"):
            name = f"{file.stem}: {case.get('classname')}.{case.get('name')}"
            if case.find("failure") is not None or case.find("error") is not None:
                failed.append((name, last_lines(case)))
            elif case.find("skipped") is not None or case.get("status") in ("notrun", "disabled"):
                (allowed if may_be_skipped(case) else skipped).append(name)
            else:
                passed += 1
    return passed, failed, skipped, allowed


def main():
    passed, failed, skipped, allowed = count(sys.argv[1])
    for name, output in failed:
        print(f"failed: {name}")
        print(output, end="")
    for name in skipped:
        print(f"skipped: {name}")
    for name in allowed:
        print(f"left out, since it needs other users and root to become them: {name}")
    line = f"{passed} passed, {len(failed)} failed"
    print(line + (f", {len(skipped + allowed)} skipped" if skipped + allowed else ""))
    return 0 if passed and not failed and not skipped else 1


sys.exit(main())
