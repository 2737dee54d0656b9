"""The command line of a soak. Run by itself it only says whether the words are right."""

import argparse
import random
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "system"))

from support import recovery  # noqa: E402

from duration import seconds_of  # noqa: E402

# Seconds that the passes of cards with many ONUs add to what is promised for a trouble, and with them the
# longest that is promised for any.
MANY_ONUS = 12
RECOVERY_LIMIT = recovery.CARD + MANY_ONUS
SHORTEST_WARM_UP = 10
SHORTEST_TO_JUDGE = 300  # seconds that sizes are judged from; buffers need some minutes to reach their bounds
TROUBLES_A_SECOND = 1.5

DESCRIPTION = """\
Builds the product and runs all of it in a network of its own, with eight cards, under random faults on
the wire, troubles of cards and ONUs, and commands, in rounds: a storm, then a calm in which everything
must be right within %d seconds. Inventory, memory, descriptors, threads and queues are judged every 10
seconds. Ends with a report, and with status 0 when all was well, 1 when not. Ctrl-C ends it early: after one calm
more, or at once when pressed again. It takes DURATION and, the first time, a few minutes before to build.
""" % RECOVERY_LIMIT


def _duration(text):
    try:
        return seconds_of(text)
    except ValueError as error:
        raise argparse.ArgumentTypeError(str(error)) from error


def _number(least, most):
    def parse(text):
        if not text.isascii() or not text.isdigit() or not least <= int(text) <= most:
            raise argparse.ArgumentTypeError(f"'{text}' is out of range; allowed: {least} to {most}")
        return int(text)
    return parse


def arguments(words):
    """The settings from the command line; exits with status 2 when it is wrong."""
    parser = argparse.ArgumentParser("./soak", description=DESCRIPTION, allow_abbrev=False,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("seconds", metavar="DURATION", nargs="?", type=_duration, default=seconds_of("10m"),
                        help="how long: 90s, 30m, 2h (10m)")
    parser.add_argument("--seed", type=_number(0, 2**32 - 1), default=random.SystemRandom().randrange(2**32),
                        help="the same seed draws the same troubles (another every time; it is printed)")
    parser.add_argument("--onus", type=_number(1, 124), default=32,
                        help="ONUs at each of a card's two PON ports, 1 to 124 (32)")
    parser.add_argument("--warm-up", type=_duration, help="after which sizes may grow no more (a fifth)")
    parser.add_argument("--halt", action="store_true", help="also halts dbman and the daemon for seconds")
    parser.add_argument("--kill", action="store_true", help="also kills them and starts them again")
    parser.add_argument("--report", metavar="FILE", help="writes the report as JSON too "
                        "(build/soak/report.json)")
    settings = parser.parse_args(words)
    if settings.warm_up is None:
        settings.warm_up = max(SHORTEST_WARM_UP, settings.seconds // 5)
    if settings.warm_up >= settings.seconds:
        parser.error(f"a warm-up of {settings.warm_up} s leaves nothing of {settings.seconds} s")
    settings.troubles_a_second = TROUBLES_A_SECOND
    return settings


if __name__ == "__main__":
    arguments(sys.argv[1:])
