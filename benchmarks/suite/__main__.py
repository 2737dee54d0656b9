"""Runs the cases of ./bench: python3 -m benchmarks.suite BUILD [--quick] [--write] [NAME...], in the
product's folder."""

import argparse
import json
import multiprocessing
import os
import platform
import subprocess
import sys
import time
import traceback
from pathlib import Path

from .cases import ALL
from .rows import from_json
from .surroundings import ROOT, Bench, say
from .table import as_markdown, as_text, write_into

from support import namespace  # noqa: E402  found by surroundings

DOCUMENT = ROOT / "docs" / "performance.md"


def _run_apart(name, build, quick, pipe):
    """In a process and namespaces of its own."""
    namespace.enter(ROOT, build)
    bench = Bench(build, quick)
    try:
        pipe.send((None, [row.as_json() for row in ALL[name].run(bench)]))
    except BaseException:
        outputs = "".join(f"--- {process.name}:\n{os.linesep.join(process.texts()[-20:])}\n"
                          for process in bench.running)
        pipe.send((traceback.format_exc() + outputs, []))
    finally:
        bench.stop_all()


def run_case(name, build, quick):
    """The rows as JSON; RuntimeError with all that is known when the case fails."""
    ours, theirs = multiprocessing.get_context("fork").Pipe(duplex=False)
    process = multiprocessing.get_context("fork").Process(target=_run_apart,
                                                          args=(name, build, quick, theirs))
    process.start()
    theirs.close()
    try:
        failure, rows = ours.recv()
    except EOFError:
        failure, rows = "its process ended without a result", []
    process.join()
    if failure:
        raise RuntimeError(f"the case {name} failed:\n{failure}")
    return rows


def machine():
    model = next((line.split(":")[1].strip() for line in Path("/proc/cpuinfo").read_text().splitlines()
                  if line.startswith("model name")), platform.machine())
    return {"processor": model, "cores": os.cpu_count(), "kernel": platform.release()}


def surroundings():
    """What a case was measured with, and beside how much else."""
    version = subprocess.run(["git", "describe", "--always", "--dirty"], cwd=ROOT, capture_output=True, text=True)
    return {"started": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime()),
            "version": version.stdout.strip() or "unknown", "load_before": round(os.getloadavg()[0], 2)}


def parse_arguments(words):
    parser = argparse.ArgumentParser(prog="./bench", add_help=False)
    parser.add_argument("build", type=Path)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--write", action="store_true")
    parser.add_argument("names", nargs="*", metavar="NAME")
    arguments = parser.parse_intermixed_args(words)
    unknown = [name for name in arguments.names if name not in ALL]
    if unknown:
        parser.exit(2, f"./bench: no case '{unknown[0]}'; there are: {', '.join(ALL)}\n")
    if arguments.write and arguments.quick:
        parser.exit(2, "./bench: what --quick measures isn't for the document; leave out one of the two\n")
    return arguments


def write_document(cases):
    text = write_into(DOCUMENT.read_text(), "machine",
                      "Measured on {cores} cores of {processor}, Linux {kernel}.".format(**machine()))
    for name, case in cases.items():
        text = write_into(text, name, when(case) + "\n\n" + as_markdown(rows_of(case)))
    DOCUMENT.write_text(text)


def when(case):
    return "{started:.10}, version {version}, with a load of {load_before} before it.".format(**case)


def rows_of(case):
    return [from_json(row) for row in case["rows"]]


def chosen(arguments):
    if arguments.names:
        return arguments.names
    return [name for name, case in ALL.items() if case.IN_QUICK or not arguments.quick]


def store(build, cases, quick):
    """Cases that weren't run this time keep what was measured before; quick ones have a file of their own."""
    path = build / ("results-quick.json" if quick else "results.json")
    earlier = json.loads(path.read_text())["cases"] if path.exists() else {}
    path.write_text(json.dumps({"machine": machine(), "cases": {**earlier, **cases}}, indent=1) + "\n")
    return path


def measure(name, build, quick):
    """RuntimeError when the case fails, or when one of its figures can't be true."""
    case = {**surroundings(), "rows": run_case(name, build, quick)}
    print(f"\n{name}\n{as_text(rows_of(case))}\n", flush=True)
    wrong = [row.what for row in rows_of(case) if not quick and not row.is_credible()]
    if wrong:
        raise RuntimeError(f"{name} was disturbed, since something is faster than its floor: {', '.join(wrong)}")
    return case


def warn_of_load():
    load, cores = os.getloadavg()[0], os.cpu_count()
    if load > cores / 2:
        print(f"./bench: the machine is busy (a load of {load:.1f} on {cores} cores); the figures will show it",
              file=sys.stderr)


def main():
    if sys.argv[1:] == ["--list"]:
        for name, case in ALL.items():
            print(f"{name:13} {case.ANSWERS}{'' if case.IN_QUICK else '  (not in --quick)'}")
        return 0
    arguments = parse_arguments(sys.argv[1:])
    build = arguments.build.resolve()
    if not arguments.quick:
        warn_of_load()
    cases, failed = {}, []
    for name in chosen(arguments):
        say(f"{name}: {ALL[name].ANSWERS}")
        try:
            cases[name] = measure(name, build, arguments.quick)
        except RuntimeError as failure:
            print(f"./bench: {failure}", file=sys.stderr)
            failed.append(name)
    print(f"The results are in {os.path.relpath(store(build, cases, arguments.quick))}.")
    if arguments.write:
        write_document(cases)
    if failed:
        print(f"./bench: these cases failed: {' '.join(failed)}", file=sys.stderr)
    return 1 if failed else 0


sys.exit(main())
