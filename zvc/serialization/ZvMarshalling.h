#pragma once

// What the binary coder asks of the remoting floor above it. Internal; not for clients.

#include "zvc/core/ZvHandle.h"

class ZvChannel;

namespace zvc::detail {

/// True for the classes whose objects stay at home, and reach other processes as references.
bool GoesByReference(const ZvType* type);

/// The reference that is written in place of object, which is of such a class, told its channel; null when it makes none.
ZvObject$ ReferenceInPlaceOf(const ZvObject* object, ZvChannel* channel);

/// True for the classes of references.
bool IsReference(const ZvType* type);

/// Tells object, a reference, its channel.
void AttachReference(ZvObject* object, ZvChannel* channel);

}
