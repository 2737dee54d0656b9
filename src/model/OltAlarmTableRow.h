#pragma once

#include "model/Container.h"

namespace ponmgr {

/// One alarm as it is reported to the database manager: "label", "alarm", "state", "slot_id" and
/// "datetime", all empty at first.
class OltAlarmTableRow : public Container {
public:
    OltAlarmTableRow();
};

}  // namespace ponmgr
