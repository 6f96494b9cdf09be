#pragma once

#include "zvc/platform/Api.h"

#include <cstddef>
#include <cstdint>

namespace Zv {

/// CRC-32 of length bytes: the reflected one of IEEE 802.3, polynomial 0xedb88320, all ones at the start and complemented at
/// the end. 0 for a length of 0 or less. Any thread.
ZV_API unsigned int crc32(const void* data, int length);

}

namespace zvc::detail {

/// The same of any number of bytes.
uint32_t Crc32(const void* data, size_t length);

}
