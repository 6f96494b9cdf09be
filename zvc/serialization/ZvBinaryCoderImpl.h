#pragma once

// The inside of ZvBinaryCoder that its source files share. Internal; not for clients.

#include "zvc/core/ZvField.h"
#include "zvc/serialization/ZvBinaryCoder.h"

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
    long long id = 0;                // once the type has one
    bool hasFields = false;
    std::vector<ZvField$> fields;    // the fields of today, in the order of the class's dictionary
    ZvDictionary$ current;           // the same by name
    const Layout* stored = nullptr;  // once it is known
};

class ZvBinaryCoder::Plans {
public:
    Plan& Of(ZvType* type);

    Plans() = default;
    Plans(const Plans& other);

private:
    std::deque<Plan> m_plans;
    std::unordered_map<const ZvType*, Plan*> m_byType;
    Plan* m_last = nullptr;
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
