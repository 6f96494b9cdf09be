#pragma once

#include "zvc/core/ZvException.h"
#include "zvc/values/ZvPrimArray.h"

/// A named block of memory could not be made.
class ZV_API ZvSharedMemoryException : public ZvException {
    ZV_DECLARE_CLASS(ZvSharedMemoryException)
public:
    explicit ZvSharedMemoryException(const char* message);
    ZvSharedMemoryException(const ZvSharedMemoryException& other);
    ~ZvSharedMemoryException() override;
};

/// A typed array in named memory that processes share. In a stream it is its count and its name alone: whoever decodes it
/// sees the very same elements, however many there are, and none is copied.
///
/// The memory goes when the last array on it is gone, in whichever process; until the receiver has decoded its own, the
/// sender keeps its. Names are chosen by the caller: arrays of one name share one block. It holds the bare elements, and
/// not their type or count.
///
/// Nothing here locks: who writes when is a matter of the calls that carry the array. Hold it through one handle: copies
/// share memory that the first destructor gives back.
template <class T>
class ZV_API ZvSharePrimArray : public ZvPrimArray<T> {
public:
    static ZvType s_type;
    static ZvBase* GetBases();
    ZvType* GetType() const override { return &s_type; }
    long ReferenceCount() const override;
    void Retain() override;
    void Release() override;

    ZvSharePrimArray();                                               ///< no elements and no memory: for Decode

    /// A block of the source's elements, or of count elements from data; with null data they are as the block has them (a
    /// new one is zero). A block of that name is used as it is and written over. The block must hold at least one byte, and
    /// its size is cut to 32 bits while the count is kept: arrays of 4 GiB and more are not supported.
    ///
    /// Raises ZvSharedMemoryException, "CreateFileMapping(%ld) error." with the system's error number, when there is no
    /// block, or when the one there is ends, with its last page, before the elements do.
    ZvSharePrimArray(ZvString$ name, const ZvPrimArray<T>& source);
    ZvSharePrimArray(ZvString$ name, size_t count, const T* data);

    /// A heap copy of the elements that nevertheless closes the shared handle in the end; the heap copy is never freed.
    /// Nothing in the library uses it: Clone gives a plain array.
    ZvSharePrimArray(const ZvSharePrimArray& other);

    /// Takes count, address, handle and name as values; what this array had is not given back.
    ZvSharePrimArray& operator=(const ZvSharePrimArray& other);
    ~ZvSharePrimArray() override;

    static ZvObject* CreateInstance();                                ///< an array without memory

    /// The count in its low 32 bits, and the name.
    void Encode(ZvStream$& stream, ZvCoder* coder) const override;

    /// Opens the block of the stream's name. Nothing is raised when there is none, or when it ends, with its last page,
    /// before the elements do: the array has its count then, and a null address.
    void Decode(ZvStream$& stream, ZvCoder* coder) override;

private:
    void Create(unsigned long long newCount, const T* source);

    void* m_mapping = nullptr;
    ZvString$ m_name;
};

#include "zvc/values/ZvElements.inc"
#define ZV_EXTERN_SHARED(...)                                          \
    template <> ZV_API ZvType ZvSharePrimArray<__VA_ARGS__>::s_type;   \
    extern template class ZvSharePrimArray<__VA_ARGS__>;
ZV_ELEMENTS_PLAIN(ZV_EXTERN_SHARED)
#undef ZV_EXTERN_SHARED
