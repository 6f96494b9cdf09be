#pragma once

#include "zvc/core/ZvException.h"

/// A message that must not be sent now, or a call that cannot be run.
class ZV_API ZvChannelException : public ZvException {
    ZV_DECLARE_CLASS(ZvChannelException)
public:
    explicit ZvChannelException(const char* message);
    ZvChannelException(const ZvChannelException& other);
    ZvChannelException& operator=(const ZvChannelException& other);
    ~ZvChannelException() override;
};
