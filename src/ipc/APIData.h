#pragma once

#include <memory>
#include <string>

#include "model/JsonHelper.h"

namespace ponmgr {

/// One message on the link to the database manager: {"action":...,"uri":...,"data":{...}}. Used by
/// one thread at a time; whoever queues it hands it over.
class APIData {
public:
    APIData() = default;
    APIData(const APIData&) = delete;
    APIData& operator=(const APIData&) = delete;
    virtual ~APIData();

    /// Builds a message to send; `data` is JSON text and left out when empty. Throws "Impossible to
    /// parse json".
    void createRequest(const std::string& action, const std::string& uri, const std::string& data);

    /// Builds an answer: "data" only without an error and when not empty, then "err". Throws
    /// "Impossible to parse json".
    void createResponse(const std::string& err, const std::string& data);

    /// Reads a message of `length` bytes, which need no terminating zero; what follows the object
    /// is ignored. Throws "JSON not parsed: ..." and "Key '...' not found".
    void parseRequest(const char* text, int length);
    /// The same for an answer: "err" must be there, "data" may be.
    void parseResponse(const char* text, int length);

    /// Empties all fields.
    void clearAll();

    std::string getAction() const { return action; }
    std::string getUri() const { return uri; }
    /// For a message that was built: the caller's data text. For one that was read: its data,
    /// compact.
    std::string getJsonData() const { return jsonData; }
    /// The whole message, compact: what is sent, or what was received printed again.
    std::string getJsonProtocol() const { return jsonProtocol; }
    std::string getError() const { return err; }

    /// All fields, a line each, for debugging.
    std::string dump() const;

    std::unique_ptr<APIData> clone() const;

private:
    JsonPointer parse(const char* text, int length, const char* operation);

    std::string action;
    std::string uri;
    std::string jsonData;
    std::string jsonProtocol;
    std::string err;
};

}  // namespace ponmgr
