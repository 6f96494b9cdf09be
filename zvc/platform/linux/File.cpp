#include "zvc/platform/File.h"

#include "zvc/platform/linux/Descriptor.h"
#include "zvc/platform/linux/Object.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <linux/magic.h>
#include <new>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace zvc::platform {

namespace {

constexpr int NoSignalFlag = 0x100;       // RWF_NOSIGNAL of newer headers: a broken pipe is an error and no signal

/// A descriptor with the rights it was opened with: those are tested here, because without rights the descriptor itself
/// has more than the caller asked for.
class FileObject final : public Object {
public:
    FileObject(int fd, unsigned int access) noexcept
        : Object(ObjectKind::File), descriptor(fd), canRead((access & FileAccessRead) != 0), canWrite((access & FileAccessWrite) != 0) {
        struct stat status;
        if (fstat(fd, &status) != 0) return;
        isPipe = S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode);
        isRegular = S_ISREG(status.st_mode);
    }
    static bool Is(ObjectKind kind) noexcept { return kind == ObjectKind::File; }

    /// Readies a read: where another end than the pipe's own can come, it waits until there is something to be read. False
    /// when the transfer is to fail.
    bool AwaitReadable() noexcept {
        const int end = __atomic_load_n(&peer, __ATOMIC_SEQ_CST);
        if (takesByte && end < 0) return !Cancelled();
        pollfd waits[3] = {{descriptor, POLLIN, 0}, {wake, POLLIN, 0}, {end, POLLIN, 0}};
        while (!Cancelled()) {
            if (poll(waits, 3, -1) < 0 && errno != EINTR) return false;
            if (Cancelled()) return false;
            if (waits[0].revents != 0) return true;
            // What the peer wrote last may have come between the looks at the pipe and at the process.
            if (waits[2].revents != 0) return poll(waits, 1, 0) > 0;
        }
        return false;
    }
    bool AwaitWritable() noexcept {
        pollfd waits[2] = {{descriptor, POLLOUT, 0}, {wake, POLLIN, 0}};
        return poll(waits, 2, -1) > 0 || errno == EINTR;
    }
    bool Cancelled() const noexcept { return __atomic_load_n(&cancelled, __ATOMIC_SEQ_CST) != 0; }
    void Cancel() noexcept {
        __atomic_store_n(&cancelled, 1u, __ATOMIC_SEQ_CST);
        if (takesByte && (__atomic_load_n(&readers, __ATOMIC_SEQ_CST) == 0 || WakeReader())) return;
        const uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = write(wake, &one, sizeof one);      // stays readable: nobody takes it away
    }
    /// Puts a byte into the pipe that this handle reads, for a reader that sleeps there. It finds itself cancelled. False
    /// where this process may not do so any more.
    bool WakeReader() noexcept {
        for (;;) {
            const int writer = OpenWriter();
            if (writer >= 0) {
                [[maybe_unused]] const ssize_t written = write(writer, "", 1);      // a full pipe lets nobody sleep
                close(writer);
                return true;
            }
            if (errno != EMFILE && errno != ENFILE && errno != ENOMEM && errno != EINTR) return false;
            const int spare = __atomic_exchange_n(&wake, -1, __ATOMIC_SEQ_CST);
            if (spare >= 0) {
                close(spare);                                   // no number was free: now one is
            } else {
                const timespec moment{0, 1000000};
                nanosleep(&moment, nullptr);
            }
        }
    }
    void MakeCancellable() noexcept {
        if (wake < 0) wake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        cancellable = wake >= 0;
        struct statfs system;
        if (!cancellable || canWrite || fstatfs(descriptor, &system) != 0 || system.f_type != PIPEFS_MAGIC) return;
        // The process may become another user's later on. A pipe without a name is open to nobody else by that.
        if (fchmod(descriptor, 0622) != 0) return;
        const int writer = OpenWriter();                        // it fails where there is no /proc
        takesByte = writer >= 0;
        if (takesByte) close(writer);
    }

