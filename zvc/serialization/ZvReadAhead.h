#pragma once

// The reading side of a channel. Internal; not for clients.

#include "zvc/serialization/ZvStream.h"

#include <memory>

namespace zvc::detail {

/// Reads ahead on a pipe, so that a message costs one read and not one for each of its parts. It asks for a buffer's length
/// and takes what there is: a message is delivered as soon as it is whole. Streams other than pipes are read as they are
/// asked for. The binary coder works in the buffer (InputWindow).
///
/// Where the stream gives nothing more, the end is asked whether that is how the conversation ends: then it raises Ended,
/// which passes through the coder, and otherwise the coder finds a damaged message.
class ReadAhead final : public ZvStream {
public:
    struct Ended {};

    /// What decides about the end of the input.
    class Ending {
    public:
        virtual bool EndsQuietly() noexcept = 0;

    protected:
        ~Ending() = default;
    };

    ReadAhead(const ZvStream$& stream, bool readAhead, Ending& ending);
    ~ReadAhead() override;

    using ZvStream::Read;
    using ZvStream::Write;
    long long Read(void* buffer, long long count) override;
    bool Fail() const override { return m_stream->Fail(); }
    bool CanRead() const override { return m_stream->CanRead(); }

    // It only reads.
    long long GetFileLength() override { return -1; }
    long long Write(const void*, long long) override { return 0; }
    long long Tellp() const override { return -1; }
    /// What has been taken so far: it stands still where nothing more comes.
    long long Tellg() const override { return m_received - (m_limit - m_next); }
    void Flush() override {}
    void Seekp(long long, SeekOrigin) override {}
    void Seekg(long long, SeekOrigin) override {}
    bool SetEndOfFile() override { return false; }

private:
    friend class InputWindow;
    static constexpr long long BufferSize = 64 * 1024;

    /// Waits until size bytes are in the buffer. False when it cannot hold them, or no more came.
    bool Gather(size_t size);
    long long ReadStream(void* buffer, long long count);

    ZvStream$ m_stream;
    Ending& m_ending;
    std::unique_ptr<unsigned char[]> m_buffer;           // null: no reading ahead
    unsigned char* m_next = nullptr;
    unsigned char* m_limit = nullptr;
    long long m_received = 0;
};

}
