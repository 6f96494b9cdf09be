#pragma once

#include "zvc/core/ZvDeclare.h"

ZV_DECLARE_HANDLE(ZvObjRef, ZvObject$);

/// Base of everything that crosses a channel as a reference and not by value. Copies share the reference.
class ZV_API ZvMarshalByRefObject : public ZvObject {
    ZV_DECLARE_CLASS(ZvMarshalByRefObject)
public:
    ZvMarshalByRefObject();
    ZvMarshalByRefObject(const ZvMarshalByRefObject& other);
    ZvMarshalByRefObject& operator=(const ZvMarshalByRefObject& other);
    ~ZvMarshalByRefObject() override;

    /// The reference that stands for this object on a channel: made at the first call, and the same from then on. The object
    /// and its reference hold each other, so that an object that was marshalled stays. Any thread.
    virtual ZvObjRef$ CreateObjRef();

protected:
    ZvObjRef$ m_objRef;              // null until it is first needed
};
