#include "zvc/platform/File.h"

#include "zvc/platform/CriticalSection.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <new>
#include <pthread.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zvc::platform {

namespace {

// Handles are indices into a table with a generation each, multiples of 4 from 0x100 up: null, all ones and small numbers
// are never valid, and a handle that was closed stays invalid when its entry is used again.
struct Entry {
    int descriptor = -1;
    uint32_t generation = 0;
    bool canRead = false;
    bool canWrite = false;
    bool isPipe = false;
    bool isRegular = false;
};

constexpr uintptr_t FirstHandle = 0x100;
constexpr uint32_t GenerationBits = 0xFFFFFF;

CriticalSection s_section;
Entry* s_entries = nullptr;
uint32_t s_capacity = 0;

Handle HandleOf(uint32_t index) {
    const uint64_t low = FirstHandle + static_cast<uint64_t>(index) * 4;
    return reinterpret_cast<Handle>(low | (static_cast<uint64_t>(s_entries[index].generation & GenerationBits) << 32));
}

bool IndexOf(Handle handle, uint32_t& index) {
    const auto value = reinterpret_cast<uintptr_t>(handle);
    const uint64_t low = value & 0xFFFFFFFF;
    if (low < FirstHandle || (low & 3) != 0) return false;
    index = static_cast<uint32_t>((low - FirstHandle) / 4);
    return index < s_capacity && s_entries[index].descriptor >= 0 && HandleOf(index) == handle;
}

bool Find(Handle handle, Entry& entry) {
    SectionLock lock(s_section);
    uint32_t index;
    if (!IndexOf(handle, index)) return false;
    entry = s_entries[index];
    return true;
}

Handle Enter(const Entry& entry) {
    SectionLock lock(s_section);
    uint32_t index = 0;
    while (index < s_capacity && s_entries[index].descriptor >= 0) ++index;
    if (index == s_capacity) {
        const uint32_t capacity = s_capacity == 0 ? 16 : s_capacity * 2;
        auto* entries = new (std::nothrow) Entry[capacity];
        if (entries == nullptr) return InvalidHandle;
        std::copy_n(s_entries, s_capacity, entries);
        delete[] s_entries;
        s_entries = entries;
        s_capacity = capacity;
    }
    const uint32_t generation = s_entries[index].generation + 1;
    s_entries[index] = entry;
    s_entries[index].generation = generation;
    return HandleOf(index);
}

// A write to a pipe whose reader is gone must be a failure and not a signal that ends the process. The signal is held back
// for this thread alone and taken away again; the process's own setting stays as it is.
class QuietPipe {
public:
    explicit QuietPipe(bool isPipe) : m_active(isPipe) {
        if (!m_active) return;
        sigemptyset(&m_set);
        sigaddset(&m_set, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &m_set, &m_old);
    }
    void Broken() {
        if (!m_active || sigismember(&m_old, SIGPIPE)) return;
        const timespec now{0, 0};
        sigtimedwait(&m_set, nullptr, &now);
    }
    ~QuietPipe() {
        if (m_active) pthread_sigmask(SIG_SETMASK, &m_old, nullptr);
    }

private:
    bool m_active;
    sigset_t m_set, m_old;
};

Entry Describe(int descriptor, unsigned int access) {
    Entry entry;
    entry.descriptor = descriptor;
    entry.canRead = (access & FileAccessRead) != 0;
    entry.canWrite = (access & FileAccessWrite) != 0;
    struct stat status;
    if (fstat(descriptor, &status) == 0) {
        entry.isPipe = S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode);
        entry.isRegular = S_ISREG(status.st_mode);
    }
    return entry;
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

// Never O_TRUNC: an opening that is refused must not have emptied the other's file.
bool Share(int descriptor, bool hasRights, bool empties) {
    struct stat status;
    if (fstat(descriptor, &status) != 0 || S_ISDIR(status.st_mode)) return false;
    if (!S_ISREG(status.st_mode)) return true;
    if (hasRights && flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) return false;
    return !empties || ftruncate(descriptor, 0) == 0;
}

}

Handle FileOpen(const char* path, unsigned int access, unsigned int disposition) {
    if (path == nullptr || disposition < FileCreateNew || disposition > FileTruncateExisting) return InvalidHandle;
    const bool read = (access & FileAccessRead) != 0;
    const bool write = (access & FileAccessWrite) != 0;
    const int descriptor = OpenDescriptor(path, read, write, disposition);
    if (descriptor < 0) return InvalidHandle;
    const bool empties = disposition == FileCreateAlways || disposition == FileTruncateExisting;
    if (!Share(descriptor, read || write, empties)) {
        close(descriptor);
        return InvalidHandle;
    }
    return FileAdopt(descriptor, access);
}

