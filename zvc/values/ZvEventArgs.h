#pragma once

#include "zvc/core/ZvDeclare.h"

/// The empty payload of an event. A class that derives from it carries the event's data.
class ZV_API ZvEventArgs : public ZvObject {
    ZV_DECLARE_CLASS(ZvEventArgs)
    ZV_DECLARE_TABLES()
public:
    ZvEventArgs();
    ZvEventArgs(const ZvEventArgs& other);
    ZvEventArgs& operator=(const ZvEventArgs&) { return *this; }
    ~ZvEventArgs() override;
};
ZV_DECLARE_HANDLE(ZvEventArgs, ZvObject$);
