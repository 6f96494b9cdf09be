#include "zvc/serialization/ZvObjectManager.h"

#include <algorithm>

ZV_DEFINE_CLASS(ZvObjectManager, (ZvObject))

ZvObjectManager::ZvObjectManager() : m_objects(1) {}

ZvObjectManager::ZvObjectManager(const ZvObjectManager& other) : ZvObject(other), m_objects(Retained(other.m_objects)) {}

ZvObjectManager& ZvObjectManager::operator=(const ZvObjectManager& other) {
    Objects objects = Retained(other.m_objects);
    m_objects.swap(objects);
    Release(objects);
    return *this;
}

ZvObjectManager::~ZvObjectManager() { Release(m_objects); }

ZvObjectManager::Objects ZvObjectManager::Retained(const Objects& objects) {
    Objects copy = objects;
    for (ZvObject* object : copy)
        if (object != nullptr) object->Retain();
    return copy;
}

// The last goes first: a chain in which each object holds the one before it then comes apart link by link, and not by a
// recursion as deep as the chain is long.
void ZvObjectManager::Release(Objects& objects) {
    for (auto object = objects.rbegin(); object != objects.rend(); ++object)
        if (*object != nullptr) (*object)->Release();
}

void ZvObjectManager::RegistObject(ZvObject* object, long long id) {
    ZvLock lock(this);
    Enter(object, id);
}

ZvObject* ZvObjectManager::GetObjectA(long long id) {
    ZvLock lock(this);
    return At(id);
}

void ZvObjectManager::Enter(ZvObject* object, long long id) {
    const auto index = static_cast<size_t>(id);
    if (index >= m_objects.size()) m_objects.push_back(object);
    else m_objects.insert(m_objects.begin() + static_cast<std::ptrdiff_t>(index), object);
    if (object != nullptr) object->Retain();
}
