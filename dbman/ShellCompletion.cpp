#include "dbman/ShellCompletion.h"

#include <ostream>

#include "dbman/CommandActions.h"
#include "dbman/CommandTable.h"
#include "dbman/Errors.h"
#include "dbman/Given.h"
#include "dbman/Surroundings.h"

namespace ponmgr::dbman {

namespace {

// Words are split at blanks only: bash itself would also split MAC addresses at their colons.
constexpr auto kBegin = R"bash(# bash completion of dbman; printed by: dbman completion bash

# Sets options, valued ("--option=VALUE" each) and places, the values of what is given by its place.
_dbman_arguments() {
    case $1 in
)bash";

constexpr auto kBetween = R"bash(    *) return 1 ;;
    esac
}

# What is offered for a kind of value, a line each. The second argument is the control socket's path,
# the third what is there of the value.
_dbman_values() {
    case $1 in
    MAC)
        dbman onu list --json ${2:+--control "$2"} 2>/dev/null |
            grep -o '"mac_address":"[0-9a-f:]*"' | cut -d'"' -f4
        ;;
    FILE) compgen -f -- "$3" ;;
)bash";

constexpr auto kEnd = R"bash(    esac
}

# Prints the words of a list that are separated by blanks, a line each.
_dbman_lines() {
    local -a list
    read -ra list <<<"$1"
    [[ ${#list[@]} -gt 0 ]] && printf '%s\n' "${list[@]}"
}

_dbman() {
    local line=${COMP_LINE:0:COMP_POINT} current control="" reply
    local -a words
    local options valued places
    read -ra words <<<"$line"
    [[ $line == *[[:space:]] ]] && words+=("")
    current=${words[-1]}
    unset "words[-1]"
    words=("${words[@]:1}")
    # bash replaces only what stands behind the last of its own word breaks.
    local cut=${current%"${current##*[:=]}"}
    COMPREPLY=()
    while IFS= read -r reply; do
        [[ $reply == "$current"* ]] && COMPREPLY+=("${reply#"$cut"}")
    done < <(_dbman_offered)
    if [[ ${#COMPREPLY[@]} -eq 1 && ${COMPREPLY[0]} == *= ]]; then
        compopt -o nospace 2>/dev/null
    fi
}

# All that could stand at the current word, a line each; reads the variables of _dbman.
_dbman_offered() {
    local place=0 waiting="" word pair
    if [[ ${words[0]-} == --control ]]; then
        if [[ ${#words[@]} -eq 1 ]]; then
            _dbman_values FILE "" "$current"
            return
        fi
        control=${words[1]}
        words=("${words[@]:2}")
    fi
    local count=${#words[@]} index=1
    if [[ $count -eq 0 ]]; then
        _dbman_lines "$_dbman_first --control --help --version"
        return
    fi
    local command=${words[0]}
    if ! _dbman_arguments "$command"; then
        if [[ $count -eq 1 ]]; then
            _dbman_lines "$(_dbman_names "$command")"
            return
        fi
        command="$command ${words[1]}"
        index=2
        _dbman_arguments "$command" || return
    fi
    for ((; index < count; index++)); do
        word=${words[index]}
        if [[ -n $waiting ]]; then
            [[ $waiting == --control ]] && control=$word
            waiting=""
        elif [[ $word == -* ]]; then
            for pair in $valued; do
                [[ $word == "${pair%%=*}" ]] && waiting=$word
            done
        else
            place=$((place + 1))
        fi
    done
    if [[ -n $waiting ]]; then
        for pair in $valued; do
            [[ $waiting == "${pair%%=*}" ]] && _dbman_values "${pair#*=}" "$control" "$current"
        done
        return
    fi
    local -a kinds
    read -ra kinds <<<"$places"
    # The last place of "send" takes any number of values.
    if [[ $place -ge ${#kinds[@]} && $places == *KEY=VALUE ]]; then
        place=$((${#kinds[@]} - 1))
    fi
    if [[ $current != -* && $place -lt ${#kinds[@]} ]]; then
        _dbman_values "${kinds[place]}" "$control" "$current"
    else
        _dbman_lines "$options"
    fi
}

complete -F _dbman dbman
)bash";

std::string joined(const std::string& list, const std::string& word) {
    return list.empty() ? word : list + " " + word;
}

/// What _dbman_arguments says of one command.
std::string argumentsCase(const Command& command) {
    std::string options;
    std::string valued;
    std::string places;
    for (const auto& argument : argumentsOf(command)) {
        if (!isOption(argument)) {
            places = joined(places, valueName(argument.kind));
            continue;
        }
        options = joined(options, argument.name);
        if (argument.kind != Kind::flag) {
            valued = joined(valued, std::string(argument.name) + "=" + valueName(argument.kind));
        }
    }
    return "    \"" + fullName(command) + "\")\n        options=\"" + joined(options, "--help") +
           "\"\n        valued=\"" + valued + "\"\n        places=\"" + places + "\"\n        ;;\n";
}

std::string valuesCases() {
    constexpr auto kLastKind = static_cast<int>(Kind::shell);
    std::string text;
    for (int number = 0; number <= kLastKind; ++number) {
        const auto kind = static_cast<Kind>(number);
        std::string words;
        for (const auto& word : valuesOffered(kind)) {
            words = joined(words, word);
        }
        if (!words.empty()) {
            text +=
                std::string("    \"") + valueName(kind) + "\") _dbman_lines \"" + words + "\" ;;\n";
        }
    }
    return text;
}

/// The first words, and the second words of each group.
std::string nameTables() {
    std::string first;
    std::string cases;
    for (const auto& group : groupTable()) {
        first = joined(first, group.name);
        std::string names;
        for (const auto& command : commandTable()) {
            const bool inside =
                command.group != nullptr && std::string(command.group) == group.name;
            names = inside ? joined(names, command.name) : names;
        }
        cases += std::string("    ") + group.name + ") echo \"" + names + "\" ;;\n";
    }
    for (const auto& command : commandTable()) {
        first = command.group == nullptr ? joined(first, command.name) : first;
    }
    return "_dbman_first=\"" + first + "\"\n\n_dbman_names() {\n    case $1 in\n" + cases +
           "    esac\n}\n\n";
}

}  // namespace

std::string bashCompletion() {
    std::string text = kBegin;
    for (const auto& command : commandTable()) {
        text += argumentsCase(command);
    }
    text += kBetween + valuesCases();
    std::string end = kEnd;
    // The tables stand before the functions that read them.
    const auto place = end.find("_dbman() {");
    return text + end.substr(0, place) + nameTables() + end.substr(place);
}

void printCompletion(const Command&, const Given& given, const Surroundings& surroundings) {
    if (given.text("shell") != "bash") {
        throw ArgumentError("shell \"" + given.text("shell") + "\" is not allowed: bash");
    }
    surroundings.out << bashCompletion() << std::flush;
}

}  // namespace ponmgr::dbman
