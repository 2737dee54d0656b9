#pragma once

#include <span>
#include <string>
#include <vector>

#include "dbman/JsonForward.h"
#include "dbman/Screen.h"

namespace ponmgr::dbman {

class Given;
struct Surroundings;

/// What an argument's text stands for: how it is checked, what the help calls it, and what it is
/// completed with.
enum class Kind {
    flag,
    slot,
    slotOrAll,
    slotList,
    port,
    portAddress,
    macAddress,
    vlan,
    address,
    level,
    duration,
    count,
    uri,
    keyValue,
    retention,
    path,
    shell
};

struct Argument {
    /// "slot" is given by its place, "--slot" by its name. One of keyValue or retention may be
    /// there many times.
    const char* name;
    Kind kind;
    const char* description;
    /// What the request calls it; nullptr: it isn't in the request as it stands.
    const char* key = nullptr;
    bool required = false;
};

struct Command {
    /// The first word of two, or nullptr for a command of one word.
    const char* group;
    const char* name;
    const char* description;
    const char* example;
    std::span<const Argument> arguments;
    /// What it has in common with others; follows its own arguments.
    std::span<const Argument> common;
    /// Does it. Throws ArgumentError before anything is done; NotRunning; Failure.
    void (*act)(const Command& command, const Given& given, const Surroundings& surroundings);
    /// Makes text for people of an answer; nullptr when the act shows by itself.
    std::string (*view)(const Json& answer, const Screen& screen) = nullptr;
    /// Looks at several arguments together and completes the request; nullptr when there is nothing
    /// to do. Throws ArgumentError.
    void (*finish)(const Given& given, Json& request) = nullptr;
};

struct Group {
    const char* name;
    const char* description;
};

/// Every command, in the order of the help. The help, the requests and both completions are made
/// from it.
std::span<const Command> commandTable();
std::span<const Group> groupTable();

/// "slot reset"; the request's name too.
std::string fullName(const Command& command);

/// Its own arguments and those that it shares.
std::vector<Argument> argumentsOf(const Command& command);

/// True for "--slot", false for an argument that is given by its place.
bool isOption(const Argument& argument);

/// What the help calls a value of the kind: "SLOT".
const char* valueName(Kind kind);

/// The values that are offered for the kind; empty when there is no saying.
std::vector<std::string> valuesOffered(Kind kind);

}  // namespace ponmgr::dbman
