"""Includes run downward only, and sockets stay in the few files that own them."""

import re
import subprocess
import sys
from pathlib import Path

# A folder of src/ and the folders that it may include from, itself aside.
BELOW = {
    "app": {"poncard", "ipc", "tk", "model"},
    "poncard": {"ipc", "tk", "model"},
    "ipc": {"model"},
    "tk": {"model"},
    "model": set(),
}
# The ground floor: these stand in app/ and need nothing.
GROUND = {"app/Exception.h", "app/LogLine.h", "app/NamedThread.h"}

SOCKET_HEADERS = {"sys/socket.h", "sys/un.h", "arpa/inet.h"}
SOCKET_FILES = re.compile(
    r"^(src/tk/(SocketHelper|UDPDescriptor|UDPSocket)\.cpp"
    r"|corvane/.*|sim/.*|dbman/.*|tests/.*|benchmarks/support/UdpEnd\.cpp)$")

INCLUDE = re.compile(r'^\s*#\s*include\s+([<"])([^>"]+)[>"]', re.M)


def problems(path, text):
    parts = path.split("/")
    for kind, name in INCLUDE.findall(text):
        if kind == "<" and name in SOCKET_HEADERS and not SOCKET_FILES.match(path):
            yield f"{path}: <{name}> belongs to the files that own sockets"
        if kind != '"':
            continue
        if parts[0] == "src":
            yield from wrong_direction(path, parts[1], name)
        elif parts[0] == "dbman" and (Path("src") / name).exists():
            yield f"{path}: dbman uses nothing of the daemon's, but includes {name}"
        elif parts[0] == "corvane" and not (Path("corvane") / name).exists():
            yield f"{path}: Corvane stands alone, but includes {name}"


def wrong_direction(path, folder, name):
    if name == "Corvane.h":
        if folder != "ipc":
            yield f"{path}: only ipc/ uses Corvane"
        return
    target = name.split("/")[0]
    if path in {f"src/{ground}" for ground in GROUND} | {"src/app/Exception.cpp", "src/app/LogLine.cpp"}:
        if name not in GROUND:
            yield f"{path}: the ground floor needs nothing, but includes {name}"
    elif target != folder and name not in GROUND and target not in BELOW[folder]:
        yield f"{path}: {folder}/ may not include {name}"


def main():
    files = subprocess.run(["git", "ls-files", "*.h", "*.cpp"], capture_output=True, text=True,
                           check=True).stdout.split()
    found = [problem for path in files for problem in problems(path, Path(path).read_text())]
    print("\n".join(found), end="\n" if found else "")
    return 1 if found or not files else 0


sys.exit(main())