    int descriptor;
    const bool canRead;
    const bool canWrite;
    bool isPipe = false;
    bool isRegular = false;
    bool broken = false;          // nobody read what was written last
    bool cancellable = false;     // then it never sleeps in a transfer itself, but in the read of a pipe that takes a byte
    bool takesByte = false;       // a pipe without a name that is only read here, and that this process can write to
    int wake = -1;                // readable once cancelled
    int peer = -1;                // readable once the process at the other end has ended
    uint32_t cancelled = 0;
    uint32_t readers = 0;         // threads in a read of a pipe that takes a byte: with nobody there, none is put into it
    int noWaitFlags = RWF_NOWAIT | NoSignalFlag;      // what this kernel has not refused for this file

private:
    /// The other end of this pipe. Never kept: the pipe would not end with its last writer any more.
    int OpenWriter() const noexcept {
        char path[32];
        std::snprintf(path, sizeof path, "/proc/self/fd/%d", descriptor);
        return open(path, O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    }

    ~FileObject() override {
        for (int fd : {descriptor, wake, peer})
            if (fd >= 0) close(fd);
    }
};

using File = Use<FileObject>;

/// Stands where a thread reads. Whoever leaves a cancelled pipe wakes the next one: the byte may be with him.
class Reader {
public:
    explicit Reader(FileObject& file) noexcept : m_file(file), m_counted(file.takesByte) {
        if (m_counted) __atomic_add_fetch(&m_file.readers, 1u, __ATOMIC_SEQ_CST);
    }
    ~Reader() {
        if (!m_counted) return;
        if (__atomic_sub_fetch(&m_file.readers, 1u, __ATOMIC_SEQ_CST) != 0 && m_file.Cancelled()) m_file.WakeReader();
    }
    Reader(const Reader&) = delete;

private:
    FileObject& m_file;
    const bool m_counted;
};

// The system's calls without libc's points of cancellation around them: a remote call is short enough to feel these, and
// nobody cancels threads here. The thread sanitizer has to see a thread wait.
ssize_t ReadOnce(int descriptor, void* data, size_t size) noexcept {
#ifdef __SANITIZE_THREAD__
    return read(descriptor, data, size);
#else
    return syscall(SYS_read, descriptor, data, size);
#endif
}

ssize_t WriteOnce(int descriptor, const void* data, size_t size, int flags) noexcept {
    const iovec part{const_cast<void*>(data), size};
    constexpr long here = -1;
#ifdef __SANITIZE_THREAD__
    return pwritev2(descriptor, &part, 1, here, flags);
#else
    return syscall(SYS_pwritev2, descriptor, &part, 1, here, 0, flags);
#endif
}

// A descriptor that another process set to non-blocking still blocks here, as every handle does.
bool TryAgain(int descriptor, short direction) noexcept {
    if (errno == EINTR) return true;
    if (errno != EAGAIN) return false;
    pollfd wait{descriptor, direction, 0};
    poll(&wait, 1, -1);
    return true;
}

// A write to a pipe whose reader is gone must be a failure and not a signal that ends the process. The signal is held back
// for this thread alone and taken away again; the process's own setting stays as it is.
class QuietPipe {
public:
    QuietPipe(FileObject& file, bool active) : m_file(file), m_active(active) {
        __atomic_store_n(&m_file.broken, false, __ATOMIC_RELAXED);
        if (!m_active) return;
        sigemptyset(&m_set);
        sigaddset(&m_set, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &m_set, &m_old);
    }
    void Broken() {
        __atomic_store_n(&m_file.broken, true, __ATOMIC_RELAXED);
        if (!m_active || sigismember(&m_old, SIGPIPE)) return;
        const timespec now{0, 0};
        const int error = errno;
        sigtimedwait(&m_set, nullptr, &now);
        errno = error;
    }
    ~QuietPipe() {
        if (m_active) pthread_sigmask(SIG_SETMASK, &m_old, nullptr);
    }

private:
    FileObject& m_file;
    bool m_active;
    sigset_t m_set, m_old;
};

// One write that does not sleep: less than all may go, and EAGAIN tells that nothing does. Without the kernel's help it looks
// for room and writes no more than surely finds some.
ssize_t WriteWithoutWaiting(FileObject& file, const void* data, size_t size) {
    while (file.noWaitFlags != 0) {
        QuietPipe quiet(file, file.isPipe && (file.noWaitFlags & NoSignalFlag) == 0);
        const ssize_t n = WriteOnce(file.descriptor, data, size, file.noWaitFlags);
        if (n < 0 && errno == EPIPE) quiet.Broken();
        if (n >= 0 || (errno != EOPNOTSUPP && errno != EINVAL && errno != ENOSYS)) return n;
        file.noWaitFlags = file.noWaitFlags & NoSignalFlag ? RWF_NOWAIT : 0;
    }
    pollfd room{file.descriptor, POLLOUT, 0};
    if (poll(&room, 1, 0) == 0) {
        errno = EAGAIN;
        return -1;
    }
    QuietPipe quiet(file, file.isPipe);
    const ssize_t n = write(file.descriptor, data, std::min<size_t>(size, PIPE_BUF));
    if (n < 0 && errno == EPIPE) quiet.Broken();
    return n;
}

bool WriteCancellable(FileObject& file, const void* data, uint32_t size, uint32_t* done) {
    while (*done < size) {
        if (file.Cancelled()) return false;
        const ssize_t n = WriteWithoutWaiting(file, static_cast<const char*>(data) + *done, size - *done);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && errno != EAGAIN) return false;
        if (n > 0) *done += static_cast<uint32_t>(n);
        if (*done < size && !file.AwaitWritable()) return false;      // there was no room for the rest
    }
    return true;
}

