#include "app/Exception.h"

#include <utility>

namespace ponmgr {

Exception::Exception(std::string text, const char* function, int line)
    : whatText(std::string(function) + "[" + std::to_string(line) + "]: " + text),
      message(std::move(text)) {}

}  // namespace ponmgr
