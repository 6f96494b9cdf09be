#pragma once

#include "zvc/serialization/ZvStdIOStream.h"

#include <memory>

namespace zvc::detail {
class GzipWriter;
class OutputWindow;
}

/// Gzip data on any standard-library stream: what is written is compressed, what is read is decompressed. Create makes one.
class ZV_API ZvIStdIOZipStream : public ZvStdIOStream {
    ZV_DECLARE_CLASS(ZvIStdIOZipStream)
public:
    enum OpenMode : int { OpenRead = 0, OpenWrite = 1 };

    /// A new stream on one that stays the caller's, and that has to outlive it.
    static ZvIStdIOZipStream* Create(std::basic_iostream<char>& stream, OpenMode mode);

    virtual void Reserved() = 0;             ///< keeps its place; it has no meaning

protected:
    explicit ZvIStdIOZipStream(std::basic_iostream<char>& stream);
};

/// What Create makes: one member of a gzip file when writing; when reading, any gzip file, of several members too, or
/// anything else, which passes through as it is.
///
/// The wrapped stream has to tell its put position when writing: that is how many bytes it took is known. Nothing raises;
/// Fail tells of a failure. One thread at a time.
class ZV_API ZvStdIOZipStream : public ZvIStdIOZipStream {
    ZV_DECLARE_CLASS(ZvStdIOZipStream)
public:
    /// Writes, or reads, the header.
    ZvStdIOZipStream(std::basic_iostream<char>& stream, OpenMode mode);
    ZvStdIOZipStream(const ZvStdIOZipStream&) = delete;
    ZvStdIOZipStream& operator=(const ZvStdIOZipStream&) = delete;

    /// Completes the member, and flushes the wrapped stream.
    ~ZvStdIOZipStream() override;

    void Reserved() override;

    using ZvStream::Read;
    using ZvStream::Write;
    /// The uncompressed bytes taken, fewer than count after a failure; -2 in OpenRead.
    long long Write(const void* buffer, long long count) override;
    /// The uncompressed bytes read; 0 at the end; -1 behind damage; -2 in OpenWrite. A checksum that does not fit shows in
    /// Fail as soon as the last byte has been read.
    long long Read(void* buffer, long long count) override;
    /// Positions are those of the uncompressed bytes, 32 bits wide, and -1 after a failure. Reading goes both ways, and going
    /// back decompresses anew from the start; writing goes forward alone, over zero bytes. The end is no origin. What
    /// cannot be done is ignored. The two positions are one.
    long long Tellp() const override;
    long long Tellg() const override;
    void Seekp(long long offset, SeekOrigin origin) override;
    void Seekg(long long offset, SeekOrigin origin) override;
    /// Hands on what the compressor has given so far, which is not all that went into it, and flushes the wrapped stream.
    void Flush() override;
    bool Fail() const override;
    bool SetEndOfFile() override;            ///< does nothing and answers true
    bool CanSeek() const override;           ///< false, since a seek may decompress everything anew
    bool CanRead() const override;
    bool CanWrite() const override;

private:
    friend class zvc::detail::OutputWindow;
    struct State;
    zvc::detail::GzipWriter* Writer() const;
    long long Move(long long offset, SeekOrigin origin) const;

    std::unique_ptr<State> m_state;
    OpenMode m_mode;
};
