"""The examples of units, packet filter and limits are what they and docs/security.md say of them."""

import configparser
import os
import re
import shlex
import shutil
import socket
import subprocess
import time
from contextlib import ExitStack
from pathlib import Path

import pytest

from conftest import BUILD, ROOT
from support import namespace
from support.card import PORT, Card
from support.other_users import SOMEBODY, need_other_users, of_somebody, open_to_all
from support.peer import COMMANDS, NOTIFICATIONS
from support.product import ask, control, inventory, truth, wait_in_service
from support.strangers import REQUEST, as_a_stranger, listening
from support.waiting import wait_for

LONG = pytest.mark.long
EXAMPLES = ROOT / "packaging/examples"
UNITS = {"ponmgrd": EXAMPLES / "ponmgrd.service", "dbman": EXAMPLES / "ponmgr-dbman.service"}
USERS = EXAMPLES / "ponmgr-sysusers.conf"
FILTER = EXAMPLES / "ponmgr.nft"
LIMITS = EXAMPLES / "ponmgr-sysctl.conf"
USER = "ponmgr"
SLOT = 3  # its first probe comes after three seconds
GET_INFORMATION, DISABLE = "000700010000", "000900010000"


def unit(name):
    """The unit of a program: what stands in its sections, by key."""
    parser = configparser.RawConfigParser(strict=True)
    parser.optionxform = str
    assert parser.read(UNITS[name]) == [str(UNITS[name])]
    return {key: value for section in ("Unit", "Service", "Install") for key, value in parser[section].items()}


def words(name, key="ExecStart"):
    return shlex.split(unit(name)[key])


def following(option):
    """What the database manager is told by an option."""
    given = words("dbman")
    return given[given.index(option) + 1]


def test_the_units_give_both_programs_one_user_and_one_tmp_that_nobody_else_sees():
    assert unit("ponmgrd")["User"] == unit("dbman")["User"] == USER
    assert re.search(rf"^u {USER} ", USERS.read_text(), re.M)
    for name, other in (("ponmgrd", "dbman"), ("dbman", "ponmgrd")):
        assert words(name)[0] == name
        assert unit(name)["PrivateTmp"] == "yes"
        assert unit(name)["JoinsNamespaceOf"] == UNITS[other].name
    assert unit("ponmgrd")["After"] == UNITS["dbman"].name
    assert following("--control").startswith(f"/run/{unit('dbman')['RuntimeDirectory']}/")
    assert following("--database").startswith(f"/var/lib/{unit('dbman')['StateDirectory']}/")


def test_the_units_are_ordered_before_anybody_can_log_in():
    for name in UNITS:
        assert "systemd-user-sessions.service" in unit(name)["Before"].split()
        assert unit(name)["WantedBy"] == "multi-user.target"


def test_the_packet_filter_is_about_the_cards_port_and_the_units_user():
    rule, = [line.strip() for line in FILTER.read_text().splitlines() if "dport" in line]
    assert rule == f"udp dport {PORT} meta skuid != {{ root, {USER} }} counter drop"


# --- the limits for sockets ---

# Their numbers, with the right to exceed the machine's limits and without it.
SEND_BUFFER, RECEIVE_BUFFER = (32, socket.SO_SNDBUF), (33, socket.SO_RCVBUF)


def limit(name):
    lines = [line for line in LIMITS.read_text().splitlines() if line and not line.startswith("#")]
    return int(dict(line.split(" = ") for line in lines)[name])


def given(buffer, size):
    """What the kernel gives for `size`: with a limit of that size it gives no more."""
    beyond_limits, within_limits = buffer
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as asking:
        try:
            asking.setsockopt(socket.SOL_SOCKET, beyond_limits, size)
        except PermissionError:  # nor has the daemon this right then
            asking.setsockopt(socket.SOL_SOCKET, within_limits, size)
        return asking.getsockopt(socket.SOL_SOCKET, within_limits)


