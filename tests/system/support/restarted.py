"""What a new daemon may have a card do that the one before has left configured, by the simulator's journal."""

# What brings its ONUs into service anew, with the values that they have already.
PROVISIONING = {"Enable Link", "Set Link SLA", "Set Queue SLA", "CTC Set Ethernet Port"}
CLEARING, DELETING = "Clear All Provisioning for Logical Link", "Delete Queue SLA"
# Ids of paths that the daemon doesn't set, and how many users one has at most that counts as unused.
OTHERS_PATHS, UNUSED = range(9, 8192), 2


def settings_asked(entries):
    """What a card was told by these datagrams, or asked in words that it doesn't know: names and payloads, in hex
    digits behind the header's six bytes."""
    return [(entry["name"], entry["hex"][12:]) for entry in entries
            if entry["direction"] == "in" and entry["purpose"] != "asks"]


def is_unused(path):
    return path["id"] in OTHERS_PATHS and path["usage_count"] <= UNUSED


def deletions(paths):
    """The payloads by which those of the paths are deleted that nobody uses, each with its successor."""
    return {f"{path['id'] + step:04x}0000" for path in paths if is_unused(path) for step in (0, 1)}


def disturbing(entries, in_service, absent, paths):
    """What a card was told and ought not to be: a card that was in service or, failing that, only marked, that had
    these paths, and at which the ONUs with these MAC addresses were not on-line."""
    allowed = {CLEARING: {mac.replace(":", "") for mac in absent}, DELETING: deletions(paths)}
    return [(name, payload) for name, payload in settings_asked(entries)
            if not (in_service and name in PROVISIONING) and payload not in allowed.get(name, ())]
