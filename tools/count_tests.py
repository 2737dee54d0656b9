"""Sums the JUnit files of a folder into one last line: N passed, N failed[, N skipped].

The exit status is 1 when a test failed or was skipped, or when there were none: a skipped test is one
that nobody would miss.
"""

import sys
import xml.etree.ElementTree as ElementTree
from pathlib import Path


def count(folder):
    passed, failed, skipped = 0, [], []
    for file in sorted(Path(folder).glob("*.xml")):
        for case in ElementTree.parse(file).getroot().iter("testcase"):
            name = f"{file.stem}: {case.get('classname')}.{case.get('name')}"
            if case.find("failure") is not None or case.find("error") is not None:
                failed.append(name)
            elif case.find("skipped") is not None or case.get("status") in ("notrun", "disabled"):
                skipped.append(name)
            else:
                passed += 1
    return passed, failed, skipped


def main():
    passed, failed, skipped = count(sys.argv[1])
    for name in failed:
        print(f"failed: {name}")
    for name in skipped:
        print(f"skipped: {name}")
    line = f"{passed} passed, {len(failed)} failed"
    print(line + (f", {len(skipped)} skipped" if skipped else ""))
    return 0 if passed and not failed and not skipped else 1


sys.exit(main())
