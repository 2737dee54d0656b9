"""What a test makes of programs that end badly, on programs made up for it."""

import os
import signal
import subprocess
import sys
from pathlib import Path

import pytest

from conftest import ROOT
from support import product
from support.endings import end, ending_well
from support.process import Process
from support.terminal import TerminalProcess
from support.waiting import wait_for

sys.path.insert(0, str(ROOT / "tests" / "soak"))

from plant import Plant  # noqa: E402

ABORTS = "kill -ABRT $$"
READY = "echo ready; "
WAITS = READY + "while :; do sleep 0.1; done"


def script(text, name="program"):
    return Process(name, ["/bin/sh", "-c", text])


def ended(text, name="program"):
    program = script(text, name)
    wait_for(lambda: not program.is_running())
    return program


def waiting(text, name="program"):
    program = script(text, name)
    program.wait_for_line("ready")
    return program


def test_a_program_that_aborts_at_once_fails_the_test():
    with pytest.raises(AssertionError, match="program had ended by itself with -6"):
        with ending_well() as started:
            started.append(ended(ABORTS))


def test_a_program_that_ends_well_by_itself_is_missed_all_the_same():
    assert end(ended("exit 0")) == ["program had ended by itself with 0"]


def test_programs_that_run_to_the_end_fail_no_test_and_are_gone():
    with ending_well() as started:
        started += [waiting(WAITS), waiting(WAITS)]
    assert [program.is_running() for program in started] == [False, False]


def test_an_end_that_the_test_has_waited_for_is_none_by_itself():
    program = script(ABORTS)
    assert program.wait_for_end() == -signal.SIGABRT
    assert end(program) == []


def test_a_program_that_the_test_has_killed_has_not_ended_by_itself():
    program = waiting(WAITS)
    program.kill()
    assert end(program) == []


@pytest.mark.parametrize("is_known", [True, False])
def test_a_program_that_ended_by_itself_before_it_was_killed_is_complained_about(is_known):
    program = script(f"echo why; {ABORTS}")
    if is_known:
        wait_for(lambda: not program.is_running())
    else:
        # nobody has asked for its status when the signal comes, so that the signal meets nothing
        os.waitid(os.P_PID, program.pid, os.WEXITED | os.WNOWAIT)
    with pytest.raises(AssertionError, match="program had ended by itself with -6 when it was to be killed:\nwhy"):
        program.kill()


def test_a_program_of_the_soak_that_ended_by_itself_before_it_was_killed_is_complained_about():
    plant = Plant.__new__(Plant)
    plant.killed, plant.processes = set(), {"ponmgrd": ended(ABORTS, "ponmgrd")}
    with pytest.raises(AssertionError, match="ponmgrd had ended by itself with -6"):
        plant.kill("ponmgrd")


def test_a_program_at_a_terminal_is_looked_at_as_any_other():
    with pytest.raises(AssertionError, match="program said: .*AddressSanitizer: SEGV"):
        with ending_well() as started:
            started.append(TerminalProcess("program", ["/bin/sh", "-c", f'echo "==7==ERROR: AddressSanitizer: SEGV"; '
                                                                        f"{WAITS}"], "/tmp"))
            started[0].wait_for("ready")
    assert not started[0].is_running()


def test_a_client_that_fails_shows_all_that_it_has_printed(monkeypatch):
    client = Path("/tmp/client")
    client.write_text("#!/bin/sh\necho '{\"error\": 1}'; echo '==7==ERROR: AddressSanitizer' >&2; exit 1\n")
    client.chmod(0o755)
    monkeypatch.setattr(product, "program", lambda name: client)
    with pytest.raises(AssertionError) as caught:
        product.ask("client", "card", 1)
    told = str(caught.value)
    assert "client card 1 ended with 1" in told and '{"error": 1}' in told and "AddressSanitizer" in told


@pytest.mark.parametrize("line", [
    "==7==ERROR: AddressSanitizer: heap-use-after-free on address 0x1",
    "WARNING: ThreadSanitizer: data race (pid=7)",
    "src/x.cpp:7:3: runtime error: signed integer overflow",
    "terminate called after throwing an instance of 'std::bad_alloc'",
])
def test_a_program_that_says_that_it_is_broken_is_complained_about_though_it_goes_on(line):
    assert end(waiting(f'echo "{line}"; {WAITS}')) == [f"program said: {line}"]


def test_an_uncaught_exception_that_the_test_is_about_is_no_complaint_and_a_sanitizers_words_are():
    program = script(f'echo "terminate called without an active exception"; {ABORTS}')
    program.wait_for_termination()
    assert end(program) == []
    program = script(f'echo "terminate called; AddressSanitizer: SEGV"; {ABORTS}')
    program.wait_for_termination()
    assert end(program) == ["program said: terminate called; AddressSanitizer: SEGV"]


def test_another_end_than_by_an_exception_is_not_taken_for_one():
    with pytest.raises(AssertionError, match="program ended with 3"):
        script("exit 3").wait_for_termination()


@pytest.mark.parametrize("name", ["chassis-sim", "dbman"])
@pytest.mark.parametrize("status, complaints", [(0, []), (23, ["{} ended by SIGTERM with 23, not 0"])])
def test_the_tools_are_asked_to_end_and_their_status_counts(name, status, complaints):
    program = waiting(f"trap 'exit {status}' TERM; {WAITS}", name)
    assert end(program) == [complaint.format(name) for complaint in complaints]


def test_a_tool_that_was_stopped_ends_when_it_is_asked_to():
    program = waiting(f"trap 'exit 0' TERM; {WAITS}", "dbman")
    os.kill(program.pid, signal.SIGSTOP)
    assert end(program) == []


def test_a_tool_that_does_not_end_is_killed_and_complained_about():
    program = waiting(f"trap '' TERM; {WAITS}", "dbman")
    assert end(program, limit=1) == ["dbman did not end within 1 s of SIGTERM"]
    assert not program.is_running()


LEAKS = """
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>
volatile sig_atomic_t asked = 0;
int main() {
    std::signal(SIGTERM, [](int) { asked = 1; });
    for (int i = 0; i < 100; ++i) {
        (void)new int[100];
    }
    std::puts("ready");
    std::fflush(stdout);
    while (asked == 0) {
        usleep(10000);
    }
    std::exit(0);
}
"""


def test_a_tool_that_leaks_is_complained_about_at_its_end():
    source = Path("/tmp/leaks.cpp")
    source.write_text(LEAKS)
    built = source.with_suffix("")
    subprocess.run(["g++", "-O0", "-fsanitize=address", "-o", built, source], check=True)
    program = Process("dbman", [built])
    program.wait_for_line("ready")
    complaints = end(program)
    assert "ended by SIGTERM with" in complaints[0]
    assert any("LeakSanitizer: detected memory leaks" in complaint for complaint in complaints)
