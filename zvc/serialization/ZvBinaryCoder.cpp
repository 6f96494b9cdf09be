#include "zvc/serialization/ZvBinaryCoder.h"

#include "zvc/serialization/ZvBinaryCoderImpl.h"
#include "zvc/values/ZvString.h"

#include <algorithm>
#include <bit>
#include <cstring>

ZV_DEFINE_CLASS(ZvBinaryCoder, (ZvCoder))

// A constant that is bound to a reference needs a place.
const unsigned char ZvBinaryCoder::TagAscii;
const unsigned char ZvBinaryCoder::TagNull;
const unsigned char ZvBinaryCoder::TagFalse;
const unsigned char ZvBinaryCoder::TagTrue;
const unsigned char ZvBinaryCoder::TagNewType;
const unsigned char ZvBinaryCoder::TagNewObject;
const unsigned char ZvBinaryCoder::TagNewSymbol;
const unsigned char ZvBinaryCoder::TagNewObjRef;
const unsigned char ZvBinaryCoder::TagNewType1;
const unsigned char ZvBinaryCoder::TagStringLT16;
const unsigned char ZvBinaryCoder::TagStringGE16;
const unsigned char ZvBinaryCoder::TagReserve1;
const unsigned char ZvBinaryCoder::TagInt;
const unsigned char ZvBinaryCoder::TagType;
const unsigned char ZvBinaryCoder::TagObject;
const unsigned char ZvBinaryCoder::TagReserve3;

using Causes = ZvCoderException::Causes;

void zvc::detail::RaiseCoder(Causes cause, const char* function, unsigned int line) {
    throw ZvCoderException(cause, "ZvBinaryCoder", function, line, "");
}

ZvBinaryCoder::ZvBinaryCoder(ZvStreamingContext$ context)
    : m_context(std::move(context)), m_generator(new ZvObjectIDGenerator), m_manager(new ZvObjectManager),
      m_writePlans(new Plans), m_readPlans(new Plans) {
    m_tagStack.reserve(8);
}

ZvBinaryCoder::ZvBinaryCoder(const ZvBinaryCoder& other)
    : ZvCoder(other), m_context(other.m_context), m_generator(other.m_generator), m_manager(other.m_manager),
      m_writePlans(new Plans(*other.m_writePlans)), m_readPlans(new Plans(*other.m_readPlans)), m_layouts(other.m_layouts),
      m_versions(other.m_versions), m_tagStack(other.m_tagStack), m_level(other.m_level) {}

ZvBinaryCoder& ZvBinaryCoder::operator=(const ZvBinaryCoder& other) {
    if (this == &other) return *this;
    ZvCoder::operator=(other);
    m_context = other.m_context;
    m_generator = other.m_generator;
    m_manager = other.m_manager;
    m_writePlans.reset(new Plans(*other.m_writePlans));
    m_readPlans.reset(new Plans(*other.m_readPlans));
    m_layouts = other.m_layouts;
    m_versions = other.m_versions;
    m_tagStack = other.m_tagStack;
    m_level = other.m_level;
    return *this;
}

ZvBinaryCoder::~ZvBinaryCoder() = default;

// ---- bytes ------------------------------------------------------------------------------------------------------------

// What does not come is zero. Answers the bytes that came.
size_t ZvBinaryCoder::Take(ZvStream$& stream, void* data, size_t size) {
    return TakeHere(stream, data, size) ? size : TakeThere(stream, data, size);
}

// From the window, if everything is at hand there.
bool ZvBinaryCoder::TakeHere(ZvStream$& stream, void* data, size_t size) {
    if (!m_in.IsOn(stream.Get())) return false;
    const unsigned char* at = m_in.Look(size);
    if (at == nullptr) return false;
    if (size != 0) std::memcpy(data, at, size);        // data may be null where nothing is asked for
    m_in.Advance(size);
    return true;
}

// From the stream itself. Reads on until everything is there or the stream gives nothing more: one read of a pipe may bring
// less than was asked for. A stream may tell of its failure once: failed keeps that for who reports it. A stream that counts
// by its position has none any more when it fails, and yet has put what it had: a short piece keeps that.
size_t ZvBinaryCoder::TakeThere(ZvStream$& stream, void* data, size_t size, bool* failed) {
    if (size == 0) return 0;
    constexpr size_t Short = 4096;
    auto* bytes = static_cast<unsigned char*>(data);
    if (size <= Short) std::memset(bytes, 0, size);
    size_t done = 0;
    while (done < size) {
        const long long got = stream->Read(bytes + done, static_cast<long long>(size - done));
        if (got <= 0) break;
        done += static_cast<size_t>(got);
        if (done < size && stream->Fail()) {
            if (failed != nullptr) *failed = true;
            break;
        }
    }
    m_taken += done;
    if (size > Short) std::memset(bytes + done, 0, size - done);
    return done;
}

