#pragma once

#include "zvc/platform/Api.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace zvc::platform {

/// A file handle: an entry of a table, never a pointer. Closing one twice, or closing null, is harmless.
using Handle = void*;

/// The handle of a file that could not be opened: all ones.
inline const Handle InvalidHandle = reinterpret_cast<Handle>(~uintptr_t(0));

enum FileAccess : unsigned int { FileAccessNone = 0, FileAccessRead = 1, FileAccessWrite = 2 };

/// What to do about a file that is there, or is not.
enum FileDisposition : unsigned int {
    FileCreateNew = 1,           ///< fails when it is there
    FileCreateAlways = 2,        ///< empties it
    FileOpenExisting = 3,        ///< fails when it is not there
    FileOpenAlways = 4,
    FileTruncateExisting = 5     ///< empties it; fails when it is not there
};

/// Opens a file that no other opener with rights shares; InvalidHandle on failure, also for a directory and an unknown
/// disposition. Without rights the file opens, even one that another holds, and every transfer fails.
ZV_API Handle FileOpen(const char* path, unsigned int access, unsigned int disposition);

/// A handle on a descriptor of the process, which the handle then owns.
ZV_API Handle FileAdopt(int descriptor, unsigned int access);

/// False for a handle that is not open.
ZV_API bool CloseHandle(Handle handle);

/// Reads up to size bytes. On a file: all that there is up to size, success with 0 at its end. On a pipe: what one read
/// brings, failure when all writers are gone.
ZV_API bool FileRead(Handle handle, void* data, uint32_t size, uint32_t* done);

/// Writes all size bytes, or fails; *done tells how many went. A broken pipe is a failure and never a signal.
ZV_API bool FileWrite(Handle handle, const void* data, uint32_t size, uint32_t* done);

/// Moves by offset from origin (0 beginning, 1 current, 2 end) and answers the new position; all ones, without a move, on
/// failure. The position must fit 32 bits.
ZV_API uint32_t FileSeek(Handle handle, int32_t offset, unsigned int origin);

/// The same without that limit; -1 on failure.
ZV_API int64_t FileSeek64(Handle handle, int64_t offset, unsigned int origin);
ZV_API int64_t FileTell64(Handle handle);
ZV_API int64_t FileSize64(Handle handle);

/// The low 32 bits of the size; all ones on failure.
ZV_API uint32_t FileSize(Handle handle);

/// True for a handle on a regular file, which has a position and a size.
ZV_API bool FileIsRegular(Handle handle);

/// Everything written is on the device afterwards. Needs the right to write. A pipe has nothing to flush: success.
ZV_API bool FileFlush(Handle handle);

/// Cuts or extends the file at the current position.
ZV_API bool FileSetEnd(Handle handle);

ZV_API bool PathExists(const char* path);
ZV_API bool PathIsDirectory(const char* path);
ZV_API bool MakeDirectory(const char* path);

/// The names in a directory, "." and ".." left out, in order.
ZV_API std::vector<std::string> ListDirectory(const char* path);

/// A standard-library file on a descriptor that stays the caller's: closing the file leaves the descriptor open.
ZV_API FILE* StdFileOnDescriptor(int descriptor, const char* mode);

/// The length of a standard-library file's file; -1 when it has none.
ZV_API int64_t StdFileLength(FILE* file);

}
