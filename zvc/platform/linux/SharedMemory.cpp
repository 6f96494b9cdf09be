#include "zvc/platform/SharedMemory.h"

#include "zvc/platform/CriticalSection.h"
#include "zvc/platform/linux/Object.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <pthread.h>
#include <sys/file.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

// A block is a System V segment that is marked for removal as soon as it is made: the kernel then frees it with the last
// attachment, whatever ends that, and nothing is ever left in a file system. Attaching to a marked segment is allowed here.
// Its name stands in front of the elements, on pages of its own. The mark takes the segment's key away, so that a block is
// found by walking over the system's segments; the odd bytes of its size say whether looking into one is worth while.

namespace zvc::platform {

namespace {

void* const Nowhere = reinterpret_cast<void*>(-1);      // what a failed attachment answers
constexpr uint64_t Magic = 0x4B4C424D48535A56;          // "VZSHMBLK"

struct Header {
    uint64_t magic;
    uint64_t size;                                      // of the block
    uint64_t nameLength;
    char name[];
};

constexpr size_t ToPages(size_t bytes) { return (bytes + SharedMemoryPage - 1) / SharedMemoryPage * SharedMemoryPage; }

/// A name as blocks know it.
struct Name {
    const char* text;
    size_t length;

    explicit Name(const char* given) noexcept {
        static constexpr char prefix[] = "Local\\";         // the name space that the processes of a user have anyway
        text = std::strncmp(given, prefix, sizeof(prefix) - 1) == 0 ? given + sizeof(prefix) - 1 : given;
        length = std::strlen(text);
    }
    size_t HeaderSize() const noexcept { return ToPages(sizeof(Header) + length); }

    /// How far a block's segment reaches beyond whole pages: never 0, which is what the segments of others mostly do.
    size_t Tag() const noexcept {
        uint64_t hash = 0xcbf29ce484222325u;
        for (size_t i = 0; i < length; ++i) hash = (hash ^ static_cast<unsigned char>(text[i])) * 0x100000001b3u;
        return 1 + hash % (SharedMemoryPage - 1);
    }
};

/// A segment that this process has attached, once for all who hold it: while it is attached its name means this block, and
/// pages that were touched stay mapped for the next one. Its header was looked at once, for others can write to it.
struct Attachment {
    void* const segment;
    void* const block;
    const size_t size;
    const size_t nameLength;
    char* const nameText;
    uint32_t holders = 1;                               // guarded by the section, as the list is
    Attachment* next = nullptr;

    bool Is(const Name& name) const noexcept {
        return nameLength == name.length && std::memcmp(nameText, name.text, nameLength) == 0;
    }
};

CriticalSection s_section;
Attachment* s_first = nullptr;                          // all of this process

// A fork copies the section as it stands: nobody may hold it at that moment but the thread that goes on in the child.
void BeforeFork() { s_section.Enter(); }
void AfterFork() { s_section.Leave(); }
[[maybe_unused]] const int s_forks = pthread_atfork(BeforeFork, AfterFork, AfterFork);

/// Takes over the segment; null when there is no memory for its record, and it is detached then.
Attachment* Keep(void* segment, size_t size, const Name& name) noexcept {
    void* const memory = std::malloc(sizeof(Attachment) + name.length);
    if (memory == nullptr) {
        shmdt(segment);
        errno = ENOMEM;
        return nullptr;
    }
    char* const text = static_cast<char*>(memory) + sizeof(Attachment);
    std::memcpy(text, name.text, name.length);
    auto* const made = new (memory) Attachment{segment, static_cast<char*>(segment) + name.HeaderSize(), size, name.length, text};
    SectionLock lock(s_section);
    made->next = s_first;
    s_first = made;
    return made;
}

Attachment* Held(const Name& name) noexcept {
    SectionLock lock(s_section);
    for (Attachment* a = s_first; a != nullptr; a = a->next)
        if (a->Is(name)) {
            ++a->holders;
            return a;
        }
    return nullptr;
}

void Drop(Attachment* attachment) noexcept {
    {
        SectionLock lock(s_section);
        if (--attachment->holders != 0) return;
        Attachment** link = &s_first;
        while (*link != attachment) link = &(*link)->next;
        *link = attachment->next;
    }
    shmdt(attachment->segment);
    std::free(attachment);
}

class SharedMemoryObject;
SharedMemoryObject* s_firstObject = nullptr;            // guarded by the section

/// Handle and views hold an attachment together.
class SharedMemoryObject final : public Object {
public:
    explicit SharedMemoryObject(Attachment* attachment) noexcept : Object(ObjectKind::SharedMemory), m_attachment(attachment) {
        SectionLock lock(s_section);
        m_next = s_firstObject;
        s_firstObject = this;
    }
    static bool Is(ObjectKind kind) noexcept { return kind == ObjectKind::SharedMemory; }
    size_t Size() const noexcept { return m_attachment->size; }

    void* Map() noexcept {
        Region region;
        SectionLock lock(s_section);
        ++m_views;
        Retain();
        return m_attachment->block;
    }

    /// An object that has the view, which is one less now; null for an address that is no view.
    static SharedMemoryObject* EndView(const void* view) noexcept {
        SectionLock lock(s_section);
        for (SharedMemoryObject* o = s_firstObject; o != nullptr; o = o->m_next)
            if (o->m_attachment->block == view && o->m_views != 0) {
                --o->m_views;
                return o;
            }
        return nullptr;
    }

private:
    ~SharedMemoryObject() override {
        {
            SectionLock lock(s_section);
            SharedMemoryObject** link = &s_firstObject;
            while (*link != this) link = &(*link)->m_next;
            *link = m_next;
        }
        Drop(m_attachment);
    }

