"""Tables of rows, for the terminal and for docs/performance.md."""

import re

from .rows import plain


def _header(rows):
    details = dict.fromkeys(name for row in rows for name in row.details)
    return ["What", "Against", "Median", "Spread", "Runs", "Goal", *details]


def _verdict(row):
    if row.is_met() is None:
        return row.goal()
    return row.goal() + (": met" if row.is_met() else ": missed")


def _cells(row, header):
    unit = f" {row.unit}" if row.unit else ""
    spread = f"{plain(min(row.runs))}..{plain(max(row.runs))}"
    cells = [row.what, row.against, plain(row.median) + unit, spread, str(len(row.runs)), _verdict(row)]
    for name in header[len(cells):]:
        value = row.details.get(name, "")
        cells.append(value if isinstance(value, str) else plain(value))
    return cells


def as_text(rows):
    header = _header(rows)
    lines = [header, *(_cells(row, header) for row in rows)]
    widths = [max(len(line[i]) for line in lines) for i in range(len(header))]
    return "\n".join("  ".join(cell.ljust(width) for cell, width in zip(line, widths)).rstrip()
                     for line in lines)


def as_markdown(rows):
    header = _header(rows)
    lines = [header, ["---"] * len(header), *(_cells(row, header) for row in rows)]
    return "\n".join("| " + " | ".join(line) + " |" for line in lines)


def write_into(text, name, content):
    """The document's text with the content between the markers of this name; ValueError without them."""
    start, end = f"<!-- bench {name} -->", f"<!-- end {name} -->"
    if text.count(start) != 1 or text.count(end) != 1:
        raise ValueError(f"docs/performance.md has no place for {name}: {start} and {end}, once each")
    pattern = re.compile(re.escape(start) + ".*?" + re.escape(end), re.S)
    return pattern.sub(lambda _: f"{start}\n{content}\n{end}", text)
