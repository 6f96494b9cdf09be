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

    ZvObjRef$ CreateObjRef() override;

    /// Calls the method of target with the boxed args and puts a box with its answer into result. Here: nothing. Whatever
    /// the method throws passes.
    virtual void Invoke(ZvObject* target, ZvValue$& result, ZvArguments$& args);

    /// The same name, result and parameter types. Parameter names, owner and class play no part.
    bool operator==(const ZvMethod& other) const;
    size_t GetHashCode() const override;
    bool Equals(const ZvObject* other) const override;

    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder) override;

    ZvString$ Name() const { return m_name; }
    ZvType* ReturnType() const { return m_result.Get(); }
    int Count() const { return static_cast<int>(m_parameters.size()); }

protected:
    ZvMethod(ZvType* owner, const char* name, ZvType* result, std::vector<ZvType$> parameters, std::vector<ZvString$> names);

private:
    ZvType* m_owner = nullptr;
    ZvString$ m_name;
    ZvType$ m_result;
    std::vector<ZvType$> m_parameters;
    std::vector<ZvString$> m_names;          // empty in a search key
};

/// The methods that a class declares: a static table that ends with null.
class ZV_API ZvMethodMap {
public:
    explicit ZvMethodMap(ZvMethod$* table);
    virtual ~ZvMethodMap();
    ZvMethodMap(const ZvMethodMap&) = delete;
    ZvMethodMap& operator=(const ZvMethodMap&) = delete;
    ZvMethod$* GetMethods() { return m_table; }
    unsigned int GetNumMethod() const { return m_count; }

private:
    ZvMethod$* m_table;
    unsigned int m_count = 0;
};