// What ReadTag does not find at hand.
unsigned char ZvBinaryCoder::TakeTag(ZvStream$& stream) {
    if (!m_tagStack.empty()) {
        const unsigned char tag = m_tagStack.back();
        m_tagStack.pop_back();
        return tag;
    }
    unsigned char tag = 0;               // an exhausted stream reads as 0, which is no tag
    Take(stream, &tag, 1);
    return tag;
}

void ZvBinaryCoder::PushTag(unsigned char tag) { m_tagStack.push_back(tag); }

unsigned int ZvBinaryCoder::CalcSignificantByte(unsigned long long value) {
    return static_cast<unsigned int>((std::bit_width(value | 1) + 7) / 8);
}

// The tag that says how many value bytes follow, and these. checked: they go through the raw Write, which asks the stream
// for a failure; only some writers of numbers do. What does not fit goes in two transfers, for what an almost full stream
// took of it can be told from outside.
void ZvBinaryCoder::PutForm(ZvStream$& stream, unsigned char firstTag, unsigned long long value, unsigned int bytes, bool checked) {
    const auto tag = static_cast<unsigned char>(firstTag - 1 + bytes);
    if (checked && m_out.IsOn(stream.Get())) m_out.NoteChecked();
    if (PutTagged(stream, tag, value, bytes)) {
        if (checked && m_out.Failed()) zvc::detail::RaiseCoder(Causes::StreamFailed, "ZvBinaryCoder::Write");
        return;
    }
    stream->Write(tag);
    if (checked)
        Write(stream, static_cast<const void*>(&value), bytes);
    else
        stream->Write(&value, static_cast<long long>(bytes));
}

// What TakeBytes does not find at hand.
unsigned long long ZvBinaryCoder::TakeNumber(ZvStream$& stream, unsigned int bytes) {
    unsigned long long value = 0;
    if (m_in.IsOn(stream.Get())) {
        if (const unsigned char* at = m_in.AtHand(8)) {
            std::memcpy(&value, at, 8);
            m_in.Advance(bytes);
            return value & ~0ull >> (64 - 8 * bytes);
        }
    }
    Take(stream, &value, bytes);
    return value;
}

unsigned long long ZvBinaryCoder::TakeInteger(ZvStream$& stream, unsigned int maxBytes) {
    if (const unsigned char* form = ShortForm(stream, TagInt)) {
        m_in.Advance(2);
        return form[1];
    }
    RequireRead(stream, Causes::NotReadable, "ZvBinaryCoder::Read");
    const unsigned char tag = ReadTag(stream);
    if (tag < TagInt || tag >= TagInt + maxBytes) zvc::detail::RaiseCoder(Causes::BadTag, "ZvBinaryCoder::Read");
    return TakeBytes(stream, tag - TagInt + 1u);         // never sign-extended: the bytes that are not there are zero
}

// ---- writers ----------------------------------------------------------------------------------------------------------

void ZvBinaryCoder::Write(ZvStream$& stream, const void* data, unsigned long long size) {
    RequireWrite(stream, Causes::NotWritable, "ZvBinaryCoder::Write");
    if (m_out.IsOn(stream.Get())) {
        m_out.NoteChecked();
        if (m_out.Put(data, size)) {
            if (m_out.Failed()) zvc::detail::RaiseCoder(Causes::StreamFailed, "ZvBinaryCoder::Write");
            return;
        }
    }
    stream->Write(data, static_cast<long long>(size));
    if (stream->Fail()) zvc::detail::RaiseCoder(Causes::StreamFailed, "ZvBinaryCoder::Write");
}

void ZvBinaryCoder::Write(ZvStream$& stream, bool value) {
    RequireWrite(stream, Causes::NotWritable, "ZvBinaryCoder::Write");
    WriteTag(stream, value ? TagTrue : TagFalse);
}

