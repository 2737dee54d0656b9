#pragma once

#include <string>

#include "model/Container.h"

namespace ponmgr {

class APIData;

/// A command of the database manager for one slot: its name, which is the request's uri, and its
/// parameters. Only the parameters that a task is built with are taken from a request: "slot_id",
/// "mac_address", "ip_address", "vlan_id", "discard_untagged", "pon_number"; they are texts, and
/// stay empty when they are absent or of another type.
class PMTask {
public:
    PMTask();
    PMTask(const PMTask&) = delete;
    PMTask& operator=(const PMTask&) = delete;
    virtual ~PMTask();

    /// Takes name and parameters from a request, which stays the caller's. Throws "Data on task
    /// can't be null", "Unknown exception on parseTask", and the bare message of any other failure.
    void parseTask(const APIData* request);

    const std::string& getTask() const { return task; }
    /// The whole request.
    std::string getJsonProtocol() const { return jsonProtocol; }
    /// Empty for a parameter that there isn't; never throws.
    std::string getDataValue(const std::string& key) const;

private:
    std::string task;
    std::string jsonProtocol;
    Container data;
};

}  // namespace ponmgr
