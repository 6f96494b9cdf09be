#pragma once

// The inside of ZvBinaryCoder that its source files share. Internal; not for clients.

#include "zvc/core/ZvField.h"
#include "zvc/serialization/ZvBinaryCoder.h"

#include <cstring>
#include <deque>
#include <unordered_map>

namespace zvc::detail {

/// Copies fewer than 16 bytes: short strings and numbers are many, and a call for each takes longer than this.
inline void CopyShort(void* to, const void* from, size_t size) {
    auto* const target = static_cast<unsigned char*>(to);
    const auto* const source = static_cast<const unsigned char*>(from);
    const auto ends = [&]<class Word>(Word) {
        Word first, last;
        std::memcpy(&first, source, sizeof(Word));
        std::memcpy(&last, source + size - sizeof(Word), sizeof(Word));
        std::memcpy(target, &first, sizeof(Word));
        std::memcpy(target + size - sizeof(Word), &last, sizeof(Word));
    };
    if (size == 1) *target = *source;
    else if (size >= 8) ends(uint64_t());
    else if (size >= 4) ends(uint32_t());
    else if (size >= 2) ends(uint16_t());
}

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
    bool goesByReference = false;    // out of the process, where its objects wish so
    bool isType = false;             // its objects are descriptors
    long long id = 0;                // once the type has one
    bool hasFields = false;
    std::vector<ZvField$> fields;    // the fields of today, in the order of the class's dictionary
    ZvDictionary$ current;           // the same by name
    const Layout* stored = nullptr;  // once it is known
};

class ZvBinaryCoder::Plans {
public:
    /// Where a back reference to a type led. An id leads to one object for as long as the conversation lasts.
    struct Reference {
        long long id = -1;
        ZvType* type = nullptr;
    };

    Plan& Of(ZvType* type) {
        Plan*& recent = m_recent[PlaceOf(type)];
        if (recent == nullptr || recent->type != type) recent = &Look(type);
        return *recent;
    }

    /// The one of this id, or one of another id, which may be replaced.
    Reference& ReferenceOf(long long id) { return m_references[static_cast<size_t>(id) % RecentIds]; }

    Plans() = default;
    Plans(const Plans& other);

private:
    static constexpr size_t Recent = 128;         // the classes of a document are few and take turns
    static constexpr size_t RecentIds = 32;
    static size_t PlaceOf(const ZvType* type) { return (reinterpret_cast<uintptr_t>(type) * 0x9E3779B97F4A7C15ull) >> 57; }
    Plan& Look(ZvType* type);

    std::deque<Plan> m_plans;
    std::unordered_map<const ZvType*, Plan*> m_byType;
    Plan* m_recent[Recent] = {};
    Reference m_references[RecentIds];
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

// What most forms are: a few bytes, into the window. False where they do not fit there.
template <class... Bytes>
inline bool ZvBinaryCoder::PutFew(ZvStream$& stream, Bytes... bytes) {
    unsigned char* at = m_out.IsOn(stream.Get()) ? m_out.Room(sizeof...(bytes)) : nullptr;
    if (at == nullptr) return false;
    ((*at++ = static_cast<unsigned char>(bytes)), ...);
    m_out.Advance(sizeof...(bytes));
    return true;
}

inline void ZvBinaryCoder::WriteTag(ZvStream$& stream, unsigned char tag) {
    if (!PutFew(stream, tag)) Put(stream, &tag, 1);
}

inline void ZvBinaryCoder::PutForm(ZvStream$& stream, unsigned char firstTag, unsigned long long value) {
    if (value > 0xFF || !PutFew(stream, firstTag, value)) PutForm(stream, firstTag, value, CalcSignificantByte(value), false);
}

inline unsigned char ZvBinaryCoder::ReadTag(ZvStream$& stream) {
    if (m_tagStack.empty() && m_in.IsOn(stream.Get())) {
        if (const unsigned char* at = m_in.AtHand(1)) {
            m_in.Advance(1);
            return *at;
        }
    }
    return TakeTag(stream);
}

// Two bytes that begin with this tag, when they are at hand: most forms are so short.
inline const unsigned char* ZvBinaryCoder::ShortForm(ZvStream$& stream, unsigned char tag) {
    if (!m_tagStack.empty() || !m_in.IsOn(stream.Get())) return nullptr;
    const unsigned char* const at = m_in.AtHand(2);
    return at != nullptr && *at == tag ? at : nullptr;
}

/// The number of that many bytes, 1 to 8.
inline unsigned long long ZvBinaryCoder::TakeBytes(ZvStream$& stream, unsigned int bytes) {
    if (bytes == 1 && m_in.IsOn(stream.Get())) {
        if (const unsigned char* at = m_in.AtHand(1)) {
            m_in.Advance(1);
            return *at;
        }
    }
    return TakeNumber(stream, bytes);
}

// A tag and that many bytes of a number, where that can be done without the stream. No byte behind them is touched: in the middle
// of a memory stream there is something.
inline bool ZvBinaryCoder::PutTagged(ZvStream$& stream, unsigned char tag, unsigned long long value, unsigned int bytes) {
    if (!m_out.IsOn(stream.Get())) return false;
    if (unsigned char* at = m_out.Room(bytes + 1)) {
        *at = tag;
        zvc::detail::CopyShort(at + 1, &value, bytes);
        m_out.Advance(bytes + 1);
        return true;
    }
    unsigned char form[9];
    form[0] = tag;
    std::memcpy(form + 1, &value, 8);
    return m_out.Put(form, bytes + 1);
}
