#include "zvc/serialization/ZvRun.h"

#include "zvc/serialization/ZvBinaryCoderImpl.h"
#include "zvc/serialization/ZvMemoryStream.h"
#include "zvc/values/CG.h"
#include "zvc/imaging/zvcolor.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <type_traits>
#include <typeinfo>

namespace zvc::detail {

/// What runs may do with the binary coder's windows.
struct RunAccess {
    static ZvBinaryCoder* Exactly(ZvCoder* coder) {
        return typeid(*coder) == typeid(ZvBinaryCoder) ? static_cast<ZvBinaryCoder*>(coder) : nullptr;
    }
    static OutputWindow& Out(ZvBinaryCoder& coder) { return coder.m_out; }
    static InputWindow& In(ZvBinaryCoder& coder) { return coder.m_in; }
    static size_t Take(ZvBinaryCoder& coder, ZvStream$& stream, void* data, size_t size) { return coder.Take(stream, data, size); }
    static unsigned long long Taken(const ZvBinaryCoder& coder) { return coder.m_taken + coder.m_in.Filled(); }
    static bool TagIsPushed(const ZvBinaryCoder& coder) { return !coder.m_tagStack.empty(); }
};

namespace {

// Elements that are nothing but raw floating-point bytes in the stream, one after the other without tags.
template <class T> struct Scalar { using type = T; };
template <class E> struct Scalar<CG::vec2<E>> { using type = E; };
template <class E> struct Scalar<CG::vec3<E>> { using type = E; };
template <class E> struct Scalar<CG::vec4<E>> { using type = E; };
template <class E> struct Scalar<CG::mat3<E>> { using type = E; };
template <class E> struct Scalar<CG::mat4<E>> { using type = E; };
template <class E> struct Scalar<CG::rotation<E>> { using type = E; };
template <> struct Scalar<zvcolor> { using type = float; };
template <class T> using ScalarOf = typename Scalar<T>::type;
template <class T> constexpr bool IsRaw = std::is_floating_point_v<ScalarOf<T>>;
template <class T> constexpr bool IsInteger = std::is_integral_v<ScalarOf<T>> && !std::is_same_v<T, bool>;

/// Whether the coder is one that reads the binary format, the library's own or derived from it.
bool IsBinary(const ZvCoder* coder) { return dynamic_cast<const ZvBinaryCoder*>(coder) != nullptr; }

/// What is granted at first where a count may be a lie, in bytes.
constexpr size_t FirstGrant = 64 * 1024;

constexpr unsigned char FirstInteger = ZvBinaryCoder::TagInt;

/// The unsigned number that an integer is written as; its width bounds the tags that are read back.
template <class S>
using Bits = std::make_unsigned_t<S>;

template <class S>
unsigned char* PutForm(unsigned char* at, S value) {
    const uint64_t bits = static_cast<Bits<S>>(value);
    const auto n = sizeof(S) == 1 ? 1u : static_cast<unsigned int>((std::bit_width(bits | 1) + 7) / 8);
    at[0] = static_cast<unsigned char>(FirstInteger + n - 1);
    std::memcpy(at + 1, &bits, 8);
    return at + 1 + n;
}

/// Writes forms in blocks. Answers how many elements are done: the first block that does not fit ends it.
template <class S>
size_t PutIntegers(OutputWindow& out, const S* values, size_t count) {
    constexpr size_t BlockElements = 504;       // whole elements of two, three and four
    unsigned char block[BlockElements * (sizeof(S) + 1) + 8];
    size_t done = 0;
    while (done < count) {
        const size_t n = std::min(count - done, BlockElements);
        unsigned char* at = block;
        for (size_t i = 0; i < n; ++i) at = PutForm(at, values[done + i]);
        if (!out.Put(block, static_cast<size_t>(at - block))) break;
        done += n;
    }
    return done;
}

/// Reads forms as far as they are at hand. Answers how many elements are done.
template <class S>
size_t TakeIntegers(InputWindow& in, S* values, size_t count) {
    size_t done = 0;
    while (done < count) {
        constexpr size_t BlockElements = 512;
        constexpr size_t Shortest = 2;              // no more may be waited for: a message ends with the last element
        constexpr size_t Longest = 9;               // and no more is looked at
        const size_t n = std::min(count - done, BlockElements);
        size_t atHand = 0;
        const unsigned char* const start = in.Look(n * Shortest, atHand);
        if (start == nullptr || atHand < Longest) break;
        const unsigned char* const last = start + (atHand - Longest);
        const unsigned char* at = start;
        size_t i = 0;
        for (; i < n && at <= last; ++i) {
            const unsigned int k = static_cast<unsigned int>(at[0]) - FirstInteger;
            if (k >= sizeof(S)) break;             // a tag that this width refuses: the coder itself says so
            uint64_t bits;
            std::memcpy(&bits, at + 1, 8);
            values[done + i] = static_cast<S>(static_cast<Bits<S>>(bits & (~0ull >> (56 - 8 * k))));
            at += k + 2;
        }
        in.Advance(static_cast<size_t>(at - start));
        done += i;
        if (i == 0) break;
    }
    return done;
}

template <class T>
size_t WriteAtOnce(ZvBinaryCoder& coder, const T* values, size_t count) {
    OutputWindow& out = RunAccess::Out(coder);
    out.NoteChecked();
    if constexpr (IsRaw<T>) {
        return out.Put(values, count * sizeof(T)) ? count : 0;
    } else if constexpr (IsInteger<T>) {
        constexpr size_t per = sizeof(T) / sizeof(ScalarOf<T>);
        // Whole elements alone: the rest goes on at an element's start.
        return PutIntegers(out, reinterpret_cast<const ScalarOf<T>*>(values), count * per) / per;
    } else {
        return 0;
    }
}

template <class T>
size_t ReadAtOnce(ZvBinaryCoder& coder, ZvStream$& stream, T* values, size_t count) {
    if (RunAccess::TagIsPushed(coder)) return 0;
    InputWindow& in = RunAccess::In(coder);
    if constexpr (IsRaw<T>) {
        constexpr size_t Block = 32 * 1024 / sizeof(T);
        if (const unsigned char* all = in.Look(count * sizeof(T))) {
            std::memcpy(values, all, count * sizeof(T));
            in.Advance(count * sizeof(T));
            return count;
        }
        // From a pipe straight to its place.
        if (in.IsAhead()) return RunAccess::Take(coder, stream, values, count * sizeof(T)) / sizeof(T);
        size_t done = 0;
        while (done < count) {
            const size_t n = std::min(count - done, Block);
            const unsigned char* at = in.Look(n * sizeof(T));
            if (at == nullptr) break;
            std::memcpy(values + done, at, n * sizeof(T));
            in.Advance(n * sizeof(T));
            done += n;
        }
        return done;
    } else if constexpr (IsInteger<T> && sizeof(T) == sizeof(ScalarOf<T>)) {
        return TakeIntegers(in, values, count);
    } else {
        return 0;
    }
}

// A coder of somebody else may need no stream at all.
long long PositionOf(const ZvStream$& stream) { return stream ? stream->Tellg() : 0; }

}

// A memory stream's last byte counts as come each time: there the position alone tells.
Arrival::Arrival(ZvStream$& stream, ZvCoder* coder)
    : m_stream(stream),
      m_counter(coder->IsKindOf(&ZvBinaryCoder::s_type) && !stream->IsKindOf(&ZvMemoryStream::s_type)
                    ? static_cast<ZvBinaryCoder*>(coder) : nullptr),
      m_position(PositionOf(stream)), m_taken(Taken()) {}

unsigned long long Arrival::Taken() const { return m_counter != nullptr ? RunAccess::Taken(*m_counter) : 0; }

// A pipe has no position, and neither has a file behind 4 GiB; what the coder reads in place, in a window on memory or in a
// channel's buffer, it does not count. Each of the two tells where the other does not.
bool Arrival::StandsStill() {
    const long long position = PositionOf(m_stream);
    const unsigned long long taken = Taken();
    const bool moved = position != m_position || taken != m_taken;
    m_position = position;
    m_taken = taken;
    return !moved && (m_counter != nullptr || (m_stream && m_stream->Fail()));
}

void Arrival::Look() {
    if (StandsStill()) RaiseCoder(ZvCoderException::StreamFailed, "ZvBinaryCoder::Read");
    m_bytes = 0;
}

template <class T>
void WriteRun(ZvStream$& stream, ZvCoder* coder, const T* values, size_t count) {
    if (count == 0) return;
    size_t done = 0;
    ZvBinaryCoder* own = RunAccess::Exactly(coder);
    if (own == nullptr) {
        for (; done < count; ++done) coder->Write(stream, values[done]);
        return;
    }
    OutputScope scope(RunAccess::Out(*own), stream);
    if (RunAccess::Out(*own).IsOn(stream.Get())) done = WriteAtOnce(*own, values, count);
    for (; done < count; ++done) own->Write(stream, values[done]);
    scope.Finish();
}

template <class T>
void ReadRun(ZvStream$& stream, ZvCoder* coder, T* values, size_t count, size_t& done) {
    done = 0;
    if (count == 0) return;
    if (ZvBinaryCoder* own = RunAccess::Exactly(coder)) {
        InputScope scope(RunAccess::In(*own), stream);
        if (RunAccess::In(*own).IsOn(stream.Get())) done = ReadAtOnce(*own, stream, values, count);
        Arrival arrival(stream, coder);
        for (; done < count; ++done) {
            own->Read(stream, values[done]);
            arrival.After(sizeof(T));
        }
        return;
    }
    if constexpr (IsRaw<T> || std::is_integral_v<ScalarOf<T>>) std::memset(static_cast<void*>(values), 0, count * sizeof(T));
    Arrival arrival(stream, coder);
    for (; done < count; ++done) {
        coder->Read(stream, values[done]);
        arrival.After(sizeof(T));
    }
}

size_t RoomFor(ZvStream$& stream, ZvCoder* coder, size_t elementBytes, size_t arrived, size_t remaining) {
    if (ZvBinaryCoder* own = RunAccess::Exactly(coder)) {
        InputScope scope(RunAccess::In(*own), stream);
        InputWindow& in = RunAccess::In(*own);
        if (in.IsOn(stream.Get()) && in.Remaining() / elementBytes >= remaining) return remaining;
    }
    return std::min(remaining, std::max(arrived, FirstGrant / elementBytes + 1));
}

size_t RoomForBlock(ZvStream$& stream, ZvCoder* coder, size_t arrived, size_t remaining) {
    return IsBinary(coder) ? RoomFor(stream, coder, 1, arrived, remaining) : remaining;
}

#define ZV_RUN(...)                                                                            \
    template ZV_API void WriteRun(ZvStream$&, ZvCoder*, __VA_ARGS__ const*, size_t);          \
    template ZV_API void ReadRun(ZvStream$&, ZvCoder*, __VA_ARGS__*, size_t, size_t&);

ZV_RUN(bool)
ZV_RUN(char)
ZV_RUN(unsigned char)
ZV_RUN(short)
ZV_RUN(unsigned short)
ZV_RUN(int)
ZV_RUN(unsigned int)
ZV_RUN(long long)
ZV_RUN(unsigned long long)
ZV_RUN(float)
ZV_RUN(double)
ZV_RUN(CG::vec2<int>)
ZV_RUN(CG::vec2<float>)
ZV_RUN(CG::vec2<double>)
ZV_RUN(CG::vec3<int>)
ZV_RUN(CG::vec3<float>)
ZV_RUN(CG::vec3<double>)
ZV_RUN(CG::vec4<int>)
ZV_RUN(CG::vec4<float>)
ZV_RUN(CG::vec4<double>)
ZV_RUN(CG::mat3<float>)
ZV_RUN(CG::mat3<double>)
ZV_RUN(CG::mat4<float>)
ZV_RUN(CG::mat4<double>)
ZV_RUN(CG::rotation<float>)
ZV_RUN(CG::rotation<double>)
ZV_RUN(zvcolor)
ZV_RUN(ZvObject$)
ZV_RUN(ZvObject*)

}
