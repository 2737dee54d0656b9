#include "dbman/console/ShellWords.h"

namespace ponmgr::dbman {

namespace {

constexpr std::string_view kBlanks = " \t";
/// What a backslash takes its meaning from inside "..."; before anything else it stays.
constexpr std::string_view kEscapedInQuotes = "\\\"$`";

class Splitter {
public:
    ShellWords split(std::string_view line) {
        for (std::size_t index = 0; index < line.size(); ++index) {
            take(line[index], index);
        }
        result.unfinished = quote != '\0' || escaped;
        result.endsInWord = inWord;
        if (escaped && quote == '"') {
            result.words.back() += '\\';
        }
        return std::move(result);
    }

private:
    void take(char character, std::size_t index) {
        if (escaped) {
            const bool keeps = quote == '"' && kEscapedInQuotes.find(character) == kNowhere;
            result.words.back() += keeps ? "\\" : "";
            result.words.back() += character;
            escaped = false;
        } else if (quote != '\0' && character == quote) {
            quote = '\0';
        } else if (quote == '\'' || (quote == '"' && character != '\\')) {
            result.words.back() += character;
        } else if (quote == '\0' && kBlanks.find(character) != kNowhere) {
            inWord = false;
        } else {
            begin(index);
            takeInWord(character);
        }
    }

    void takeInWord(char character) {
        if (character == '\\') {
            escaped = true;
        } else if (character == '\'' || character == '"') {
            quote = character;
        } else {
            result.words.back() += character;
        }
    }

    void begin(std::size_t index) {
        if (!inWord) {
            result.words.emplace_back();
            result.lastBegin = index;
            inWord = true;
        }
    }

    static constexpr auto kNowhere = std::string_view::npos;

    ShellWords result;
    char quote = '\0';
    bool escaped = false;
    bool inWord = false;
};

}  // namespace

ShellWords splitShellWords(std::string_view line) {
    return Splitter().split(line);
}

}  // namespace ponmgr::dbman
