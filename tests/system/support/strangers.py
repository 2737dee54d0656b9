"""Programs of another user of the machine, who is nobody in particular."""

import subprocess
import sys
from contextlib import contextmanager

from .other_users import NOBODY

LISTEN = """
import os, socket, sys
path = sys.argv[1]
listener = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
listener.bind(path)
os.chmod(path, 0o666)
print("ready", flush=True)
print("heard", listener.recv(65536).decode(), flush=True)
"""
REQUEST = """
import socket, sys
asking = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
asking.settimeout(30)
asking.sendto(bytes.fromhex(sys.argv[3]), (sys.argv[1], int(sys.argv[2])))
print(asking.recv(2048).hex())
"""


def as_a_stranger(program, *words):
    return subprocess.Popen([sys.executable, "-c", program, *map(str, words)], stdout=subprocess.PIPE, text=True,
                            user=NOBODY, group=NOBODY, extra_groups=[])


@contextmanager
def running(program, *words):
    """A stranger's program that says when it is ready."""
    stranger = as_a_stranger(program, *words)
    try:
        assert stranger.stdout.readline() == "ready\n"
        yield stranger
    finally:
        stranger.kill()
        stranger.wait()


def listening(path):
    """A stranger who was first at a path."""
    return running(LISTEN, path)
