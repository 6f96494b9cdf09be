#pragma once

#include "zvc/platform/Api.h"
#include "zvc/platform/Handle.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace zvc::platform {

enum FileAccess : unsigned int { FileAccessNone = 0, FileAccessRead = 1, FileAccessWrite = 2 };

/// What to do about a file that is there, or is not.
enum FileDisposition : unsigned int {
    FileCreateNew = 1,           ///< fails when it is there
    FileCreateAlways = 2,        ///< empties it
    FileOpenExisting = 3,        ///< fails when it is not there
    FileOpenAlways = 4,
    FileTruncateExisting = 5     ///< empties it; fails when it is not there
};

/// Opens a file. InvalidHandle on failure, also for a directory and for a disposition that is none of the five. Exclusive:
/// it fails while another exclusive opener with rights, of this process or another, has the file; only regular files are
/// kept to oneself, and only from openers that ask for it. A refused opening leaves the file as it is. Without rights the
/// file opens even while another holds it, keeps nobody out, and every transfer fails; seeking and size work, and the
/// dispositions that empty a file empty it.
ZV_API Handle FileOpen(const char* path, unsigned int access, unsigned int disposition, bool exclusive = true) noexcept;

/// A handle on a descriptor of the process, which the handle then owns and closes. InvalidHandle on failure, and then the
/// descriptor stays the caller's.
ZV_API Handle FileAdopt(int descriptor, unsigned int access) noexcept;

/// Reads up to size bytes. On a file: all that there is up to size, success with 0 at its end. On a pipe: what one read
/// brings, failure when all writers are gone. On a device: what one read brings.
ZV_API bool FileRead(Handle handle, void* data, uint32_t size, uint32_t* done) noexcept;

/// Writes all size bytes, or fails; *done tells how many went. A broken pipe is a failure and never a signal.
ZV_API bool FileWrite(Handle handle, const void* data, uint32_t size, uint32_t* done) noexcept;

/// Prepares the transfers of a pipe, a socket or a terminal to be ended by FileCancel or by the end of a process. Those that
/// have to wait cost a wait more from then on, but for the reads of most pipes. False for a regular file, whose transfers do
/// not wait, and on failure. Before the handle is used.
ZV_API bool FileMakeCancellable(Handle handle) noexcept;

/// Ends the transfers that wait on this handle, and all later ones, with a failure. Nothing for a handle that was not prepared.
/// A pipe that somebody was reading is of no use to other readers afterwards: it may have lost bytes, and have others. Any
/// thread.
ZV_API void FileCancel(Handle handle) noexcept;

/// From now on a read that waits on this prepared handle fails as well when the process has ended and nothing is left to be
/// read: the reader of a pipe may itself hold its writing end open, and then never sees the end of the pipe. Before the
/// handle is used. False on failure.
ZV_API bool FileEndWithProcess(Handle handle, Handle process) noexcept;

/// Moves by offset from origin (0 beginning, 1 current, 2 end) and answers the new position; all ones, without a move, on
/// failure: a position before the beginning or beyond 32 bits, another origin, a pipe.
ZV_API uint32_t FileSeek(Handle handle, int32_t offset, unsigned int origin) noexcept;

/// The same without that limit; -1 on failure.
ZV_API int64_t FileSeek64(Handle handle, int64_t offset, unsigned int origin) noexcept;
ZV_API int64_t FileTell64(Handle handle) noexcept;
ZV_API int64_t FileSize64(Handle handle) noexcept;

/// The low 32 bits of the size; all ones on failure.
ZV_API uint32_t FileSize(Handle handle) noexcept;

/// True for a handle on a regular file, which has a position and a size.
ZV_API bool FileIsRegular(Handle handle) noexcept;

/// Everything written is on the device afterwards. False without the right to write. A pipe has nothing to flush: success,
/// unless the last write found nobody who reads it.
ZV_API bool FileFlush(Handle handle) noexcept;

/// Cuts or extends the file at the current position.
ZV_API bool FileSetEnd(Handle handle) noexcept;

/// What a path leads to: anything; a directory. A link counts as what it leads to.
ZV_API bool PathExists(const char* path) noexcept;
ZV_API bool PathIsDirectory(const char* path) noexcept;

/// Makes a directory, one level only. False when it could not be made, also because it is there.
ZV_API bool MakeDirectory(const char* path) noexcept;

/// The names in a directory, "." and ".." left out, in the order of their bytes; none when it cannot be read.
ZV_API std::vector<std::string> ListDirectory(const char* path);

/// A standard-library file on a duplicate of a descriptor, which stays the caller's: closing the file writes out what it
/// holds and leaves the descriptor open, at the position the file had. Null on failure.
ZV_API FILE* StdFileOnDescriptor(int descriptor, const char* mode) noexcept;

/// The length of a standard-library file's file, without what the file still holds back; -1 for a pipe or a device.
ZV_API int64_t StdFileLength(FILE* file) noexcept;

}
