"""What a new daemon may have a card do that the one before has left configured, by the simulator's journal."""

from collections import Counter

# What brings its ONUs into service anew, with the values that they have already: the level of service, and how
# the data of each request go on behind the ONU's MAC address or the queue's endpoint.
SERVICE_LEVEL = "00000000" "ffff" "ff" "ffff" "000f4240" "00c8" "02" "0010"
OF_ONU = {"Enable Link": "",
          "Set Link SLA": SERVICE_LEVEL + "01" "02" "00000000" "00000000",
          "CTC Set Ethernet Port": "80" "01" "01" "00" "0001" "01" "01" "01" "01"}
OF_QUEUE = {"Set Queue SLA": "0000" + SERVICE_LEVEL}
CLEARING, DELETING, DISCOVERY = "Clear All Provisioning for Logical Link", "Delete Queue SLA", "Link Discovery"
# Ids of paths that the daemon doesn't set, and how many users one has at most that counts as unused.
OTHERS_PATHS, UNUSED = range(9, 8192), 2


def settings_asked(entries):
    """What a card was told by these datagrams, or asked in words that it doesn't know: names and payloads, in hex
    digits behind the header's six bytes. What is tried again, with the tag that it had, is told once."""
    told = {(entry["name"], entry["ctag"], entry["hex"][12:]): None for entry in entries
            if entry["direction"] == "in" and entry["purpose"] != "asks"}
    return [(name, payload) for name, _, payload in told]


def is_unused(path):
    return path["id"] in OTHERS_PATHS and path["usage_count"] <= UNUSED


def deletions(paths):
    """The payloads by which those of the paths are deleted that nobody uses, each with its successor."""
    return {f"{path['id'] + step:04x}0000" for path in paths if is_unused(path) for step in (0, 1)}


def bare(mac):
    return mac.replace(":", "")


def provisionings(onu):
    """All that provisions an ONU once, by what the simulator tells of it."""
    found = [(name, bare(onu["mac"]) + rest) for name, rest in OF_ONU.items()]
    return found + [(name, f"{queue['endpoint']:04x}{rest}") for name, rest in OF_QUEUE.items()
                    for queue in onu["queues"].values()]


def discoveries(entries, onu):
    """How often the card has said that it discovers this ONU."""
    return sum(entry["direction"] == "out" and entry["name"] == DISCOVERY and bare(onu["mac"]) in entry["hex"]
               for entry in entries)


def disturbing(entries, onus, absent, paths):
    """What a card was told and ought not to be, or once too often. It had these paths; `absent` are the MAC
    addresses of the ONUs that were not on-line there. `onus` are those that are, where the card was in service; each
    is provisioned once, and once more whenever the card discovers it. One that was only marked has none yet."""
    allowed = Counter({(CLEARING, bare(mac)): 1 for mac in absent})
    allowed.update({(DELETING, payload): 1 for payload in deletions(paths)})
    for onu in onus:
        allowed.update(provisionings(onu) * (1 + discoveries(entries, onu)))
    found = []
    for asked in settings_asked(entries):
        allowed[asked] -= 1
        if allowed[asked] < 0:
            found.append(asked)
    return found
