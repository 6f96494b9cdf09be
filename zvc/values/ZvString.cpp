#include "zvc/values/ZvString.h"

#include "zvc/core/ZvSystem.h"
#include "zvc/platform/CodePage.h"
#include "zvc/platform/System.h"
#include "zvc/serialization/ZvCoder.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>

ZV_DEFINE_CLASS(ZvString, (ZvObject), .spec = ZvType::SpecPrimitive, .codec = true, .create = &Create)

namespace {

char* Allocate(size_t size) {
    void* block = size != 0 ? std::malloc(size) : nullptr;             // a text and its zero byte came round
    if (block == nullptr) throw std::bad_alloc();
    return static_cast<char*>(block);
}

}

ZvString::ZvString() noexcept : m_buffer(m_inline) { m_inline[0] = '\0'; }
ZvString::ZvString(const char* text) : m_buffer(m_inline) { Construct(text, text != nullptr ? std::strlen(text) : 0); }
ZvString::ZvString(void* text) : ZvString(static_cast<const char*>(text)) {}
ZvString::ZvString(const ZvString& other) : ZvObject(other), m_buffer(m_inline) {
    Construct(other.m_buffer, other.GetLength());
}
ZvString::ZvString(const ZvString$& other) : m_buffer(m_inline) { Construct(other->m_buffer, other->GetLength()); }

ZvString::ZvString(const char* text, size_t size) : m_buffer(m_inline) {
    const size_t length = strnlen(text, size);
    Construct(nullptr, size);
    std::memcpy(m_buffer, text, length);
    std::memset(m_buffer + length, 0, size - length + 1);
}

ZvString::~ZvString() {
    if (!IsInline()) std::free(m_buffer);
}

// Room for size bytes and the zero byte, in a new string; text, when there is one, has size bytes.
inline void ZvString::Construct(const char* text, size_t size) {
    if (size >= InlineSize - 1) {
        m_buffer = Allocate(size + 1);
        m_capacity = size + 1;
    }
    if (text != nullptr) std::memcpy(m_buffer, text, size);
    m_buffer[size] = '\0';
}

size_t ZvString::Find(const char* text) const {
    const char* found = std::strstr(m_buffer, text);
    return found != nullptr ? static_cast<size_t>(found - m_buffer) : ~size_t(0);
}

size_t ZvString::Find(char c) const {
    const char* found = c != '\0' ? std::strchr(m_buffer, c) : nullptr;
    return found != nullptr ? static_cast<size_t>(found - m_buffer) : ~size_t(0);
}

size_t ZvString::RFind(char c) const {
    const char* found = c != '\0' ? std::strrchr(m_buffer, c) : nullptr;
    return found != nullptr ? static_cast<size_t>(found - m_buffer) : ~size_t(0);
}

size_t ZvString::RFind(const char*) const { return ~size_t(0); }      // meant so, see the header

ZvString$ ZvString::Substr(size_t position, size_t length) const {
    const size_t whole = GetLength();
    if (length > whole - position) length = whole - position;          // all ones among them
    return new ZvString(m_buffer + position, length);
}

size_t ZvString::Hash(const char* text) {
    uint64_t h = 0xcbf29ce484222325;
    for (; *text != '\0'; ++text) h = (h ^ static_cast<unsigned char>(*text)) * 0x100000001b3;
    return h;
}

size_t ZvString::GetHashCode() const { return Hash(m_buffer); }

bool ZvString::Equals(const ZvObject* other) const {
    if (this == other) return true;
    if (other == nullptr || other->GetType()->CalcOffset(&s_type) == ZvNoOffset) return false;
    return std::strcmp(m_buffer, static_cast<const ZvString*>(other)->m_buffer) == 0;
}

ZvObject* ZvString::Clone() const { return new ZvString(*this); }

void ZvString::TakeInlineBack(bool freeBlock) {
    if (!IsInline() && freeBlock) std::free(m_buffer);
    m_buffer = m_inline;
    m_inline[0] = '\0';
}

