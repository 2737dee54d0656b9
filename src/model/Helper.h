#pragma once

#include <cstdint>
#include <ctime>
#include <string>

namespace ponmgr {

/// Functions on texts, numbers, dates and files that the records and the card operations share.
/// All are free of state and may be called by any thread.
class Helper {
public:
    /// Replaces every occurrence of `pattern`, left to right, going on after the inserted text. An
    /// empty pattern changes nothing.
    static std::string replaceAll(std::string text, const std::string& pattern,
                                  const std::string& replacement);

    /// The current time as UTC: "ddmmyyyyHHMMSS" when `compact`, else "dd/mm/yyyy HH:MM:SS".
    static std::string getCurrentDateTime(bool compact);
    /// The same for a time given in seconds since 1970.
    static std::string formatDateTime(std::time_t time, bool compact);

    /// Two decimals, cut to 9 characters.
    static std::string toStringNumber(double number);

    /// Upper-case hexadecimal, zero-padded to at least `width` digits.
    static std::string toStringHex(std::uint32_t value, std::uint8_t width);

    /// Splits "/slot/onu/12" into "/slot/onu" and 12. Without a number behind the last slash,
    /// `path` is the whole uri and `id` 0.
    static void uriParse(const std::string& uri, std::string& path, unsigned long* id);

    /// "set" for POST, whatever its case, else "get".
    static std::string httpRequestToAction(const std::string& method);

    /// The file's whole content; empty when it can't be opened.
    static std::string getAllContentFile(const std::string& path);

    /// The decimal number at the start of the text; -1 when there is none or it is out of range.
    static int getValidNumber(const std::string& text);

    /// Removes leading and trailing white space in place.
    static void trim(std::string& text);
};

}  // namespace ponmgr
