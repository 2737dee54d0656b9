#pragma once

#include <functional>
#include <string>

#include "model/Container.h"

namespace ponmgr {

/// One ONU logical link, known by its MAC address. "-" is a reading not taken yet; queues, alarm
/// messages and slot start empty. Booleans are stored as "1" and "0" and are true only for exactly
/// "1".
class OnuLink {
public:
    explicit OnuLink(const std::string& mac);
    OnuLink(const OnuLink&) = delete;
    OnuLink& operator=(const OnuLink&) = delete;
    virtual ~OnuLink();

    std::string getMacAddress() const;
    /// The MAC without its colons, as requests take it.
    std::string getHexMacAddress() const;

    void setPonPort(const std::string& port);
    std::string getPonPort() const;
    /// Provisioned: enabled, with its service levels set.
    void setIsGigabit(bool isGigabit);
    bool getIsGigabit() const;

    // Optical readings in the units of the report, as text.
    void setTemperature(const std::string& celsius);
    std::string getTemperature() const;
    void setSupplyVoltage(const std::string& volts);
    std::string getSupplyVoltage() const;
    void setTxBiasCurrent(const std::string& milliamperes);
    std::string getTxBiasCurrent() const;
    void setTxPowerInput(const std::string& dBm);
    std::string getTxPowerInput() const;
    void setTxPowerOutput(const std::string& dBm);
    std::string getTxPowerOutput() const;

    // Queue endpoints as the card gave them: 4 hex digits.
    void setDownstreamQueue(const std::string& endpoint);
    std::string getDownstreamQueue() const;
    void setUpstreamQueue(const std::string& endpoint);
    std::string getUpstreamQueue() const;
    void setMultiCastQueue(const std::string& endpoint);
    std::string getMultiCastQueue() const;

    void setEthernetUpStatus(bool up);
    bool getEthernetUpStatus() const;
    void setOnlineStatus(bool online);
    bool getOnlineStatus() const;
    /// The database manager has been told the record as it stands.
    void setStatusReported(bool reported);
    bool getStatusReported() const;
    void setSlotId(const std::string& slotId);
    std::string getSlotId() const;

    /// Appends to the comma-separated messages, in order of arrival, repeats included.
    void addAlarmMessage(const std::string& message);
    void clearAlarmMessage();
    std::string getAlarmMessage() const;

    bool getHasModified();
    void clearHasModified();

    /// The whole record, indented.
    std::string getJsonData();
    /// Container::setJsonData without the id.
    bool setJsonData(const std::string& json);

    /// Called before setJsonData, which may change the MAC address: the list that owns this link
    /// takes its index for stale from then on.
    void beforeMacAddressChanges(std::function<void()> listener);

private:
    Container record;
    std::function<void()> macAddressChanging;
};

}  // namespace ponmgr
