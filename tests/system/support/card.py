"""A scripted PON card: answers each request id by a rule that a test can replace.

All bytes are written by hand here, from the protocol's layouts; nothing of the product's code takes
part in making or reading them.
"""

import socket
import struct
import threading
import time
from collections import namedtuple

from .waiting import wait_for

PORT = 14113
ANSWER_AFTER = 0.002

RESET_OLT = 6
GET_OLT_INFORMATION = 7
ENABLE_OLT = 8
DISABLE_OLT = 9
GET_NVS = 301
SET_NVS = 302
GET_DOMAINS = 381
GET_OAM_SETS = 435
SET_OAM_SETS = 436

Request = namedtuple("Request", "time id ctag data")


def olt_information(slot, product="3723"):
    """The 91 bytes that a card says of itself."""
    return bytes.fromhex(
        f"000db60000{slot:02x}"  # EPON MAC
        "0000"  # skipped
        "000db6"  # vendor OUI
        f"{product}"  # product code
        "0102"  # product version
        "0417"  # firmware version
    ) + b"V" * 64 + bytes.fromhex(
        "0101"  # JEDEC id
        "3723"  # chip id
        "00010002"  # chip version
        "02"  # EPON ports
        "02"  # NNI ports
    )


def oam_sets(slot, marked):
    """Target, then one record a set: type, length, version, OUI, state."""
    return bytes.fromhex(
        f"08000db60000{slot:02x}"
        "010500000db601"
        f"020500111111{1 if marked else 0:02x}"
        "030500aaaaaa00"
        "04050000a1f500")


def response(request, data=b"", result=0):
    """A response frame: its length field counts the result and the data."""
    return struct.pack(">HHHH", request.id, request.ctag, 2 + len(data), result) + data


class Card:
    """A card in a slot. `rules` maps a request id to a function (card, request) -> frames to send.

    Without a rule of the test's, a card is unmarked, keeps nothing in non-volatile storage, has one
    domain, accepts everything, and doesn't restart when it is reset.
    """

    def __init__(self, slot, address=None, port=PORT, **state):
        self.slot = slot
        self.product = state.get("product", "3723")
        self.nvs = state.get("nvs", False)
        self.marked = state.get("marked", False)
        self.requests = []
        self.rules = {}
        self.answer_after = ANSWER_AFTER
        self.silent = False
        self.last_sender = None
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.socket.bind((address or f"127.0.1.{slot}", port))
        threading.Thread(target=self._run, daemon=True).start()

    def _run(self):
        while True:
            frame, sender = self.socket.recvfrom(2048)
            request = Request(time.monotonic(), *struct.unpack(">HH", frame[:4]), frame[6:])
            assert struct.unpack(">H", frame[4:6])[0] == len(frame) - 6, frame.hex()
            self.requests.append(request)
            self.last_sender = sender
            if self.silent:
                continue
            frames = self._answer(request)
            time.sleep(self.answer_after)
            for answer in frames:
                self.socket.sendto(answer, sender)

    def _answer(self, request):
        if request.id in self.rules:
            return self.rules[request.id](self, request)
        return self.GOOD_ANSWERS.get(request.id, lambda card, asked: [response(asked)])(self, request)

    # The answers of a good card.

    def _say_information(self, request):
        return [response(request, olt_information(self.slot, self.product))]

    def _say_nvs(self, request):
        return [response(request, bytes([self.nvs, self.nvs]))]

    def _say_set_nvs(self, request):
        self.nvs = request.data != b"\x00"
        return [response(request)]

    def _say_domains(self, request):
        return [response(request, bytes.fromhex("04020004"))]

    def _say_oam_sets(self, request):
        return [response(request, oam_sets(self.slot, self.marked))]

    def _say_set_oam_sets(self, request):
        self.marked = True
        return [response(request)]

    GOOD_ANSWERS = {
        GET_OLT_INFORMATION: _say_information,
        GET_NVS: _say_nvs,
        SET_NVS: _say_set_nvs,
        GET_DOMAINS: _say_domains,
        GET_OAM_SETS: _say_oam_sets,
        SET_OAM_SETS: _say_set_oam_sets,
    }

    # What a test asks.

    def ids(self):
        return [request.id for request in list(self.requests)]

    def of(self, request_id):
        return [request for request in list(self.requests) if request.id == request_id]

    def wait_for(self, request_id, count=1, limit=30.0):
        wait_for(lambda: len(self.of(request_id)) >= count, limit,
                 lambda: f"{count} requests {request_id} at card {self.slot}; came: {self.ids()}")
        return self.of(request_id)[count - 1]

    def send_event(self, frame):
        self.socket.sendto(frame, self.last_sender)
