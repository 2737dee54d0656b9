#pragma once

#include <cstddef>
#include <memory>

namespace ponmgr {

/// Bytes of a frame or of a payload.
using ByteBuffer = std::unique_ptr<unsigned char[]>;

/// `size` zero bytes, which may be none; null when there is no memory for them.
ByteBuffer allocateBytes(std::size_t size);

}  // namespace ponmgr
