#include "benchmarks/snmp/SnmpPeer.h"

#include <cstdlib>
#include <stdexcept>

namespace ponmgr::bench {

namespace {

/// The column of texts that the bench's agent is configured with; a row is its number behind it.
const std::vector<oid> kTable{1, 3, 6, 1, 4, 1, 8072, 9999, 9999, 1};
const std::string kCommunity = "public";
constexpr long kTimeout = 5'000'000;

std::vector<oid> nameOfRow(std::size_t row) {
    std::vector<oid> name = kTable;
    name.push_back(row);
    return name;
}

}  // namespace

void SnmpPeer::initialiseLibrary() {
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_PERSIST_STATE, 1);
    // No other thread runs yet.
    setenv("MIBS", "", 1);  // NOLINT(concurrency-mt-unsafe)
    init_snmp("bench-snmp");
}

SnmpPeer::SnmpPeer(const std::string& agent) {
    std::string peerName = agent;
    std::string community = kCommunity;
    netsnmp_session wanted{};
    snmp_sess_init(&wanted);
    wanted.version = SNMP_VERSION_2c;
    wanted.peername = peerName.data();
    wanted.community = reinterpret_cast<unsigned char*>(community.data());
    wanted.community_len = community.size();
    wanted.retries = 2;
    wanted.timeout = kTimeout;
    session = snmp_open(&wanted);
    if (session == nullptr) {
        throw std::runtime_error("can't open a session with " + agent);
    }
}

SnmpPeer::~SnmpPeer() {
    snmp_close(session);
}

SnmpPeer::Pdu SnmpPeer::ask(const std::vector<oid>& name) {
    netsnmp_pdu* const request = snmp_pdu_create(SNMP_MSG_GET);
    snmp_add_null_var(request, name.data(), name.size());
    netsnmp_pdu* received = nullptr;
    const int status = snmp_synch_response(session, request, &received);
    Pdu answer(received);
    if (status != STAT_SUCCESS || !answer || answer->errstat != SNMP_ERR_NOERROR ||
        answer->variables == nullptr || answer->variables->type != ASN_OCTET_STR) {
        throw std::runtime_error("the agent didn't answer a request with a text");
    }
    return answer;
}

void SnmpPeer::get(unsigned times) {
    const std::vector<oid> name = nameOfRow(1);
    for (unsigned i = 0; i < times; i++) {
        ask(name);
    }
}

void SnmpPeer::holdRows(std::size_t count) {
    for (std::size_t row = 1; row <= count; row++) {
        rows.push_back(ask(nameOfRow(row)));
    }
}

}  // namespace ponmgr::bench
