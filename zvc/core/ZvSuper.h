#pragma once

#include "zvc/platform/Api.h"

#include <cstddef>
#include <cstdint>

class ZvType;
class ZvObject;

/// One entry of a class's base table. A table is an array of entries that ends with one whose type is null.
/// Object-branch bases stand first (the primary base at offset 0), interfaces follow with their real offsets.
struct ZvBase {
    ZvType* type = nullptr;      ///< the base class; null ends the table
    uint64_t offset = 0;         ///< bytes from the start of the derived object to the base subobject

    constexpr ZvBase() = default;
    constexpr ZvBase(ZvType* baseType, size_t baseOffset) : type(baseType), offset(baseOffset) {}
};

/// The answer of every offset query that finds no base.
inline constexpr size_t ZvNoOffset = ~size_t(0);

/// Root of both branches of the class tree: concrete objects (ZvObject) and abstract interfaces (ZvInterface).
/// It has no data and no bases of its own.
class ZV_API ZvSuper {
public:
    virtual ~ZvSuper() = default;

    /// The descriptor of the object's most derived reflected class. Never null.
    virtual ZvType* GetType() const;

    /// True when the object's class is t or derives from it. Any thread.
    bool IsKindOf(const ZvType* t) const;

    static ZvType s_type;
    static ZvBase s_bases[1];    ///< holds the terminating entry alone
};
