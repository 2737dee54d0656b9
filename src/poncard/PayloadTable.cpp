#include "poncard/PayloadTable.h"

namespace ponmgr {

void addFields(TKMPayload& payload, std::span<const PayloadField> fields) {
    for (const PayloadField& field : fields) {
        for (int byte = field.width - 1; byte >= 0; byte--) {
            payload.addU8Number(static_cast<std::uint8_t>(field.value >> (8 * byte)));
        }
    }
}

}  // namespace ponmgr
