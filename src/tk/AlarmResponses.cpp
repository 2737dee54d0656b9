// Alarms, and the readings that a card answers with: statistics of its ports, and the diagnosis of
// an ONU's optical transceiver.

#include "app/Exception.h"
#include "tk/ResponseLayout.h"
#include "tk/ResponseMessage.h"
#include "tk/TKHelper.h"

namespace ponmgr {

namespace {

constexpr ResponseField kAlarmEntity[] = {u8("entity_tag")};
constexpr ResponseField kAlarmMac[] = {mac("mac_address")};
constexpr ResponseField kAlarmPort[] = {u16("port_number")};
constexpr ResponseField kAlarm[] = {
    u8("alarm_id"),
    u8("alarm_state"),
    u8("alarm_count"),
    u8("alarm_info_len"),
};

/// The fourth word is kept as the power in and the fifth as the power out, on purpose: the reports
/// are built by these keys.
constexpr ResponseField kDiagnosis[] = {
    mac("target_onu"),  u16("transceiver_temperature"),
    u16("supply_vcc"),  u16("tx_bias_current"),
    u16("tx_power_in"), u16("tx_power_out"),
};
constexpr std::uint16_t kNoDiagnosisBelow = 8;
constexpr std::uint16_t kDiagnosisResultOnlyUpTo = 8;

constexpr ResponseField kStatisticsTarget[] = {
    u8("target_tag"),
    mac("target_label_mac_address"),
    u16("target_label_port_number"),
};
constexpr ResponseField kStatistic[] = {
    u16("result_id_val_group"),
    u8("result_id_val_element"),
    u8("result_id_flags"),
    u64("result_value"),
};
constexpr std::uint16_t kNoStatisticsBelow = 9;
constexpr std::uint16_t kStatisticsResultOnlyUpTo = 9;
constexpr unsigned kStatisticsTargetSize = 9;
constexpr unsigned kStatisticSize = 12;

void setResult(const TKMessage* message, Container& record) {
    record.setNewValue("result", std::to_string(message->getResult()));
}

}  // namespace

std::unique_ptr<Container> ResponseMessage::parseReport_Alarm(const TKMessage* message) {
    const char* parser = __func__;
    return parseRecord(parser, [message, parser](std::uint16_t* offset, Container& record) {
        record.setNewValue("alarm_message_id", std::to_string(message->getId()));
        readFields(kAlarmEntity, offset, message, record);
        const std::string tag = record.getValue("entity_tag");
        switch (TKHelper::toEntityTagId(tag)) {
            case TKEntityTagId::OltPort:
                readFields(kAlarmMac, offset, message, record);
                readFields(kAlarmPort, offset, message, record);
                break;
            case TKEntityTagId::OnuLink:
            case TKEntityTagId::OltLink:
                readFields(kAlarmMac, offset, message, record);
                break;
            default:
                PONMGR_THROW_FROM("Entity Tag(" + tag + ") not handled", parser);
        }
        readFields(kAlarm, offset, message, record);
    });
}

std::unique_ptr<Container> ResponseMessage::parseGet_CTC_21_Optical_Transceiver_Diagnosis(
    const TKMessage* message) {
    const char* parser = __func__;
    return parseRecord(parser, [message, parser](std::uint16_t* offset, Container& record) {
        setResult(message, record);
        if (message->getResult() == 0 && message->getLength() < kNoDiagnosisBelow) {
            PONMGR_THROW_FROM("Invalid Optical Transceiver Diagnosis", parser);
        }
        if (message->getLength() > kDiagnosisResultOnlyUpTo) {
            readFields(kDiagnosis, offset, message, record);
        }
    });
}

std::unique_ptr<Container> ResponseMessage::parseGet_Statistics(const TKMessage* message) {
    const char* parser = __func__;
    return parseRecord(parser, [message, parser](std::uint16_t* offset, Container& record) {
        setResult(message, record);
        const unsigned length = message->getLength();
        if (message->getResult() == 0 && length < kNoStatisticsBelow) {
            PONMGR_THROW_FROM("Invalid Statistics", parser);
        }
        if (length <= kStatisticsResultOnlyUpTo) {
            return;
        }
        readFields(kStatisticsTarget, offset, message, record);
        readList(kStatistic, (length - kStatisticsTargetSize) / kStatisticSize, "result_list_stats",
                 offset, message, record);
    });
}

}  // namespace ponmgr
