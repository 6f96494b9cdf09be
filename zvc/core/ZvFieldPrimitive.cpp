#include "zvc/core/ZvFieldPrimitive.h"

#include "zvc/core/ZvTraverser.h"
#include "zvc/serialization/ZvCoder.h"
#include "zvc/values/ZvPrimArray.h"
#include "zvc/values/ZvPrimitive.h"

#include <type_traits>

namespace {

// A colour field says that it is a vector of three floats: meant so, in all three families. Its box takes that kind.
template <class T> constexpr ZvValueType FieldKind = zvc::detail::KindNumber<T>;
template <> constexpr ZvValueType FieldKind<zvcolor> = ZvVtVec3f;

ZvObject$ Boxed(ZvType* type, const void* member, ZvValueType kind) {
    const ZvValue$ box = ZvObject$(type->CreateObject());
    if (box) box->SetValue(member, kind, 0);
    return box;
}

// A box that does not take the kind leaves the local value, which is zero or null, and that is what the member gets. No box
// takes an interface by its kind: so a field of interface handles is cleared by any value. Meant so.
template <class T>
void TakeOut(T& member, const ZvObject$& value, ZvValueType kind) {
    const ZvValue$ box = value;
    if (!box || box->Count() != 1) return;
    T taken{};
    box->GetValue(&taken, kind, 0);
    member = taken;
}

ZvString$ WithOffset(ZvString$ text, uint64_t offset) {
    ZvString$ whole = new ZvString;
    whole->Format("%s mem_ptr = 0x%p", text->CStr(), reinterpret_cast<void*>(offset));
    return whole;
}

}

template <class T>
ZvFieldPrimitive<T>::ZvFieldPrimitive(ZvType* owner, const char* name, T ZvObject::* member)
    : ZvField(owner, name, &ZvPrimitive<T>::s_type), m_member(static_cast<int32_t>(zvc::detail::MemberOffset(member))) {}

template <class T> ZvBase* ZvFieldPrimitive<T>::GetBases() {
    static zvc::detail::BaseTable<ZvFieldPrimitive<T>, ZvField> s_table;
    return s_table.entries;
}
template <class T> long ZvFieldPrimitive<T>::ReferenceCount() const { return ZvObject::ReferenceCount(); }
template <class T> void ZvFieldPrimitive<T>::Retain() { ZvObject::Retain(); }
template <class T> void ZvFieldPrimitive<T>::Release() { ZvObject::Release(); }
template <class T> ZvObject* ZvFieldPrimitive<T>::Clone() const { return new ZvFieldPrimitive(*this); }
template <class T> ZvValueType ZvFieldPrimitive<T>::GetValueType() { return FieldKind<T>; }

template <class T>
ZvObject$ ZvFieldPrimitive<T>::GetValue(const ZvObject* o) {
    return Boxed(const_cast<ZvType*>(Type()), &At(o), FieldKind<T>);
}

template <class T>
void ZvFieldPrimitive<T>::SetValue(ZvObject* o, const ZvObject$& value) const {
    TakeOut(At(o), value, FieldKind<T>);
}

template <class T>
void ZvFieldPrimitive<T>::Encode(ZvStream$& stream, ZvCoder* coder, const ZvObject* o) const {
    coder->Write(stream, At(o));
}

template <class T>
void ZvFieldPrimitive<T>::Decode(ZvStream$& stream, ZvCoder* coder, ZvObject* o) {
    coder->Read(stream, At(o));
}

template <class T>
ZvString$ ZvFieldPrimitive<T>::ToString() const {
    return WithOffset(ZvField::ToString(), static_cast<uint64_t>(m_member));
}

// Of all fields a direct object handle alone is followed.
template <class T>
void ZvFieldPrimitive<T>::Traverse([[maybe_unused]] ZvTraverser& traverser, [[maybe_unused]] ZvObject$& o) {
    if constexpr (std::is_same_v<T, ZvObject$>) traverser.Traverse(At(o.Get()));
}

template <class T>
ZvNestFieldPrimitive<T>::ZvNestFieldPrimitive(ZvType* owner, const char* name, size_t offset)
    : ZvField(owner, name, &ZvPrimitive<T>::s_type), m_offset(offset) {}

template <class T> ZvBase* ZvNestFieldPrimitive<T>::GetBases() {
    static zvc::detail::BaseTable<ZvNestFieldPrimitive<T>, ZvField> s_table;
    return s_table.entries;
}
template <class T> long ZvNestFieldPrimitive<T>::ReferenceCount() const { return ZvObject::ReferenceCount(); }
template <class T> void ZvNestFieldPrimitive<T>::Retain() { ZvObject::Retain(); }
template <class T> void ZvNestFieldPrimitive<T>::Release() { ZvObject::Release(); }
template <class T> ZvObject* ZvNestFieldPrimitive<T>::Clone() const { return new ZvNestFieldPrimitive(*this); }
template <class T> ZvValueType ZvNestFieldPrimitive<T>::GetValueType() { return FieldKind<T>; }

