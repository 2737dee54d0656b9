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
# Long enough that the daemon, on a busy machine, waits for the answer when it comes: an earlier one is thrown away.
ANSWER_AFTER = 0.01

RESET_OLT = 6
GET_OLT_INFORMATION = 7
ENABLE_OLT = 8
DISABLE_OLT = 9
GET_NVS = 301
SET_NVS = 302
GET_DOMAINS = 381
GET_OAM_SETS = 435
SET_OAM_SETS = 436
DISCOVERED_LINKS = 68
RESET_ONU = 83
KNOWN_LINKS = 118
CLEAR_PROVISIONING = 119
ONU_VLAN = 273
ETHERNET_PORT = 299
STATISTICS = 312
ONU_INFORMATION = 363
PATHS = 377
QUEUE_SLA = 384
ENABLE_LINK = 385
DELETE_QUEUE_SLA = 387
BRIDGING_MODE = 388
LINK_SLA = 397
GET_RULES = 399
SET_RULE = 400
DELETE_RULE = 401
DIAGNOSIS = 585

OLT_READY = 0x8000
LINK_DISCOVERY = 0x8019
REPORT_ALARM = 0x801A
LINK_MOVED = 0x802B

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


def event(event_id, data, sequence=1):
    """An event frame: its length field counts result, sequence and data."""
    return struct.pack(">HHHHH", event_id, 0, 4 + len(data), 0, sequence) + data


def olt_ready(slot):
    """OLT Ready has neither result nor sequence; its length field counts the data."""
    data = olt_information(slot)
    return struct.pack(">HHH", OLT_READY, 0, len(data)) + data


def onu_mac(index):
    return bytes.fromhex(f"000db60300{index:02x}")


def mac_text(mac):
    return ":".join(f"{byte:02x}" for byte in mac)


def link_information(mac, downstream_port=0, upstream_port=1):
    """The 26 bytes that describe a link."""
    return mac + bytes.fromhex(
        "0012"  # length of what follows: 18
        "000db6"  # vendor OUI
        "1234" "0001"  # product code and version
        "0007"  # LLID
        "0100"  # round-trip time
        f"{downstream_port:02x}"
        "0001"  # vendor type
        "01" "02" "03"  # reporting formats, pending grants, upstream speeds
        f"{upstream_port:02x}")


def statistics(request, values):
    """An answer to Get Statistics: the target as asked for, then an item for each element."""
    data = request.data[:9]
    for element, value in values.items():
        data += struct.pack(">HBBQ", 11, element, 0, value)
    return response(request, data)


class Card:
    """A card in a slot. `rules` maps a request id to a function (card, request) -> frames to send.

    Without a rule of the test's, a card is unmarked, keeps nothing in non-volatile storage, has one
    domain and no links, accepts everything, and doesn't restart when it is reset.
    """

    def __init__(self, slot, address=None, port=PORT, **state):
        self.slot = slot
        self.product = state.get("product", "3723")
        self.nvs = state.get("nvs", False)
        self.marked = state.get("marked", False)
        self.known = []  # MAC addresses of links, as bytes
        self.discovered = []
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

    def _say_known(self, request):
        return [response(request, b"".join(self.known))]

    def _say_discovered(self, request):
        return [response(request, b"".join(self.discovered))]

    def _say_link_information(self, request):
        return [response(request, link_information(request.data))]

    def _say_bridging_mode(self, request):
        index = request.data[5]
        return [response(request, request.data + bytes.fromhex(
            f"010000" f"01{index:02x}0005" f"02{index:02x}0006" f"03{index:02x}0007"))]

    def _say_statistics(self, request):
        return [statistics(request, {4: 10000, 5: 33000, 6: 5000, 7: 10240})]

    def _say_diagnosis(self, request):
        return [response(request, request.data + bytes.fromhex("2800" "80e8" "1388" "000a" "2710"))]

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
        KNOWN_LINKS: _say_known,
        DISCOVERED_LINKS: _say_discovered,
        ONU_INFORMATION: _say_link_information,
        BRIDGING_MODE: _say_bridging_mode,
        STATISTICS: _say_statistics,
        DIAGNOSIS: _say_diagnosis,
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