Handle FileAdopt(int descriptor, unsigned int access) {
    if (descriptor < 0) return InvalidHandle;
    return Enter(Describe(descriptor, access));
}

bool CloseHandle(Handle handle) {
    int descriptor;
    {
        SectionLock lock(s_section);
        uint32_t index;
        if (!IndexOf(handle, index)) return false;
        descriptor = s_entries[index].descriptor;
        s_entries[index].descriptor = -1;
    }
    return close(descriptor) == 0;
}

bool FileRead(Handle handle, void* data, uint32_t size, uint32_t* done) {
    *done = 0;
    Entry file;
    if (!Find(handle, file) || !file.canRead) return false;
    uint32_t total = 0;
    for (;;) {
        const ssize_t n = read(file.descriptor, static_cast<char*>(data) + total, size - total);
        if (n < 0 && errno == EINTR) continue;
        if (n > 0) total += static_cast<uint32_t>(n);
        *done = total;
        if (n < 0) return false;
        if (file.isPipe) return n != 0 || size == 0;
        if (n == 0 || total == size) return true;
    }
}

bool FileWrite(Handle handle, const void* data, uint32_t size, uint32_t* done) {
    *done = 0;
    Entry file;
    if (!Find(handle, file) || !file.canWrite) return false;
    QuietPipe quiet(file.isPipe);
    uint32_t total = 0;
    while (total < size) {
        const ssize_t n = write(file.descriptor, static_cast<const char*>(data) + total, size - total);
        if (n >= 0) {
            total += static_cast<uint32_t>(n);
        } else if (errno != EINTR) {
            if (errno == EPIPE) quiet.Broken();
            break;
        }
    }
    *done = total;
    return total == size;
}

int64_t FileSeek64(Handle handle, int64_t offset, unsigned int origin) {
    Entry file;
    if (origin > 2 || !Find(handle, file)) return -1;
    return lseek(file.descriptor, offset, static_cast<int>(origin));
}

uint32_t FileSeek(Handle handle, int32_t offset, unsigned int origin) {
    constexpr uint32_t failed = ~0u;
    if (origin > 2) return failed;
    int64_t base = 0;
    if (origin == 1) base = FileTell64(handle);
    if (origin == 2) base = FileSize64(handle);
    if (base < 0) return failed;
    const int64_t target = base + offset;
    if (target < 0 || target > 0xFFFFFFFFll) return failed;
    return FileSeek64(handle, target, 0) < 0 ? failed : static_cast<uint32_t>(target);
}

int64_t FileTell64(Handle handle) { return FileSeek64(handle, 0, 1); }

int64_t FileSize64(Handle handle) {
    Entry file;
    struct stat status;
    if (!Find(handle, file) || !file.isRegular || fstat(file.descriptor, &status) != 0) return -1;
    return status.st_size;
}

uint32_t FileSize(Handle handle) { return static_cast<uint32_t>(FileSize64(handle)); }

bool FileIsRegular(Handle handle) {
    Entry file;
    return Find(handle, file) && file.isRegular;
}

bool FileFlush(Handle handle) {
    Entry file;
    if (!Find(handle, file) || !file.canWrite) return false;
    return fsync(file.descriptor) == 0 || errno == EINVAL || errno == EROFS;
}

bool FileSetEnd(Handle handle) {
    Entry file;
    if (!Find(handle, file) || !file.canWrite) return false;
    const off_t position = lseek(file.descriptor, 0, SEEK_CUR);
    return position >= 0 && ftruncate(file.descriptor, position) == 0;
}

bool PathExists(const char* path) {
    struct stat status;
    return stat(path, &status) == 0;
}

bool PathIsDirectory(const char* path) {
    struct stat status;
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

bool MakeDirectory(const char* path) { return mkdir(path, 0777) == 0; }

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

FILE* StdFileOnDescriptor(int descriptor, const char* mode) {
    const int copy = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    if (copy < 0) return nullptr;
    FILE* file = fdopen(copy, mode);
    if (file == nullptr) close(copy);
    return file;
}

int64_t StdFileLength(FILE* file) {
    struct stat status;
    return fstat(fileno(file), &status) == 0 ? static_cast<int64_t>(status.st_size) : -1;
}

}