def buffers(process, family, kind):
    """Of each of its sockets: of what comes in ("rb"), or of what it sends ("tb")."""
    words = ("ss", f"--{family}", "--all", "--memory", "--processes", "--no-header", "--oneline")
    told = subprocess.run(words, check=True, capture_output=True, text=True).stdout
    return [int(re.search(rf"[(,]{kind}(\d+)", line)[1]) for line in told.splitlines()
            if f",pid={process.pid}," in line]


def test_the_limits_let_the_daemon_have_the_buffers_that_it_asks_for(daemon, peer):
    peer.address(1)
    receiving = wait_for(lambda: buffers(daemon, "udp", "rb"))
    assert receiving == [given(RECEIVE_BUFFER, limit("net.core.rmem_max"))]
    assert buffers(daemon, "unix", "tb") == [given(SEND_BUFFER, limit("net.core.wmem_max"))] * 2


# --- as the units say ---

def confinement(name, **changed):
    """The rights that a unit, or one with changed settings, leaves its program, as words of the program that starts
    it as somebody."""
    settings = {**unit(name), **changed}
    if "CapabilityBoundingSet" in settings:
        left = settings["CapabilityBoundingSet"].lower().replace("cap_", "+").split()
        yield "--bounding-set=" + ",".join(["-all", *left])
    if settings.get("NoNewPrivileges") == "yes":
        yield "--no-new-privs"


@pytest.fixture
def user():
    """The units' user is there."""
    need_other_users()
    others = [line for line in Path("/etc/passwd").read_text().splitlines() if not line.startswith(f"{USER}:")]
    Path("/tmp/passwd").write_text("\n".join([*others, f"{USER}:x:{SOMEBODY}:{SOMEBODY}::/:/usr/sbin/nologin\n"]))
    namespace.mount("/tmp/passwd", "/etc/passwd", None, namespace.MS_BIND)


def make_folders():
    for parent, key in (("/run", "RuntimeDirectory"), ("/var/lib", "StateDirectory")):
        namespace.mount("tmpfs", parent, "tmpfs", 0, "mode=755")
        folder = Path(parent) / unit("dbman")[key]
        folder.mkdir()
        os.chown(folder, SOMEBODY, SOMEBODY)


def ask_dbman(*asked):
    return ask("dbman", *asked, "--control", following("--control"))


@pytest.fixture
def product(processes, user, monkeypatch):
    """The product in service, started as the units say, where a stranger was first at the paths in the common
    /tmp, with a card in each slot."""
    with ExitStack() as strangers:
        for path in (COMMANDS, NOTIFICATIONS):
            strangers.enter_context(listening(path))
        namespace.enter(ROOT, BUILD)  # with another /tmp
        make_folders()
        network = re.sub(r"\d+$", "0/24", following("--base"))
        subprocess.run(["ip", "route", "add", "local", network, "dev", "lo"], check=True)
        processes("chassis-sim", "--slots", following("--slots"), "--onus", "1", "--configured", "--base",
                  following("--base")).wait_for_line("chassis-sim ready")
        programs = {name: open_to_all(name) for name in UNITS}
        processes(*of_somebody(*confinement("dbman"), programs["dbman"], *words("dbman")[1:]))
        monkeypatch.setenv("PATH", f"{programs['dbman'].parent}:{os.environ['PATH']}")
        subprocess.run(of_somebody(*words("dbman", "ExecStartPost")), check=True, timeout=60)
        daemon = processes(*of_somebody(*confinement("ponmgrd"), programs["ponmgrd"], *words("ponmgrd")[1:]))
        wait_in_service("100s")
        wait_for_agreement()
        yield daemon


def shown():
    return inventory(lambda _, *asked: ask_dbman(*asked))


def wait_for_agreement():
    wait_for(lambda: shown() == truth(), 60, lambda: f"the inventory {shown()} is the truth {truth()}")


def test_started_as_the_units_say_the_product_doesnt_meet_who_was_first_in_the_common_tmp(product):
    assert product.is_running()
    assert os.stat(COMMANDS).st_uid == os.stat(NOTIFICATIONS).st_uid == SOMEBODY
    wait_for(lambda: namespace.pings_answered() > 0, 40, "its user may ping")
    assert product.count("ping:") == 0


