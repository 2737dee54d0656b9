#include "dbman/store/RowBacklog.h"

#include <utility>

namespace ponmgr::dbman {

namespace {

// About what a row costs besides its texts.
constexpr std::size_t kRowBytes = 128;

struct TextBytes {
    std::size_t operator()(const AlarmEvent& row) const {
        return row.key.resource.size() + row.key.alarm.size() + row.datetime.size();
    }
    std::size_t operator()(const OpticsSample& row) const {
        std::size_t sum = row.macAddress.size() + row.port.size();
        for (const auto& [key, value] : row.levels) {
            sum += key.size() + value.size() + kRowBytes;
        }
        return sum;
    }
    std::size_t operator()(const CommandRow& row) const {
        return row.uri.size() + row.data.size() + row.result.size();
    }
    std::size_t operator()(const NotificationRow& row) const {
        return row.uri.size() + row.verdict.size() + row.raw.size();
    }
    std::size_t operator()(const Event& row) const { return row.text.size(); }
};

std::size_t bytesOf(const HistoryRow& row) {
    return kRowBytes + std::visit(TextBytes(), row);
}

}  // namespace

RowBacklog::RowBacklog(Bounds upperBounds) : bounds(upperBounds) {}

void RowBacklog::push(HistoryRow row) {
    bytes += bytesOf(row);
    queueOf(row).push_back(std::move(row));
    dropPastBounds();
}

std::vector<HistoryRow> RowBacklog::take(std::size_t maximum) {
    std::vector<HistoryRow> taken;
    for (auto* queue : {&others, &raw}) {
        while (taken.size() < maximum && !queue->empty()) {
            taken.push_back(takeOldest(*queue));
        }
    }
    return taken;
}

void RowBacklog::putBack(std::vector<HistoryRow> rows) {
    for (auto row = rows.rbegin(); row != rows.rend(); ++row) {
        bytes += bytesOf(*row);
        queueOf(*row).push_front(std::move(*row));
    }
    dropPastBounds();
}

void RowBacklog::dropPastBounds() {
    while (size() > bounds.rows || (bytes > bounds.bytes && size() > 0)) {
        takeOldest(raw.empty() ? others : raw);
        ++droppedRows;
    }
}

HistoryRow RowBacklog::takeOldest(std::deque<HistoryRow>& queue) {
    HistoryRow row = std::move(queue.front());
    queue.pop_front();
    bytes -= bytesOf(row);
    return row;
}

std::deque<HistoryRow>& RowBacklog::queueOf(const HistoryRow& row) {
    const bool isRaw =
        std::holds_alternative<NotificationRow>(row) || std::holds_alternative<Event>(row);
    return isRaw ? raw : others;
}

}  // namespace ponmgr::dbman
