#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace ponmgr::bench {

/// A command line that can't be meant; its text says what is allowed.
class WrongArgument : public std::invalid_argument {
public:
    using std::invalid_argument::invalid_argument;
};

/// The command line of a program of the bench: a mode's name, then pairs of --NAME VALUE.
class Arguments {
public:
    /// Throws WrongArgument for a mode or a name that isn't among those given, and for a name
    /// without a value.
    Arguments(int count, const char* const* words, const std::vector<std::string>& modes,
              const std::vector<std::string>& names);

    const std::string& getMode() const { return mode; }

    /// Throws WrongArgument when it wasn't given.
    const std::string& text(const std::string& name) const;

    /// A whole number. Throws WrongArgument when it wasn't given or isn't one of `least` to `most`.
    unsigned number(const std::string& name, unsigned least, unsigned most) const;

private:
    std::string mode;
    std::map<std::string, std::string> values;
};

/// Runs a program's main part; what it throws is printed behind the program's name. Returns the
/// exit status: 0, 1 for a failure, 2 for a wrong command line.
int runProgram(const char* program, void (*body)(int, const char* const*), int count,
               const char* const* words);

}  // namespace ponmgr::bench
