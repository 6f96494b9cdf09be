#pragma once

// The field families. A class's table is normally written with ZV_FIELDS (ZvFieldMacros.h), which picks the family.
//
// GetValueType gives the number of T, but for zvcolor that of CG::vec3<float>, whose representation it shares; the two
// interface kinds share ZvVtInterface.

#include "zvc/core/ZvField.h"
#include "zvc/core/ZvInterface.h"
#include "zvc/imaging/zvcolor.h"
#include "zvc/values/CG.h"

#include <bit>
#include <cstddef>
#include <cstdint>

namespace zvc::detail {

/// Marks the fields whose Traverse hands a member of some handle class X$ on, and afterwards sees to it that the member holds
/// an X.
struct ZV_API TypedHandleField {};

/// The offset behind a pointer to member, which is that offset as a plain number.
template <class M>
int32_t OffsetOf(M ZvObject::* member) {
    if constexpr (sizeof member == sizeof(int32_t))
        return std::bit_cast<int32_t>(member);
    else
        return static_cast<int32_t>(std::bit_cast<int64_t>(member));
}

}

/// A member of type T directly in the class.
///
/// GetValue gives the box of T. SetValue takes any ZvValue of one element, which converts; where it does not take the
/// kind, the member becomes zero. An object pointer is read and written without counting. A member of type ZvInterface$
/// or ZvInterface* cannot be boxed: its box is empty, and SetValue clears it, whatever the value.
template <class T>
class ZV_API ZvFieldPrimitive : public ZvField {
public:
    ZvFieldPrimitive(ZvType* owner, const char* name, T ZvObject::* member);
    ZvFieldPrimitive(const ZvFieldPrimitive& other);
    ~ZvFieldPrimitive() override;

    static ZvBase* GetBases();
    ZvType* GetType() const override;
    long ReferenceCount() const override;
    void Retain() override;
    void Release() override;

    ZvObject* Clone() const override;
    /// The text of ZvField and " mem_ptr = 0x%p" with the offset.
    ZvString$ ToString() const override;

    using ZvField::Decode;
    using ZvField::Encode;
    ZvObject$ GetValue(const ZvObject* o) override;
    void SetValue(ZvObject* o, const ZvObject$& value) const override;
    /// Follows a member of type ZvObject$, and no other.
    void Traverse(ZvTraverser& traverser, ZvObject$& o) override;
    void Encode(ZvStream$& stream, ZvCoder* coder, const ZvObject* o) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder, ZvObject* o) override;
    ZvValueType GetValueType() override;

protected:
    const T* At(const ZvObject* o) const {
        return reinterpret_cast<const T*>(reinterpret_cast<const char*>(o) + m_offset);
    }
    T* At(ZvObject* o) const { return reinterpret_cast<T*>(reinterpret_cast<char*>(o) + m_offset); }

private:
    static ZvType s_type;

    int32_t m_offset;
};

/// A member of type T inside a member that is an aggregate, where no pointer to member can name it.
template <class T>
class ZV_API ZvNestFieldPrimitive : public ZvField {
public:
    /// offset: bytes from the start of the object.
    ZvNestFieldPrimitive(ZvType* owner, const char* name, size_t offset);
    ZvNestFieldPrimitive(const ZvNestFieldPrimitive& other);
    ~ZvNestFieldPrimitive() override;

    static ZvBase* GetBases();
    ZvType* GetType() const override;
    long ReferenceCount() const override;
    void Retain() override;
    void Release() override;

    ZvObject* Clone() const override;
    /// The text of ZvField and " mem_ptr = 0x%p" with the offset.
    ZvString$ ToString() const override;

    using ZvField::Decode;
    using ZvField::Encode;
    ZvObject$ GetValue(const ZvObject* o) override;
    void SetValue(ZvObject* o, const ZvObject$& value) const override;
    void Encode(ZvStream$& stream, ZvCoder* coder, const ZvObject* o) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder, ZvObject* o) override;
    ZvValueType GetValueType() override;

protected:
    const T* At(const ZvObject* o) const {
        return reinterpret_cast<const T*>(reinterpret_cast<const char*>(o) + m_offset);
    }
    T* At(ZvObject* o) const { return reinterpret_cast<T*>(reinterpret_cast<char*>(o) + m_offset); }

private:
    static ZvType s_type;

    uint64_t m_offset;
};

/// A fixed array of count elements of T in the class.
///
/// GetValue gives a new array of count elements. SetValue takes a value of exactly count elements. Encode and Decode move
/// the elements in order, without a count before them.
template <class T>
class ZV_API ZvFieldPrimitiveArray : public ZvField {
public:
    /// member: the first element.
    ZvFieldPrimitiveArray(ZvType* owner, const char* name, unsigned int count, T ZvObject::* member);
    ZvFieldPrimitiveArray(const ZvFieldPrimitiveArray& other);
    ~ZvFieldPrimitiveArray() override;

    static ZvBase* GetBases();
    ZvType* GetType() const override;
    long ReferenceCount() const override;
    void Retain() override;
    void Release() override;

    ZvObject* Clone() const override;

    using ZvField::Decode;
    using ZvField::Encode;
    ZvObject$ GetValue(const ZvObject* o) override;
    void SetValue(ZvObject* o, const ZvObject$& value) const override;
    void Encode(ZvStream$& stream, ZvCoder* coder, const ZvObject* o) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder, ZvObject* o) override;
    ZvValueType GetValueType() override;

protected:
    const T* At(const ZvObject* o) const {
        return reinterpret_cast<const T*>(reinterpret_cast<const char*>(o) + m_offset);
    }
    T* At(ZvObject* o) const { return reinterpret_cast<T*>(reinterpret_cast<char*>(o) + m_offset); }
    unsigned int Length() const { return m_count; }

private:
    static ZvType s_type;

    uint32_t m_count;
    int32_t m_offset;
};

/// A new ZvFieldPrimitive<T> for the T of type, for tables that are written as data; member stands for a member of type T.
/// It knows the kinds from 1 to 46, 42 being zvcolor, and gives null for every other number, ZvVtInterface and ZvVtVoid
/// among them.
ZV_API ZvField* ZvSelectFieldPrimitive(ZvType* owner, const char* name, ZvValueType type, int ZvObject::* member);

// The element types of all three families; ZvFieldPrimitive has ZV_ELEMENTS_FIELD_ONLY besides.
#include "zvc/core/ZvFieldElements.inc"
#define ZV_EXTERN_FIELD(Family, ...)                            \
    template <> ZV_API ZvType Family<__VA_ARGS__>::s_type;      \
    extern template class Family<__VA_ARGS__>;
#define ZV_EXTERN_FIELDS(...)                                   \
    ZV_EXTERN_FIELD(ZvFieldPrimitive, __VA_ARGS__)              \
    ZV_EXTERN_FIELD(ZvNestFieldPrimitive, __VA_ARGS__)          \
    ZV_EXTERN_FIELD(ZvFieldPrimitiveArray, __VA_ARGS__)
#define ZV_EXTERN_FIELD_ONLY(...) ZV_EXTERN_FIELD(ZvFieldPrimitive, __VA_ARGS__)
ZV_ELEMENTS_FIELD(ZV_EXTERN_FIELDS)
ZV_ELEMENTS_FIELD_ONLY(ZV_EXTERN_FIELD_ONLY)
#undef ZV_EXTERN_FIELD_ONLY
#undef ZV_EXTERN_FIELDS
#undef ZV_EXTERN_FIELD
