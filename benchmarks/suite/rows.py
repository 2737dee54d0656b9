"""What a case finds out, and how runs become one figure."""

import statistics
from dataclasses import dataclass, field


@dataclass
class Row:
    """One figure, by all of its runs: a ratio of one thing to another that was measured beside it in the same
    run, or, with a unit, a plain figure."""

    what: str
    against: str
    runs: list
    unit: str = ""
    at_most: float | None = None
    at_least: float | None = None
    details: dict = field(default_factory=dict)

    @property
    def median(self):
        return statistics.median(self.runs)

    def goal(self):
        if self.at_most is not None:
            return f"at most {plain(self.at_most)}"
        return f"at least {plain(self.at_least)}" if self.at_least is not None else ""

    def is_met(self):
        """None without a goal."""
        if self.at_most is not None:
            return self.median <= self.at_most
        return self.median >= self.at_least if self.at_least is not None else None

    def as_json(self):
        return {"what": self.what, "against": self.against, "unit": self.unit, "median": self.median,
                "min": min(self.runs), "max": max(self.runs), "runs": self.runs, "goal": self.goal(),
                "met": self.is_met(), "details": self.details}


def from_json(row):
    """The row again, without its goal's number: for tables of an earlier run."""
    return StoredRow(row)


class StoredRow:
    """A row as it was written to the results."""

    def __init__(self, row):
        self.what, self.against, self.unit = row["what"], row["against"], row["unit"]
        self.runs, self.median, self.details = row["runs"], row["median"], row["details"]
        self._goal, self._met = row["goal"], row["met"]

    def goal(self):
        return self._goal

    def is_met(self):
        return self._met


def plain(number):
    """Three digits that count, without an exponent."""
    if number == 0:
        return "0"
    if abs(number) >= 100:
        return f"{number:,.0f}"
    if abs(number) >= 10:
        return f"{number:.1f}"
    if abs(number) >= 0.1:
        return f"{number:.2f}"
    return f"{number:.3g}"


def ratios(tops, bottoms):
    """Run by run."""
    return [top / bottom for top, bottom in zip(tops, bottoms, strict=True)]


def quantile(values, part):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, int(len(ordered) * part))]
