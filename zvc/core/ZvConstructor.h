#pragma once

#include "zvc/core/ZvDeclare.h"
#include "zvc/values/ZvPrimArray.h"

#include <initializer_list>
#include <vector>

namespace zvc::detail {

constexpr size_t SignatureHashStart = 0x811d69050c5d1f;      // 0x811c9dc5 times 16777619
constexpr size_t SignatureHashPrime = 16777619;

/// A list of descriptors, compared by address. That of a static table does not count its descriptors: they may not be
/// constructed yet when the table is made, and may be gone when it goes. Every other list counts them. Entries may be null.
class ZV_API Signature {
public:
    Signature() = default;
    Signature(std::initializer_list<ZvType*> uncounted) : m_types(uncounted), m_counted(false) {}
    Signature(const Signature& other);
    Signature& operator=(Signature other);
    ~Signature();

    void Add(ZvType* type);
    /// The parameter types that an argument array states: each argument's type, and of an argument that is a descriptor the
    /// descriptor itself. A null array has none; a null argument states null, which no entry has.
    void AddArguments(const ZvArguments$& args);
    /// The parameter type that one argument states.
    static ZvType* TypeOf(ZvObject* argument) {
        ZvType* type = argument != nullptr ? argument->GetType() : nullptr;
        return type == &ZvType::s_type ? static_cast<ZvType*>(argument) : type;
    }

    size_t Count() const { return m_types.size(); }
    ZvType* operator[](size_t index) const { return m_types[index]; }
    bool operator==(const Signature& other) const { return m_types == other.m_types; }

    /// One step of the signatures' hash, in the manner of Fowler, Noll and Vo, over a descriptor's own hash.
    static size_t Fold(size_t h, const ZvType* type) { return (h * SignatureHashPrime) ^ (type != nullptr ? type->GetHashCode() : 0); }

private:
    std::vector<ZvType*> m_types;
    bool m_counted = true;
};

}

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

    /// A new object, count 0. Here: null. Whatever the constructor throws passes.
    virtual ZvObject* Create(ZvArguments$& args);

    /// The same descriptors, position by position.
    bool operator==(const ZvConstructor& other) const;
    /// From the addresses of the descriptors: valid within one process only.
    size_t GetHashCode() const override;
    bool Equals(const ZvObject* other) const override;

protected:
    /// For static tables, with the parameters' descriptors. Retains itself once.
    explicit ZvConstructor(std::initializer_list<ZvType*> parameters);

private:
    zvc::detail::Signature m_parameters;
};

/// The constructors that a class declares: a static table that ends with null, which is counted and not copied.
class ZV_API ZvConstructorMap {
public:
    explicit ZvConstructorMap(ZvConstructor$* table);
    /// Leaves each entry to the static handle, and releases that too.
    virtual ~ZvConstructorMap();
    ZvConstructorMap(const ZvConstructorMap&) = delete;
    ZvConstructorMap& operator=(const ZvConstructorMap&) = delete;
    ZvConstructor$* GetConstructors() const { return m_table; }
    unsigned int GetNumConstructors() const { return m_count; }

private:
    ZvConstructor$* m_table;
    unsigned int m_count = 0;
};
