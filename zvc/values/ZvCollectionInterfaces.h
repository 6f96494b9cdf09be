#pragma once

// The interfaces of the collections. All of them hold ZvObject$ handles; a handle may be null.

#include "zvc/core/ZvDeclare.h"

ZV_DECLARE_INTERFACE_HANDLE(ZvIEnumerator, ZvInterface$);
ZV_DECLARE_INTERFACE_HANDLE(ZvIDictionaryEnumerator, ZvIEnumerator$);
ZV_DECLARE_INTERFACE_HANDLE(ZvIEnumeratable, ZvInterface$);
ZV_DECLARE_INTERFACE_HANDLE(ZvICollection, ZvIEnumeratable$);
ZV_DECLARE_INTERFACE_HANDLE(ZvIList, ZvICollection$);
ZV_DECLARE_INTERFACE_HANDLE(ZvIDictionary, ZvICollection$);
ZV_DECLARE_HANDLE(ZvDictionaryEntry, ZvObject$);

/// A walk over a collection. It holds no reference on the collection, which must outlive it, and no lock; a change to the
/// collection meanwhile goes unnoticed.
class ZV_API ZvIEnumerator : public ZvInterface {
    ZV_DECLARE_INTERFACE(ZvIEnumerator)
public:
    ~ZvIEnumerator() override;
    virtual bool HasNext() = 0;
    /// The element at the position, which then moves on. The end is not checked.
    virtual ZvObject$ Next() = 0;
    virtual void Reset() = 0;
};

class ZvDictionaryEntry;

/// A walk over a dictionary. Entry, Key and Value look at the position without moving on.
class ZV_API ZvIDictionaryEnumerator : public ZvIEnumerator {
    ZV_DECLARE_INTERFACE(ZvIDictionaryEnumerator)
public:
    ~ZvIDictionaryEnumerator() override;
    virtual ZvDictionaryEntry Entry() = 0;
    virtual ZvObject$ Key() = 0;             ///< null at the end
    virtual ZvObject$ Value() = 0;
};

/// What can be walked over.
class ZV_API ZvIEnumeratable : public ZvInterface {
    ZV_DECLARE_INTERFACE(ZvIEnumeratable)
public:
    ~ZvIEnumeratable() override;
    /// A new enumerator on the first element.
    virtual ZvIEnumerator$ GetEnumerator() const = 0;
    virtual ZvIEnumerator$ GetEnumerator() = 0;
};

/// What has elements.
class ZV_API ZvICollection : public ZvIEnumeratable {
    ZV_DECLARE_INTERFACE(ZvICollection)
public:
    ~ZvICollection() override;
    virtual size_t Count() const = 0;        ///< of the elements
    virtual void Clear() = 0;
    virtual bool Contains(ZvObject$ const& value) const = 0;     ///< a dictionary is asked for a key
};

/// Elements by index, from 0. What an index outside does is the class's affair.
class ZV_API ZvIList : public ZvICollection {
    ZV_DECLARE_INTERFACE(ZvIList)
public:
    ~ZvIList() override;
    virtual ZvObject$ const& operator[](size_t index) const = 0;
    virtual ZvObject$& operator[](size_t index) = 0;
    virtual ZvObject$ const& ItemAt(size_t index) const = 0;
    virtual ZvObject$& ItemAt(size_t index) = 0;
    virtual size_t Add(ZvObject$ const& value) = 0;              ///< behind the last; its index
    virtual size_t IndexOf(ZvObject$ const& value) const = 0;    ///< the first; all ones when there is none
    virtual void Insert(size_t index, ZvObject$ const& value) = 0;
    virtual void Remove(size_t first, size_t last) = 0;          ///< first up to, and without, last
    virtual void Remove(ZvObject$ const& value) = 0;             ///< the first occurrence
    virtual void RemoveAt(size_t index) = 0;
};

/// Values by key.
class ZV_API ZvIDictionary : public ZvICollection {
    ZV_DECLARE_INTERFACE(ZvIDictionary)
public:
    ~ZvIDictionary() override;
    virtual ZvObject$& operator[](ZvObject$ const& key) = 0;     ///< made with a null value when it is not there
    virtual ZvObject$ Find(ZvObject$ const& key) const = 0;      ///< null when there is none
    virtual ZvObject$ Find(ZvObject$ const& key) = 0;
    virtual ZvICollection$ Keys() = 0;
    virtual ZvICollection$ Values() = 0;
    virtual void Add(ZvObject$ const& key, ZvObject$ const& value) = 0;
    virtual void Remove(ZvObject$ const& key) = 0;
};