void ZvBinaryCoder::Write(ZvStream$& stream, unsigned char value) {
    RequireWrite(stream, Causes::NotWritable, "ZvBinaryCoder::Write");
    PutForm(stream, TagInt, value, 1, false);
}

void ZvBinaryCoder::Write(ZvStream$& stream, char value) { Write(stream, static_cast<unsigned char>(value)); }

void ZvBinaryCoder::Write(ZvStream$& stream, unsigned short value) {
    RequireWrite(stream, Causes::NotWritable, "ZvBinaryCoder::Write");
    PutForm(stream, TagInt, value);
}

void ZvBinaryCoder::Write(ZvStream$& stream, short value) { Write(stream, static_cast<unsigned short>(value)); }

void ZvBinaryCoder::Write(ZvStream$& stream, unsigned int value) {
    RequireWrite(stream, Causes::NotWritable, "ZvBinaryCoder::Write");
    if (value > 0xFF || !PutFew(stream, TagInt, value)) return PutForm(stream, TagInt, value, CalcSignificantByte(value), true);
    m_out.NoteChecked();
    if (m_out.Failed()) zvc::detail::RaiseCoder(Causes::StreamFailed, "ZvBinaryCoder::Write");
}

void ZvBinaryCoder::Write(ZvStream$& stream, int value) { Write(stream, static_cast<unsigned int>(value)); }

void ZvBinaryCoder::Write(ZvStream$& stream, unsigned long long value) {
    RequireWrite(stream, Causes::NotReadable, "ZvBinaryCoder::Write");
    PutForm(stream, TagInt, value);
}

void ZvBinaryCoder::Write(ZvStream$& stream, long long value) { Write(stream, static_cast<unsigned long long>(value)); }

void ZvBinaryCoder::Write(ZvStream$& stream, float value) {
    RequireWrite(stream, Causes::NotReadable, "ZvBinaryCoder::Write");
    Put(stream, &value, sizeof value);
}

void ZvBinaryCoder::Write(ZvStream$& stream, double value) {
    RequireWrite(stream, Causes::NotReadable, "ZvBinaryCoder::Write");
    Write(stream, static_cast<const void*>(&value), sizeof value);
}

void ZvBinaryCoder::Write(ZvStream$& stream, unsigned int count, const float* values) {
    RequireWrite(stream, Causes::NotReadable, "ZvBinaryCoder::Write");
    Write(stream, static_cast<const void*>(values), static_cast<unsigned long long>(count) * sizeof *values);
}

void ZvBinaryCoder::Write(ZvStream$& stream, unsigned int count, const double* values) {
    RequireWrite(stream, Causes::NotReadable, "ZvBinaryCoder::Write");
    Write(stream, static_cast<const void*>(values), static_cast<unsigned long long>(count) * sizeof *values);
}

void ZvBinaryCoder::Write(ZvStream$& stream, const ZvString& text) { EncodeString(stream, text); }

void ZvBinaryCoder::EncodeString(ZvStream$& stream, const ZvString& text) {
    RequireWrite(stream, Causes::NotWritable, "ZvBinaryCoder::Write");
    const char* bytes = text.CStr();
    const size_t n = std::strlen(bytes);       // what stands behind an embedded zero is lost
    if (n < 16) {
        const auto tag = static_cast<unsigned char>(TagStringLT16 + n);
        if (unsigned char* const at = m_out.IsOn(stream.Get()) ? m_out.Room(n + 1) : nullptr) {
            *at = tag;
            zvc::detail::CopyShort(at + 1, bytes, n);
            return m_out.Advance(n + 1);
        }
        WriteTag(stream, tag);
    } else {
        PutForm(stream, TagStringGE16, n);
    }
    Put(stream, bytes, n);
}

// ---- readers ----------------------------------------------------------------------------------------------------------

void ZvBinaryCoder::Read(ZvStream$& stream, void* data, unsigned long long size) {
    RequireRead(stream, Causes::NotWritable, "ZvBinaryCoder::Read");
    bool failed = false;
    if (TakeHere(stream, data, size)) {
        failed = m_in.Failed();
    } else {
        unsigned char nowhere;
        if (size == 0) stream->Read(&nowhere, 0);        // this transfer may fail, or end the failure of another
        TakeThere(stream, data, size, &failed);
        failed = failed || stream->Fail();
    }
    if (failed) zvc::detail::RaiseCoder(Causes::StreamFailed, "ZvBinaryCoder::Read");
}

