"""Documents tell the truth: the paths they name exist, every URI is documented and tested, and the
statements on security are tested, each in its row."""

import re
import subprocess
import sys
from pathlib import Path

PATH = re.compile(r"`((?:src|corvane|sim|dbman|tests|tools|docs|cmake|packaging|benchmarks)/[\w./-]*)`")
LINK = re.compile(r"\]\(([^)#:]+)(?:#[^)]*)?\)")
COMMENT = re.compile(r"//.*")
URI = re.compile(r'"(/(?:olt|onu|slot)/[a-z_/]*)"')
SECURITY = "docs/security.md"
ROW = re.compile(r"^\| (?!Statement)([^-].*?) \| (.*) \|$", re.M)
# Between the tables of a section: what their rows have in common.
LEAD_IN = re.compile(r"[^.]*:")
TABLE_HEAD = ("| Statement | Shown by |", "|---|---|")


def files(*patterns):
    return subprocess.run(["git", "ls-files", *patterns], capture_output=True, text=True,
                          check=True).stdout.split()


def texts(*patterns):
    return "\n".join(Path(path).read_text() for path in files(*patterns))


def missing_paths():
    for document in files("*.md"):
        text = Path(document).read_text()
        for path in PATH.findall(text):
            if not Path(path).exists():
                yield f"{document}: {path} doesn't exist"
        for link in LINK.findall(text):
            if not (Path(document).parent / link).exists():
                yield f"{document}: the link to {link} leads nowhere"


def unknown_uris():
    documented = Path("docs/ipc.md").read_text()
    tested = texts("tests/unit/*", "tests/system/*")
    for uri in sorted(set(URI.findall(COMMENT.sub("", texts("src/*"))))):
        if f'"{uri}"' not in documented and f"`{uri}`" not in documented:
            yield f"docs/ipc.md: {uri} is not documented"
        if uri not in tested:
            yield f"tests: {uri} is not tested"


def unproven_statements():
    """Each row names tests, and these exist."""
    tests = texts("tests/*.cpp", "tests/*.py", "tests/*.txt")
    for row in ROW.findall(Path(SECURITY).read_text()):
        names = re.findall(r"`([\w.]+)`", row[1])
        if not names:
            yield f"{SECURITY}: nothing shows '{row[0]}'"
        for name in names:
            if name.startswith("Fuzz.Replay."):
                known = f"fuzz_{name.removeprefix('Fuzz.Replay.')} " in tests
            else:
                known = re.search(r"\b" + name.replace(".", r",\s+") + r"\b", tests)
            if not known:
                yield f"{SECURITY}: there is no test {name}"


def loose_statements():
    """What the sections state stands in rows, where tests must be named."""
    in_sections = False
    for number, line in enumerate(Path(SECURITY).read_text().splitlines(), 1):
        if line.startswith("## "):
            in_sections = True
        elif in_sections and line and not (
                line in TABLE_HEAD or ROW.fullmatch(line) or LEAD_IN.fullmatch(line)):
            yield f"{SECURITY}:{number}: neither a row nor a lead-in that ends in ':': '{line}'"


def main():
    found = [*missing_paths(), *unknown_uris(), *unproven_statements(), *loose_statements()]
    print("\n".join(found), end="\n" if found else "")
    return 1 if found else 0


sys.exit(main())
