#pragma once

#include <gmock/gmock.h>

#include <atomic>
#include <string>
#include <vector>

#include "CapturedOutput.h"
#include "dbman/store/Store.h"
#include "support/WaitFor.h"

namespace ponmgr::dbman::test {

constexpr auto kDatabaseFile = "/tmp/dbman.db";

/// The first column of each row that `sql` finds in the file.
inline std::vector<std::string> valuesIn(const std::string& file, const char* sql) {
    Database database(file, Database::Access::readOnly);
    Statement statement(database, sql);
    std::vector<std::string> values;
    statement.each([&] { values.push_back(statement.text(0)); });
    return values;
}

/// A store over a file in the test's own /tmp, whose clock stands where the test puts it.
class StoreFixture : public testing::Test {
protected:
    static Store::Options options(const std::string& file = kDatabaseFile) {
        Store::Options result;
        result.file = file;
        result.commitDelay = std::chrono::milliseconds(1);
        result.retryPause = std::chrono::milliseconds(5);
        // What a flush waits for comes, however busy the machine is.
        result.flushLimit = std::chrono::seconds(30);
        return result;
    }

    /// Opens and starts it; returns what the file holds. What it reports becomes an event, whose
    /// number is negative, as it does in dbman.
    StoredState start(const Store::Options& chosen = options()) {
        store = std::make_unique<Store>(
            chosen, state, [this] { return storeTime.load(); },
            [this](const std::string& line) {
                output.stream() << line + "\n";
                reporting->post(Event{--lastReport, storeTime, EventKind::warning, line});
            });
        reporting = store.get();
        auto stored = store->open();
        store->start();
        return stored;
    }

    Event event(std::int64_t id, const std::string& text = "line") const {
        return {id, time, EventKind::notification, text};
    }

    AlarmEvent alarmEvent(const std::string& alarm) const {
        return {0, time, {3, "OLT Port: EPON-0", alarm}, true, "09/09/2001 01:46:40"};
    }

    void moveOn(Time::duration by) {
        time += by;
        storeTime = time;
    }

    Time time = Time() + std::chrono::seconds(1'000'000'000);
    // The same for the store's thread.
    std::atomic<Time> storeTime = time;
    CapturedOutput output;
    CurrentState state;
    // Used by the store's thread.
    std::int64_t lastReport = 0;
    Store* reporting = nullptr;
    std::unique_ptr<Store> store;
};

}  // namespace ponmgr::dbman::test
