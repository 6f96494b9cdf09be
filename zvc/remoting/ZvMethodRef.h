#pragma once

#include "zvc/core/ZvMethod.h"
#include "zvc/remoting/ZvObjRef.h"

/// The reference form of a ZvMethod: what travels of it is its signature.
class ZV_API ZvMethodRef : public ZvObjRef {
    ZV_DECLARE_CLASS(ZvMethodRef)
    ZV_DECLARE_CREATE(ZvMethodRef)
public:
    ZvMethodRef();
    explicit ZvMethodRef(ZvMethod* method);
    /// A key for a search: the arguments' types, or the descriptor itself where an argument is one. It has no parameter names
    /// and is never written.
    ZvMethodRef(const ZvString$& name, const ZvType$& returnType, const ZvArguments$& arguments);
    ZvMethodRef(const ZvMethodRef& other);
    ZvMethodRef& operator=(const ZvMethodRef& other);
    ~ZvMethodRef() override;

    const ZvString$& GetName() const { return m_name; }
    ZvType$ GetRetType() const { return m_retType; }
    unsigned int GetNumParams() const { return static_cast<unsigned int>(m_types.Count()); }
    ZvType* GetParamType(unsigned int index) const { return m_types[index]; }
    ZvString$ GetParamName(unsigned int index) const;                ///< null in a key

    /// The same name, result and parameter types.
    bool operator==(const ZvMethodRef& other) const;
    /// As ZvMethod's, so that either finds the other's place in a dictionary. Valid within one process only.
    size_t GetHashCode() const override;
    bool Equals(const ZvObject* other) const override;

    /// Name, result and parameters; no type info.
    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder) override;

private:
    ZvString$ m_name;
    ZvType$ m_retType;
    zvc::detail::Signature m_types;
    std::vector<ZvString$> m_names;          // empty in a key
};
ZV_DECLARE_HANDLE(ZvMethodRef, ZvObjRef$);