int OpenDescriptor(const char* path, bool read, bool write, unsigned int disposition) {
    int flags = O_CLOEXEC | O_NOCTTY;
    if (disposition == FileCreateNew) flags |= O_CREAT | O_EXCL;
    if (disposition == FileCreateAlways || disposition == FileOpenAlways) flags |= O_CREAT;
    const bool empties = disposition == FileCreateAlways || disposition == FileTruncateExisting;
    const int mode = read && write ? O_RDWR : write || empties ? (read ? O_RDWR : O_WRONLY) : O_RDONLY;
    int descriptor = open(path, mode | flags, 0666);
    // Without rights any way of opening will do.
    if (descriptor < 0 && errno == EACCES && !read && !write) descriptor = open(path, O_WRONLY | flags, 0666);
    return descriptor;
}

// Never O_TRUNC when opening: an opening that is refused must not have emptied the other's file.
bool Share(int descriptor, bool alone, bool empties) {
    struct stat status;
    if (fstat(descriptor, &status) != 0 || S_ISDIR(status.st_mode)) return false;
    if (!S_ISREG(status.st_mode)) return true;
    if (alone && flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) return false;
    return !empties || ftruncate(descriptor, 0) == 0;
}

}

Handle FileOpen(const char* path, unsigned int access, unsigned int disposition, bool exclusive) noexcept {
    if (path == nullptr || disposition < FileCreateNew || disposition > FileTruncateExisting) return InvalidHandle;
    const bool read = (access & FileAccessRead) != 0;
    const bool write = (access & FileAccessWrite) != 0;
    const int descriptor = OpenDescriptor(path, read, write, disposition);
    if (descriptor < 0) return InvalidHandle;
    const bool empties = disposition == FileCreateAlways || disposition == FileTruncateExisting;
    Handle handle = InvalidHandle;
    if (Share(descriptor, exclusive && (read || write), empties)) handle = FileAdopt(descriptor, access);
    if (handle == InvalidHandle) close(descriptor);
    return handle;
}

Handle FileAdopt(int descriptor, unsigned int access) noexcept {
    if (descriptor < 0) return InvalidHandle;
    Region region;
    auto* object = new (std::nothrow) FileObject(descriptor, access);
    if (object == nullptr) return InvalidHandle;
    const Handle handle = EnterObject(object);
    if (handle != nullptr) return handle;
    object->descriptor = -1;
    object->Release();
    return InvalidHandle;
}

int DuplicateDescriptor(Handle handle) noexcept {
    File file(handle);
    return file ? fcntl(file->descriptor, F_DUPFD_CLOEXEC, 3) : -1;
}

bool FileRead(Handle handle, void* data, uint32_t size, uint32_t* done) noexcept {
    *done = 0;
    File file(handle);
    if (!file || !file->canRead) return false;
    const Reader reader(*file.operator->());
    for (;;) {
        if (file->cancellable && !file->AwaitReadable()) return false;
        const ssize_t n = ReadOnce(file->descriptor, static_cast<char*>(data) + *done, size - *done);
        if (file->takesByte && file->Cancelled()) return false;
        if (n < 0 && TryAgain(file->descriptor, POLLIN)) continue;
        if (n < 0) return false;
        *done += static_cast<uint32_t>(n);
        if (n == 0) return !file->isPipe || size == 0;
        if (*done == size || !file->isRegular) return true;
    }
}

