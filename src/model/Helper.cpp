#include "model/Helper.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <vector>

namespace ponmgr {

namespace {

constexpr std::size_t kDateTimeSize = 80;
// A reading has at most 9 characters; the terminating zero is counted in.
constexpr std::size_t kNumberSize = 10;
constexpr std::size_t kFileChunk = 999;
// What "%X" adds to the padded width at most: 8 digits and the terminating zero.
constexpr std::size_t kHexExtra = 9;

bool isSpace(char character) {
    return std::isspace(static_cast<unsigned char>(character)) != 0;
}

}  // namespace

std::string Helper::replaceAll(std::string text, const std::string& pattern,
                               const std::string& replacement) {
    if (pattern.empty()) {
        return text;
    }
    for (auto at = text.find(pattern); at != std::string::npos;
         at = text.find(pattern, at + replacement.size())) {
        text.replace(at, pattern.size(), replacement);
    }
    return text;
}

std::string Helper::getCurrentDateTime(bool compact) {
    return formatDateTime(std::time(nullptr), compact);
}

std::string Helper::formatDateTime(std::time_t time, bool compact) {
    std::tm utc{};
    gmtime_r(&time, &utc);
    std::array<char, kDateTimeSize> buffer{};
    const std::size_t length =
        std::strftime(buffer.data(), buffer.size(), compact ? "%d%m%Y%H%M%S" : "%d/%m/%Y %X", &utc);
    return {buffer.data(), length};
}

std::string Helper::toStringNumber(double number) {
    std::array<char, kNumberSize> buffer{};
    const int length = std::snprintf(buffer.data(), buffer.size(), "%.02f", number);
    const auto kept = std::clamp(length, 0, static_cast<int>(kNumberSize - 1));
    return {buffer.data(), static_cast<std::size_t>(kept)};
}

std::string Helper::toStringHex(std::uint32_t value, std::uint8_t width) {
    std::vector<char> buffer(width + kHexExtra);
    const int length = std::snprintf(buffer.data(), buffer.size(), "%0*X", int{width}, value);
    return {buffer.data(), static_cast<std::size_t>(std::max(length, 0))};
}

void Helper::uriParse(const std::string& uri, std::string& path, unsigned long* id) {
    *id = 0;
    path = uri;
    const auto slash = uri.rfind('/');
    if (slash == std::string::npos) {
        return;
    }
    try {
        *id = std::stoul(uri.substr(slash + 1));
    } catch (const std::logic_error&) {
        return;  // no number, or one out of range: the uri is all path
    }
    path = uri.substr(0, slash);
}

std::string Helper::httpRequestToAction(const std::string& method) {
    return strcasecmp(method.c_str(), "POST") == 0 ? "set" : "get";
}

std::string Helper::getAllContentFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::array<char, kFileChunk> chunk{};
    std::string content;
    while (file.read(chunk.data(), chunk.size()) || file.gcount() > 0) {
        content.append(chunk.data(), static_cast<std::size_t>(file.gcount()));
    }
    return content;
}

int Helper::getValidNumber(const std::string& text) {
    try {
        return std::stoi(text);
    } catch (const std::logic_error&) {
        return -1;
    }
}

void Helper::trim(std::string& text) {
    text.erase(std::find_if_not(text.rbegin(), text.rend(), isSpace).base(), text.end());
    text.erase(text.begin(), std::find_if_not(text.begin(), text.end(), isSpace));
}

}  // namespace ponmgr
