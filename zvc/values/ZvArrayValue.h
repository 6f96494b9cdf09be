#pragma once

#include "zvc/values/ZvValue.h"

/// Base of the typed arrays: what generic code needs beside ZvValue, the storage behind one address.
class ZV_API ZvArrayValue : public ZvValue {
    ZV_DECLARE_CLASS(ZvArrayValue)
public:
    ~ZvArrayValue() override;

    /// The number of elements.
    unsigned long long Count() const override = 0;

    /// Where element 0 stands; the others follow without gaps. Null for an array that has no buffer. The address is valid
    /// until the array replaces its buffer.
    virtual void* GetBaseAddress() = 0;
    virtual void* GetBaseAddress() const = 0;
};
