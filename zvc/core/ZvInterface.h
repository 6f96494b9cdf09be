#pragma once

#include "zvc/core/ZvObject.h"

/// Root of all abstract interfaces. An interface subobject is one table of virtual operations without data; it lies
/// behind the ZvObject part of the class that implements it, and forwards its count there.
class ZV_API ZvInterface : public ZvSuper {
public:
    ZvInterface() = default;
    ZvInterface(const ZvInterface&) = default;
    ZvInterface(ZvInterface&&) = default;
    ZvInterface& operator=(const ZvInterface&) = default;
    ZvInterface& operator=(ZvInterface&&) = default;
    ~ZvInterface() override;

    ZvType* GetType() const override;
    virtual long ReferenceCount() const = 0;
    virtual void Retain() = 0;
    virtual void Release() = 0;

    static ZvType s_type;
    static ZvBase s_bases[2];

    /// The object that implements the interface at p, and the interface that o implements; null in both directions
    /// when there is none or the argument is null. One ZvInterface offset is known per class: the first.
    static ZvObject* ToObject(const ZvInterface* p);
    static ZvInterface* FromObject(const ZvObject* o);
};
