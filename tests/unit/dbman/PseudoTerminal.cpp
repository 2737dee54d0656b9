#include "PseudoTerminal.h"

#include <fcntl.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <stdexcept>

#include "dbman/CommandLine.h"
#include "support/WaitFor.h"

namespace ponmgr::dbman::test {

namespace {

constexpr int kNotEnded = -1;

[[noreturn]] void runAsChild(const std::vector<std::string>& arguments) {
    setenv("TERM", "xterm", 1);
    std::setlocale(LC_CTYPE, "C.UTF-8");
    Surroundings surroundings{std::cout, std::cerr};
    surroundings.input = STDIN_FILENO;
    surroundings.output = STDOUT_FILENO;
    surroundings.historyFile = PseudoTerminal::kHistoryFile;
    surroundings.followInterval = std::chrono::milliseconds(5);
    const auto code = runDbman(arguments, surroundings);
    std::cout << std::flush;
    // Nothing of the test's own process is to be ended here.
    _exit(static_cast<int>(code));
}

}  // namespace

PseudoTerminal::PseudoTerminal(const std::vector<std::string>& arguments, unsigned short columns,
                               unsigned short rows) {
    const winsize window{rows, columns, 0, 0};
    int master = -1;
    std::fflush(nullptr);
    process = forkpty(&master, nullptr, nullptr, &window);
    if (process == 0) {
        runAsChild(arguments);
    }
    if (process < 0) {
        throw std::runtime_error("forkpty failed");
    }
    terminal = Descriptor(master);
    fcntl(terminal.get(), F_SETFL, O_NONBLOCK);
}

PseudoTerminal::~PseudoTerminal() {
    if (process > 0) {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
}

void PseudoTerminal::type(const std::string& keys) const {
    if (write(terminal.get(), keys.data(), keys.size()) != static_cast<ssize_t>(keys.size())) {
        throw std::runtime_error("the terminal takes no keys");
    }
}

void PseudoTerminal::resize(unsigned short columns, unsigned short rows) const {
    const winsize window{rows, columns, 0, 0};
    ioctl(terminal.get(), TIOCSWINSZ, &window);
}

void PseudoTerminal::readAll() {
    std::array<char, 4096> piece{};
    ssize_t count = 0;
    while ((count = read(terminal.get(), piece.data(), piece.size())) > 0) {
        text.append(piece.data(), static_cast<std::size_t>(count));
    }
}

bool PseudoTerminal::waitToShow(const std::string& part) {
    const bool came = ponmgr::test::waitFor([&] {
        readAll();
        return text.find(part, found) != std::string::npos;
    });
    if (came) {
        found = text.find(part, found) + part.size();
    }
    return came;
}

std::string PseudoTerminal::shown() {
    readAll();
    return text;
}

int PseudoTerminal::waitForEnd() {
    int status = 0;
    const bool ended = ponmgr::test::waitFor([&] {
        readAll();
        return waitpid(process, &status, WNOHANG) == process;
    });
    readAll();
    if (!ended) {
        return kNotEnded;
    }
    process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : kNotEnded;
}

bool PseudoTerminal::isCooked() const {
    termios mode{};
    const bool known = tcgetattr(terminal.get(), &mode) == 0;
    return known && (mode.c_lflag & ICANON) != 0 && (mode.c_lflag & ECHO) != 0;
}

}  // namespace ponmgr::dbman::test
