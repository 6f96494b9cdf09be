#pragma once

#include "zvc/core/ZvDeclare.h"
#include "zvc/platform/Memory.h"

#include <vector>

/// The reading side's table of a coder: which object has a number. It keeps a reference on every object that it holds,
/// until it is destroyed. Index 0 is null. Each operation holds the object's lock for its whole run.
class ZV_API ZvObjectManager : public ZvObject {
    ZV_DECLARE_CLASS(ZvObjectManager)
public:
    ZvObjectManager();
    ZvObjectManager(const ZvObjectManager& other);
    ZvObjectManager& operator=(const ZvObjectManager& other);
    ~ZvObjectManager() override;

    /// Enters object under id. Ids come in order; one that is taken moves its entry, and all behind, up by one.
    void RegistObject(ZvObject* object, long long id);

    /// The object with that id, without a new reference; null for 0 and for an id that is not there.
    ZvObject* GetObjectA(long long id);

private:
    friend class ZvBinaryCoder;

    void Enter(ZvObject* object, long long id);          // no lock
    ZvObject* At(long long id) const {                   // no lock
        return id >= 0 && static_cast<size_t>(id) < m_objects.size() ? m_objects[static_cast<size_t>(id)] : nullptr;
    }

    using Objects = std::vector<ZvObject*, zvc::platform::LargeAllocator<ZvObject*>>;
    static Objects Retained(const Objects& objects);
    static void Release(Objects& objects);

    Objects m_objects;                   // with a reference on each: a table that grows moves plain pointers
};

ZV_DECLARE_HANDLE(ZvObjectManager, ZvObject$);
