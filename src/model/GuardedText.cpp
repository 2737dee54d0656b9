#include "model/GuardedText.h"

namespace ponmgr {

std::string GuardedText::get() const {
    const std::lock_guard lock(mutex);
    return text;
}

bool GuardedText::isEmpty() const {
    const std::lock_guard lock(mutex);
    return text.empty();
}

void GuardedText::set(const std::string& newText) {
    const std::lock_guard lock(mutex);
    text = newText;
}

bool GuardedText::setOnce(const std::string& newText) {
    const std::lock_guard lock(mutex);
    if (!text.empty()) {
        return false;
    }
    text = newText;
    return true;
}

}  // namespace ponmgr
