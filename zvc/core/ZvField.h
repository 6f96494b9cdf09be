#pragma once

#include "zvc/core/ZvDeclare.h"
#include "zvc/values/ZvValueType.h"

class ZvTraverser;

/// One data member of a reflected class: where it lies in an object and what its type is. A field holds no value itself;
/// it moves values in and out, boxed (GetValue, SetValue) or straight to a coder (Encode, Decode).
///
/// A field never changes once made. Access to the object's member is not synchronised: the caller holds the object's lock
/// where it needs to. Nothing here raises but the coder.
class ZV_API ZvField : public ZvObject {
    ZV_DECLARE_CLASS(ZvField)
public:
    ~ZvField() override;

    /// address[0x%p] "%s.%s": the field's address, the owner's name and the field's.
    ZvString$ ToString() const override;

    using ZvObject::Decode;
    using ZvObject::Encode;

    /// A new box, or array, with the member's value; null when the value type has no factory.
    virtual ZvObject$ GetValue(const ZvObject* o) = 0;

    /// Sets the member from a box, or array, which converts from its own kind. What is no ZvValue, or one of another
    /// count, is ignored.
    virtual void SetValue(ZvObject* o, const ZvObject$& value) const = 0;

    /// This field's part of a walk over the objects behind o. Here: nothing.
    virtual void Traverse(ZvTraverser& traverser, ZvObject$& o);

    /// The member's value through the coder, without a name or a tag around it.
    virtual void Encode(ZvStream$& stream, ZvCoder* coder, const ZvObject* o) const = 0;
    virtual void Decode(ZvStream$& stream, ZvCoder* coder, ZvObject* o) = 0;

    /// The number of the value kind.
    virtual ZvValueType GetValueType() = 0;

    /// Does nothing.
    virtual void SetDefault(ZvObject* o) const;

    ZvString$ Name() const { return m_name; }

    /// The descriptor of the value: a box's, or an array's.
    const ZvType* Type() const { return m_valueType; }

protected:
    /// name is interned.
    ZvField(ZvType* owner, const char* name, ZvType* valueType);
    ZvField(const ZvField& other);

    ZvType* m_owner;
    ZvString$ m_name;
    ZvType* m_valueType;
};

/// The fields that a class itself declares, in order. Made once for a class, by ZV_FIELDS.
class ZV_API ZvFieldMap : public ZvObject {
    ZV_DECLARE_CLASS(ZvFieldMap)
public:
    /// Takes over the fields of a table that ends with null; the table itself is copied.
    explicit ZvFieldMap(ZvField** table);

    /// A copy shares the fields, which stay the source's: it must not outlive the source.
    ZvFieldMap(const ZvFieldMap& other);
    ZvFieldMap& operator=(const ZvFieldMap& other);

    /// Deletes the fields, whatever their counts.
    ~ZvFieldMap() override;

    int Length() const { return m_count; }

    /// d[name] = a clone of the field, for each field in order.
    void GetFieldInfos(ZvDictionary$& d);

    /// d[name] = the field's boxed value in o, for each field in order.
    void GetFieldValues(const ZvObject* o, ZvDictionary$& d);

private:
    void DeleteFields();

    ZvField** m_fields;
    int m_count;
    bool m_owns;
};
