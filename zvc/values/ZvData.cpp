#include "zvc/values/ZvData.h"

#include "zvc/serialization/ZvCoder.h"
#include "zvc/serialization/ZvCoderException.h"
#include "zvc/serialization/ZvRun.h"
#include "zvc/values/ZvCrc32.h"
#include "zvc/values/ZvString.h"

#include <algorithm>
#include <cstring>
#include <string>

ZV_DEFINE_CLASS(ZvData, (ZvObject), .codec = true, .create = &Create)

ZvData::ZvData() = default;
ZvData::ZvData(size_t count, const unsigned char* bytes) : m_bytes(bytes, bytes + count) {}
ZvData::ZvData(const ZvData& other) = default;
ZvData::~ZvData() = default;

ZvData& ZvData::operator=(const ZvData& other) {
    m_bytes = other.m_bytes;
    m_hash = other.m_hash;
    return *this;
}

void ZvData::SetValue(size_t count, const unsigned char* bytes) {
    if (count > m_bytes.size()) m_bytes.resize(count);               // so many bytes are none of our own
    if (count != 0) std::memmove(m_bytes.data(), bytes, count);
    m_bytes.resize(count);
}

void ZvData::AddValue(size_t count, const void* bytes) {
    if (count == 0) return;
    const size_t before = m_bytes.size();
    std::vector<unsigned char> old;                                  // outlives the copy: bytes may be our own
    if (m_bytes.capacity() - before < count) {
        std::vector<unsigned char> grown;
        grown.reserve(std::max(m_bytes.capacity() + m_bytes.capacity() / 2, before + count));
        grown.assign(m_bytes.begin(), m_bytes.end());
        old.swap(m_bytes);
        m_bytes.swap(grown);
    }
    m_bytes.resize(before + count);
    std::memcpy(m_bytes.data() + before, bytes, count);
}

void ZvData::GetBytes(size_t count, unsigned char* out) const {
    if (count != 0) std::memcpy(out, m_bytes.data(), count);
}

size_t ZvData::GetHashCode() const {
    if (m_hash == NotComputed)
        m_hash = Zv::crc32(m_bytes.data(), static_cast<int>(m_bytes.size())) ^ static_cast<uint32_t>(m_bytes.size()) ^ 0x5FB1232A;
    return m_hash;
}

bool ZvData::Equals(const ZvObject* other) const {
    if (other == this) return true;
    if (other == nullptr || other->GetType()->CalcOffset(&s_type) == ZvNoOffset) return false;
    return m_bytes == static_cast<const ZvData*>(other)->m_bytes;
}

ZvObject* ZvData::Clone() const { return new ZvData(*this); }

ZvString$ ZvData::ToString() const {
    std::string text;
    text.reserve(2 * m_bytes.size());
    for (unsigned char byte : m_bytes) {
        text += static_cast<char>(byte);
        text += ' ';
    }
    return new ZvString(text.c_str());
}

void ZvData::Encode(ZvStream$& stream, ZvCoder* coder) const {
    // The place is part of the exception that programs see.
    if (!stream->CanWrite()) throw ZvCoderException(ZvCoderException::NotWritable, "ZvData", "ZvData::Encode", 89, "");
    coder->Write(stream, static_cast<unsigned int>(m_bytes.size()));
    coder->Write(stream, static_cast<const void*>(m_bytes.data()), m_bytes.size());
}

void ZvData::Decode(ZvStream$& stream, ZvCoder* coder) {
    unsigned int count = 0;
    coder->Read(stream, count);
    // One block, as it was written. A count that the stream does not bear out comes in growing pieces, until a large one
    // finds the stream standing still: memory follows what arrives.
    constexpr size_t large = 1 << 20;
    std::vector<unsigned char> incoming;
    zvc::detail::Arrival arrival(stream, coder);
    do {
        const size_t arrived = incoming.size();
        incoming.resize(arrived + zvc::detail::RoomForBlock(stream, coder, arrived, count - arrived));
        coder->Read(stream, static_cast<void*>(incoming.data() + arrived), incoming.size() - arrived);
        const bool stands = arrival.StandsStill();
        if (incoming.size() < count && arrived >= large && stands)
            throw ZvCoderException(ZvCoderException::StreamFailed, "ZvData", "ZvData::Decode", __LINE__, "");
    } while (incoming.size() < count);
    m_bytes.swap(incoming);
}
