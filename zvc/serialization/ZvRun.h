#pragma once

// Runs of equal elements through a coder: what arrays and vectors are made of. Internal; not for clients.
//
// A coder sees every element of a run through its own overload of Write or Read. Only the library's own binary coder,
// exactly, moves a run at once; the bytes and the failures are the same.

#include "zvc/serialization/ZvCoder.h"

class ZvBinaryCoder;

namespace zvc::detail {

/// Writes count elements in order.
template <class T>
void WriteRun(ZvStream$& stream, ZvCoder* coder, const T* values, size_t count);

/// Reads count elements in order, in place, into memory that holds none yet; handles must be null before. done counts them, so
/// that it tells how many had arrived when one raises. Where a coder of somebody else leaves an element alone it is zero.
template <class T>
void ReadRun(ZvStream$& stream, ZvCoder* coder, T* values, size_t count, size_t& done);

/// Ends a reader that goes on where nothing arrives any more: a memory stream gives its last byte for ever, and an element
/// may be made of it, or of no bytes at all. After so much of that comes ZvCoderException (StreamFailed). A coder that is
/// no ZvBinaryCoder may take its values from elsewhere, and have no stream: it is believed until its stream has failed.
class ZV_API Arrival {
public:
    Arrival(ZvStream$& stream, ZvCoder* coder);
    /// An element of that many bytes has come.
    void After(size_t bytes) {
        m_bytes += bytes;
        if (m_bytes >= Slack && m_stream != nullptr) Look();
    }
    /// True when nothing has arrived since the last call, or since the beginning, as far as the stream and the coder tell.
    bool StandsStill();

private:
    static constexpr size_t Slack = 64 * 1024;
    void Look();
    unsigned long long Taken() const;

    ZvStream$& m_stream;
    ZvBinaryCoder* m_counter;                // knows how many bytes came; null where that says nothing
    long long m_position;
    unsigned long long m_taken;
    size_t m_bytes = 0;
};

/// How many of the remaining elements a reader may make room for now. A count out of a stream is believed only as fast
/// as elements arrive: the answer is remaining where the stream surely holds as many (each takes elementBytes at the
/// least), and otherwise grows with what has arrived already.
ZV_API size_t RoomFor(ZvStream$& stream, ZvCoder* coder, size_t elementBytes, size_t arrived, size_t remaining);

/// The same for the bytes of a raw block. A coder that is no ZvBinaryCoder is asked for the whole block at once: it may have
/// a form of its own for blocks.
ZV_API size_t RoomForBlock(ZvStream$& stream, ZvCoder* coder, size_t arrived, size_t remaining);

}
