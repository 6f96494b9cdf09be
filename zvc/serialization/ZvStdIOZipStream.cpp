#include "zvc/serialization/ZvStdIOZipStream.h"

#include "zvc/serialization/ZvGzip.h"
#include "zvc/serialization/ZvQuietStream.h"

#include <iostream>

#include <zlib.h>

ZV_DEFINE_CLASS(ZvIStdIOZipStream, (ZvStdIOStream))
ZV_DEFINE_CLASS(ZvStdIOZipStream, (ZvIStdIOZipStream))

namespace {

using zvc::detail::QuietStream;

class StdIOPort final : public zvc::detail::GzipPort {
public:
    explicit StdIOPort(std::basic_iostream<char>& stream) : m_stream(stream) {}
    // What was taken is what the position says: a stream that cannot tell its position takes nothing.
    size_t Write(const void* data, size_t size) override {
        const QuietStream quiet(m_stream);
        const auto before = m_stream.tellp();
        m_stream.write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
        return static_cast<size_t>(m_stream.tellp() - before);
    }
    size_t Read(void* data, size_t size) override {
        const QuietStream quiet(m_stream);
        m_stream.read(static_cast<char*>(data), static_cast<std::streamsize>(size));
        return static_cast<size_t>(m_stream.gcount());
    }
    bool ReadFailed() const override { return m_stream.bad(); }
    long long Position() override {
        const QuietStream quiet(m_stream);
        return m_stream.tellg();
    }
    bool Seek(long long position) override {
        const QuietStream quiet(m_stream);
        m_stream.clear(m_stream.rdstate() & std::ios_base::badbit);      // a block that came short has set the others
        m_stream.seekg(position);
        const bool done = !m_stream.fail();
        if (!done) m_stream.clear(m_stream.rdstate() & std::ios_base::badbit);
        return done;
    }

private:
    std::basic_iostream<char>& m_stream;
};

}

struct ZvStdIOZipStream::State {
    State(std::basic_iostream<char>& stream, OpenMode mode) : port(stream) {
        if (mode == OpenWrite)
            writer = std::make_unique<zvc::detail::GzipWriter>(port, Z_DEFAULT_COMPRESSION, Z_DEFAULT_STRATEGY);
        else
            reader = std::make_unique<zvc::detail::GzipReader>(port);
    }
    int Result() const { return writer ? writer->Result() : reader->Result(); }

    StdIOPort port;
    std::unique_ptr<zvc::detail::GzipWriter> writer;     // one of the two
    std::unique_ptr<zvc::detail::GzipReader> reader;
};

ZvIStdIOZipStream::ZvIStdIOZipStream(std::basic_iostream<char>& stream) : ZvStdIOStream(stream) {}

ZvIStdIOZipStream* ZvIStdIOZipStream::Create(std::basic_iostream<char>& stream, OpenMode mode) {
    return new ZvStdIOZipStream(stream, mode);
}

ZvStdIOZipStream::ZvStdIOZipStream(std::basic_iostream<char>& stream, OpenMode mode)
    : ZvIStdIOZipStream(stream), m_state(std::make_unique<State>(stream, mode)), m_mode(mode) {}

// The wrapped stream is flushed by the base class behind this.
ZvStdIOZipStream::~ZvStdIOZipStream() {
    if (m_state->writer && m_state->writer->Flush(Z_FINISH) == Z_OK) m_state->writer->WriteTrailer();
}

void ZvStdIOZipStream::Reserved() {}

zvc::detail::GzipWriter* ZvStdIOZipStream::Writer() const { return m_state->writer.get(); }

long long ZvStdIOZipStream::Write(const void* buffer, long long count) {
    return m_state->writer ? m_state->writer->Write(buffer, count) : Z_STREAM_ERROR;
}

long long ZvStdIOZipStream::Read(void* buffer, long long count) {
    return m_state->reader ? m_state->reader->Read(buffer, count) : Z_STREAM_ERROR;
}

long long ZvStdIOZipStream::Move(long long offset, SeekOrigin origin) const {
    return m_state->writer ? m_state->writer->Seek(offset, origin) : m_state->reader->Seek(offset, origin);
}

long long ZvStdIOZipStream::Tellp() const { return Move(0, Current); }
long long ZvStdIOZipStream::Tellg() const { return Move(0, Current); }

void ZvStdIOZipStream::Seekp(long long offset, SeekOrigin origin) {
    if (origin >= Begin && origin <= End) Move(offset, origin);
}

void ZvStdIOZipStream::Seekg(long long offset, SeekOrigin origin) { Seekp(offset, origin); }

void ZvStdIOZipStream::Flush() {
    if (m_state->writer) m_state->writer->Flush(Z_NO_FLUSH);
    ZvStdIOStream::Flush();
}

// Above 1 is a dictionary that nobody has; 1 is the end.
bool ZvStdIOZipStream::Fail() const { return static_cast<unsigned int>(m_state->Result()) > 1; }
bool ZvStdIOZipStream::SetEndOfFile() { return true; }
bool ZvStdIOZipStream::CanSeek() const { return false; }
bool ZvStdIOZipStream::CanRead() const { return m_mode == OpenRead; }
bool ZvStdIOZipStream::CanWrite() const { return m_mode == OpenWrite; }
