#include "zvc/platform/Handle.h"

#include "zvc/platform/CriticalSection.h"
#include "zvc/platform/linux/Object.h"

#include <algorithm>
#include <new>
#include <pthread.h>

namespace zvc::platform {

namespace {

// A handle is an index into the table and the entry's generation: multiples of 4 from 0x100 up, so that null, all ones and
// small numbers are never valid, and a handle that was closed stays invalid when its entry is used again.
struct Entry {
    Object* object = nullptr;
    uint32_t generation = 0;
    uint32_t nextFree = 0;        // index + 1 of the next free entry; 0 ends the list
};

constexpr uint32_t FirstHandle = 0x100;
constexpr uint32_t MaximumEntries = (0xFFFFFFFFu - FirstHandle) / 4;
constexpr uint32_t FirstCapacity = 256;
constexpr uint32_t GenerationMask = 0xFFFFFF;

CriticalSection s_section;
Entry s_first[FirstCapacity];       // as many as most programs need: nothing is left behind when the library is unloaded
Entry* s_entries = nullptr;
uint32_t s_capacity = 0;
uint32_t s_firstFree = 0;

Handle HandleOf(uint32_t index) noexcept {
    const uint64_t low = FirstHandle + uint64_t(index) * 4;
    return reinterpret_cast<Handle>(low | uint64_t(s_entries[index].generation & GenerationMask) << 32);
}

Entry* Find(Handle handle) noexcept {
    const uint64_t low = reinterpret_cast<uintptr_t>(handle) & 0xFFFFFFFF;
    if (low < FirstHandle || low % 4 != 0) return nullptr;
    const uint64_t index = (low - FirstHandle) / 4;
    if (index >= s_capacity || s_entries[index].object == nullptr) return nullptr;
    return HandleOf(static_cast<uint32_t>(index)) == handle ? &s_entries[index] : nullptr;
}

// A fork copies the section as it stands: nobody may hold it at that moment but the thread that goes on in the child.
void BeforeFork() { s_section.Enter(); }
void AfterFork() { s_section.Leave(); }

bool Grow() noexcept {
    Entry* entries = s_first;
    uint32_t capacity = FirstCapacity;
    if (s_capacity == 0) {
        pthread_atfork(BeforeFork, AfterFork, AfterFork);
    } else {
        capacity = s_capacity * 2;
        entries = capacity <= MaximumEntries ? new (std::nothrow) Entry[capacity] : nullptr;
        if (entries == nullptr) return false;
        std::copy_n(s_entries, s_capacity, entries);
        if (s_entries != s_first) delete[] s_entries;
    }
    for (uint32_t i = capacity; i != s_capacity; --i) {
        entries[i - 1].nextFree = s_firstFree;
        s_firstFree = i;
    }
    s_entries = entries;
    s_capacity = capacity;
    return true;
}

}

Handle EnterObject(Object* object) noexcept {
    Region region;
    SectionLock lock(s_section);
    if (s_firstFree == 0 && !Grow()) return nullptr;
    const uint32_t index = s_firstFree - 1;
    Entry& entry = s_entries[index];
    s_firstFree = entry.nextFree;
    entry.object = object;
    ++entry.generation;
    return HandleOf(index);
}

Object* RetainObject(Handle handle) noexcept {
    SectionLock lock(s_section);
    const Entry* entry = Find(handle);
    if (entry == nullptr) return nullptr;
    entry->object->Retain();
    return entry->object;
}

bool CloseHandle(Handle handle) noexcept {
    Region region;
    Object* object;
    {
        SectionLock lock(s_section);
        Entry* entry = Find(handle);
        if (entry == nullptr) return false;
        object = entry->object;
        entry->object = nullptr;
        entry->nextFree = s_firstFree;
        s_firstFree = static_cast<uint32_t>(entry - s_entries) + 1;
    }
    object->OnClose();
    object->Release();
    return true;
}

WaitResult WaitForHandle(Handle handle, uint32_t timeout) noexcept {
    Use<Object> object(handle);
    return object ? object->Wait(timeout) : WaitResult::Failed;
}

}
