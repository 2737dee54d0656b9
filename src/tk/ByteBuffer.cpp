#include "tk/ByteBuffer.h"

#include <new>

namespace ponmgr {

ByteBuffer allocateBytes(std::size_t size) {
    // The one allocation whose failure is an ordinary answer, which make_unique can't give.
    return ByteBuffer(new (std::nothrow) unsigned char[size]());  // NOLINT(*-owning-memory)
}

}  // namespace ponmgr
