"""The daemon's peer: the database manager's end of the two local sockets, in the plainest form."""

import json
import os
import socket
import threading
import time

from .waiting import wait_for

NOTIFICATIONS = "/tmp/pmdbman.ipc"
COMMANDS = "/tmp/dbpman.ipc"


class Peer:
    """Listens for notifications from construction on and keeps each with the time it came."""

    def __init__(self):
        self.received = []  # (time, text)
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.socket.bind(NOTIFICATIONS)
        self.running = True
        self.reader = threading.Thread(target=self._read, daemon=True)
        self.reader.start()
        self.sender = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)

    def _read(self):
        self.socket.settimeout(0.1)
        while self.running:
            try:
                data = self.socket.recv(1 << 20)
            except TimeoutError:
                continue
            self.received.append((time.monotonic(), data.decode()))

    def close(self):
        self.running = False
        self.reader.join()
        self.socket.close()
        os.unlink(NOTIFICATIONS)

    def texts(self):
        return [text for _, text in list(self.received)]

    def messages(self, uri=None, slot=None):
        """The notifications so far, parsed; those of one uri, and of one slot."""
        found = [json.loads(text) for text in self.texts()]
        return [message for message in found
                if (uri is None or message["uri"] == uri)
                and (slot is None or message["data"].get("slot_id") == str(slot))]

    def wait_for(self, uri, slot=None, limit=30.0, matching=lambda data: True):
        def first():
            return next((message for message in self.messages(uri, slot)
                         if matching(message["data"])), None)
        return wait_for(first, limit, lambda: f"notification {uri} of slot {slot}; came:\n" +
                        "\n".join(self.texts()))["data"]

    def send_text(self, text):
        data = text if isinstance(text, bytes) else text.encode()
        wait_for(lambda: self._sent(data), 5, "the daemon listens for commands")

    def _sent(self, data):
        try:
            self.sender.sendto(data, COMMANDS)
            return True
        except (FileNotFoundError, ConnectionRefusedError):
            return False

    def command(self, uri, slot, **data):
        data = {"slot_id": str(slot), **data}
        self.send_text(json.dumps({"action": "set", "uri": uri, "data": data}))

    def address(self, slot, ip=None, source="127.0.0.1"):
        """What a database manager answers to the question for a slot's addresses."""
        self.command("/olt/src_ip", slot, ip_address=source)
        self.command("/olt/ip", slot, ip_address=ip or f"127.0.1.{slot}")
