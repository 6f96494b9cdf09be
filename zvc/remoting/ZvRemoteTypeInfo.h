#pragma once

#include "zvc/remoting/ZvMethodRef.h"

/// What a reference tells of its object's class: the name, and every method of the class and its bases.
class ZV_API ZvRemoteTypeInfo : public ZvObject {
    ZV_DECLARE_CLASS(ZvRemoteTypeInfo)
    ZV_DECLARE_CREATE(ZvRemoteTypeInfo)
public:
    ZvRemoteTypeInfo();
    explicit ZvRemoteTypeInfo(ZvType* type);
    ZvRemoteTypeInfo(const ZvRemoteTypeInfo& other);
    ZvRemoteTypeInfo& operator=(const ZvRemoteTypeInfo& other);
    ~ZvRemoteTypeInfo() override;

    /// The method with exactly this name, result and arguments, as ZvMethodRef's key has it; null when there is none. At the
    /// end that owns the class the methods stand for themselves, and no reference is found.
    virtual ZvMethodRef$ FindMethod(const ZvString$& name, const ZvType$& returnType, const ZvArguments$& arguments);

    ZvString$ GetTypeName() const { return m_typeName; }

    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder) override;

private:
    ZvType$ m_type;                          // null in a decoded one
    ZvString$ m_typeName;
    ZvDictionary$ m_methods;                 // each method as key and value: shared with the descriptor
};
