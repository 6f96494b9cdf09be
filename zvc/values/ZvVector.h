#pragma once

#include "zvc/values/ZvConversion.h"

/// Common base of the growable vectors.
class ZV_API ZvVectorValue : public ZvValue {
    ZV_DECLARE_CLASS(ZvVectorValue)
public:
    ~ZvVectorValue() override;
};

/// The growable counterpart of ZvPrimArray: a contiguous buffer of plain T with a size and a capacity, both in elements.
/// In a stream it is the same bytes as an array of the same elements. Indexes and ranges are not checked. No locking.
///
/// Growth takes the old capacity and half of it, or the needed size where that is more, so that adding costs a constant
/// time in the mean; the capacity never shrinks. References to elements are valid until the next operation that can grow
/// the vector. More than 2^64 / sizeof(T) elements raise std::length_error; exhaustion raises as ZvSystem::Malloc does.
template <class T>
class ZV_API ZvVector : public ZvVectorValue {
public:
    static ZvType s_type;
    static ZvBase* GetBases();
    ZvType* GetType() const override { return &s_type; }
    long ReferenceCount() const override;
    void Retain() override;
    void Release() override;

    ZvVector() = default;                                                ///< empty, without a buffer
    ZvVector(unsigned long long count, const T* const source);           ///< the count elements at source
    ZvVector(unsigned long long count, const T& value);                  ///< count copies of value
    ZvVector(const ZvVector& other);
    ZvVector(ZvVector&& other) noexcept;
    ~ZvVector() override;

    /// A deep copy. Assignment to itself does nothing.
    ZvVector& operator=(const ZvVector& other);
    ZvVector& operator=(ZvVector&& other) noexcept;

    static ZvObject* CreateInstance();                                   ///< an empty vector

    /// Appends. value may be an element of the vector itself.
    void Add(const T& value) {
        if (last == end)
            AddGrowing(value);
        else
            *last++ = value;
    }

    /// Puts value before position index. value may be an element of the vector itself.
    void Insert(unsigned long long index, const T& value);

    /// Takes out one element, or those of a range up to but not including its end.
    void Remove(unsigned long long index);
    void Remove(unsigned long long firstIndex, unsigned long long lastIndex);

    /// Sets the size. New elements are zero bytes; a smaller size keeps the capacity.
    void Resize(unsigned long long count);

    /// Makes the capacity exactly count; nothing where it is as much already.
    void Reserve(unsigned long long count);

    T& operator[](unsigned long long index) { return first[index]; }
    const T& operator[](unsigned long long index) const { return first[index]; }

    unsigned long long Count() const override { return static_cast<unsigned long long>(last - first); }
    unsigned long long Capacity() const { return static_cast<unsigned long long>(end - first); }
    ZvObject* Clone() const override;

    /// The size in its low 32 bits, then each element through the coder's overload for T.
    void Encode(ZvStream$& stream, ZvCoder* coder) const override;

    /// Appends the elements of the stream: what the vector holds stays in front of them. The capacity is first made the
    /// stream's count, where it is less, and the elements are then added one by one. Those that came before one raises have
    /// been appended; the capacity has then followed the count only as far as the stream bore it out.
    void Decode(ZvStream$& stream, ZvCoder* coder) override;

    /// Element index, converted from or to the kinds that the box of T takes; false for all others. Never grows.
    bool SetValue(const void* source, ZvValueType type, int index) override;
    bool GetValue(void* target, ZvValueType type, int index) const override;

    /// Does nothing.
    virtual void SetValue(const void* source);

    /// Takes the elements and the size of a vector of this very type; false for anything else.
    virtual bool SetValue(const ZvValue& value);

    /// Copies all elements to target, which must have room for them.
    virtual void GetValue(void* target) const;

    /// The run-time type of T.
    virtual const std::type_info& TypeID() const;

private:
    void AddGrowing(const T& value);
    void GrowFor(unsigned long long needed);
    void Reallocate(unsigned long long capacity);
    void AppendStep(ZvStream$& stream, ZvCoder* coder, size_t step, unsigned long long reserved);

    T* first = nullptr;
    T* last = nullptr;
    T* end = nullptr;
};

#include "zvc/values/ZvElements.inc"
#define ZV_EXTERN_VECTOR(...)                                   \
    template <> ZV_API ZvType ZvVector<__VA_ARGS__>::s_type;    \
    extern template class ZvVector<__VA_ARGS__>;
ZV_ELEMENTS_VECTOR(ZV_EXTERN_VECTOR)
#undef ZV_EXTERN_VECTOR