bool FileWrite(Handle handle, const void* data, uint32_t size, uint32_t* done) noexcept {
    *done = 0;
    File file(handle);
    if (!file || !file->canWrite) return false;
    if (file->cancellable) return WriteCancellable(*file.operator->(), data, size, done);
    QuietPipe quiet(*file.operator->(), file->isPipe);
    while (*done < size) {
        const ssize_t n = write(file->descriptor, static_cast<const char*>(data) + *done, size - *done);
        if (n >= 0) {
            *done += static_cast<uint32_t>(n);
        } else if (!TryAgain(file->descriptor, POLLOUT)) {
            if (errno == EPIPE) quiet.Broken();
            return false;
        }
    }
    return true;
}

bool FileMakeCancellable(Handle handle) noexcept {
    File file(handle);
    if (!file || file->isRegular) return false;
    file->MakeCancellable();
    return file->cancellable;
}

void FileCancel(Handle handle) noexcept {
    File file(handle);
    if (file && file->cancellable) file->Cancel();
}

bool FileEndWithProcess(Handle handle, Handle process) noexcept {
    const int descriptor = ProcessEndDescriptor(process);
    File file(handle);
    int none = -1;
    if (file && file->cancellable && descriptor >= 0 &&
        __atomic_compare_exchange_n(&file->peer, &none, descriptor, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST))
        return true;
    if (descriptor >= 0) close(descriptor);
    return false;
}

uint32_t FileSeek(Handle handle, int32_t offset, unsigned int origin) noexcept {
    constexpr uint32_t failed = ~0u;
    File file(handle);
    if (!file || origin > 2) return failed;
    int64_t base = 0;
    struct stat status;
    if (origin == 1) base = lseek(file->descriptor, 0, SEEK_CUR);
    if (origin == 2) base = fstat(file->descriptor, &status) == 0 ? status.st_size : -1;
    const int64_t target = base + offset;
    if (base < 0 || target < 0 || target > 0xFFFFFFFF) return failed;
    return lseek(file->descriptor, target, SEEK_SET) < 0 ? failed : static_cast<uint32_t>(target);
}

int64_t FileSeek64(Handle handle, int64_t offset, unsigned int origin) noexcept {
    File file(handle);
    return file && origin <= 2 ? lseek(file->descriptor, offset, static_cast<int>(origin)) : -1;
}

int64_t FileTell64(Handle handle) noexcept { return FileSeek64(handle, 0, 1); }

int64_t FileSize64(Handle handle) noexcept {
    File file(handle);
    struct stat status;
    if (!file || !file->isRegular || fstat(file->descriptor, &status) != 0) return -1;
    return status.st_size;
}

uint32_t FileSize(Handle handle) noexcept { return static_cast<uint32_t>(FileSize64(handle)); }

bool FileIsRegular(Handle handle) noexcept {
    File file(handle);
    return file && file->isRegular;
}

bool FileFlush(Handle handle) noexcept {
    File file(handle);
    if (!file || !file->canWrite) return false;
    if (file->isPipe) return !__atomic_load_n(&file->broken, __ATOMIC_RELAXED);
    return fsync(file->descriptor) == 0 || errno == EINVAL || errno == EROFS;
}

bool FileSetEnd(Handle handle) noexcept {
    File file(handle);
    if (!file || !file->canWrite) return false;
    const off_t position = lseek(file->descriptor, 0, SEEK_CUR);
    return position >= 0 && ftruncate(file->descriptor, position) == 0;
}

bool PathExists(const char* path) noexcept {
    struct stat status;
    return stat(path, &status) == 0;
}

bool PathIsDirectory(const char* path) noexcept {
    struct stat status;
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

bool MakeDirectory(const char* path) noexcept { return mkdir(path, 0777) == 0; }

std::vector<std::string> ListDirectory(const char* path) {
    std::vector<std::string> names;
    DIR* directory = opendir(path);
    if (directory == nullptr) return names;
    while (const dirent* entry = readdir(directory)) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") names.push_back(name);
    }
    closedir(directory);
    std::sort(names.begin(), names.end());
    return names;
}

FILE* StdFileOnDescriptor(int descriptor, const char* mode) noexcept {
    const int copy = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    if (copy < 0) return nullptr;
    FILE* file = fdopen(copy, mode);
    if (file == nullptr) close(copy);
    return file;
}

int64_t StdFileLength(FILE* file) noexcept {
    struct stat status;
    return fstat(fileno(file), &status) == 0 && S_ISREG(status.st_mode) ? static_cast<int64_t>(status.st_size) : -1;
}

}
