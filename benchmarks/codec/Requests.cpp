// Every request of the catalogue, built field by field as the card operations do.

#include <string>

#include "benchmarks/codec/Allocations.h"
#include "benchmarks/codec/Cases.h"
#include "benchmarks/codec/CopyFloor.h"
#include "tk/RequestMessage.h"

namespace ponmgr::bench {

namespace {

using Add = void (*)(RequestMessage& requests, TKMPayload& payload);

template <void (RequestMessage::*member)(TKMPayload*)>
void addWithPayload(RequestMessage& requests, TKMPayload& payload) {
    (requests.*member)(&payload);
}

template <void (RequestMessage::*member)()>
void addPlain(RequestMessage& requests, TKMPayload& /*payload*/) {
    (requests.*member)();
}

/// Fields: m is a MAC address, 1, 2 and 4 are numbers of so many bytes.
struct RequestCase {
    const char* name;
    const char* fields;
    Add add;
};

constexpr RequestCase kRequests[] = {
    {"SetDefaultOAMRate", "111", &addWithPayload<&RequestMessage::addSetDefaultOAMRate>},
    {"ResetOLT", "", &addPlain<&RequestMessage::addResetOLT>},
    {"GetOLTInformation", "", &addPlain<&RequestMessage::addGetOLTInformation>},
    {"EnableOLT", "", &addPlain<&RequestMessage::addEnableOLT>},
    {"DisableOLT", "", &addPlain<&RequestMessage::addDisableOLT>},
    {"GetListOfDiscoveredLinks", "", &addPlain<&RequestMessage::addGetListOfDiscoveredLinks>},
    {"SetOLTBridgingConfiguration", "4111111",
     &addWithPayload<&RequestMessage::addSetOLTBridgingConfiguration>},
    {"ResetONU", "m", &addWithPayload<&RequestMessage::addResetONU>},
    {"GetListOfAllKnownLogicalLinks", "",
     &addPlain<&RequestMessage::addGetListOfAllKnownLogicalLinks>},
    {"ClearAllProvisioningForLogicalLink", "m",
     &addWithPayload<&RequestMessage::addClearAllProvisioningForLogicalLink>},
    {"OnuPortVlan", "m11112122", &addWithPayload<&RequestMessage::addOnuPortVlan>},
    {"ClearAllAllowedLinks", "m2", &addWithPayload<&RequestMessage::addClearAllAllowedLinks>},
    {"CTCSetEthernetPort", "m111121111", &addWithPayload<&RequestMessage::addCTCSetEthernetPort>},
    {"GetOLTNVSEnabled", "", &addPlain<&RequestMessage::addGetOLTNVSEnabled>},
    {"SetOLTNVSEnabled", "1", &addWithPayload<&RequestMessage::addSetOLTNVSEnabled>},
    {"GetStatistics", "1m2211", &addWithPayload<&RequestMessage::addGetStatistics>},
    {"SetOLTIPMulticastGlobalProvisioning", "242",
     &addWithPayload<&RequestMessage::addSetOLTIPMulticastGlobalProvisioning>},
    {"SetOLTIPMulticastDomainProxyProvisioning", "24444422222222222222244444",
     &addWithPayload<&RequestMessage::addSetOLTIPMulticastDomainProxyProvisioning>},
    {"SetOLTIPMulticastHostCopy", "2111111111111111",
     &addWithPayload<&RequestMessage::addSetOLTIPMulticastHostCopy>},
    {"SetDBAPollingIntervalHighResolution", "m22",
     &addWithPayload<&RequestMessage::addSetDBAPollingIntervalHighResolution>},
    {"SetEPONLoopTiming", "m22222", &addWithPayload<&RequestMessage::addSetEPONLoopTiming>},
    {"GetONUInformation", "m", &addWithPayload<&RequestMessage::addGetONUInformation>},
    {"SetAggregateBandwidth", "m2421", &addWithPayload<&RequestMessage::addSetAggregateBandwidth>},
    {"SetPath", "2222222", &addWithPayload<&RequestMessage::addSetPath>},
    {"GetAllPaths", "", &addPlain<&RequestMessage::addGetAllPath>},
    {"GetAllDomains", "", &addPlain<&RequestMessage::doAddGetAllDomains>},
    {"SetQueueSLA", "2242124212", &addWithPayload<&RequestMessage::addSetQueueSLA>},
    {"EnableLink", "m", &addWithPayload<&RequestMessage::addEnableLink>},
    {"DeleteQueueSLA", "22", &addWithPayload<&RequestMessage::addDeleteQueueSLA>},
    {"GetOLTBridgingMode", "m", &addWithPayload<&RequestMessage::addGetOLTBridgingMode>},
    {"SetEncryptionModeDefault", "m212",
     &addWithPayload<&RequestMessage::addSetEncryptionModeDefault>},
    {"SetLinkSLA", "m421242121144", &addWithPayload<&RequestMessage::addSetLinkSLA>},
    {"GetOLTRule", "1m2", &addWithPayload<&RequestMessage::addGetOltRule>},
    {"SetOLTRule", "1m21111111221111441", &addWithPayload<&RequestMessage::addOltRule>},
    {"DeleteOLTPortLinkRule", "1m211442244",
     &addWithPayload<&RequestMessage::addDeleteOltPortLinkRule>},
    {"SetDomainRules", "221112121111121122112211114411",
     &addWithPayload<&RequestMessage::addSetDomainRules>},
    {"SetDBAAggregateBandwidth", "m2421",
     &addWithPayload<&RequestMessage::addSetDBAAggregateBandwidth>},
    {"GetOAMExtensionSetSupport", "1m11111111",
     &addWithPayload<&RequestMessage::addGetOAMExtensionSetSupport>},
    {"SetOAMExtensionSetSupport", "1m1112111112111112111112111",
     &addWithPayload<&RequestMessage::addSetOamExtensionSetSupport>},
    {"SetEPONSyncTime", "m22", &addWithPayload<&RequestMessage::addSetEPONSyncTime>},
    {"SetDomainVersion2", "22111121221222122122",
     &addWithPayload<&RequestMessage::addSetDomainVersion2>},
    {"GetCTC21OpticalTransceiverDiagnosis", "m",
     &addWithPayload<&RequestMessage::addGetCTC21OpticalTransceiverDiagnosis>},
};

const std::string kMac = "000db6030007";

void addFields(TKMPayload& payload, const char* fields) {
    for (const char* field = fields; *field != '\0'; field++) {
        switch (*field) {
            case 'm':
                payload.addHex(kMac);
                break;
            case '1':
                payload.addU8Number(0x80);
                break;
            case '2':
                payload.addU16Number(0x2004);
                break;
            default:
                payload.addU32Number(1'000'000);
        }
    }
}

void build(const RequestCase& request, RequestMessage& requests) {
    TKMPayload payload;
    addFields(payload, request.fields);
    requests.clear();
    request.add(requests, payload);
}

}  // namespace

void registerRequests() {
    for (const RequestCase& request : kRequests) {
        RequestMessage built;
        build(request, built);
        const std::size_t size = built.getAll().front()->getSize();
        const std::string name = std::string("request/") + request.name;
        benchmark::RegisterBenchmark(name.c_str(), [&request, size](benchmark::State& state) {
            RequestMessage requests;
            measure(state, size, [&] {
                build(request, requests);
                benchmark::DoNotOptimize(requests.getAll().front()->getMessage());
            });
        });
        registerCopyFloor(name, size);
    }
}

}  // namespace ponmgr::bench
