#include "dbman/LineQueue.h"

#include <utility>

namespace ponmgr::dbman {

void LineQueue::add(std::string line) {
    {
        const std::lock_guard lock(mutex);
        if (ended || waiting.lines.size() == kMaximumLines) {
            // Nothing is added behind a gap before the gap has been taken, so its place is known.
            ++waiting.leftOut;
            return;
        }
        waiting.lines.push_back(std::move(line));
    }
    changed.notify_one();
}

LineQueue::Batch LineQueue::take() {
    std::unique_lock lock(mutex);
    changed.wait(lock, [this] { return ended || !waiting.lines.empty(); });
    return std::exchange(waiting, Batch());
}

void LineQueue::end() {
    {
        const std::lock_guard lock(mutex);
        ended = true;
    }
    changed.notify_one();
}

}  // namespace ponmgr::dbman