    Attachment* const m_attachment;
    uint32_t m_views = 0;
    SharedMemoryObject* m_next = nullptr;
};

/// Attaches to a segment; null when it is gone, or is not the block of that name.
Attachment* AttachIfNamed(int id, size_t bytes, const Name& name) noexcept {
    void* const at = shmat(id, nullptr, 0);
    if (at == Nowhere) return nullptr;
    const auto* header = static_cast<const Header*>(at);
    const size_t room = bytes - name.HeaderSize();
    const uint64_t size = header->size;
    if (header->magic == Magic && header->nameLength == name.length && size <= room &&
        std::memcmp(header->name, name.text, name.length) == 0)
        return Keep(at, static_cast<size_t>(size), name);
    shmdt(at);
    return nullptr;
}

/// The attached segment of a name, or null. Segments come and go meanwhile, but one that was there before and still is has
/// kept its place.
Attachment* Find(const Name& name) noexcept {
    if (name.length == 0) return nullptr;
    if (Attachment* const held = Held(name)) return held;
    const size_t tag = name.Tag();
    shm_info info{};
    shmid_ds segment{};
    const int last = shmctl(0, SHM_INFO, reinterpret_cast<shmid_ds*>(&info));
    for (int i = 0; i <= last; ++i) {
        const int id = shmctl(i, SHM_STAT, &segment);
        if (id < 0 || segment.shm_perm.uid != geteuid() || (segment.shm_perm.mode & SHM_DEST) == 0) continue;
        if (segment.shm_segsz % SharedMemoryPage != tag || segment.shm_segsz <= name.HeaderSize()) continue;
        if (Attachment* const found = AttachIfNamed(id, segment.shm_segsz, name)) return found;
    }
    return nullptr;
}

/// One maker at a time, among all processes: two of one name must come to one block. The lock goes with its holder.
class MakerLock {
public:
    MakerLock() noexcept : m_descriptor(open("/dev/shm", O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        if (m_descriptor < 0) m_descriptor = open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        while (flock(m_descriptor, LOCK_EX) != 0 && errno == EINTR) {}
    }
    ~MakerLock() {
        flock(m_descriptor, LOCK_UN);                   // a fork may have made copies of the descriptor
        close(m_descriptor);
    }
    MakerLock(const MakerLock&) = delete;
    MakerLock& operator=(const MakerLock&) = delete;

private:
    int m_descriptor;
};

/// A new segment under the makers' key, by which the lock's holder finds what a maker left that was killed before the mark.
int NewSegment(size_t bytes) noexcept {
    const key_t key = static_cast<key_t>(0x5A560000u | (geteuid() & 0xFFFF));
    for (int attempt = 0; attempt < 2; ++attempt) {
        const int id = shmget(key, bytes, IPC_CREAT | IPC_EXCL | 0600);
        if (id >= 0 || errno != EEXIST) return id;
        const int left = shmget(key, 0, 0);
        if (left >= 0) shmctl(left, IPC_RMID, nullptr);
    }
    return shmget(IPC_PRIVATE, bytes, 0600);             // another user's: the key is only a help
}

/// Attached, named and marked; null with the error number in errno.
Attachment* Make(const Name& name, uint32_t size) noexcept {
    const int id = NewSegment(name.HeaderSize() + ToPages(size) + name.Tag());
    if (id < 0) return nullptr;
    void* const at = shmat(id, nullptr, 0);
    const int error = errno;
    if (at != Nowhere) {
        auto* header = static_cast<Header*>(at);
        header->magic = Magic;
        header->size = size;
        header->nameLength = name.length;
        std::memcpy(header->name, name.text, name.length);
    }
    shmctl(id, IPC_RMID, nullptr);
    if (at != Nowhere) return Keep(at, size, name);
    errno = error;
    return nullptr;
}

Attachment* FindOrMake(const Name& name, uint32_t size) noexcept {
    const MakerLock lock;
    Attachment* const found = Find(name);
    return found != nullptr ? found : Make(name, size);
}

/// Null, with the error number in errno, when there is no attachment or no room for a handle.
Handle Enter(Attachment* attachment) noexcept {
    if (attachment == nullptr) return nullptr;
    auto* object = new (std::nothrow) SharedMemoryObject(attachment);
    if (object == nullptr) Drop(attachment);
    const Handle handle = object == nullptr ? nullptr : EnterObject(object);
    if (handle != nullptr) return handle;
    if (object != nullptr) object->Release();
    errno = ENOMEM;
    return nullptr;
}

}

Handle SharedMemoryCreate(const char* name, uint32_t size, uint32_t* error) noexcept {
    Region region;
    errno = EINVAL;
    const Handle handle = size == 0 ? nullptr : Enter(FindOrMake(Name(name), size));
    if (handle == nullptr && error != nullptr) *error = static_cast<uint32_t>(errno);
    return handle;
}

Handle SharedMemoryOpen(const char* name) noexcept {
    Region region;
    return Enter(Find(Name(name)));
}

void* SharedMemoryMap(Handle block, size_t* size) noexcept {
    Use<SharedMemoryObject> object(block);
    if (!object) return nullptr;
    if (size != nullptr) *size = object->Size();
    return object->Map();
}

bool SharedMemoryUnmap(const void* view) noexcept {
    if (view == nullptr) return false;
    Region region;
    SharedMemoryObject* const object = SharedMemoryObject::EndView(view);
    if (object != nullptr) object->Release();
    return object != nullptr;
}

}
