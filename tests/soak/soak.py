"""Runs the whole product for long under random faults and commands, and checks that it stays well.

Run by ./soak, which builds what it needs.
"""

import json
import os
import random
import shutil
import signal
import sys
from pathlib import Path

import plant as plants
from duration import text_of
from faults import check_every_kind_is_known
from report import summary, text_of_summary
from rounds import STORM_TIME, Disagreement, Rounds
from settings import arguments
from stage import Stage
from support import namespace
from support.product import BUILD
from support.waiting import wait_for
from troubles import ASKED, CHASSIS, HALTS, KILLS, ON_THE_WIRE

BRING_UP_LIMIT = 180


class Ending:
    """Set by the first SIGINT or SIGTERM; the second one raises KeyboardInterrupt."""

    def __init__(self):
        self.wanted = False
        for number in (signal.SIGINT, signal.SIGTERM):
            signal.signal(number, self._note)

    def _note(self, number, _):
        if self.wanted:
            raise KeyboardInterrupt
        self.wanted = True
        tell(f"{signal.Signals(number).name}: ends after one calm more; once again ends at once")

    def __call__(self):
        return self.wanted


def tell(text):
    print(text, flush=True)


def play(rounds, settings):
    """Brings everything up, then plays rounds until the time is over."""
    wait_for(lambda: rounds.ending() or not rounds.wrong(), BRING_UP_LIMIT,
             lambda: f"everything is in service: {rounds.wrong()}")
    tell(f"everything is in service after {text_of(rounds.elapsed())}")
    rounds.begin()
    rounds.burst()
    storm = min(STORM_TIME, settings.warm_up)
    while rounds.elapsed() < settings.seconds and not rounds.ending():
        rounds.storm(storm)
        rounds.calm()
        tell(f"{text_of(rounds.elapsed())}  {sum(rounds.stage.played.values())} troubles so far, {rounds.last_calm}")


def soak(settings, folder):
    """One soak; gives its report."""
    ending = Ending()
    plant = plants.Plant(folder, settings.seed, settings.onus)
    check_every_kind_is_known()
    troubles = ON_THE_WIRE + CHASSIS + ASKED
    troubles += (HALTS if settings.halt else []) + (KILLS if settings.kill else [])
    rounds = Rounds(Stage(plant, random.Random(settings.seed), troubles), settings, tell, ending)
    complaints = []
    try:
        play(rounds, settings)
    except (Disagreement, AssertionError, plants.Refused) as error:
        # a program that ended is what others complain of
        complaints += dict.fromkeys([*plant.ended(), str(error)])
    except KeyboardInterrupt:
        tell("ended at once; the last calm is not judged")
    rounds.end()
    messages = _messages(plant)
    complaints += plant.end()
    return {**summary(rounds, settings, complaints), "messages": messages}


def _messages(plant):
    try:
        return plant.messages()
    except (plants.Refused, AssertionError, OSError):
        return {}


def prepare(settings):
    """An empty folder for the logs, and the open file of the report, as it may be out of sight later."""
    folder = Path(os.environ.get("PONMGR_SOAK", plants.ROOT / "build" / "soak")).resolve()
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    path = settings.report or folder / "report.json"
    try:
        return folder, open(path, "w")
    except OSError as error:
        sys.exit(f"./soak: the report can't be written to {path}: {error.strerror}")


def main():
    settings = arguments(sys.argv[1:])
    folder, file = prepare(settings)
    namespace.enter(plants.ROOT, BUILD, folder)
    os.environ["XDG_STATE_HOME"] = "/tmp/state"
    tell(f"Soak of {text_of(settings.seconds)}, seed {settings.seed}; logs in {folder}")
    try:
        told = soak(settings, folder)
    except (AssertionError, plants.Refused) as error:
        sys.exit(f"./soak: the product didn't start: {error}")
    with file:
        json.dump(told, file, indent=1)
    tell(text_of_summary(told))
    return 0 if told["verdict"] == "passed" else 1


if __name__ == "__main__":
    sys.exit(main())
