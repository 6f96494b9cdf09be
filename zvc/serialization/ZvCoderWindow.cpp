#include "zvc/serialization/ZvCoderWindow.h"

#include "zvc/platform/File.h"
#include "zvc/serialization/ZvFileStream.h"
#include "zvc/serialization/ZvGzip.h"
#include "zvc/serialization/ZvMemoryStream.h"
#include "zvc/serialization/ZvReadAhead.h"
#include "zvc/serialization/ZvStdIOZipStream.h"
#include "zvc/serialization/ZvZipStream.h"

#include <algorithm>
#include <typeinfo>

namespace zvc::detail {

namespace {

constexpr size_t BufferSize = 64 * 1024;

// By address: each of these classes has one description, in this library. A comparison would look at the names of others.
template <class T>
T* Exactly(ZvStream* stream) {
    return &typeid(*stream) == &typeid(T) ? static_cast<T*>(stream) : nullptr;
}

}

// A transfer on a memory stream succeeds while it ends before the end of the range: the last byte is never passed. So the
// cursor may move up to the last byte, and whatever would go further is left to the stream.

void OutputWindow::Begin(ZvStream* stream) {
    m_failed = m_checked = m_isFile = m_compresses = false;
    if (auto* memory = Exactly<ZvMemoryStream>(stream)) {
        if (memory->m_cursor >= memory->m_end) return;
        m_cursor = &memory->m_cursor;
        m_limit = memory->m_end - 1;
        m_failure = &memory->m_failed;
        m_stream = stream;
    } else if (auto* file = Exactly<ZvFileStream>(stream)) {
        if (!file->CanWrite() || file->m_window != nullptr) return;
        if (!m_buffer) m_buffer.reset(new unsigned char[BufferSize]);
        m_next = m_buffer.get();
        m_cursor = &m_next;
        m_limit = m_next + BufferSize;
        m_isFile = true;
        m_stream = stream;
        file->m_window = this;
    } else if (auto* zip = Exactly<ZvZipStream>(stream)) {
        if (zip->m_window != nullptr) return;
        OpenOn(zip->Writer(), zip);
        if (!m_compresses) return;
        m_zip = zip;
        zip->m_window = this;
    } else if (auto* wrapped = Exactly<ZvStdIOZipStream>(stream)) {
        OpenOn(wrapped->Writer(), wrapped);
    }
}

// A compressor that has failed leaves no room, so that whatever comes behind a failure goes to the stream itself.
void OutputWindow::OpenOn(GzipWriter* writer, ZvStream* stream) {
    if (writer == nullptr || !stream->CanWrite() || stream->Fail()) return;
    m_cursor = &writer->m_next;
    m_limit = writer->m_limit;
    m_compresses = true;
    m_stream = stream;
}

bool OutputWindow::Finish() {
    Settle();
    if (m_isFile) static_cast<ZvFileStream*>(m_stream)->m_window = nullptr;
    LetGo();
    return !(m_isFile && m_failed && m_checked);
}

void OutputWindow::LetGo() {
    if (m_zip != nullptr) m_zip->m_window = nullptr;
    m_zip = nullptr;
    m_compresses = false;
    m_stream = nullptr;
    m_failure = &m_failed;
    m_cursor = &m_next;
    m_limit = m_next = nullptr;
}

void OutputWindow::Settle() {
    if (m_compresses) return LetGo();           // the stream itself does the rest
    if (!m_isFile || m_next == m_buffer.get()) return;
    const auto gathered = m_next - m_buffer.get();
    m_next = m_buffer.get();
    m_stream->Write(m_buffer.get(), static_cast<long long>(gathered));
    if (m_stream->Fail()) m_failed = true;
}

bool OutputWindow::PutMore(const void* data, size_t size) {
    if (m_compresses) {
        ZvStream* const stream = m_stream;
        stream->Write(data, static_cast<long long>(size));
        m_failed = stream->Fail();              // which may have let go of the window
        return true;
    }
    if (!m_isFile) return false;
    Settle();
    if (size > BufferSize) {
        m_stream->Write(data, static_cast<long long>(size));      // large blocks need no gathering
        if (m_stream->Fail()) m_failed = true;
        return true;
    }
    std::memcpy(m_next, data, size);
    m_next += size;
    return true;
}

void InputWindow::Begin(ZvStream* stream) {
    m_isFile = false;
    if (auto* memory = Exactly<ZvMemoryStream>(stream)) {
        if (memory->m_cursor >= memory->m_end) return;
        m_cursor = &memory->m_cursor;
        m_end = memory->m_end - 1;
        m_stream = stream;
    } else if (auto* ahead = Exactly<ReadAhead>(stream)) {
        m_ahead = ahead;
        m_cursor = &ahead->m_next;
        m_limit = &ahead->m_limit;
        m_stream = stream;
    } else if (auto* file = Exactly<ZvFileStream>(stream)) {
        if (!file->CanRead() || file->m_window != nullptr || !platform::FileIsRegular(file->m_handle)) return;
        if (!m_buffer) m_buffer.reset(new unsigned char[BufferSize]);
        m_next = m_end = m_buffer.get();
        m_cursor = &m_next;
        m_isFile = true;
        m_stream = stream;
        file->m_window = this;
    }
}

void InputWindow::Finish() {
    if (m_isFile) {
        Settle();
        static_cast<ZvFileStream*>(m_stream)->m_window = nullptr;
    }
    m_stream = nullptr;
    m_ahead = nullptr;
    m_cursor = &m_next;
    m_limit = &m_end;
    m_end = m_next = nullptr;
}

void InputWindow::Settle() {
    if (!m_isFile || m_next == m_end) return;
    const auto unread = static_cast<int64_t>(m_end - m_next);
    m_next = m_end = m_buffer.get();
    const auto handle = static_cast<ZvFileStream*>(m_stream)->m_handle;
    platform::FileSeek64(handle, -unread, 1);
}

const unsigned char* InputWindow::Fill(size_t size) {
    if (m_ahead != nullptr) return m_ahead->Gather(size) ? *m_cursor : nullptr;
    if (!m_isFile || size > BufferSize) return nullptr;
    const auto have = static_cast<size_t>(m_end - m_next);
    unsigned char* const buffer = m_buffer.get();
    std::memmove(buffer, m_next, have);
    m_next = buffer;
    m_end = buffer + have;
    uint32_t got = 0;
    auto* const file = static_cast<ZvFileStream*>(m_stream);
    file->m_failed = !platform::FileRead(file->m_handle, m_end, static_cast<uint32_t>(BufferSize - have), &got);     // as its own Read tells
    if (!file->m_failed) m_end += got;
    m_filled += got;
    if (static_cast<size_t>(m_end - m_next) >= size) return m_next;
    Settle();                                   // what is left is less than was asked for: the stream itself shows how it ends
    return nullptr;
}

bool InputWindow::Failed() const { return !m_isFile && m_stream->Fail(); }

uint64_t InputWindow::Remaining() const {
    if (m_stream == nullptr) return 0;
    const auto atHand = static_cast<uint64_t>(*m_limit - *m_cursor);
    if (!m_isFile) return atHand;
    const auto handle = static_cast<ZvFileStream*>(m_stream)->m_handle;
    const int64_t size = platform::FileSize64(handle);
    const int64_t position = platform::FileTell64(handle);
    return atHand + (size > position && position >= 0 ? static_cast<uint64_t>(size - position) : 0);
}

}
