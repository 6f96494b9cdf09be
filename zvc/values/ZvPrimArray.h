#pragma once

#include "zvc/core/ZvInterface.h"
#include "zvc/values/ZvArrayValue.h"
#include "zvc/values/ZvConversion.h"

template <class T> class ZvFieldPrimitiveArray;

/// The fixed-length typed array: one contiguous buffer of T behind a reflected class ("ZvInt32Array"), owned by the array.
/// The length changes only through CreateBuffer and Decode, which replace the buffer. Indexes are not checked. No locking.
///
/// An array of handles is a borrower where it is made out of handles: the sized constructor and the copy constructor, and
/// with them CreateFromPtr and Clone, copy the handles as bytes and retain nothing, although the destructor releases each.
/// Whoever uses them retains on behalf of the new array. An array of object pointers neither counts nor frees.
///
/// Nothing here raises but the allocator, and the coder in Encode and Decode.
template <class T>
class ZV_API ZvPrimArray : public ZvArrayValue {
public:
    static ZvType s_type;
    static ZvBase* GetBases();
    ZvType* GetType() const override { return &s_type; }
    long ReferenceCount() const override;
    void Retain() override;
    void Release() override;

    ZvPrimArray() = default;                                        ///< no elements and no buffer

    /// newCount elements copied from source; with a null source they are as the allocator gave them (handles are null).
    ZvPrimArray(unsigned long long newCount, const T* source);
    ZvPrimArray(const ZvPrimArray& other);
    ~ZvPrimArray() override;

    /// Copies the count and the buffer's address, and nothing else: both arrays then share one buffer, which both
    /// destructors free. Use Clone or the copy constructor for a copy.
    ZvPrimArray& operator=(const ZvPrimArray& other);

    static ZvObject* CreateInstance();                              ///< an empty array
    static ZvObject* CreateFromPtr(void* source, unsigned int count);

    T& operator[](unsigned long long index) { return data[index]; }
    const T& operator[](unsigned long long index) const { return data[index]; }

    /// A handle is assigned: the new object is retained and the old one released.
    void SetAt(int index, const T& value) { data[index] = value; }
    const T& GetAt(int index) const { return data[index]; }

    unsigned long long Count() const override { return count; }
    void* GetBaseAddress() override { return data; }
    void* GetBaseAddress() const override { return data; }

    /// A new array with a buffer of its own and the same elements.
    ZvObject* Clone() const override;

    /// The count in its low 32 bits, then each element through the coder's overload for T.
    void Encode(ZvStream$& stream, ZvCoder* coder) const override;

    /// Replaces the elements by those of the stream. The new buffer grows while they arrive, and takes the old one's place
    /// when all are there: after an exception of the coder the array is what it was.
    void Decode(ZvStream$& stream, ZvCoder* coder) override;

    /// Element index, converted from or to the kinds that the box of T takes; false for all others.
    bool SetValue(const void* source, ZvValueType type, int index) override;
    bool GetValue(void* target, ZvValueType type, int index) const override;

protected:
    /// Replaces the buffer by one of newCount elements, as the allocator gives them (handles are null).
    void CreateBuffer(unsigned long long newCount);

    unsigned long long count = 0;
    T* data = nullptr;

private:
    friend class ZvFieldPrimitiveArray<T>;                          // makes room in the array that it gives
};

#include "zvc/values/ZvElements.inc"
#define ZV_EXTERN_ARRAY(...)                                       \
    template <> ZV_API ZvType ZvPrimArray<__VA_ARGS__>::s_type;    \
    extern template class ZvPrimArray<__VA_ARGS__>;
ZV_ELEMENTS_PLAIN(ZV_EXTERN_ARRAY)
ZV_EXTERN_ARRAY(ZvObject$)
ZV_EXTERN_ARRAY(ZvObject*)
#undef ZV_EXTERN_ARRAY
