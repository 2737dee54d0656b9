"""What a case finds out, and how runs become one figure."""

import math
import statistics
from dataclasses import asdict, dataclass, field


@dataclass
class Row:
    """One figure, by all of its runs: a ratio of one thing to another that was measured beside it in the same
    run, or, with a unit, a plain figure. Below `credible_from` it says that something else was measured than
    what was meant: nothing is faster than its own floor."""

    what: str
    against: str
    runs: list
    unit: str = ""
    at_most: float | None = None
    at_least: float | None = None
    credible_from: float | None = None
    details: dict = field(default_factory=dict)

    @property
    def median(self):
        return statistics.median(self.runs)

    def goal(self):
        if self.at_most is not None and self.at_least is not None:
            return f"{plain(self.at_least)} to {plain(self.at_most)}"
        if self.at_most is not None:
            return f"at most {plain(self.at_most)}"
        return f"at least {plain(self.at_least)}" if self.at_least is not None else ""

    def is_met(self):
        """None without a goal."""
        if self.at_most is None and self.at_least is None:
            return None
        return ((self.at_most is None or self.median <= self.at_most) and
                (self.at_least is None or self.median >= self.at_least))

    def is_credible(self):
        return self.credible_from is None or self.median >= self.credible_from

    def as_json(self):
        return {**asdict(self), "median": self.median, "min": min(self.runs), "max": max(self.runs),
                "met": self.is_met()}


def from_json(stored):
    """The row that as_json has written."""
    return Row(**{name: stored[name] for name in Row.__dataclass_fields__})


def plain(number):
    """What was counted as it is, else about three digits that count; without an exponent."""
    if number == 0:
        return "0"
    if isinstance(number, int) or abs(number) >= 100:
        return f"{number:,.0f}"
    if abs(number) >= 10:
        return f"{number:.1f}"
    if abs(number) >= 0.1:
        return f"{number:.2f}"
    return f"{number:.{2 - math.floor(math.log10(abs(number)))}f}"


def ratios(tops, bottoms):
    """Run by run."""
    return [top / bottom for top, bottom in zip(tops, bottoms, strict=True)]


def by_turns(values, turn):
    """The values in an order that changes from turn to turn, so that none is always measured first."""
    values = list(values)
    start = turn % len(values)
    return values[start:] + values[:start]


def quantile(values, part):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, int(len(ordered) * part))]
