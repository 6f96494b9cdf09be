#pragma once

#include "zvc/core/ZvElementName.h"
#include "zvc/core/ZvField.h"
#include "zvc/values/ZvConversion.h"

#include <cstring>

namespace zvc::detail {

/// Bytes from an object's start to a member.
template <class Pointer>
size_t MemberOffset(Pointer member) {
    if constexpr (sizeof(member) == 4) {
        int32_t offset;
        std::memcpy(&offset, &member, sizeof offset);
        return static_cast<size_t>(offset);
    } else {
        static_assert(sizeof(member) == 8, "This platform's member pointers need a way of their own.");
        int64_t offset;
        std::memcpy(&offset, &member, sizeof offset);
        return static_cast<size_t>(offset);
    }
}

}

/// A member of type T directly in the class.
template <class T>
class ZV_API ZvFieldPrimitive : public ZvField {
public:
    ZvFieldPrimitive(ZvType* owner, const char* name, T ZvObject::* member);
    ZvFieldPrimitive(const ZvFieldPrimitive& other) = default;

    ZvType* GetType() const override { return &s_type; }
    long ReferenceCount() const override;
    void Retain() override;
    void Release() override;
    static ZvBase* GetBases();

    ZvObject* Clone() const override;
    ZvObject$ GetValue(const ZvObject* o) override;
    void SetValue(ZvObject* o, const ZvObject$& value) const override;
    void Encode(ZvStream$& stream, ZvCoder* coder, const ZvObject* o) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder, ZvObject* o) override;
    ZvValueType GetValueType() override;
    /// The text of ZvField, and " mem_ptr = 0x%p" with the offset.
    ZvString$ ToString() const override;
    void Traverse(ZvTraverser& traverser, ZvObject$& o) override;

protected:
    T& At(ZvObject* o) const { return *reinterpret_cast<T*>(reinterpret_cast<char*>(o) + m_member); }
    const T& At(const ZvObject* o) const { return *reinterpret_cast<const T*>(reinterpret_cast<const char*>(o) + m_member); }

private:
    static ZvType s_type;
    int32_t m_member;
};

/// A member of type T inside an aggregate member, where no member pointer can name it.
template <class T>
class ZV_API ZvNestFieldPrimitive : public ZvField {
public:
    ZvNestFieldPrimitive(ZvType* owner, const char* name, size_t offset);
    ZvNestFieldPrimitive(const ZvNestFieldPrimitive& other) = default;

    ZvType* GetType() const override { return &s_type; }
    long ReferenceCount() const override;
    void Retain() override;
    void Release() override;
    static ZvBase* GetBases();

    ZvObject* Clone() const override;
    ZvObject$ GetValue(const ZvObject* o) override;
    void SetValue(ZvObject* o, const ZvObject$& value) const override;
    void Encode(ZvStream$& stream, ZvCoder* coder, const ZvObject* o) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder, ZvObject* o) override;
    ZvValueType GetValueType() override;
    ZvString$ ToString() const override;

private:
    T& At(ZvObject* o) const { return *reinterpret_cast<T*>(reinterpret_cast<char*>(o) + m_offset); }
    const T& At(const ZvObject* o) const { return *reinterpret_cast<const T*>(reinterpret_cast<const char*>(o) + m_offset); }

    static ZvType s_type;
    uint64_t m_offset;
};

/// A fixed array of count elements of T. Its elements are coded one after the other, without a count before them; its box
/// is the array of T, and SetValue takes only an array of that very count.
template <class T>
class ZV_API ZvFieldPrimitiveArray : public ZvField {
public:
    ZvFieldPrimitiveArray(ZvType* owner, const char* name, unsigned int count, T ZvObject::* member);
    ZvFieldPrimitiveArray(const ZvFieldPrimitiveArray& other) = default;

    ZvType* GetType() const override { return &s_type; }
    long ReferenceCount() const override;
    void Retain() override;
    void Release() override;
    static ZvBase* GetBases();

    ZvObject* Clone() const override;
    ZvObject$ GetValue(const ZvObject* o) override;
    void SetValue(ZvObject* o, const ZvObject$& value) const override;
    void Encode(ZvStream$& stream, ZvCoder* coder, const ZvObject* o) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder, ZvObject* o) override;
    ZvValueType GetValueType() override;

private:
    T* At(ZvObject* o) const { return reinterpret_cast<T*>(reinterpret_cast<char*>(o) + m_member); }
    const T* At(const ZvObject* o) const { return reinterpret_cast<const T*>(reinterpret_cast<const char*>(o) + m_member); }

    static ZvType s_type;
    unsigned int m_count;
    int32_t m_member;
};

#define ZV_EXTERN_SINGLE(name, ...)                                     \
    template <> ZV_API ZvType ZvFieldPrimitive<__VA_ARGS__>::s_type;    \
    extern template class ZvFieldPrimitive<__VA_ARGS__>;
#define ZV_EXTERN_FIELDS(name, ...)                                     \
    ZV_EXTERN_SINGLE(name, __VA_ARGS__)                                 \
    template <> ZV_API ZvType ZvNestFieldPrimitive<__VA_ARGS__>::s_type;  \
    extern template class ZvNestFieldPrimitive<__VA_ARGS__>;            \
    template <> ZV_API ZvType ZvFieldPrimitiveArray<__VA_ARGS__>::s_type; \
    extern template class ZvFieldPrimitiveArray<__VA_ARGS__>;
ZV_FOR_EACH_ELEMENT_NAME(ZV_EXTERN_FIELDS)
ZV_FOR_EACH_SINGLE_FIELD_NAME(ZV_EXTERN_SINGLE)
#undef ZV_EXTERN_FIELDS
#undef ZV_EXTERN_SINGLE

/// A member of a handle class other than ZvObject$. It is stored as a reference to an object; what comes back goes through
/// the checked cast, so that an object of a wrong class becomes null there.
template <class Handle>
class ZvFieldHandle : public ZvFieldPrimitive<ZvObject$> {
public:
    ZvFieldHandle(ZvType* owner, const char* name, ZvObject$ ZvObject::* member)
        : ZvFieldPrimitive<ZvObject$>(owner, name, member) {}
    ZvObject* Clone() const override { return new ZvFieldHandle(*this); }
    void SetValue(ZvObject* o, const ZvObject$& value) const override {
        ZvFieldPrimitive<ZvObject$>::SetValue(o, value);
        Check(o);
    }
    void Decode(ZvStream$& stream, ZvCoder* coder, ZvObject* o) override {
        ZvFieldPrimitive<ZvObject$>::Decode(stream, coder, o);
        Check(o);
    }

private:
    void Check(ZvObject* o) const {
        ZvObject$& slot = At(o);
        if (slot && !Handle(static_cast<const ZvObject$&>(slot))) slot = ZvObject$();
    }
};
