#pragma once

// What the binary coder asks of the remoting floor above it. Internal; not for clients.

#include "zvc/core/ZvHandle.h"

class ZvChannel;

namespace zvc::detail {

/// The reference that is written in place of object when it goes by reference, told its channel; null for all others.
ZvObject$ ReferenceInPlaceOf(const ZvObject* object, ZvChannel* channel);

/// True for the classes of references.
bool IsReference(const ZvType* type);

/// Tells object, a reference, its channel.
void AttachReference(ZvObject* object, ZvChannel* channel);

}