void ZvBinaryCoder::Read(ZvStream$& stream, bool& value) {
    RequireRead(stream, Causes::NotReadable, "ZvBinaryCoder::Read");
    const unsigned char tag = ReadTag(stream);
    if (tag != TagFalse && tag != TagTrue) zvc::detail::RaiseCoder(Causes::BadTag, "ZvBinaryCoder::Read");
    value = tag == TagTrue;
}

void ZvBinaryCoder::Read(ZvStream$& stream, unsigned char& value) {
    value = static_cast<unsigned char>(TakeInteger(stream, 1));
}
void ZvBinaryCoder::Read(ZvStream$& stream, char& value) { value = static_cast<char>(TakeInteger(stream, 1)); }
void ZvBinaryCoder::Read(ZvStream$& stream, unsigned short& value) {
    value = static_cast<unsigned short>(TakeInteger(stream, 2));
}
void ZvBinaryCoder::Read(ZvStream$& stream, short& value) { value = static_cast<short>(TakeInteger(stream, 2)); }
void ZvBinaryCoder::Read(ZvStream$& stream, unsigned int& value) {
    value = static_cast<unsigned int>(TakeInteger(stream, 4));
}
void ZvBinaryCoder::Read(ZvStream$& stream, int& value) { value = static_cast<int>(TakeInteger(stream, 4)); }
void ZvBinaryCoder::Read(ZvStream$& stream, unsigned long long& value) { value = TakeInteger(stream, 8); }
void ZvBinaryCoder::Read(ZvStream$& stream, long long& value) { value = static_cast<long long>(TakeInteger(stream, 8)); }

void ZvBinaryCoder::Read(ZvStream$& stream, float& value) {
    RequireRead(stream, Causes::NotReadable, "ZvBinaryCoder::Read");
    Take(stream, &value, sizeof value);
}

void ZvBinaryCoder::Read(ZvStream$& stream, double& value) {
    RequireRead(stream, Causes::NotReadable, "ZvBinaryCoder::Read");
    Take(stream, &value, sizeof value);
}

void ZvBinaryCoder::Read(ZvStream$& stream, unsigned int count, float* values) {
    RequireRead(stream, Causes::NotReadable, "ZvBinaryCoder::Read");
    Take(stream, values, static_cast<size_t>(count) * sizeof *values);
}

void ZvBinaryCoder::Read(ZvStream$& stream, unsigned int count, double* values) {
    RequireRead(stream, Causes::NotReadable, "ZvBinaryCoder::Read");
    Take(stream, values, static_cast<size_t>(count) * sizeof *values);
}

void ZvBinaryCoder::Read(ZvStream$& stream, ZvString& text) { DecodeString(stream, text); }

void ZvBinaryCoder::DecodeString(ZvStream$& stream, ZvString& text) {
    RequireRead(stream, Causes::NotReadable, "ZvBinaryCoder::Read");
    const unsigned char tag = ReadTag(stream);
    if (tag < TagStringLT16 || tag >= TagReserve1) zvc::detail::RaiseCoder(Causes::BadTag, "ZvBinaryCoder::DecodeString");
    size_t length = tag - TagStringLT16;
    if (tag >= TagStringGE16) {
        length = TakeBytes(stream, tag - TagStringGE16 + 1u);
    }
    // A length is believed as far as the stream surely reaches, and else in steps.
    constexpr size_t Step = 64 * 1024;
    const bool surely = length <= Step || (m_in.IsOn(stream.Get()) && m_in.Remaining() >= length);
    if (surely) {
        char* buffer = text.GetBuffer(length);
        const unsigned char* const at = length < 16 && m_in.IsOn(stream.Get()) ? m_in.AtHand(length) : nullptr;
        if (at != nullptr) {
            zvc::detail::CopyShort(buffer, at, length);
            m_in.Advance(length);
        } else {
            Take(stream, buffer, length);
        }
        buffer[length] = '\0';
        return;
    }
    std::vector<char> bytes;
    for (size_t done = 0; done < length;) {
        const size_t step = std::min(length - done, std::max(Step, done));
        bytes.resize(done + step);
        const size_t got = Take(stream, bytes.data() + done, step);
        done += step;
        if (got < step) break;
    }
    bytes.push_back('\0');
    char* buffer = text.GetBuffer(bytes.size() - 1);
    std::memcpy(buffer, bytes.data(), bytes.size());
}