template <class T>
ZvObject$ ZvNestFieldPrimitive<T>::GetValue(const ZvObject* o) {
    return Boxed(const_cast<ZvType*>(Type()), &At(o), FieldKind<T>);
}

template <class T>
void ZvNestFieldPrimitive<T>::SetValue(ZvObject* o, const ZvObject$& value) const {
    TakeOut(At(o), value, FieldKind<T>);
}

template <class T>
void ZvNestFieldPrimitive<T>::Encode(ZvStream$& stream, ZvCoder* coder, const ZvObject* o) const {
    coder->Write(stream, At(o));
}

template <class T>
void ZvNestFieldPrimitive<T>::Decode(ZvStream$& stream, ZvCoder* coder, ZvObject* o) {
    coder->Read(stream, At(o));
}

template <class T>
ZvString$ ZvNestFieldPrimitive<T>::ToString() const {
    return WithOffset(ZvField::ToString(), m_offset);
}

template <class T>
ZvFieldPrimitiveArray<T>::ZvFieldPrimitiveArray(ZvType* owner, const char* name, unsigned int count, T ZvObject::* member)
    : ZvField(owner, name, &ZvPrimArray<T>::s_type), m_count(count),
      m_member(static_cast<int32_t>(zvc::detail::MemberOffset(member))) {}

template <class T> ZvBase* ZvFieldPrimitiveArray<T>::GetBases() {
    static zvc::detail::BaseTable<ZvFieldPrimitiveArray<T>, ZvField> s_table;
    return s_table.entries;
}
template <class T> long ZvFieldPrimitiveArray<T>::ReferenceCount() const { return ZvObject::ReferenceCount(); }
template <class T> void ZvFieldPrimitiveArray<T>::Retain() { ZvObject::Retain(); }
template <class T> void ZvFieldPrimitiveArray<T>::Release() { ZvObject::Release(); }
template <class T> ZvObject* ZvFieldPrimitiveArray<T>::Clone() const { return new ZvFieldPrimitiveArray(*this); }
template <class T> ZvValueType ZvFieldPrimitiveArray<T>::GetValueType() { return FieldKind<T>; }

template <class T>
ZvObject$ ZvFieldPrimitiveArray<T>::GetValue(const ZvObject* o) {
    auto* array = new ZvPrimArray<T>(m_count, nullptr);            // the factory's array would have no room
    ZvObject$ box = array;
    for (unsigned int i = 0; i < m_count; ++i) array->SetValue(At(o) + i, FieldKind<T>, static_cast<int>(i));
    return box;
}

template <class T>
void ZvFieldPrimitiveArray<T>::SetValue(ZvObject* o, const ZvObject$& value) const {
    const ZvValue$ box = value;
    if (!box || box->Count() != m_count) return;
    for (unsigned int i = 0; i < m_count; ++i) {
        T taken{};
        box->GetValue(&taken, FieldKind<T>, static_cast<int>(i));
        At(o)[i] = taken;
    }
}

template <class T>
void ZvFieldPrimitiveArray<T>::Encode(ZvStream$& stream, ZvCoder* coder, const ZvObject* o) const {
    for (unsigned int i = 0; i < m_count; ++i) coder->Write(stream, At(o)[i]);
}

template <class T>
void ZvFieldPrimitiveArray<T>::Decode(ZvStream$& stream, ZvCoder* coder, ZvObject* o) {
    for (unsigned int i = 0; i < m_count; ++i) coder->Read(stream, At(o)[i]);
}

// What the descriptor's name is cut behind is the first "class " in it, so each has one of its own in front.
#define ZV_FIELD_TYPE(Family, name, ...)                                                                                \
    template <> ZvType Family<__VA_ARGS__>::s_type("class " #Family "<" name ">", sizeof(Family<__VA_ARGS__>),          \
                                                   Family<__VA_ARGS__>::GetBases(), typeid(Family<__VA_ARGS__>),        \
                                                   ZvThisModule(), {.schema = 1});                                     \
    template class Family<__VA_ARGS__>;
#define ZV_SINGLE_TYPE(name, ...) ZV_FIELD_TYPE(ZvFieldPrimitive, name, __VA_ARGS__)
#define ZV_FIELD_TYPES(name, ...)                             \
    ZV_FIELD_TYPE(ZvFieldPrimitive, name, __VA_ARGS__)        \
    ZV_FIELD_TYPE(ZvNestFieldPrimitive, name, __VA_ARGS__)    \
    ZV_FIELD_TYPE(ZvFieldPrimitiveArray, name, __VA_ARGS__)

ZV_FOR_EACH_ELEMENT_NAME(ZV_FIELD_TYPES)
ZV_FOR_EACH_SINGLE_FIELD_NAME(ZV_SINGLE_TYPE)
