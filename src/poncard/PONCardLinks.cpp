// The ONU links of the card.

#include "ipc/IPCWorker.h"
#include "poncard/PONCardHelper.h"

namespace ponmgr {

void PONCardHelper::doReportAllOnuOffline() {
    printFailures(__func__, [this] {
        Container slot;
        slot.setNewValue("slot_id", card.getSlotId());
        IPCWorker::getInstance()->notify("/onu/set/all/offline", slot.getJsonFile());
    });
}

}  // namespace ponmgr
