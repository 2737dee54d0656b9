#include "tk/ResponseLayout.h"

#include <memory>
#include <string>
#include <utility>

#include "model/Container.h"
#include "tk/RMParser.h"

namespace ponmgr {

namespace {

std::string readField(const ResponseField& field, std::uint16_t* offset, const TKMessage* message) {
    switch (field.reader) {
        case FieldReader::U8:
            return RMParser::parseU8Number(offset, message);
        case FieldReader::U16:
            return RMParser::parseU16Number(offset, message);
        case FieldReader::U64:
            return RMParser::parseU64Number(offset, message);
        case FieldReader::Mac:
            return RMParser::parseMacAddr(offset, message);
        case FieldReader::Hex:
        case FieldReader::Skip:
            break;
    }
    return RMParser::parseHex(offset, message, field.width);
}

}  // namespace

void readFields(std::span<const ResponseField> layout, std::uint16_t* offset,
                const TKMessage* message, Container& record) {
    for (const ResponseField& field : layout) {
        if (field.reader == FieldReader::Skip) {
            *offset = static_cast<std::uint16_t>(*offset + field.width);
        } else {
            record.setNewValue(field.key, readField(field, offset, message));
        }
    }
}

void readList(std::span<const ResponseField> layout, unsigned count, const char* name,
              std::uint16_t* offset, const TKMessage* message, Container& record) {
    for (unsigned i = 0; i < count; i++) {
        auto item = std::make_unique<Container>();
        readFields(layout, offset, message, *item);
        record.addItemToList(name, std::move(item));
    }
}

}  // namespace ponmgr
