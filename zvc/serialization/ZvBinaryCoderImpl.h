#pragma once

// The inside of ZvBinaryCoder that its source files share. Internal; not for clients.

#include "zvc/core/ZvField.h"
#include "zvc/serialization/ZvBinaryCoder.h"

#include <cstring>
#include <deque>
#include <unordered_map>

namespace zvc::detail {

[[noreturn]] void RaiseCoder(ZvCoderException::Causes cause, const char* function,
                             unsigned int line = __builtin_LINE());

/// Keeps a window open for the span of a call. A gathered transfer that fails at the end is reported there, unless the
/// call ends in an exception already.
class OutputScope {
public:
    OutputScope(OutputWindow& window, ZvStream$& stream) : m_window(window) { window.Open(stream.Get()); }
    ~OutputScope() {
        if (!m_closed) m_window.Close();
    }
    OutputScope(const OutputScope&) = delete;
    void Finish() {
        m_closed = true;
        if (!m_window.Close()) RaiseCoder(ZvCoderException::StreamFailed, "ZvBinaryCoder::Write");
    }

private:
    OutputWindow& m_window;
    bool m_closed = false;
};

class InputScope {
public:
    InputScope(InputWindow& window, ZvStream$& stream) : m_window(window) { window.Open(stream.Get()); }
    ~InputScope() { m_window.Close(); }
    InputScope(const InputScope&) = delete;

private:
    InputWindow& m_window;
};

}

struct ZvBinaryCoder::StoredField {
    ZvField$ field;                  // the field of today with that name and that very type, or null: read and drop
    ZvType$ type;                    // as the stream declared it
};

/// What one direction of the coder knows of a type. The kind is the reader's own business: it is not in the stream.
struct ZvBinaryCoder::Plan {
    ZvType* type = nullptr;
    Kind kind = Kind::Codec;
    bool isReference = false;        // derived from ZvObjRef: learns the channel it came through
    bool isType = false;             // its objects are descriptors
    long long id = 0;                // once the type has one
    bool hasFields = false;
    std::vector<ZvField$> fields;    // the fields of today, in the order of the class's dictionary
    ZvDictionary$ current;           // the same by name
    const Layout* stored = nullptr;  // once it is known
};

class ZvBinaryCoder::Plans {
public:
    Plan& Of(ZvType* type) {
        Plan*& recent = m_recent[PlaceOf(type)];
        if (recent == nullptr || recent->type != type) recent = &Look(type);
        return *recent;
    }

    Plans() = default;
    Plans(const Plans& other);

private:
    static constexpr size_t Recent = 16;          // the classes of a document are few and take turns
    static size_t PlaceOf(const ZvType* type) { return (reinterpret_cast<uintptr_t>(type) * 0x9E3779B97F4A7C15ull) >> 60; }
    Plan& Look(ZvType* type);

    std::deque<Plan> m_plans;
    std::unordered_map<const ZvType*, Plan*> m_byType;
    Plan* m_recent[Recent] = {};
};

// The causes of a stream that cannot be written or read differ between the operations. Programs tell them apart, so they
// stay as they are.
inline void ZvBinaryCoder::RequireWrite(ZvStream$& stream, ZvCoderException::Causes cause, const char* function) {
    if (!m_out.IsOn(stream.Get()) && !stream->CanWrite()) zvc::detail::RaiseCoder(cause, function);
}

inline void ZvBinaryCoder::RequireRead(ZvStream$& stream, ZvCoderException::Causes cause, const char* function) {
    if (!m_in.IsOn(stream.Get()) && !stream->CanRead()) zvc::detail::RaiseCoder(cause, function);
}

inline void ZvBinaryCoder::Put(ZvStream$& stream, const void* data, size_t size) {
    if (m_out.IsOn(stream.Get()) && m_out.Put(data, size)) return;
    stream->Write(data, static_cast<long long>(size));
}

// A tag and that many bytes of a number, which has no others, where that can be done without the stream. While there is room
// for eight bytes they move as one word, and those behind the number stay as they are: a stream may be written in its middle.
inline bool ZvBinaryCoder::PutTagged(ZvStream$& stream, unsigned int tag, unsigned long long value, unsigned int bytes) {
    if (!m_out.IsOn(stream.Get())) return false;
    if (unsigned char* at = m_out.Room(9)) {
        *at = static_cast<unsigned char>(tag);
        unsigned long long word;
        std::memcpy(&word, at + 1, 8);
        word = value | (word & ~(~0ull >> (64 - 8 * bytes)));
        std::memcpy(at + 1, &word, 8);
        m_out.Advance(bytes + 1);
        return true;
    }
    unsigned char form[9];
    form[0] = static_cast<unsigned char>(tag);
    std::memcpy(form + 1, &value, 8);
    return m_out.Put(form, bytes + 1);
}
