#include "zvc/serialization/ZvObjectManager.h"

#include <algorithm>

ZV_DEFINE_CLASS(ZvObjectManager, (ZvObject))

ZvObjectManager::ZvObjectManager() : m_objects(1) {}

ZvObjectManager::ZvObjectManager(const ZvObjectManager& other) : ZvObject(other), m_objects(other.m_objects) {}

ZvObjectManager& ZvObjectManager::operator=(const ZvObjectManager& other) {
    m_objects = other.m_objects;
    return *this;
}

// The last goes first: a chain in which each object holds the one before it then comes apart link by link, and not by a
// recursion as deep as the chain is long.
ZvObjectManager::~ZvObjectManager() {
    while (!m_objects.empty()) m_objects.pop_back();
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
    if (index == m_objects.size()) {
        m_objects.emplace_back(object);
        return;
    }
    m_objects.insert(m_objects.begin() + static_cast<std::ptrdiff_t>(std::min(index, m_objects.size())), ZvObject$(object));
}
