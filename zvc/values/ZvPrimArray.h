#pragma once

#include "zvc/core/ZvInterface.h"
#include "zvc/values/ZvConversion.h"

/// Base of the typed arrays: the storage behind one address.
class ZV_API ZvArrayValue : public ZvValue {
    ZV_DECLARE_CLASS(ZvArrayValue)
public:
    ~ZvArrayValue() override;
    unsigned long long Count() const override = 0;
    virtual void* GetBaseAddress() = 0;
    virtual void* GetBaseAddress() const = 0;
};

/// The fixed-length typed array: one contiguous buffer of T behind a reflected class ("ZvInt32Array"). The length changes
/// only through CreateBuffer and Decode, which replace the buffer. Indexes are not checked. No locking.
///
/// The array of handles is a borrower where it is made of handles: the sized constructor, the copy constructor, and with
/// them CreateFromPtr and Clone, copy the handles as bytes, without a reference, although the destructor releases each.
/// Whoever uses them retains on behalf of the new array.
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
    /// count elements copied from source; with a null source they are as the allocator gave them (handles are null).
    ZvPrimArray(unsigned long long count, const T* source);
    ZvPrimArray(const ZvPrimArray& other);
    ~ZvPrimArray() override;

    /// Copies the count and the buffer's address, and nothing else: both arrays then share one buffer, which both
    /// destructors free. Use Clone or the copy constructor for a copy.
    ZvPrimArray& operator=(const ZvPrimArray& other);

    static ZvObject* CreateInstance();                              ///< an empty array
    static ZvObject* CreateFromPtr(void* source, unsigned int count);

    T& operator[](unsigned long long index) { return data[index]; }
    const T& operator[](unsigned long long index) const { return data[index]; }
    void SetAt(int index, const T& value) { data[index] = value; }
    const T& GetAt(int index) const { return data[index]; }

    unsigned long long Count() const override { return count; }
    void* GetBaseAddress() override { return data; }
    void* GetBaseAddress() const override { return data; }
    ZvObject* Clone() const override;

    /// The count, then each element; see ZvValue for the kinds that SetValue and GetValue take.
    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder) override;
    bool SetValue(const void* source, ZvValueType type, int index) override;
    bool GetValue(void* target, ZvValueType type, int index) const override;

protected:
    /// Replaces the buffer by one of newCount elements, as the allocator gives them (handles are null).
    void CreateBuffer(unsigned long long newCount);

    unsigned long long count = 0;
    T* data = nullptr;

private:
    template <class> friend class ZvFieldPrimitiveArray;
};

#include "zvc/values/ZvElements.inc"
#define ZV_EXTERN_ARRAY(...)                                       \
    template <> ZV_API ZvType ZvPrimArray<__VA_ARGS__>::s_type;    \
    extern template class ZvPrimArray<__VA_ARGS__>;
ZV_ELEMENTS_PLAIN(ZV_EXTERN_ARRAY)
ZV_EXTERN_ARRAY(ZvObject$)
ZV_EXTERN_ARRAY(ZvObject*)
#undef ZV_EXTERN_ARRAY
