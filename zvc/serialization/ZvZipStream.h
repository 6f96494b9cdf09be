#pragma once

#include "zvc/serialization/ZvStream.h"

#include <memory>

namespace zvc::detail {
class FileWindow;
class GzipWriter;
class OutputWindow;
}

/// A gzip file behind a path or a descriptor: what is written is compressed, what is read is decompressed. Everything else
/// may stay as it was without compression, such as a coder on the stream.
///
/// Reading takes any gzip file, of several members too, and passes a file through as it is when it is none. Nothing raises:
/// the last negative result is kept, and Fail tells of it. One thread at a time.
class ZV_API ZvZipStream : public ZvStream {
    ZV_DECLARE_CLASS(ZvZipStream)
public:
    /// Nothing is open: Fail is true, and transfers give -2.
    ZvZipStream();

    /// The mode is "r", "w" or "a" (behind what the file holds), with a digit for the level of compression (0 to 9) and a
    /// letter for the strategy (f filtered, h Huffman only, R run lengths, F fixed codes) if wanted, such as "wb9". A file
    /// that cannot be opened shows in Fail.
    ZvZipStream(const char* path, const char* mode);

    /// The descriptor stays the caller's, and open. What is written to one ends without checksum and length, which are
    /// left to whoever goes on with the descriptor.
    ZvZipStream(int descriptor, const char* mode);
    ZvZipStream(const ZvZipStream&) = delete;
    ZvZipStream& operator=(const ZvZipStream&) = delete;

    /// Compresses and writes what is left, and closes a file that was opened by its path.
    ~ZvZipStream() override;

    /// Open another file. What was open before ends as by the destructor.
    void Open(const char* path, const char* mode);
    void Open(int descriptor, const char* mode);

    using ZvStream::Read;
    using ZvStream::Write;
    long long GetFileLength() override;                                  ///< always 0
    /// The uncompressed bytes taken; negative on a failure: -2 when the mode is another.
    long long Write(const void* buffer, long long count) override;
    /// The uncompressed bytes read; 0 at the end; negative behind a failure: -2 when the mode is another.
    long long Read(void* buffer, long long count) override;
    /// Positions are those of the uncompressed bytes. Reading goes both ways, and going back decompresses anew from the
    /// start; writing goes forward alone, over zero bytes. The end of the file is no origin. The two positions are one.
    /// What cannot be done is a failure of the stream.
    long long Tellp() const override;
    long long Tellg() const override;
    void Seekp(long long offset, SeekOrigin origin) override;            ///< the low 32 bits of the offset, with sign
    void Seekg(long long offset, SeekOrigin origin) override;
    /// Hands on what the compressor has given so far, which is not all that went into it. A failure when reading.
    void Flush() override;
    bool Fail() const override;
    bool SetEndOfFile() override;                                        ///< does nothing and answers false
    bool CanSeek() const override;                                       ///< true
    bool CanRead() const override;                                       ///< the mode contains an r
    bool CanWrite() const override;                                      ///< the mode contains a w

private:
    friend class zvc::detail::OutputWindow;
    struct File;
    zvc::detail::GzipWriter* Writer() const;
    void Start(int descriptor, const char* path, const char* mode);
    void Close();
    long long Move(long long offset, SeekOrigin origin) const;
    long long Note(long long result) const;
    void NoteReader() const;

    std::unique_ptr<File> m_file;
    zvc::detail::FileWindow* m_window = nullptr;         // of a coder in the middle of a call
    mutable int m_error = 0;
    bool m_owned = false;
    unsigned char m_access = 0;
};
