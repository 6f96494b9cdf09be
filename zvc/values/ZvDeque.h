#pragma once

// What the queue and the stack share. Internal; not for clients.

#include "zvc/values/ZvSequence.h"

#include <deque>

namespace zvc::detail::deque {

using Items = std::deque<ZvObject$>;

bool Contains(const Items& items, const ZvObject$& value);
size_t Hash(const Items& items, const char* function);
bool Equal(const Items& a, const Items& b, const char* function);
void Decode(ZvStream$& stream, ZvCoder* coder, Items& items);

}
