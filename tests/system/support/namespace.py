"""A network and mount namespace of its own for the calling process.

Loopback is up and nobody else's ports are on it; /tmp is empty and private, so the fixed paths of the
daemon can be used by any number of tests side by side.
"""

import ctypes
import os
import subprocess
from pathlib import Path

CLONE_NEWNS = 0x00020000
CLONE_NEWUSER = 0x10000000
CLONE_NEWNET = 0x40000000
MS_BIND = 0x1000
MS_REC = 0x4000
MS_PRIVATE = 0x40000

libc = ctypes.CDLL(None, use_errno=True)


def _check(result, what):
    if result != 0:
        error = ctypes.get_errno()
        raise OSError(error, f"{what}: {os.strerror(error)}")


def mount(source, target, kind, flags, data=None):
    """mount(2), by text; raises OSError."""
    encode = lambda text: text.encode() if text is not None else None
    _check(libc.mount(encode(source), encode(target), encode(kind), flags, encode(data)),
           f"mount {target}")


def _become_root():
    user, group = os.getuid(), os.getgid()
    _check(libc.unshare(CLONE_NEWUSER), "unshare user namespace")
    Path("/proc/self/setgroups").write_text("deny")
    Path("/proc/self/uid_map").write_text(f"0 {user} 1")
    Path("/proc/self/gid_map").write_text(f"0 {group} 1")


def enter(*kept_folders):
    """Enters the namespaces; what lies below the kept folders stays visible even below /tmp."""
    if os.geteuid() != 0:
        _become_root()
    _check(libc.unshare(CLONE_NEWNET | CLONE_NEWNS), "unshare")
    kept = {str(Path(folder).resolve()): os.open(folder, os.O_PATH | os.O_DIRECTORY)
            for folder in kept_folders}
    mount(None, "/", None, MS_REC | MS_PRIVATE)
    mount("tmpfs", "/tmp", "tmpfs", 0, "mode=1777")
    for path, descriptor in kept.items():
        if path.startswith("/tmp/"):
            os.makedirs(path, exist_ok=True)
            mount(f"/proc/self/fd/{descriptor}", path, None, MS_BIND | MS_REC)
        os.close(descriptor)
    os.chdir("/")
    subprocess.run(["ip", "link", "set", "lo", "up"], check=True)


def answer_ping(answering):
    """Has this namespace's addresses answer ping, or not."""
    Path("/proc/sys/net/ipv4/icmp_echo_ignore_all").write_text("0" if answering else "1")


def pings_answered():
    """How many pings this namespace's addresses have answered so far."""
    names, values = [line.split()[1:] for line in Path("/proc/net/snmp").read_text().splitlines()
                     if line.startswith("Icmp:")]
    return int(dict(zip(names, values))["OutEchoReps"])
