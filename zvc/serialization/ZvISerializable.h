#pragma once

#include "zvc/core/ZvDeclare.h"

ZV_DECLARE_HANDLE(ZvSerializationInfo, ZvObject$);

/// For a class that is stored as a bag of named values, without reflected fields and without a codec of its own (a codec
/// would win). It also has a reflected constructor that takes one ZvObject$, the ZvSerializationInfo, by which the coder
/// rebuilds it.
class ZV_API ZvISerializable : public ZvInterface {
    ZV_DECLARE_INTERFACE(ZvISerializable)
public:
    ~ZvISerializable() override;

    /// Puts the object's values into info by SetValue.
    virtual void GetObjectData(ZvSerializationInfo$& info) = 0;
};

ZV_DECLARE_INTERFACE_HANDLE(ZvISerializable, ZvInterface$);
