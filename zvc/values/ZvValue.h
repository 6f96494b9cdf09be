#pragma once

#include "zvc/core/ZvDeclare.h"
#include "zvc/values/ZvValueType.h"

/// Base of boxes, arrays and vectors: the one interface by which generic code puts a value in or gets it out, in a
/// representation that it names by its kind. No locking.
class ZV_API ZvValue : public ZvObject {
    ZV_DECLARE_CLASS(ZvValue)
public:
    ~ZvValue() override;

    /// How many elements the value holds. Here: 1.
    virtual unsigned long long Count() const;

    /// Converts the value of kind type at source into element index. False, and nothing changes, for a kind that is not
    /// accepted. A box ignores the index; nobody checks it.
    virtual bool SetValue(const void* source, ZvValueType type, int index) = 0;

    /// Converts element index into a value of kind type at target.
    virtual bool GetValue(void* target, ZvValueType type, int index) const = 0;

    /// The descriptor of the box, or of the array, of a kind; null for a number that names none.
    static ZvType* FindType(ZvValueType type);
    static ZvType* FindArrayType(ZvValueType type);
};
