#pragma once

#include "zvc/core/ZvDeclare.h"
#include "zvc/values/ZvPrimArray.h"

#include <vector>

/// A constructor of a reflected class by its signature. Matching is exact, on descriptors. A concrete entry overrides
/// Create. Entries do not change after construction.
class ZV_API ZvConstructor : public ZvObject {
    ZV_DECLARE_CLASS(ZvConstructor)
public:
    ZvConstructor();                                         ///< without parameters
    /// For static tables: count kinds of value, as ZvValueType. Retains itself once.
    ZvConstructor(int count, ...);
    /// A search key: the arguments' types, or the descriptor itself where an argument is one.
    explicit ZvConstructor(const ZvArguments$& args);
    ~ZvConstructor() override;

    /// A new object, count 0. Here: null.
    virtual ZvObject* Create(ZvArguments$& args);

    /// The same descriptors, position by position.
    bool operator==(const ZvConstructor& other) const;
    size_t GetHashCode() const override;
    bool Equals(const ZvObject* other) const override;

protected:
    explicit ZvConstructor(std::vector<ZvType$> parameters);

private:
    std::vector<ZvType$> m_parameters;
};

/// The constructors that a class declares: a static table that ends with null.
class ZV_API ZvConstructorMap {
public:
    explicit ZvConstructorMap(ZvConstructor$* table);
    virtual ~ZvConstructorMap();
    ZvConstructorMap(const ZvConstructorMap&) = delete;
    ZvConstructorMap& operator=(const ZvConstructorMap&) = delete;
    ZvConstructor$* GetConstructors() { return m_table; }
    unsigned int GetNumConstructors() const { return m_count; }

private:
    ZvConstructor$* m_table;
    unsigned int m_count = 0;
};

namespace zvc::detail {
/// The parameter types that an argument array states: each argument's type, and of an argument that is a descriptor the
/// descriptor itself. A null array has none; an element may not be null.
std::vector<ZvType$> SignatureOf(const ZvArguments$& args);
constexpr size_t SignatureHashStart = 0x811d69050c5d1f;      // 0x811c9dc5 times 16777619
size_t HashSignature(size_t h, const std::vector<ZvType$>& parameters);
}
