"""A preset's folder is configured and built in by one at a time: the steps of ./test run side by side."""

import os
import shutil
import subprocess
from pathlib import Path

import pytest

from conftest import ROOT

PROJECT = Path("/tmp/project")
# It notes what it was told, and whether somebody else could begin meanwhile.
CMAKE = """#!/bin/sh
mkdir -p build/release
if flock --nonblock build/release/lock true; then with=others; else with=nobody; fi
echo "$* beside $with" >>cmake-calls
"""


def as_cmake_sees_it(command):
    """Runs the command in a project that has the tools alone; gives the calls of cmake."""
    shutil.copytree(ROOT / "tools", PROJECT / "tools")
    programs = Path("/tmp/programs")
    programs.mkdir()
    for name in ("cmake", "git", "clang-format", "clang-tidy", "shellcheck"):
        (programs / name).write_text(CMAKE if name == "cmake" else "#!/bin/sh\n")
        (programs / name).chmod(0o755)
    path = f"{programs}:{os.environ['PATH']}"
    subprocess.run(["bash", "-c", command], cwd=PROJECT, env={**os.environ, "PATH": path}, capture_output=True,
                   timeout=60)
    return (PROJECT / "cmake-calls").read_text().splitlines()


def test_a_build_is_alone_in_its_folder():
    assert as_cmake_sees_it(". tools/packages.sh && build release -DA=B one") == [
        "--preset release -DA=B beside nobody", "--build --preset release --target=one beside nobody"]


@pytest.mark.parametrize("all_of_it", ["no", "yes"])
def test_the_static_analysis_configures_its_folder_alone(all_of_it):
    assert as_cmake_sees_it(f"tools/lint/all {all_of_it}") == ["--preset release beside nobody"]
