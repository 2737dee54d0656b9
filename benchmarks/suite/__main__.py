"""Runs the cases of ./bench: python3 -m benchmarks.suite BUILD [--quick] [--write] [NAME...], in the
product's folder."""

import argparse
import json
import multiprocessing
import os
import platform
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
    return {"processor": model, "cores": os.cpu_count(), "kernel": platform.release(),
            "load_before": os.getloadavg()[0]}


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


def write_document(cases, results):
    text = write_into(DOCUMENT.read_text(), "machine",
                      "Measured on {started:.10} on {cores} cores of {processor}, Linux {kernel}.".format(
                          **results["machine"], started=results["started"]))
    for name, rows in cases.items():
        text = write_into(text, name, as_markdown([from_json(row) for row in rows]))
    DOCUMENT.write_text(text)


def chosen(arguments):
    if arguments.names:
        return arguments.names
    return [name for name, case in ALL.items() if case.IN_QUICK or not arguments.quick]


def store(build, cases, results):
    """Cases that weren't run this time keep what was measured before, unless that was quick."""
    path = build / "results.json"
    earlier = json.loads(path.read_text()) if path.exists() else {}
    kept = earlier.get("cases", {}) if earlier.get("quick") == results["quick"] else {}
    path.write_text(json.dumps({**results, "cases": {**kept, **cases}}, indent=1) + "\n")
    return path


def main():
    if sys.argv[1:] == ["--list"]:
        for name, case in ALL.items():
            print(f"{name:13} {case.ANSWERS}{'' if case.IN_QUICK else '  (not in --quick)'}")
        return 0
    arguments = parse_arguments(sys.argv[1:])
    build = arguments.build.resolve()
    results = {"quick": arguments.quick, "machine": machine(),
               "started": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime())}
    cases, failed = {}, []
    for name in chosen(arguments):
        say(f"{name}: {ALL[name].ANSWERS}")
        try:
            cases[name] = run_case(name, build, arguments.quick)
        except RuntimeError as failure:
            print(f"./bench: {failure}", file=sys.stderr)
            failed.append(name)
            continue
        print(f"\n{name}\n{as_text([from_json(row) for row in cases[name]])}\n", flush=True)
    print(f"The results are in {store(build, cases, results).relative_to(ROOT)}.")
    if arguments.write:
        write_document(cases, results)
    if failed:
        print(f"./bench: these cases failed: {' '.join(failed)}", file=sys.stderr)
    return 1 if failed else 0


sys.exit(main())
