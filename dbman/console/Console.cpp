#include "dbman/console/Console.h"

#include <algorithm>
#include <stdexcept>

#include "dbman/AskCommand.h"
#include "dbman/Columns.h"
#include "dbman/CommandLine.h"
#include "dbman/Interruption.h"
#include "dbman/console/LineEditor.h"
#include "dbman/console/ShellWords.h"
#include "dbman/console/Suggestions.h"

namespace ponmgr::dbman {

namespace {

constexpr auto kConsoleHelp = R"(
In the console: "help COMMAND" says more, Tab completes, Ctrl-C cancels the line or what runs,
"quit" or Ctrl-D ends. Words are quoted as in a shell.
)";

/// The words side by side in lines of at most `columns` characters, 80 without a limit.
std::vector<std::string> sideBySide(const std::vector<std::string>& words, std::size_t columns) {
    constexpr std::size_t kUsualColumns = 80;
    constexpr std::size_t kGap = 2;
    std::size_t width = kGap;
    for (const auto& word : words) {
        width = std::max(width, word.size() + kGap);
    }
    const auto perLine = std::max<std::size_t>((columns == 0 ? kUsualColumns : columns) / width, 1);
    std::vector<std::string> lines;
    for (std::size_t index = 0; index < words.size(); ++index) {
        if (index % perLine == 0) {
            lines.emplace_back();
        } else {
            lines.back().resize(index % perLine * width, ' ');
        }
        lines.back() += words[index];
    }
    return lines;
}

class Console {
public:
    explicit Console(const Surroundings& outer)
        : surroundings(outer),
          editor(outer.input, outer.output, interruption, outer.historyFile,
                 [this](const std::string& line) { return complete(line); }) {
        surroundings.interruption = &interruption;
    }

    void run() {
        while (!ended) {
            const auto line = editor.read();
            if (line.end == LineEditor::End::closed) {
                return;
            }
            if (line.end == LineEditor::End::line) {
                carryOut(line.text);
            }
        }
    }

private:
    void carryOut(const std::string& line) {
        auto split = splitShellWords(line);
        if (split.words.empty()) {
            return;
        }
        editor.remember(line);
        const auto& first = split.words.front();
        if (split.unfinished) {
            surroundings.err << "dbman: a quote isn't closed, or a backslash ends the line"
                             << std::endl;
        } else if (first == "quit" || first == "exit") {
            ended = true;
        } else if (first == "help") {
            help(std::move(split.words));
        } else if (first == "serve" || first == "completion") {
            surroundings.err << "dbman: " << first << " is not for the console" << std::endl;
        } else {
            runDbman(split.words, surroundings);
        }
    }

    void help(std::vector<std::string> words) {
        words.erase(words.begin());
        const bool general = words.empty();
        words.emplace_back("--help");
        runDbman(words, surroundings);
        if (general) {
            surroundings.out << kConsoleHelp << std::flush;
        }
    }

    LineEditor::Completion complete(const std::string& line) {
        auto split = splitShellWords(line);
        std::string partial;
        if (split.endsInWord) {
            partial = split.words.back();
            split.words.pop_back();
        }
        if (!split.words.empty() && split.words.front() == "help") {
            split.words.erase(split.words.begin());
        }
        auto words =
            suggestWords(split.words, partial, {"help", "quit"}, [this] { return macAddresses(); });
        const auto common = commonBeginning(words);
        LineEditor::Completion completion;
        completion.insertion = common.substr(std::min(partial.size(), common.size()));
        if (words.size() == 1 && !common.ends_with('=')) {
            completion.insertion += ' ';
        }
        completion.choices = sideBySide(words, screenOf(surroundings).columns);
        return completion;
    }

    /// Nobody who presses Tab wants to read why there are none.
    std::vector<std::string> macAddresses() const {
        std::vector<std::string> known;
        try {
            const auto answer =
                ask(surroundings.control, {{"command", "onu list"}}, surroundings).json;
            const Json onus = arrayOf(answer, "onus");
            for (const auto& onu : onus) {
                known.push_back(textOf(onu, "mac_address"));
            }
        } catch (const std::runtime_error&) {
            known.clear();
        }
        return known;
    }

    Interruption interruption;
    Surroundings surroundings;
    LineEditor editor;
    bool ended = false;
};

}  // namespace

void runConsole(const Surroundings& surroundings) {
    Console(surroundings).run();
}

}  // namespace ponmgr::dbman
