#include "zvc/serialization/ZvGzip.h"

#include <algorithm>
#include <cstring>

#include <zlib.h>

namespace zvc::detail {

namespace {

constexpr unsigned char Magic[] = {0x1F, 0x8B};
// Everything else is zero, and the last byte names a system: the same ten bytes on each, so that files can be compared.
constexpr unsigned char Header[] = {Magic[0], Magic[1], Z_DEFLATED, 0, 0, 0, 0, 0, 0, 0x0B};
enum HeaderFlags : int { HeaderCrc = 0x02, ExtraField = 0x04, OriginalName = 0x08, Comment = 0x10, Reserved = 0xE0 };

constexpr long long LargestPiece = 1 << 30;      // zlib counts in unsigned int

enum Origin : int { Begin = 0, Current = 1, End = 2 };

}

// ---- writing ------------------------------------------------------------------------------------------------------------

void GzipWriter::End::operator()(z_stream_s* z) const {
    deflateEnd(z);
    delete z;
}

GzipWriter::GzipWriter(GzipPort& port, int level, int strategy)
    : m_port(port), m_z(new z_stream{}), m_out(new unsigned char[GzipBlock]), m_held(new unsigned char[GzipBlock]),
      m_next(m_held.get()), m_limit(m_next + GzipBlock) {
    Note(deflateInit2(m_z.get(), level, Z_DEFLATED, -MAX_WBITS, 8, strategy));
    m_z->next_out = m_out.get();
    m_z->avail_out = GzipBlock;
    if (m_result == Z_OK && m_port.Write(Header, sizeof Header) != sizeof Header) Note(Z_ERRNO);
}

GzipWriter::~GzipWriter() = default;

int GzipWriter::Note(int result) {
    m_result = result;
    if (result != Z_OK) m_next = m_limit;
    return result;
}

bool GzipWriter::WriteOut() {
    const size_t count = GzipBlock - m_z->avail_out;
    if (count != 0 && m_port.Write(m_out.get(), count) != count) Note(Z_ERRNO);
    m_z->next_out = m_out.get();
    m_z->avail_out = GzipBlock;
    return m_result == Z_OK;
}

long long GzipWriter::Compress(const unsigned char* data, long long count) {
    long long done = 0;
    while (done < count && m_result == Z_OK) {
        const auto piece = static_cast<uInt>(std::min(count - done, LargestPiece));
        m_z->next_in = const_cast<unsigned char*>(data + done);
        m_z->avail_in = piece;
        while (m_z->avail_in != 0 && (m_z->avail_out != 0 || WriteOut()))
            if (Note(deflate(m_z.get(), Z_NO_FLUSH)) != Z_OK) break;
        const uInt used = piece - m_z->avail_in;
        m_crc = static_cast<uint32_t>(crc32(m_crc, data + done, used));
        done += used;
    }
    m_drained += static_cast<uint32_t>(done);
    return done;
}

bool GzipWriter::Drain() {
    const long long count = m_next - m_held.get();
    m_next = m_held.get();
    return count == 0 || Compress(m_held.get(), count) == count;
}

long long GzipWriter::WriteMore(const void* data, long long count) {
    if (m_result != Z_OK || count <= 0 || !Drain()) return 0;
    return count < GzipBlock ? Hold(data, count) : Compress(static_cast<const unsigned char*>(data), count);
}

int GzipWriter::Flush(int mode) {
    if (m_result != Z_OK || !Drain()) return m_result;
    m_z->avail_in = 0;
    for (;;) {
        if (!WriteOut()) return m_result;
        const int r = deflate(m_z.get(), mode);
        if (r != Z_OK && r != Z_STREAM_END && r != Z_BUF_ERROR) return Note(r);
        // Z_BUF_ERROR only says that there was nothing to do.
        if (r != Z_OK && m_z->avail_out == GzipBlock) return Z_OK;
    }
}

bool GzipWriter::WriteTrailer() {
    unsigned char trailer[8];
    const uint32_t length = Position();
    for (int i = 0; i < 4; ++i) {
        trailer[i] = static_cast<unsigned char>(m_crc >> (8 * i));
        trailer[4 + i] = static_cast<unsigned char>(length >> (8 * i));
    }
    if (m_result == Z_OK && m_port.Write(trailer, sizeof trailer) != sizeof trailer) Note(Z_ERRNO);
    return m_result == Z_OK;
}

long long GzipWriter::Seek(long long offset, int origin) {
    if (m_result != Z_OK || origin == Origin::End || offset < 0) return -1;
    long long distance = origin == Begin ? offset - Position() : offset;
    if (distance < 0) return -1;
    if (distance == 0) return Position();
    const std::unique_ptr<unsigned char[]> zeros(new unsigned char[GzipBlock]());
    while (distance > 0) {
        const long long size = std::min(distance, GzipBlock);
        if (Write(zeros.get(), size) != size) return -1;
        distance -= size;
    }
    return Position();
}

// ---- reading ------------------------------------------------------------------------------------------------------------

void GzipReader::End::operator()(z_stream_s* z) const {
    inflateEnd(z);
    delete z;
}

GzipReader::GzipReader(GzipPort& port) : m_port(port), m_z(new z_stream{}), m_in(new unsigned char[GzipBlock]) {
    const long long base = m_port.Position();
    m_next = inflateInit2(m_z.get(), -MAX_WBITS);
    if (m_next == Z_OK) {
        m_transparent = !LooksLikeMember();
        if (!m_transparent) m_next = ReadHeader();
    }
    m_result = m_next;
    if (base >= 0) m_start = base + m_fetched - m_z->avail_in;
}

GzipReader::~GzipReader() = default;

// The end of a truncated file is no failure in this sense: what came before it is good, and can be read again.
bool GzipReader::Broken() const { return m_result != Z_OK && m_result != Z_STREAM_END && m_result != Z_BUF_ERROR; }

size_t GzipReader::Fetch(unsigned char* to, size_t size) {
    const size_t got = m_port.Read(to, size);
    m_fetched += static_cast<long long>(got);
    if (got == 0) m_atEnd = true;
    if (got == 0 && m_port.ReadFailed()) m_next = Z_ERRNO;
    return got;
}

/// The next byte of the input, or -1 at its end.
int GzipReader::Byte() {
    if (m_z->avail_in == 0) {
        if (m_atEnd) return -1;
        m_z->avail_in = static_cast<uInt>(Fetch(m_in.get(), GzipBlock));
        m_z->next_in = m_in.get();
        if (m_z->avail_in == 0) return -1;
    }
    --m_z->avail_in;
    return *m_z->next_in++;
}

uint32_t GzipReader::Long() {
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value |= static_cast<uint32_t>(Byte() & 0xFF) << (8 * i);
    return value;
}

void GzipReader::SkipText() {
    while (Byte() > 0) {
    }
}

// Two bytes have to lie side by side, to be looked at and left where they are.
bool GzipReader::LooksLikeMember() {
    if (m_z->avail_in < 2) {
        if (m_z->avail_in == 1) m_in[0] = *m_z->next_in;
        m_z->avail_in += static_cast<uInt>(Fetch(m_in.get() + m_z->avail_in, GzipBlock - m_z->avail_in));
        m_z->next_in = m_in.get();
    }
    return m_z->avail_in >= 2 && std::memcmp(m_z->next_in, Magic, 2) == 0;
}

int GzipReader::ReadHeader() {
    Byte();
    Byte();
    const int method = Byte();
    const int flags = Byte();
    if (method != Z_DEFLATED || (flags & Reserved) != 0) return Z_DATA_ERROR;
    for (int i = 0; i < 6; ++i) Byte();
    if ((flags & ExtraField) != 0) {
        int size = Byte() & 0xFF;
        size |= (Byte() & 0xFF) << 8;
        while (size-- > 0 && Byte() >= 0) {
        }
    }
    if ((flags & OriginalName) != 0) SkipText();
    if ((flags & Comment) != 0) SkipText();
    if ((flags & HeaderCrc) != 0) {
        Byte();
        Byte();
    }
    return m_atEnd ? Z_DATA_ERROR : Z_OK;
}

/// The trailer, and the header of the next member if there is one: the result behind them.
int GzipReader::EndMember() {
    if (Long() != m_crc) return Z_DATA_ERROR;
    Long();                                  // the length: what matters has been checked
    if (m_atEnd) return Z_DATA_ERROR;
    if (!LooksLikeMember()) return m_next;   // the end, or a failure to read on
    m_crc = 0;
    inflateReset(m_z.get());
    return ReadHeader();
}

size_t GzipReader::Copy(unsigned char* to, size_t room) {
    size_t count = std::min<size_t>(room, m_z->avail_in);
    if (count != 0) {
        std::memcpy(to, m_z->next_in, count);
        m_z->next_in += count;
        m_z->avail_in -= static_cast<uInt>(count);
    } else {
        count = Fetch(to, room);
        if (count == 0 && m_next == Z_OK) m_next = Z_STREAM_END;
    }
    return count;
}

size_t GzipReader::Inflate(unsigned char* to, size_t room) {
    m_z->next_out = to;
    m_z->avail_out = static_cast<uInt>(room);
    while (m_z->avail_out == room && m_next == Z_OK) {
        if (m_z->avail_in == 0 && !m_atEnd) {
            m_z->avail_in = static_cast<uInt>(Fetch(m_in.get(), GzipBlock));
            m_z->next_in = m_in.get();
            if (m_next != Z_OK) break;
        }
        m_next = inflate(m_z.get(), Z_NO_FLUSH);
        m_crc = static_cast<uint32_t>(crc32(m_crc, to, static_cast<uInt>(room) - m_z->avail_out));
        if (m_next == Z_STREAM_END) m_next = EndMember();
    }
    return room - m_z->avail_out;
}

/// Some bytes, at least one; none when m_next is no longer Z_OK.
size_t GzipReader::Produce(unsigned char* to, size_t room) { return m_transparent ? Copy(to, room) : Inflate(to, room); }

long long GzipReader::ReadMore(void* buffer, long long count) {
    if (Broken()) return -1;
    auto* to = static_cast<unsigned char*>(buffer);
    long long done = 0;
    while (done < count && m_result == Z_OK) {
        if (m_outBegin != m_outEnd) {
            const size_t size = std::min(m_outEnd - m_outBegin, static_cast<size_t>(count - done));
            std::memcpy(to + done, m_out.get() + m_outBegin, size);
            m_outBegin += size;
            done += static_cast<long long>(size);
        } else if (count - done >= GzipBlock) {
            done += static_cast<long long>(Produce(to + done, static_cast<size_t>(std::min(count - done, LargestPiece))));
        } else {
            if (!m_out) m_out.reset(new unsigned char[GzipBlock]);
            m_outBegin = 0;
            m_outEnd = Produce(m_out.get(), GzipBlock);
        }
        // What lies behind the last byte shows when that has been given, and not before.
        if (m_outBegin == m_outEnd) m_result = m_next;
    }
    m_position += static_cast<uint32_t>(done);
    return done == 0 && Broken() ? -1 : done;
}

/// Goes on from a place of the port as from a beginning.
bool GzipReader::Restart(long long portPosition) {
    if (portPosition < 0 || !m_port.Seek(portPosition)) return false;
    m_z->avail_in = 0;
    m_outBegin = m_outEnd = 0;
    m_result = m_next = Z_OK;
    m_atEnd = false;
    return true;
}

long long GzipReader::Seek(long long offset, int origin) {
    if (Broken() || origin == Origin::End) return -1;
    if (origin == Current && offset > INT64_MAX - m_position) return -1;
    const long long target = origin == Begin ? offset : m_position + offset;
    if (target < 0) return -1;
    if (target == m_position) return m_position;
    if (m_transparent) {
        // The port's own position, wherever reading began: meant so.
        if (!Restart(target)) return -1;
        m_position = static_cast<uint32_t>(target);
        return m_position;
    }
    if (target < m_position) {
        if (!Restart(m_start)) return -1;
        inflateReset(m_z.get());
        m_crc = 0;
        m_position = 0;
    }
    const std::unique_ptr<unsigned char[]> dropped(new unsigned char[GzipBlock]);
    for (long long distance = target - m_position; distance > 0;) {
        const long long got = Read(dropped.get(), std::min(distance, GzipBlock));
        if (got <= 0) return -1;
        distance -= got;
    }
    return m_position;
}

}
