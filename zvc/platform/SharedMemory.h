#pragma once

#include "zvc/platform/Api.h"
#include "zvc/platform/Handle.h"

#include <cstddef>
#include <cstdint>

namespace zvc::platform {

/// A block reaches to the end of its last page: so many bytes, or a multiple of them, can be read and written.
constexpr size_t SharedMemoryPage = 4096;

/// Named blocks of memory that processes share. A block lives as long as one process has a handle on it or a view of it, and
/// goes with the last one, also when that is killed: neither memory nor name stays behind. Any text is a name (with a prefix
/// "Local\", which is dropped), and blocks of one name are one block among the processes of one user. The empty name is
/// nobody's: each such block is one of its own, and cannot be opened.
///
/// Creates a block of size bytes, all zero, or opens the one of that name, with the size that it has. Null on failure, and
/// *error, when not null, is the system's error number then: for a size of 0, when memory is short.
ZV_API Handle SharedMemoryCreate(const char* name, uint32_t size, uint32_t* error) noexcept;

/// Opens the block of a name. Null when there is none.
ZV_API Handle SharedMemoryOpen(const char* name) noexcept;

/// The address of the whole block in this process, for reading and writing, at the start of a page; *size, when not null, is
/// the block's size in bytes. Null for a handle that is no block's. Each call is ended by one of SharedMemoryUnmap.
ZV_API void* SharedMemoryMap(Handle block, size_t* size) noexcept;

/// Ends a view. False, and nothing happens, for an address that is none.
ZV_API bool SharedMemoryUnmap(const void* view) noexcept;

}
