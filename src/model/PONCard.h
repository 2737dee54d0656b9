#pragma once

#include <cstddef>
#include <string>

#include "model/Container.h"
#include "model/ModuleOltTableRow.h"

namespace ponmgr {

/// What the daemon knows about the card of one slot. Booleans are stored as "1" and "0" and are
/// true only for exactly "1". The values lock themselves: the ping loop writes the status while the
/// main loop reads the record.
class PONCard {
public:
    PONCard();
    PONCard(const PONCard&) = delete;
    PONCard& operator=(const PONCard&) = delete;
    virtual ~PONCard();

    void setMacAddress(const std::string& mac);
    std::string getMacAddress() const;
    void clearMacAddress();
    /// Whether the card is identified. Takes no memory.
    bool hasMacAddress() const;
    /// The MAC without its colons, as requests take it; empty while the card is not identified.
    std::string getHexMacAddress() const;

    void setSlotId(const std::string& slotId);
    std::string getSlotId() const;
    void setAppVersion(const std::string& version);
    std::string getAppVersion() const;

    /// The card is reachable and identified.
    void setOnlineStatus(bool online);
    bool getOnlineStatus() const;
    /// The database manager has been told the record as it stands.
    void setStatusReported(bool reported);
    bool getStatusReported() const;
    /// The card keeps its configuration in non-volatile storage.
    void setNVSEnabled(bool enabled);
    bool getNVSEnabled() const;

    /// The optical-module row of a PON port, 0 or 1; it stays the card's. Throws "PON (n) not
    /// found".
    ModuleOltTableRow* getModuleOltTable(std::size_t index);

    /// Container::clear of the whole record.
    void clear();

    /// The whole record, compact, with its list "module_olt_table".
    std::string getJsonData();
    /// Container::setJsonData without the id.
    bool setJsonData(const std::string& json);

private:
    Container record;
};

}  // namespace ponmgr
