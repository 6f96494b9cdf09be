#pragma once

// The framing that the compressed streams share: a gzip file (RFC 1952) around raw deflate data. Internal; not for clients.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

struct z_stream_s;

namespace zvc::detail {

/// Where the compressed bytes go to, or come from.
class GzipPort {
public:
    virtual ~GzipPort() = default;
    virtual size_t Write(const void* data, size_t size) = 0;     ///< fewer than asked for is a failure
    virtual size_t Read(void* data, size_t size) = 0;            ///< fewer than asked for is the end, or a failure
    virtual bool ReadFailed() const = 0;                         ///< the last Read came short by a failure
    virtual long long Position() = 0;                            ///< of the next Read; -1 where there is none
    virtual bool Seek(long long position) = 0;                   ///< of the next Read, also from the end
};

/// Bytes move to and from a port, and through the compressor, in blocks of this size.
constexpr long long GzipBlock = 16384;

/// Writes one member. Positions count uncompressed bytes, in 32 bits. A failure is final.
///
/// Small writes are held back in a block, for the compressor is slow to call. There is no room in it after a failure. A coder's
/// window writes into it at the same cursor.
class GzipWriter {
public:
    GzipWriter(GzipPort& port, int level, int strategy);         ///< writes the header
    ~GzipWriter();

    /// The bytes taken: fewer than count after a failure.
    long long Write(const void* data, long long count) {
        if (count > 0 && count <= m_limit - m_next) return Hold(data, count);
        return WriteMore(data, count);
    }
    /// Compresses what is there by one of zlib's flush modes and hands all that comes of it to the port. 0, or the failure.
    int Flush(int mode);
    /// Checksum and length, behind a Flush with Z_FINISH.
    bool WriteTrailer();
    /// Pads with zero bytes up to a position further on, and gives it; -1 for any other.
    long long Seek(long long offset, int origin);
    /// zlib's result: 0, or negative after a failure.
    int Result() const { return m_result; }

private:
    friend class OutputWindow;
    struct End {
        void operator()(z_stream_s* z) const;
    };
    long long Hold(const void* data, long long count) {
        std::memcpy(m_next, data, static_cast<size_t>(count));
        m_next += count;
        return count;
    }
    uint32_t Position() const { return m_drained + static_cast<uint32_t>(m_next - m_held.get()); }
    int Note(int result);
    long long WriteMore(const void* data, long long count);
    bool Drain();
    long long Compress(const unsigned char* data, long long count);
    bool WriteOut();

    GzipPort& m_port;
    std::unique_ptr<z_stream_s, End> m_z;
    std::unique_ptr<unsigned char[]> m_out;
    std::unique_ptr<unsigned char[]> m_held;
    unsigned char* m_next;                      // in what is held
    unsigned char* const m_limit;
    int m_result = 0;
    uint32_t m_crc = 0;
    uint32_t m_drained = 0;                     // bytes before those that are held
};

/// Reads members one behind the other, or passes through what is no gzip file. What stands behind the last member and is
/// none itself is left alone.
class GzipReader {
public:
    explicit GzipReader(GzipPort& port);                         ///< reads the first header
    ~GzipReader();

    /// The bytes read; fewer than count at the end or in front of a failure; -1 behind one.
    long long Read(void* buffer, long long count) {
        const size_t size = static_cast<size_t>(count);
        if (count <= 0 || size >= m_outEnd - m_outBegin) return ReadMore(buffer, count);
        std::memcpy(buffer, m_out.get() + m_outBegin, size);
        m_outBegin += size;
        m_position += static_cast<uint32_t>(size);
        return count;
    }
    /// Moves and gives the position in uncompressed bytes, 32 bits wide; -1 where that is refused or cannot be.
    long long Seek(long long offset, int origin);
    /// zlib's result behind the bytes that Read has given: 0, 1 at the end, negative after a failure.
    int Result() const { return m_result; }
    /// The port has nothing more.
    bool AtEnd() const { return m_atEnd; }

private:
    struct End {
        void operator()(z_stream_s* z) const;
    };
    long long ReadMore(void* buffer, long long count);
    size_t Fetch(unsigned char* to, size_t size);
    int Byte();
    uint32_t Long();
    void SkipText();
    bool LooksLikeMember();
    int ReadHeader();
    int EndMember();
    size_t Produce(unsigned char* to, size_t room);
    size_t Copy(unsigned char* to, size_t room);
    size_t Inflate(unsigned char* to, size_t room);
    bool Broken() const;
    bool Restart(long long portPosition);

    GzipPort& m_port;
    std::unique_ptr<z_stream_s, End> m_z;
    std::unique_ptr<unsigned char[]> m_in;
    std::unique_ptr<unsigned char[]> m_out;     // produced and not yet read, for the decompressor is slow to call
    size_t m_outBegin = 0, m_outEnd = 0;
    int m_result = 0;
    int m_next = 0;                             // the result behind what lies in m_out
    bool m_atEnd = false;
    bool m_transparent = false;
    uint32_t m_crc = 0;
    uint32_t m_position = 0;
    long long m_fetched = 0;
    long long m_start = -1;                     // of the data behind the first header
};

}
