#include "zvc/serialization/ZvZipStream.h"

#include "zvc/diagnostics/ZvFile.h"
#include "zvc/platform/File.h"
#include "zvc/serialization/ZvFileWindow.h"
#include "zvc/serialization/ZvGzip.h"

#include <cstdio>
#include <cstring>
#include <string>

#include <zlib.h>

ZV_DEFINE_CLASS(ZvZipStream, (ZvStream))

namespace {

class StdFilePort final : public zvc::detail::GzipPort {
public:
    explicit StdFilePort(FILE* file) : m_file(file) {}
    ~StdFilePort() override { std::fclose(m_file); }
    size_t Write(const void* data, size_t size) override { return std::fwrite(data, 1, size, m_file); }
    size_t Read(void* data, size_t size) override { return std::fread(data, 1, size, m_file); }
    bool ReadFailed() const override { return std::ferror(m_file) != 0; }
    long long Position() override { return std::ftell(m_file); }
    bool Seek(long long position) override { return std::fseek(m_file, static_cast<long>(position), SEEK_SET) == 0; }
    bool Flush() { return std::fflush(m_file) == 0; }

private:
    FILE* m_file;
};

struct Mode {
    std::string file;                        // for the C library; empty when the direction is missing
    bool writes = false;
    int level = Z_DEFAULT_COMPRESSION;
    int strategy = Z_DEFAULT_STRATEGY;
};

Mode Parse(const char* text) {
    Mode mode;
    std::string direction, rest;
    for (const char* c = text; *c != '\0'; ++c) {
        if (*c >= '0' && *c <= '9') mode.level = *c - '0';
        switch (*c) {
            case 'r': case 'w': case 'a': direction = *c; break;
            case 'f': mode.strategy = Z_FILTERED; break;
            case 'h': mode.strategy = Z_HUFFMAN_ONLY; break;
            case 'R': mode.strategy = Z_RLE; break;
            case 'F': mode.strategy = Z_FIXED; break;
            case 'e': case 'x': rest += *c; break;
            case '+': return Mode();         // one direction at a time
            default: break;
        }
    }
    mode.writes = direction != "r";
    if (!direction.empty()) mode.file = direction + "b" + rest;
    return mode;
}

}

struct ZvZipStream::File {
    File(FILE* file, const Mode& mode) : port(file) {
        if (mode.writes)
            writer = std::make_unique<zvc::detail::GzipWriter>(port, mode.level, mode.strategy);
        else
            reader = std::make_unique<zvc::detail::GzipReader>(port);
    }

    StdFilePort port;
    std::unique_ptr<zvc::detail::GzipWriter> writer;     // one of the two
    std::unique_ptr<zvc::detail::GzipReader> reader;
};

ZvZipStream::ZvZipStream() = default;
ZvZipStream::ZvZipStream(const char* path, const char* mode) { Open(path, mode); }
ZvZipStream::ZvZipStream(int descriptor, const char* mode) { Open(descriptor, mode); }
ZvZipStream::~ZvZipStream() { Close(); }

void ZvZipStream::Open(const char* path, const char* mode) { Start(-1, path, mode); }
void ZvZipStream::Open(int descriptor, const char* mode) { Start(descriptor, nullptr, mode); }

void ZvZipStream::Start(int descriptor, const char* path, const char* mode) {
    Close();
    if (mode == nullptr) mode = "";
    m_error = 0;
    m_owned = path != nullptr;
    m_access = 0;
    if (std::strchr(mode, 'r') != nullptr) m_access |= ZvFile::Read;
    if (std::strchr(mode, 'w') != nullptr) m_access |= ZvFile::Write;
    const Mode parsed = Parse(mode);
    if (parsed.file.empty()) return;
    FILE* file = nullptr;
    if (path != nullptr)
        file = std::fopen(path, parsed.file.c_str());
    else if (descriptor >= 0)
        file = zvc::platform::StdFileOnDescriptor(descriptor, parsed.file.c_str());
    if (file != nullptr) m_file = std::make_unique<File>(file, parsed);
}

// Only a file that was opened by its path gets its trailer: meant so.
void ZvZipStream::Close() {
    if (m_window != nullptr) m_window->Settle();
    if (!m_file) return;
    if (zvc::detail::GzipWriter* writer = m_file->writer.get())
        if (writer->Flush(Z_FINISH) == Z_OK && m_owned) writer->WriteTrailer();
    m_file.reset();
}

/// Keeps a negative result.
long long ZvZipStream::Note(long long result) const {
    if (result >= 0) return result;
    m_error = static_cast<int>(result);
    if (m_window != nullptr) m_window->Settle();
    return result;
}

zvc::detail::GzipWriter* ZvZipStream::Writer() const { return m_file ? m_file->writer.get() : nullptr; }

long long ZvZipStream::GetFileLength() { return 0; }

long long ZvZipStream::Write(const void* buffer, long long count) {
    if (!m_file || !m_file->writer) return Note(Z_STREAM_ERROR);
    zvc::detail::GzipWriter& writer = *m_file->writer;
    const long long done = writer.Write(buffer, count);
    if (done != count) Note(writer.Result());
    return done;
}

long long ZvZipStream::Read(void* buffer, long long count) {
    if (!m_file || !m_file->reader) return Note(Z_STREAM_ERROR);
    const long long done = m_file->reader->Read(buffer, count);
    NoteReader();
    return Note(done);
}

// Where the file just stops, as one does that was written to a descriptor, what came is good: that is no failure until
// somebody reads on.
void ZvZipStream::NoteReader() const {
    if (!m_file->reader->AtEnd()) Note(m_file->reader->Result());
}

long long ZvZipStream::Move(long long offset, SeekOrigin origin) const {
    if (!m_file) return Note(-1);
    const int distance = static_cast<int>(offset);       // 32 bits of it: meant so
    if (m_file->writer) return Note(m_file->writer->Seek(distance, origin));
    const long long position = m_file->reader->Seek(distance, origin);
    NoteReader();
    return Note(position);
}

long long ZvZipStream::Tellp() const { return Move(0, Current); }
long long ZvZipStream::Tellg() const { return Move(0, Current); }

void ZvZipStream::Seekp(long long offset, SeekOrigin origin) {
    if (origin >= Begin && origin <= End) Move(offset, origin);
}

void ZvZipStream::Seekg(long long offset, SeekOrigin origin) { Seekp(offset, origin); }

void ZvZipStream::Flush() {
    if (!m_file || !m_file->writer) {
        Note(Z_STREAM_ERROR);
        return;
    }
    if (Note(m_file->writer->Flush(Z_NO_FLUSH)) == Z_OK && !m_file->port.Flush()) Note(Z_ERRNO);
}

bool ZvZipStream::Fail() const { return !m_file || m_error < 0; }
bool ZvZipStream::SetEndOfFile() { return false; }
bool ZvZipStream::CanSeek() const { return true; }
bool ZvZipStream::CanRead() const { return (m_access & ZvFile::Read) != 0; }
bool ZvZipStream::CanWrite() const { return (m_access & ZvFile::Write) != 0; }