NOBODYS = "1 0"  # what the kernel begins with
NOT_PERMITTED = "Operation not permitted"  # what the shell says of ping, or ping of its socket


@pytest.fixture
def probing(processes, peer):
    """Starts the daemon with the rights that its unit, or one with changed settings, leaves it; gives it a card."""
    need_other_users()
    os.chmod(NOTIFICATIONS, 0o666)

    def start(groups, **changed):
        Path("/proc/sys/net/ipv4/ping_group_range").write_text(groups)
        daemon = processes(*of_somebody(*confinement("ponmgrd", **changed), open_to_all("ponmgrd")))
        peer.wait_for("/olt/get/all/ip")
        Card(SLOT, marked=True)
        peer.address(SLOT)
        return daemon

    return start


@pytest.mark.parametrize("setting, value", [("CapabilityBoundingSet", ""), ("NoNewPrivileges", "yes")])
def test_with_fewer_rights_than_its_unit_leaves_it_the_daemon_takes_no_card_for_dead(probing, peer, setting, value):
    namespace.answer_ping(False)
    daemon = probing(NOBODYS, **{setting: value})
    daemon.wait_for_line(NOT_PERMITTED, 40)
    time.sleep(1)  # a probe that fails is repeated at once
    assert daemon.count(NOT_PERMITTED) == 1, "this one counts as answered"
    peer.wait_for("/olt/new", SLOT, matching=lambda data: data["online_status"] == "1")


def test_without_new_privileges_the_daemon_pings_where_its_group_may(probing):
    daemon = probing(f"{SOMEBODY} {SOMEBODY}", NoNewPrivileges="yes")
    wait_for(lambda: namespace.pings_answered() > 0, 40)
    assert daemon.count(NOT_PERMITTED) == 0


def tool(name):
    """A program of root's; ./test --all installs its package."""
    found = shutil.which(name, path=f"{os.environ['PATH']}:/usr/sbin:/sbin")
    assert found, f"{name} is not installed"
    return found


def enabled():
    return control("card", "1", "get")["enabled"]


@LONG
def test_the_packet_filter_keeps_others_from_the_cards_and_lets_the_product_through(product):
    card = re.sub(r"\d+$", lambda last: str(int(last[0]) + 1), following("--base"))
    answer, _ = as_a_stranger(REQUEST, card, PORT, GET_INFORMATION).communicate(timeout=60)
    assert answer.startswith("00070001"), "without the filter a card answers everybody"
    for _ in range(2):  # the second time in the place of the first
        subprocess.run([tool("nft"), "-f", FILTER], check=True)
    refused = as_a_stranger(REQUEST, card, PORT, DISABLE)
    assert refused.communicate(timeout=60)[0] == "" and refused.returncode == 1
    ruleset = subprocess.run([tool("nft"), "list", "ruleset"], check=True, capture_output=True, text=True).stdout
    assert ruleset.count("counter packets 1 ") == 1, ruleset
    assert enabled()
    ask_dbman("slot", "disable", "1")
    wait_for(lambda: not enabled())
    ask_dbman("slot", "enable", "1")
    wait_in_service("100s")
    wait_for_agreement()


@LONG
def test_systemd_understands_the_units():
    """It looks for their programs where the system has its own."""
    namespace.mount("tmpfs", "/usr/local/bin", "tmpfs", 0, "mode=755")
    for name in UNITS:
        Path("/usr/local/bin", name).symlink_to(BUILD / "bin" / name)
    done = subprocess.run([tool("systemd-analyze"), "verify", "--man=no", *UNITS.values()], capture_output=True,
                          text=True)
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")


@LONG
def test_systemd_understands_the_user():
    done = subprocess.run([tool("systemd-sysusers"), "--dry-run", USERS], capture_output=True, text=True)
    assert done.returncode == 0, done.stderr