// Room to append n bytes. Deliberately no growth factor: a block is as large as its text.
void ZvString::expand(size_t n) {
    const size_t length = GetLength();
    const size_t needed = n + 1 + length;
    if (needed <= n) throw std::bad_alloc();           // came round
    if (needed < InlineSize || (!IsInline() && needed <= m_capacity)) return;
    char* block = Allocate(needed);
    std::memcpy(block, m_buffer, length + 1);
    if (!IsInline()) std::free(m_buffer);
    m_buffer = block;
    m_capacity = needed;
}

ZvString& ZvString::operator=(const char* text) {
    if (text == nullptr) {
        TakeInlineBack(true);
        return *this;
    }
    const char* end = m_buffer + (IsInline() ? InlineSize : m_capacity);
    if (text >= m_buffer && text < end) {
        const ZvString copy(text);
        return *this = copy.m_buffer;
    }
    const size_t needed = std::strlen(text) + 1;
    if (needed >= InlineSize) {
        if (IsInline() || needed > m_capacity) {
            char* block = Allocate(needed);            // before the old one goes: a failure leaves the text as it was
            if (!IsInline()) std::free(m_buffer);
            m_buffer = block;
        }
    } else {
        TakeInlineBack(true);
    }
    std::memcpy(m_buffer, text, needed);
    m_capacity = needed;                               // also of a larger block that was kept
    return *this;
}

ZvString& ZvString::operator+=(const char* text) {
    const size_t size = std::strlen(text);
    const size_t length = GetLength();
    const bool isOwn = text >= m_buffer && text <= m_buffer + length;
    const size_t offset = isOwn ? static_cast<size_t>(text - m_buffer) : 0;
    expand(size);
    std::memcpy(m_buffer + length, isOwn ? m_buffer + offset : text, size);     // an own text moved with the block
    m_buffer[length + size] = '\0';
    return *this;
}

ZvString& ZvString::operator+=(const ZvString& text) { return *this += static_cast<const char*>(text.m_buffer); }

ZvString& ZvString::operator+=(char c) {
    const char text[2] = {c, '\0'};
    return *this += text;
}

ZvString ZvString::operator+(const char* text) const {
    ZvString sum(*this);
    if (text != nullptr) sum += text;
    return sum;
}

ZvString ZvString::operator+(const ZvString& text) const { return *this + static_cast<const char*>(text.m_buffer); }

char* ZvString::GetBuffer(size_t size) {
    TakeInlineBack(true);
    expand(size);
    m_buffer[0] = '\0';
    return m_buffer;
}

void ZvString::MakeEmpty(bool freeBlock) { TakeInlineBack(freeBlock); }

void ZvString::Format(const char* format, ...) {
    char text[4096];
    va_list arguments;
    va_start(arguments, format);
    const int size = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (size < 0 || size >= static_cast<int>(sizeof text)) zvc::platform::Fatal("ZvString::Format: the text is out of range");
    expand(static_cast<size_t>(size));
    std::memcpy(m_buffer, text, static_cast<size_t>(size) + 1);
}

ZvString$ ZvString::ConvertFromUtf8() const {
    return new ZvString(zvc::platform::Utf16ToSystem(zvc::platform::Utf8ToUtf16(m_buffer)).c_str());
}

ZvString$ ZvString::ConvertToUtf8() const {
    return new ZvString(zvc::platform::Utf16ToUtf8(zvc::platform::SystemToUtf16(m_buffer)).c_str());
}

ZvString$ ZvString::XmlEscape() const {
    std::string text;
    for (const char* c = m_buffer; *c != '\0'; ++c) {
        switch (*c) {
            case '"': text += "&quot;"; break;
            case '&': text += "&amp;"; break;
            case '<': text += "&lt;"; break;
            case '>': text += "&gt;"; break;
            default: text += *c;
        }
    }
    return new ZvString(text.c_str());
}

void ZvString::Encode(ZvStream$& stream, ZvCoder* coder) const { coder->Write(stream, *this); }
void ZvString::Decode(ZvStream$& stream, ZvCoder* coder) { coder->Read(stream, *this); }
