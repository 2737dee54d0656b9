"""Durations as a user writes them: 90s, 30m, 2h."""

import re

UNITS = {"s": 1, "m": 60, "h": 3600}
LONGEST = 7 * 24 * 3600


def seconds_of(text):
    """The seconds of a text such as 90s, 30m or 2h, from one second to seven days; else ValueError says
    what is allowed."""
    found = re.fullmatch(r"([1-9][0-9]{0,5})([smh])", text)
    seconds = int(found[1]) * UNITS[found[2]] if found else 0
    if not 1 <= seconds <= LONGEST:
        raise ValueError(f"'{text}' is no duration; allowed: 1s to 168h, such as 90s, 30m or 2h")
    return seconds


def text_of(seconds):
    """The other way, for people: 1:02:03 or 2:03."""
    hours, rest = divmod(int(seconds), 3600)
    minutes, seconds = divmod(rest, 60)
    return f"{hours}:{minutes:02}:{seconds:02}" if hours else f"{minutes}:{seconds:02}"
