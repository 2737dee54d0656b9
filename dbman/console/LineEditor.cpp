#include "dbman/console/LineEditor.h"

#include <histedit.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cwchar>
#include <exception>
#include <filesystem>
#include <utility>

#include "dbman/Errors.h"
#include "dbman/Screen.h"
#include "dbman/console/HistoryFile.h"

namespace ponmgr::dbman {

namespace {

constexpr int kNoLimit = -1;

struct CloseFile {
    void operator()(FILE* file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

struct EndEditor {
    void operator()(EditLine* editor) const { el_end(editor); }
};

File openDescriptor(int descriptor, const char* mode) {
    const int own = dup(descriptor);
    File file(own < 0 ? nullptr : fdopen(own, mode));
    if (!file) {
        throw Failure("can't use the terminal");
    }
    return file;
}

}  // namespace

/// The library calls plain functions; each finds its object through the editor.
class LineEditor::Library {
public:
    Library(int input, int output, Interruption& editorInterruption, const std::string& historyFile,
            Completer editorCompleter)
        : interruption(editorInterruption),
          completer(std::move(editorCompleter)),
          inputFile(openDescriptor(input, "r")),
          outputFile(openDescriptor(output, "w")),
          history(historyFile),
          editor(el_init("dbman", inputFile.get(), outputFile.get(), outputFile.get())) {
        if (!editor) {
            throw Failure("can't use the terminal");
        }
        el_set(editor.get(), EL_CLIENTDATA, this);
        el_set(editor.get(), EL_PROMPT, &Library::prompt);
        el_set(editor.get(), EL_EDITOR, "emacs");
        el_set(editor.get(), EL_SIGNAL, 0);
        el_set(editor.get(), EL_HIST, &::history, history.get());
        // The narrow form of this call loses memory in the library.
        el_wset(editor.get(), EL_ADDFN, L"dbman-complete", L"Complete the word",
                &Library::complete);
        el_set(editor.get(), EL_BIND, "^I", "dbman-complete", nullptr);
        el_set(editor.get(), EL_BIND, "^R", "em-inc-search-prev", nullptr);
        el_wset(editor.get(), EL_GETCFN, &Library::readCharacter);
    }

    Line read() {
        cancelled = false;
        // Else what is typed as soon as the prompt is there would still be taken as lines, and
        // Ctrl-D be lost.
        el_set(editor.get(), EL_PREP_TERM, 1);
        int length = 0;
        const char* const text = el_gets(editor.get(), &length);
        if (cancelled) {
            fputs("^C\n", outputFile.get());
            fflush(outputFile.get());
            el_reset(editor.get());
            return {End::cancelled, ""};
        }
        if (text == nullptr || length <= 0) {
            fputs("\n", outputFile.get());
            fflush(outputFile.get());
            return {End::closed, ""};
        }
        std::string line(text, static_cast<std::size_t>(length));
        line.erase(line.find_last_not_of("\r\n") + 1);
        return {End::line, std::move(line)};
    }

    void remember(const std::string& line) { history.add(line); }

private:
    static Library& of(EditLine* editor) {
        void* data = nullptr;
        el_get(editor, EL_CLIENTDATA, &data);
        return *static_cast<Library*>(data);
    }

    static char* prompt(EditLine*) {
        static std::array<char, 8> text = {'d', 'b', 'm', 'a', 'n', '>', ' ', '\0'};
        return text.data();
    }

    /// 1: a character; 0: no more come; -1: cancelled.
    static int readCharacter(EditLine* editor, wchar_t* character) {
        return of(editor).nextCharacter(*character);
    }

    int nextCharacter(wchar_t& character) {
        std::mbstate_t state{};
        while (true) {
            if (!waitForByte()) {
                return -1;
            }
            char byte = 0;
            if (::read(fileno(inputFile.get()), &byte, 1) != 1) {
                return 0;
            }
            // NOLINTNEXTLINE(concurrency-mt-unsafe): it keeps its state in ours
            const auto length = std::mbrtowc(&character, &byte, 1, &state);
            if (length <= 1) {
                return 1;
            }
            // A byte that begins nothing is left out; one that begins something waits for the rest.
            state = length == kWrong ? std::mbstate_t{} : state;
        }
    }

    /// False: Ctrl-C or SIGTERM came instead.
    bool waitForByte() {
        std::array<pollfd, 2> polled = {
            {{fileno(inputFile.get()), POLLIN, 0}, {interruption.descriptor(), POLLIN, 0}}};
        while (polled[0].revents == 0) {
            poll(polled.data(), polled.size(), kNoLimit);
            const auto arrived = interruption.take();
            if (arrived.resized) {
                el_resize(editor.get());
            }
            cancelled = arrived.cancel && !arrived.end;
            if (arrived.cancel || arrived.end) {
                return false;
            }
        }
        return true;
    }

    static unsigned char complete(EditLine* editor, int) {
        try {
            return of(editor).completeLine();
        } catch (const std::exception&) {
            // The library is C: nothing may be thrown through it.
            return CC_ERROR;
        }
    }

    unsigned char completeLine() {
        const LineInfo* const line = el_line(editor.get());
        const auto completion = completer(std::string(line->buffer, line->cursor));
        if (!completion.insertion.empty()) {
            return el_insertstr(editor.get(), completion.insertion.c_str()) == 0 ? CC_REFRESH
                                                                                 : CC_ERROR;
        }
        if (completion.choices.empty()) {
            return CC_REFRESH_BEEP;
        }
        fputc('\n', outputFile.get());
        for (const auto& choice : completion.choices) {
            fprintf(outputFile.get(), "%s\n", choice.c_str());
        }
        return CC_REDISPLAY;
    }

    static constexpr auto kWrong = static_cast<std::size_t>(-1);

    Interruption& interruption;
    const Completer completer;
    File inputFile;
    File outputFile;
    HistoryFile history;
    bool cancelled = false;
    std::unique_ptr<EditLine, EndEditor> editor;
};

LineEditor::LineEditor(int input, int output, Interruption& interruption,
                       const std::string& historyFile, Completer completer)
    : library(std::make_unique<Library>(input, output, interruption, historyFile,
                                        std::move(completer))) {}

LineEditor::~LineEditor() = default;

LineEditor::Line LineEditor::read() {
    return library->read();
}

void LineEditor::remember(const std::string& line) {
    library->remember(line);
}

}  // namespace ponmgr::dbman
