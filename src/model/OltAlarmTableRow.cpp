#include "model/OltAlarmTableRow.h"

namespace ponmgr {

OltAlarmTableRow::OltAlarmTableRow() {
    for (const char* key : {"label", "alarm", "state", "slot_id", "datetime"}) {
        values[key] = "";
    }
}

}  // namespace ponmgr
