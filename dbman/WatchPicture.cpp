#include "dbman/WatchPicture.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <optional>
#include <sstream>

#include "dbman/Columns.h"
#include "dbman/FitText.h"
#include "dbman/OpticsView.h"
#include "dbman/Table.h"
#include "dbman/Text.h"
#include "dbman/Views.h"

namespace ponmgr::dbman {

namespace {

constexpr std::size_t kUsualEvents = 10;
constexpr std::size_t kShownLineBytes = 400;

/// What is told of one card's ONUs and alarms.
struct Summary {
    std::size_t online = 0;
    std::size_t onus = 0;
    std::optional<double> worstLevel;
    std::size_t alarms = 0;
};

std::map<std::string, Summary> summarize(const Watched& watched) {
    std::map<std::string, Summary> bySlot;
    const Json onus = arrayOf(watched.onus, "onus");
    for (const auto& onu : onus) {
        auto& summary = bySlot[textOf(onu, "slot_id")];
        const bool online = textOf(onu, "state") == "on-line";
        summary.onus += 1;
        summary.online += online ? 1 : 0;
        const auto level = online ? receiveLevelOf(onu) : std::nullopt;
        if (level && (!summary.worstLevel || *level < *summary.worstLevel)) {
            summary.worstLevel = level;
        }
    }
    const Json alarms = arrayOf(watched.alarms, "alarms");
    for (const auto& alarm : alarms) {
        bySlot[textOf(alarm, "slot_id")].alarms += 1;
    }
    return bySlot;
}

std::string levelText(const std::optional<double>& level) {
    std::array<char, 32> text{};
    if (level) {
        std::snprintf(text.data(), text.size(), "%.2f", *level);
    }
    return text.data();
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

// The numbers beside it are as old: a card is reported anew before its ONUs.
std::string cardState(const Json& card) {
    return textOf(card, "state") + (isFromBeforeRestart(card) ? kBeforeRestart : "");
}

std::vector<std::string> cardLines(const Watched& watched, const Screen& screen) {
    Table table(std::vector<Table::Column>{{"slot", 0},
                                           {"address", 2},
                                           {"state", 0},
                                           {"ONUs", 0},
                                           {"worst dBm", 0},
                                           {"alarms", 0},
                                           {"firmware", 3},
                                           {"MAC", 4}});
    auto bySlot = summarize(watched);
    const Json cards = arrayOf(watched.cards, "cards");
    for (const auto& card : cards) {
        const auto& summary = bySlot[textOf(card, "slot_id")];
        table.addRow({textOf(card, "slot_id"), textOf(card, "ip_address"), cardState(card),
                      std::to_string(summary.online) + "/" + std::to_string(summary.onus),
                      levelText(summary.worstLevel), std::to_string(summary.alarms),
                      textOf(card, "app_version"), textOf(card, "mac_address")});
    }
    auto lines = linesOf(table.text(screen.columns));
    // What the window has no room for needs no line of its own here.
    lines.resize(std::min(lines.size(), cards.size() + 1));
    return lines;
}

std::string title(const Watched& watched, const Screen& screen) {
    if (watched.trouble.empty()) {
        const bool gone = textOf(watched.status, "daemon") == "not there";
        // Only a picture that is drawn again has a window to fill.
        return "dbman at " + watched.time + (gone ? "; the daemon is not there" : "") +
               (screen.rows == 0 ? "" : "; q ends");
    }
    const auto since = watched.time.empty() ? "" : "as of " + watched.time + "; ";
    return since + printable(watched.trouble, kShownLineBytes);
}

}  // namespace

std::size_t eventsShown(const Screen& screen) {
    return screen.rows == 0 ? kUsualEvents : std::max<std::size_t>(screen.rows, 1);
}

std::vector<std::string> drawWatch(const Watched& watched, const Screen& screen) {
    std::vector<std::string> lines = {title(watched, screen)};
    const auto cards = cardLines(watched, screen);
    lines.insert(lines.end(), cards.begin(), cards.end());
    const auto events = linesOf(viewEvents(watched.events));
    const auto room = screen.rows == 0 ? lines.size() + 1 + kUsualEvents : screen.rows;
    // An empty line stands between the two; with no event below it, it is of no use.
    if (!events.empty() && room > lines.size() + 1) {
        lines.emplace_back();
        const auto shown = std::min(events.size(), room - lines.size());
        lines.insert(lines.end(), events.end() - static_cast<std::ptrdiff_t>(shown), events.end());
    }
    lines.resize(std::min(lines.size(), room));
    for (auto& line : lines) {
        line = fitText(line, screen.columns);
    }
    return lines;
}

}  // namespace ponmgr::dbman
