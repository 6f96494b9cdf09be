#pragma once

#include "zvc/values/ZvValue.h"

/// Base of the typed arrays: what generic code needs beside ZvValue, the storage behind one address. Count is the number
/// of elements in the arrays; here it is the 1 of ZvValue.
class ZV_API ZvArrayValue : public ZvValue {
    ZV_DECLARE_CLASS(ZvArrayValue)
public:
    ~ZvArrayValue() override;

    /// Where element 0 stands; the others follow without gaps. Null for an array that has no buffer. The address is valid
    /// until the array replaces its buffer.
    virtual void* GetBaseAddress() = 0;
    virtual void* GetBaseAddress() const = 0;
};
