#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "dbman/Descriptor.h"

namespace ponmgr::dbman::test {

/// dbman run by a process of its own at a terminal that the test types at and reads from. To be
/// made before the test has threads.
class PseudoTerminal {
public:
    static constexpr auto kHistoryFile = "/tmp/state/ponmgr/dbman_history";

    explicit PseudoTerminal(const std::vector<std::string>& arguments, unsigned short columns = 80,
                            unsigned short rows = 24);
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;
    ~PseudoTerminal();

    /// As if it was typed.
    void type(const std::string& keys) const;

    /// Gives the window another size.
    void resize(unsigned short columns, unsigned short rows) const;

    /// Waits for `text` to be shown behind what earlier waits have found.
    bool waitToShow(const std::string& text);

    /// All that was shown so far.
    std::string shown();

    /// Waits for the process; its exit status, -1 when it didn't end by itself in time.
    int waitForEnd();

    /// Whether the terminal hands on whole lines and shows what is typed.
    bool isCooked() const;

private:
    void readAll();

    pid_t process = -1;
    Descriptor terminal;
    std::string text;
    std::size_t found = 0;
};

}  // namespace ponmgr::dbman::test
