#pragma once

// Runs of equal elements through a coder: what arrays and vectors are made of. Internal; not for clients.
//
// A coder sees every element of a run through its own overload of Write or Read. Only the library's own binary coder,
// exactly, moves a run at once; the bytes and the failures are the same.

#include "zvc/serialization/ZvCoder.h"

namespace zvc::detail {

/// Writes count elements in order.
template <class T>
void WriteRun(ZvStream$& stream, ZvCoder* coder, const T* values, size_t count);

/// Reads count elements in order, in place.
template <class T>
void ReadRun(ZvStream$& stream, ZvCoder* coder, T* values, size_t count);

/// How many of the remaining elements a reader may make room for now. A count out of a stream is believed only as fast
/// as elements arrive: the answer is remaining where the stream surely holds as many (each takes elementBytes at the
/// least), and otherwise grows with what has arrived already.
ZV_API size_t RoomFor(ZvStream$& stream, ZvCoder* coder, size_t elementBytes, size_t arrived, size_t remaining);

}
