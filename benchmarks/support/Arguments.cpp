#include "benchmarks/support/Arguments.h"

#include <algorithm>
#include <charconv>
#include <exception>
#include <iostream>

namespace ponmgr::bench {

namespace {

bool isOneOf(const std::string& word, const std::vector<std::string>& allowed) {
    return std::find(allowed.begin(), allowed.end(), word) != allowed.end();
}

std::string listed(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

}  // namespace

Arguments::Arguments(int count, const char* const* words, const std::vector<std::string>& modes,
                     const std::vector<std::string>& names) {
    mode = count > 1 ? words[1] : "";
    if (!isOneOf(mode, modes)) {
        throw WrongArgument("the first word is one of: " + listed(modes) + "; not '" + mode + "'");
    }
    for (int i = 2; i < count; i += 2) {
        const std::string name = words[i];
        if (!isOneOf(name, names)) {
            throw WrongArgument("unknown option '" + name + "'; there are: " + listed(names));
        }
        if (i + 1 == count) {
            throw WrongArgument(name + " takes a value");
        }
        values[name] = words[i + 1];
    }
}

const std::string& Arguments::text(const std::string& name) const {
    const auto found = values.find(name);
    if (found == values.end()) {
        throw WrongArgument(mode + " needs " + name);
    }
    return found->second;
}

unsigned Arguments::number(const std::string& name, unsigned least, unsigned most) const {
    const std::string& value = text(name);
    unsigned result = 0;
    const char* const end = value.data() + value.size();
    const auto [rest, error] = std::from_chars(value.data(), end, result);
    if (error != std::errc() || rest != end || result < least || result > most) {
        throw WrongArgument(name + " takes a number from " + std::to_string(least) + " to " +
                            std::to_string(most) + ", not '" + value + "'");
    }
    return result;
}

int runProgram(const char* program, void (*body)(int, const char* const*), int count,
               const char* const* words) {
    try {
        body(count, words);
        return 0;
    } catch (const WrongArgument& wrong) {
        std::cerr << program << ": " << wrong.what() << '\n';
        return 2;
    } catch (const std::exception& failure) {
        std::cerr << program << ": " << failure.what() << '\n';
        return 1;
    }
}

}  // namespace ponmgr::bench
