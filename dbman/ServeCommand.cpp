#include "dbman/Arguments.h"
#include "dbman/CommandActions.h"
#include "dbman/Errors.h"
#include "dbman/Given.h"
#include "dbman/Serve.h"
#include "dbman/Surroundings.h"

namespace ponmgr::dbman {

namespace {

SlotConfiguration slotConfigurationOf(const Given& given) {
    const auto source = parseIpv4(given.text("--source", "127.0.0.1"));
    if (given.has("--config")) {
        if (given.has("--slots") || given.has("--base")) {
            throw ArgumentError("--config takes neither --slots nor --base");
        }
        return readSlotConfiguration(given.text("--config"), source);
    }
    return makeSlotConfiguration(parseSlotList(given.text("--slots", "1-8")),
                                 parseIpv4(given.text("--base", "127.0.1.0")), source);
}

}  // namespace

void serveDaemon(const Command&, const Given& given, const Surroundings& surroundings) {
    ServeOptions options;
    options.controlPath = given.text("--control", surroundings.control);
    options.quiet = given.has("--quiet");
    options.configuration = slotConfigurationOf(given);
    for (const auto* option : {"--slots", "--base", "--source", "--config"}) {
        options.areSlotsGiven = options.areSlotsGiven || given.has(option);
    }
    for (const auto& text : given.texts("--retain")) {
        options.store.retention.set(text);
    }
    if (given.has("--database") && given.text("--database").empty()) {
        throw ArgumentError("database \"\" is not allowed: the path of a file");
    }
    options.store.file = given.has("--database") ? given.text("--database") : defaultDatabaseFile();
    serveUntilSignal(options, surroundings.out);
}

}  // namespace ponmgr::dbman
