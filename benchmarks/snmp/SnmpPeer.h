#pragma once

// The library's headers need their own order.
// clang-format off
#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
// clang-format on

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace ponmgr::bench {

/// One agent, asked synchronously through Net-SNMP's library. Throws std::runtime_error.
class SnmpPeer {
public:
    /// Before the first peer: the library with neither its configuration files nor its MIBs.
    static void initialiseLibrary();

    /// Such as "127.0.2.1:1161"; version 2c, community public.
    explicit SnmpPeer(const std::string& agent);
    SnmpPeer(const SnmpPeer&) = delete;
    SnmpPeer& operator=(const SnmpPeer&) = delete;
    ~SnmpPeer();

    /// So many requests for one text, each waited for.
    void get(unsigned times);

    /// Reads the first `count` rows of the agent's table one by one and keeps the answers.
    void holdRows(std::size_t count);

private:
    struct PduDeleter {
        void operator()(netsnmp_pdu* pdu) const { snmp_free_pdu(pdu); }
    };
    using Pdu = std::unique_ptr<netsnmp_pdu, PduDeleter>;

    Pdu ask(const std::vector<oid>& name);

    netsnmp_session* session = nullptr;
    std::vector<Pdu> rows;
};

}  // namespace ponmgr::bench
