#pragma once

#include <mutex>
#include <ostream>
#include <streambuf>
#include <string>

namespace ponmgr::dbman::test {

/// A stream whose text may be read while other threads write to it.
class CapturedOutput : private std::streambuf {
public:
    std::ostream& stream() { return output; }

    std::string text() const {
        const std::lock_guard lock(mutex);
        return captured;
    }

    bool contains(const std::string& part) const { return text().find(part) != std::string::npos; }

private:
    int_type overflow(int_type character) override {
        if (!traits_type::eq_int_type(character, traits_type::eof())) {
            const std::lock_guard lock(mutex);
            captured += traits_type::to_char_type(character);
        }
        return traits_type::not_eof(character);
    }

    std::streamsize xsputn(const char* bytes, std::streamsize count) override {
        const std::lock_guard lock(mutex);
        captured.append(bytes, static_cast<std::size_t>(count));
        return count;
    }

    mutable std::mutex mutex;
    std::string captured;
    std::ostream output{this};
};

}  // namespace ponmgr::dbman::test
