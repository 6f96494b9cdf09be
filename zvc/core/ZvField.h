#pragma once

#include "zvc/core/ZvDeclare.h"
#include "zvc/values/ZvValueType.h"

class ZvCoder;
class ZvTraverser;

/// One data member of a reflected class: where in an object its value lies, and of what kind it is. A field holds no value;
/// it moves values in and out as boxes, and codes them. Fields do not change after construction; access to the object's
/// member is not synchronised.
class ZV_API ZvField : public ZvObject {
    ZV_DECLARE_CLASS(ZvField)
public:
    ~ZvField() override;

    /// The member's value in a new box; a null handle when no box can be made.
    virtual ZvObject$ GetValue(const ZvObject* o) = 0;
    /// Takes the value out of a box, converting it. A value of another class, kind or count is ignored.
    virtual void SetValue(ZvObject* o, const ZvObject$& value) const = 0;
    /// Follows the member, where it is an object handle.
    virtual void Traverse(ZvTraverser& traverser, ZvObject$& o);
    /// The member's value through the coder, without name or tag.
    virtual void Encode(ZvStream$& stream, ZvCoder* coder, const ZvObject* o) const = 0;
    virtual void Decode(ZvStream$& stream, ZvCoder* coder, ZvObject* o) = 0;
    virtual ZvValueType GetValueType() = 0;
    virtual void SetDefault(ZvObject* o) const;

    ZvString$ Name() const { return m_name; }
    /// The descriptor of the value: its box, or its array.
    const ZvType* Type() const { return m_type; }
    ZvType* Owner() const { return m_owner; }

    /// "address[0x%p] \"%s.%s\"" with the field's address, the owner's and the field's name.
    ZvString$ ToString() const override;

protected:
    ZvField(ZvType* owner, const char* name, ZvType* type);
    ZvField(const ZvField& other);

private:
    ZvType* m_owner;
    ZvString$ m_name;
    ZvType* m_type;
};

/// The fields that a class declares itself, in the order of its table. It owns them.
class ZV_API ZvFieldMap : public ZvObject {
    ZV_DECLARE_CLASS(ZvFieldMap)
public:
    /// Copies the pointers of a table that ends with null.
    explicit ZvFieldMap(ZvField** table);
    /// Shares the block: the copy must not outlive its source.
    ZvFieldMap(const ZvFieldMap& other);
    ZvFieldMap& operator=(const ZvFieldMap& other);
    ~ZvFieldMap() override;

    int Length() const { return m_count; }
    /// For each field in the order of the table d[name] = a clone of the field, or its value in o.
    void GetFieldInfos(ZvDictionary$& d);
    void GetFieldValues(const ZvObject* o, ZvDictionary$& d);

private:
    ZvField** m_fields;
    int m_count = 0;
    bool m_owns = true;
};

/// A new field for the kind, at member taken as a member of that kind; null for a number that has none (47 and 49
/// included). For reflection tables that are written as data.
ZV_API ZvField* ZvSelectFieldPrimitive(ZvType* owner, const char* name, ZvValueType type, int ZvObject::* member);
