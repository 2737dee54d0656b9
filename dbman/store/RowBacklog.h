#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "dbman/store/HistoryRows.h"

namespace ponmgr::dbman {

/// Rows that wait to be written, up to a bound. Past it the oldest raw rows are dropped, which are
/// notifications and shown lines; when there are none, the oldest of the others. Not synchronised.
class RowBacklog {
public:
    struct Bounds {
        std::size_t rows = 50'000;
        std::size_t bytes = 32UL * 1024 * 1024;
    };

    explicit RowBacklog(Bounds bounds);

    void push(HistoryRow row);

    /// Takes `maximum` rows at most: the oldest, raw ones last.
    std::vector<HistoryRow> take(std::size_t maximum);

    /// Puts what was taken back before all others.
    void putBack(std::vector<HistoryRow> rows);

    std::size_t size() const { return raw.size() + others.size(); }

    /// Rows that were dropped.
    std::uint64_t dropped() const { return droppedRows; }

private:
    void dropPastBounds();
    HistoryRow takeOldest(std::deque<HistoryRow>& queue);
    std::deque<HistoryRow>& queueOf(const HistoryRow& row);

    const Bounds bounds;
    std::deque<HistoryRow> raw;
    std::deque<HistoryRow> others;
    std::size_t bytes = 0;
    std::uint64_t droppedRows = 0;
};

}  // namespace ponmgr::dbman
