"""What a soak has shown: a verdict, and the figures behind it, as text and as JSON."""

from statistics import median

from duration import text_of
from settings import SHORTEST_TO_JUDGE

LEVEL_GROWTH = 0.02  # of the resident size after the warm-up


def levels_compared(levels, warm_up):
    """By program: its reading at rest after the warm-up and the last one. Of one that was killed, what it was
    at the most in its earlier starts and in the first calm of its last one stands for the former. Nothing for a
    program that was seen at rest once only."""
    compared = {}
    for name in levels[-1][2] if levels else ():
        judged = [(starts[name], readings[name]) for at, starts, readings in levels if at >= warm_up]
        same = [reading for start, reading in judged if start == levels[-1][1][name]]
        others = [reading for start, reading in judged if start != levels[-1][1][name]]
        before = others + same[:1] if len(same) >= 2 else others
        if same and before:
            compared[name] = (max(before) if others else before[0], same[-1])
    return compared


def complaints_about_levels(compared, judge_sizes):
    """What is wrong with the levels, as sentences."""
    found = []
    for name, (first, last) in compared.items():
        if judge_sizes and last.resident_kb > (1 + LEVEL_GROWTH) * first.resident_kb:
            found.append(f"{name} takes {last.resident_kb} kB at rest, after the warm-up it was "
                         f"{first.resident_kb} kB")
        for what in ("descriptors", "threads"):
            if getattr(first, what) != getattr(last, what):
                found.append(f"{name} has {getattr(last, what)} {what}, after the warm-up it had "
                             f"{getattr(first, what)}")
    return found


def memory_curve(samples, name):
    """Of one program: how its resident size went, in kB; None without samples."""
    sizes = [sample.readings[name].resident_kb for sample in samples if name in sample.readings]
    if not sizes:
        return None
    return {"start": sizes[0], "min": min(sizes), "median": int(median(sizes)), "max": max(sizes),
            "end": sizes[-1]}


def summary(rounds, settings, complaints):
    """All of it as one JSON object. `complaints` are what broke the soak off; those about levels are added."""
    plant, stage = rounds.plant, rounds.stage
    compared = levels_compared(rounds.levels, settings.warm_up)
    judge_sizes = rounds.judges_sizes and rounds.elapsed() >= SHORTEST_TO_JUDGE
    complaints = rounds.complaints + complaints + complaints_about_levels(compared, judge_sizes)
    return {
        "verdict": "failed" if complaints else "passed",
        "complaints": complaints,
        "seed": settings.seed,
        "seconds_wanted": settings.seconds,
        "seconds": round(rounds.elapsed(), 1),
        "onus": len(stage.onus),
        "ended_early": rounds.ending(),
        "played": [{"group": group, "name": name, "count": count,
                    "refused": stage.refused[group, name]}
                   for (group, name), count in sorted({**_zeros(stage.refused), **stage.played}.items())],
        "recoveries": recoveries(rounds.recoveries),
        "judged": rounds.ledger.told(),
        "mended_by_operator": [one._asdict() for one in rounds.mended],
        "sizes_judged": judge_sizes,
        "levels": {name: {"after_warm_up": first._asdict(), "end": last._asdict()}
                   for name, (first, last) in compared.items()},
        "memory_kb": {name: curve for name in plant.processes
                      if (curve := memory_curve(rounds.samples, name))},
        "queues": queues(rounds.samples),
        "starts": dict(plant.starts),
        "log_lines": {name: dict(lines.kinds.most_common()) for name, lines in plant.lines.items()
                      if name == "ponmgrd"},
        "samples": [_sample(sample) for sample in rounds.samples],
    }


def _zeros(counter):
    return {key: 0 for key in counter}


def _sample(sample):
    return {"at": round(sample.at, 1), "udp_bytes": sample.udp_bytes, "udp_drops": sample.udp_drops,
            "local_bytes": sample.local_bytes, "drained_s": sample.drained, "wrong": sample.wrong,
            "unseen": sample.unseen,
            **{name: reading._asdict() for name, reading in sample.readings.items()}}


def recoveries(seconds):
    """How long it took until everything was right, over all calms."""
    if not seconds:
        return {"count": 0}
    return {"count": len(seconds), "median_s": round(median(seconds), 1), "worst_s": round(max(seconds), 1)}


def queues(samples):
    """The longest queues that were seen."""
    return {"udp_bytes_most": max((one.udp_bytes for one in samples), default=0),
            "udp_datagrams_dropped": max((one.udp_drops for one in samples), default=0),
            "local_bytes_most": max((one.local_bytes for one in samples), default=0)}


# As text.


def _table(head, rows):
    rows = [[str(cell) for cell in row] for row in [head, *rows]]
    widths = [max(len(row[column]) for row in rows) for column in range(len(head))]
    return ["  ".join(cell.ljust(width) if column == 0 else cell.rjust(width)
                      for column, (cell, width) in enumerate(zip(row, widths))).rstrip() for row in rows]


def _memory_rows(told):
    for name, curve in told["memory_kb"].items():
        level = told["levels"].get(name)
        pair = [level["after_warm_up"], level["end"]] if level else None
        yield [name, *curve.values(),
               *([f"{one['resident_kb']}" for one in pair] if pair else ["-", "-"]),
               "{descriptors}/{threads}".format(**pair[1]) if pair else "-"]


def _judged(judged):
    slots = judged["slot_samples"]
    return ["Slots in samples: " + ", ".join(f"{count} {outcome}" for outcome, count in sorted(slots.items()))
            + f"; wrong for {judged['longest_wrong_s']} s at the longest",
            f"Slots in calms: {judged['slot_calms']}, {judged['mended']} of them reset by an operator"]


def text_of_summary(told):
    """The summary for people."""
    recovered = told["recoveries"]
    lines = ["", f"Soak of {text_of(told['seconds'])} with {told['onus']} ONUs, seed {told['seed']}"
             + (", ended early" if told["ended_early"] else ""), ""]
    lines += _table(["played", "times", "refused"],
                    [[f"{row['group']}: {row['name']}", row["count"], row["refused"]] for row in told["played"]])
    lines += ["", "Right again after: " + (f"median {recovered['median_s']} s, worst {recovered['worst_s']} s, "
                                           f"{recovered['count']} times" if recovered["count"] else "never")]
    lines += _judged(told["judged"])
    lines += [f"Reset by an operator: slot {one['slot']}, {'; '.join(one['what'][:2])}; faults there: "
              f"{', '.join(one['faults'])}" for one in told["mended_by_operator"]]
    lines += [""] + _table(["resident size in kB", "start", "min", "median", "max", "end", "warm", "at the end",
                            "fds/threads"], _memory_rows(told))
    if not told["sizes_judged"]:
        lines += [f"(sizes are not judged in a soak of less than {text_of(SHORTEST_TO_JUDGE)})"]
    lines += ["", "Queues at the most: {udp_bytes_most} bytes at a UDP socket, {local_bytes_most} at a local one; "
              "{udp_datagrams_dropped} datagrams dropped".format(**told["queues"]), ""]
    lines += _table(["messages", "count"], told.get("messages", {}).items())
    lines += [""] + _table(["lines of the daemon", "count"],
                           [[kind[:100], count] for kind, count in told["log_lines"].get("ponmgrd", {}).items()])
    lines += [""] + [f"Wrong: {complaint}" for complaint in told["complaints"]]
    return "\n".join(lines + [f"The soak has {told['verdict']}."])
