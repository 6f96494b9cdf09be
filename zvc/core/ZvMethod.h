#pragma once

#include "zvc/core/ZvConstructor.h"
#include "zvc/core/ZvMarshalByRefObject.h"

/// A method of a reflected class by its signature. Matching is exact, on descriptors: no ranking and no conversion. A
/// concrete entry overrides Invoke. Entries do not change after construction.
class ZV_API ZvMethod : public ZvMarshalByRefObject {
    ZV_DECLARE_CLASS(ZvMethod)
public:
    ZvMethod();
    /// For static tables: behind count pairs of a ZvValueType and a parameter's name. Retains itself once.
    ZvMethod(ZvType* owner, const char* name, ZvValueType result, int count, ...);
    /// A search key, see ZvConstructor. It has no parameter names.
    ZvMethod(const ZvString$& name, ZvType* result, const ZvArguments$& args);
    ~ZvMethod() override;

    /// A ZvMethodRef.
    ZvObjRef$ CreateObjRef() override;

    /// Calls the method of target with the boxed args and puts a box with its answer into result. Here: nothing. Whatever
    /// the method throws passes. The entries of ZV_METHOD use a box of that kind in result again where nobody else holds it: a
    /// caller that calls often keeps one handle for the answers.
    virtual void Invoke(ZvObject* target, ZvValue$& result, ZvArguments$& args);

    /// The same name, result and parameter types. Parameter names, owner and class play no part.
    bool operator==(const ZvMethod& other) const;
    /// The same of a search key made of these three, and its hash.
    bool Matches(const ZvString* name, const ZvType* result, const ZvArguments$& args) const;
    static size_t HashOf(const ZvString* name, const ZvType* result, const ZvArguments$& args);
    /// From the addresses of the descriptors: valid within one process only.
    size_t GetHashCode() const override;
    bool Equals(const ZvObject* other) const override;

    /// Name, result and parameters, without the owner.
    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder) override;

    ZvType* Owner() const { return m_owner; }                ///< the declaring class; null in a search key
    const ZvString$& Name() const { return m_name; }
    ZvType* ReturnType() const { return m_types.Count() != 0 ? m_types[0] : nullptr; }
    int Count() const { return m_types.Count() != 0 ? static_cast<int>(m_types.Count() - 1) : 0; }
    /// index is from 0 and below Count. A search key has no names: null.
    ZvType* ParameterType(int index) const { return m_types[static_cast<size_t>(index) + 1]; }
    ZvString$ ParameterName(int index) const;

protected:
    /// For static tables, with the descriptors of the result and the parameters. Retains itself once.
    ZvMethod(ZvType* owner, const char* name, std::initializer_list<ZvType*> resultAndParameters,
             std::initializer_list<const char*> names);

private:
    ZvType* m_owner = nullptr;
    ZvString$ m_name;
    zvc::detail::Signature m_types;          // the result first; empty in an empty method
    std::vector<ZvString$> m_names;          // empty in a search key
};

/// The methods that a class declares: a static table that ends with null, which is counted and not copied.
class ZV_API ZvMethodMap {
public:
    explicit ZvMethodMap(ZvMethod$* table);
    /// Leaves each entry to the static handle alone.
    virtual ~ZvMethodMap();
    ZvMethodMap(const ZvMethodMap&) = delete;
    ZvMethodMap& operator=(const ZvMethodMap&) = delete;
    ZvMethod$* GetMethods() const { return m_table; }
    unsigned int GetNumMethod() const { return m_count; }

private:
    ZvMethod$* m_table;
    unsigned int m_count = 0;
};
