#pragma once

#include "zvc/core/ZvInterface.h"
#include "zvc/values/ZvConversion.h"
#include "zvc/values/ZvString.h"

/// The box: one reflected class per value kind, each holding one T in place. Its registered name ("ZvInt32") is what a
/// stream finds it under.
///
/// SetValue and GetValue convert between the eleven scalars, and between the element types of one shape of composite;
/// nothing checks ranges. A reference box retains what it holds; a pointer box does not count. One writer at a time.
template <class T>
class ZV_API ZvPrimitive : public ZvValue {
public:
    static ZvType s_type;
    static ZvBase* GetBases();
    ZvType* GetType() const override { return &s_type; }
    long ReferenceCount() const override;
    void Retain() override;
    void Release() override;

    ZvPrimitive() noexcept;                           ///< 0, false, null; the identity; angle 0 about (1, 0, 0)
    ZvPrimitive(const T& initial) noexcept(std::is_nothrow_copy_constructible_v<T>) : value(initial) {}
    ZvPrimitive(const ZvPrimitive& other) : ZvValue(other), value(other.value) {}
    ZvPrimitive& operator=(const ZvPrimitive& other) {
        value = other.value;
        return *this;
    }
    operator const T&() const { return value; }

    /// A new box of the default value; null when memory runs out.
    static ZvObject* CreateInstance();
    /// A new box with a copy of the T at source; size is ignored.
    static ZvObject* CreateFromPtr(void* source, unsigned int size);

    /// A new box of what the text says, read element by element as a standard stream reads it; null when it cannot be read,
    /// and for the reference kinds. bool takes exactly "true" or "false". Text behind the last element is ignored.
    static ZvValue$ Parse(const ZvString$& text);

    size_t GetHashCode() const override;
    /// Element by element: a pair is equal unless one is less than the other, so that a NaN equals every number.
    bool Equals(const ZvObject* other) const override;
    ZvObject* Clone() const override;
    /// The elements in storage order with a blank between two. A bool prints as 1 or 0, which Parse does not take back; the
    /// 8-bit kinds print as a character. The object references forward to what they hold, which must not be null.
    ZvString$ ToString() const override;
    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder) override;

    bool SetValue(const void* source, ZvValueType type, int index) override;
    bool GetValue(void* target, ZvValueType type, int index) const override;

    T value;
};

#include "zvc/values/ZvElements.inc"
#define ZV_EXTERN_BOX(...)                                         \
    template <> ZV_API ZvType ZvPrimitive<__VA_ARGS__>::s_type;    \
    extern template class ZvPrimitive<__VA_ARGS__>;
ZV_ELEMENTS_PLAIN(ZV_EXTERN_BOX)
ZV_EXTERN_BOX(ZvObject$)
ZV_EXTERN_BOX(ZvObject*)
ZV_EXTERN_BOX(ZvInterface$)
ZV_EXTERN_BOX(ZvInterface*)
#undef ZV_EXTERN_BOX
