#pragma once

#include <mutex>
#include <string>

namespace ponmgr {

/// A text that one thread writes while others read it: an address that a command sets. Synchronises
/// itself; the lock is held for a copy only.
class GuardedText {
public:
    std::string get() const;
    /// Takes no memory.
    bool isEmpty() const;
    void set(const std::string& newText);

    /// Sets the text only while it is empty; returns whether it did.
    bool setOnce(const std::string& newText);

private:
    mutable std::mutex mutex;
    std::string text;
};

}  // namespace ponmgr
