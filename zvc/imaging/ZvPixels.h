#pragma once

// Blocks of pixels that images own. Internal; not for clients.
//
// An assignment makes two images own one block, so a block counts its owners.

#include <cstddef>

namespace zvc::detail {

/// A block with one owner, all zero or with undefined contents. Raises ZvBadAllocException where there is no memory; a count of
/// bytes that does not fit into memory, or is negative, is such a case.
unsigned char* NewPixels(long long bytes, bool cleared);

/// A block of one owner made longer; what is added is zero. It stays as it is when this raises ZvBadAllocException.
unsigned char* GrowPixels(unsigned char* pixels, size_t from, size_t to);

/// One owner more; one less, and the last one frees the block.
void RetainPixels(unsigned char* pixels) noexcept;
void ReleasePixels(unsigned char* pixels) noexcept;

}
