#pragma once

// How the binary coder gets at the bytes of a stream without two virtual calls for each of them. Internal; not for clients.
//
// A window is open on one stream for the span of the coder's outermost call. On exactly a ZvMemoryStream it works on the
// stream's own cursor, in place. On exactly a ZvFileStream it gathers what is written, and reads ahead; the file stream
// knows the window and has it settled before any operation of its own, so that whoever looks at the stream meanwhile sees
// what an unbuffered one would show. On the compressed streams it works at the cursor of the bytes that are held back for the
// compressor. A ReadAhead is such a window of its own: reading works in its buffer. All other streams have none.

#include "zvc/platform/Api.h"
#include "zvc/serialization/ZvFileWindow.h"

#include <cstdint>
#include <cstring>
#include <memory>

class ZvStream;
class ZvStream$;
class ZvZipStream;

namespace zvc::detail {

class GzipWriter;
class ReadAhead;

class ZV_API OutputWindow : private FileWindow {
public:
    OutputWindow() = default;
    OutputWindow(const OutputWindow&) : FileWindow() {}
    OutputWindow& operator=(const OutputWindow&) { return *this; }

    /// Opens on stream at the outermost call; nested calls are only counted. Close settles what is gathered; the answer is
    /// false when a transfer whose failure the coder reports has failed.
    void Open(ZvStream* stream) {
        if (m_depth++ == 0) Begin(stream);
    }
    bool Close() { return --m_depth != 0 || m_stream == nullptr || Finish(); }

    bool IsOn(const ZvStream* stream) const { return m_stream == stream; }

    /// Where the next bytes go when at least size bytes have room, else null. Advance moves on.
    unsigned char* Room(size_t size) const {
        return static_cast<size_t>(m_limit - *m_cursor) >= size ? *m_cursor : nullptr;
    }
    void Advance(size_t size) { *m_cursor += size; }

    /// Puts size bytes by the stream's rules. True if that can be done here: otherwise the caller uses the stream.
    bool Put(const void* data, size_t size) {
        unsigned char* at = Room(size);
        if (at == nullptr) return PutMore(data, size);
        if (size != 0) std::memcpy(at, data, size);        // nothing may come from nowhere
        Advance(size);
        return true;
    }

    /// What the stream's Fail would answer now without a window; a file's failure of long ago does not count.
    bool Failed() const { return *m_failure; }

    /// The next Close reports a failed transfer.
    void NoteChecked() { m_checked = true; }

private:
    void Begin(ZvStream* stream);
    bool Finish();
    void Settle() override;
    bool PutMore(const void* data, size_t size);
    void OpenOn(GzipWriter* writer, ZvStream* stream);
    void LetGo();

    ZvStream* m_stream = nullptr;               // null while closed
    unsigned int m_depth = 0;
    bool m_isFile = false;
    bool m_compresses = false;
    ZvZipStream* m_zip = nullptr;               // that knows this window
    bool m_failed = false;
    bool m_checked = false;
    const bool* m_failure = &m_failed;          // or the memory stream's own
    unsigned char** m_cursor = &m_next;
    unsigned char* m_limit = nullptr;           // the cursor may come to stand here, and no further
    unsigned char* m_next = nullptr;
    std::unique_ptr<unsigned char[]> m_buffer;
};

class ZV_API InputWindow : private FileWindow {
public:
    InputWindow() = default;
    InputWindow(const InputWindow&) : FileWindow() {}
    InputWindow& operator=(const InputWindow&) { return *this; }

    void Open(ZvStream* stream) {
        if (m_depth++ == 0) Begin(stream);
    }
    void Close() {
        if (--m_depth == 0 && m_stream != nullptr) Finish();
    }

    bool IsOn(const ZvStream* stream) const { return m_stream == stream; }

    /// The next size bytes when they are at hand, else null. Advance moves on.
    const unsigned char* Look(size_t size) {
        if (static_cast<size_t>(*m_limit - *m_cursor) >= size) return *m_cursor;
        return Fill(size);
    }
    /// Only what is there by now: nothing is waited for.
    const unsigned char* AtHand(size_t size) const {
        return static_cast<size_t>(*m_limit - *m_cursor) >= size ? *m_cursor : nullptr;
    }
    /// As Look, and how many bytes are at hand there: size or more.
    const unsigned char* Look(size_t size, size_t& atHand) {
        const unsigned char* const at = Look(size);
        atHand = static_cast<size_t>(*m_limit - *m_cursor);
        return at;
    }
    void Advance(size_t size) { *m_cursor += size; }

    /// What the stream's Fail would answer behind a transfer that was served here. A file's failures from before are over
    /// then.
    bool Failed() const;

    /// Bytes that are surely still to come.
    uint64_t Remaining() const;

    /// Bytes that files gave, those too that were put back and came again.
    uint64_t Filled() const { return m_filled; }

    /// True on a reader of pipes, where waiting for more than is surely still to come could be for ever, and which takes
    /// large blocks straight to their place.
    bool IsAhead() const { return m_ahead != nullptr; }

private:
    void Begin(ZvStream* stream);
    void Finish();
    void Settle() override;
    const unsigned char* Fill(size_t size);

    ZvStream* m_stream = nullptr;
    unsigned int m_depth = 0;
    bool m_isFile = false;
    uint64_t m_filled = 0;
    ReadAhead* m_ahead = nullptr;
    unsigned char** m_cursor = &m_next;
    unsigned char** m_limit = &m_end;
    unsigned char* m_next = nullptr;
    unsigned char* m_end = nullptr;
    std::unique_ptr<unsigned char[]> m_buffer;
};

}
