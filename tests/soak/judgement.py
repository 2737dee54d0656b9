"""What is judged of the samples of a soak, and by which rule. All of it is arithmetic on what was seen."""

from collections import Counter

import faults

# A sample that is missing for longer is a gap.
LONGEST_GAP = 20
# At any moment, whatever is going on: a program's memory in kB, and what it may have open or running more
# than at rest. Of the daemon that is a storm of all cards, and a probe of each of eight slots, which takes
# two descriptors; of the others, their clients.
MOST_RESIDENT_KB = {"ponmgrd": 64 << 10, "chassis-sim": 100 << 10, "dbman": 64 << 10}
MORE_DESCRIPTORS = {"ponmgrd": 16, "chassis-sim": 32, "dbman": 32}
MORE_THREADS = {"ponmgrd": 0, "chassis-sim": 0, "dbman": 0}
# Of what was looked at, at most so much may be excused by a fault that costs something for good, and at
# least so many are allowed in a short soak.
EXCUSED_SHARE, EXCUSED_ALLOWED = 0.1, 2
# And so much may stay unseen while programs are halted or down; that of five samples in a short soak.
UNSEEN_SHARE, UNSEEN_ALLOWED = 0.25, 40

RIGHT, IN_TIME, EXCUSED, WRONG, UNSEEN = "right", "in time", "excused", "wrong", "unseen"


def is_excused(what, kinds):
    """Lost or falsified datagrams explain a card that isn't in service; only falsified ones explain an
    inventory that shows what isn't there."""
    effects = {faults.KINDS[kind][0] for kind in kinds}
    untrue = any("inventory" in text for text in what)
    in_service = not any(text.startswith("card ") and " of " in text for text in what)
    if faults.FALSIFYING in effects:
        return True
    return faults.LOSING in effects and not (untrue and in_service)


def gaps(times, began, ended):
    """Complaints about the times at which no sample was taken for too long."""
    found = []
    times = [began, *times, ended]
    for earlier, later in zip(times, times[1:]):
        if later - earlier > LONGEST_GAP:
            found.append(f"no sample was taken from {earlier:.0f} s to {later:.0f} s")
    return found


class Ledger:
    """Counts what became of each slot in each sample, and of each slot in each calm."""

    def __init__(self):
        self.slots = Counter()  # by outcome
        self.calms = 0  # slots that were judged at the end of a calm
        self.mended = 0
        self.wrong_since = {}
        self.longest_wrong = 0.0

    def judge_inventory(self, sample, incidents, kinds_at, slots):
        """Complaints about what was wrong in a sample; `kinds_at` are the kinds of faults that a slot had in
        this round."""
        if sample.wrong is None:
            self.slots[UNSEEN] += len(slots)
            if incidents.halted(sample.at, sample.until, LONGEST_GAP):
                return []
            return [f"the inventory couldn't be seen at {sample.at:.0f} s: {sample.unseen}"]
        found = []
        for slot in slots:
            what = sample.wrong.get(slot)
            outcome = _outcome(slot, what, sample, incidents, kinds_at)
            self.slots[outcome] += 1
            self._note_how_long(slot, what, sample)
            if outcome == WRONG:
                found.append(f"wrong at {sample.at:.0f} s without a trouble that explains it: slot {slot}: "
                             + "; ".join(what[:4]))
        return found

    def _note_how_long(self, slot, what, sample):
        if not what:
            self.wrong_since.pop(slot, None)
            return
        since = self.wrong_since.setdefault(slot, sample.at)
        self.longest_wrong = max(self.longest_wrong, sample.until - since)

    def complaints_about_excuses(self, longest):
        """What was excused too often, or was wrong for longer than `longest` seconds."""
        found = []
        seen = sum(self.slots[outcome] for outcome in (RIGHT, IN_TIME, EXCUSED, WRONG))
        for what, excused, of in (("slots in samples", self.slots[EXCUSED], seen),
                                  ("slots in calms", self.mended, self.calms)):
            if excused > max(EXCUSED_ALLOWED, EXCUSED_SHARE * of):
                found.append(f"{excused} of {of} {what} were excused; {EXCUSED_SHARE:.0%} may be")
        unseen, looks = self.slots[UNSEEN], sum(self.slots.values())
        if unseen > max(UNSEEN_ALLOWED, UNSEEN_SHARE * looks):
            found.append(f"{unseen} of {looks} slots in samples weren't seen; {UNSEEN_SHARE:.0%} may be")
        if self.longest_wrong > longest:
            found.append(f"a slot was wrong for {self.longest_wrong:.0f} s; {longest:.0f} s may be")
        return found

    def told(self):
        return {"slot_samples": dict(self.slots), "slot_calms": self.calms, "mended": self.mended,
                "longest_wrong_s": round(self.longest_wrong, 1)}


def _outcome(slot, what, sample, incidents, kinds_at):
    if not what:
        return RIGHT
    if incidents.explain(slot, sample.at, sample.until):
        return IN_TIME
    return EXCUSED if is_excused(what, kinds_at.get(slot, ())) else WRONG


def complaints_about_sample(sample, incidents, rest, judge_sizes):
    """What a program had beyond its bounds in this sample, and queues that stood; `rest` is each program's
    reading at rest."""
    found = []
    at = f"at {sample.at:.0f} s"
    for name, most in MOST_RESIDENT_KB.items():
        reading = sample.readings.get(name)
        if reading is None:
            if not incidents.halted(sample.at, sample.until, LONGEST_GAP):
                found.append(f"{name} couldn't be looked at {at}")
            continue
        if judge_sizes and reading.resident_kb > most:
            found.append(f"{name} took {reading.resident_kb} kB {at}; {most} kB are the most")
        for what, more in (("descriptors", MORE_DESCRIPTORS), ("threads", MORE_THREADS)):
            has, most = getattr(reading, what), getattr(rest[name], what) + more[name]
            if has > most:
                found.append(f"{name} had {has} {what} {at}; {most} are the most")
    if sample.drained is None and not incidents.halted(sample.at, sample.until, LONGEST_GAP):
        found.append(f"{sample.udp_bytes} bytes at a UDP socket, or {sample.local_bytes} at a local one, weren't "
                     f"taken within 10 s {at}")
    return found
