#pragma once

#include <zvc/zvc.h>

/// A descriptor with a hash of its own, for computed cases.
class TypeWithHash : public ZvType {
public:
    explicit TypeWithHash(size_t hash) : m_hash(hash) {}
    size_t GetHashCode() const override { return m_hash; }

private:
    size_t m_hash;
};
