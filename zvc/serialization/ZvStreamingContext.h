#pragma once

#include "zvc/core/ZvDeclare.h"

class ZvBinaryCoder;

/// Tells a coder for what purpose it codes.
class ZV_API ZvStreamingContext : public ZvObject {
    ZV_DECLARE_CLASS(ZvStreamingContext)
public:
    enum States : int {
        TrackObjects = 1,        ///< every object has an identity in the stream: shared objects stay shared
        MarshalChannel = 4,
        MarshalOther = 8
    };

    explicit ZvStreamingContext(States state);
    ZvStreamingContext(const ZvStreamingContext& other);
    ZvStreamingContext& operator=(const ZvStreamingContext& other);
    ~ZvStreamingContext() override;

private:
    friend class ZvBinaryCoder;
    States m_state;
};

ZV_DECLARE_HANDLE(ZvStreamingContext, ZvObject$);
