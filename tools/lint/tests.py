"""No test is out of the build, skipped or commented out."""

import re
import subprocess
import sys
from pathlib import Path

OUT = re.compile(r"GTEST_SKIP|DISABLED_|^\s*//+\s*TEST(_F|_P)?\s*\(|pytest\.mark\.(skip|xfail)|pytest\.skip",
                 re.M)
# It is for root to run these, and tools/count_tests.py sees that root does.
SKIPS_WHAT_ROOT_ALONE_CAN = "tests/system/support/other_users.py"


def files(*patterns):
    return subprocess.run(["git", "ls-files", *patterns], capture_output=True, text=True,
                          check=True).stdout.split()


def is_listed(path, folder):
    """Whether the build of `folder` names the file."""
    lists = folder / "CMakeLists.txt"
    return lists.exists() and str(Path(path).relative_to(folder)) in lists.read_text()


def main():
    found = []
    tests = files("tests/unit/*Test.cpp")
    for path in tests:
        if not any(is_listed(path, folder) for folder in Path(path).parents):
            found.append(f"{path}: not in the build")
    for path in tests + files("tests/system/*.py"):
        if path == SKIPS_WHAT_ROOT_ALONE_CAN:
            continue
        if OUT.search(Path(path).read_text()):
            found.append(f"{path}: a test is skipped or commented out")
    print("\n".join(found), end="\n" if found else "")
    return 1 if found or not tests else 0


sys.exit(main())
