#pragma once

#include "zvc/core/ZvDeclare.h"

#include <cstring>

/// Single-byte text ended by a zero byte: the library's one string class. What is shared is the object, through handles;
/// a string itself is changed in place, by one thread at a time.
///
/// Up to 6 characters live in the object, longer text in a block of its own. The length is not stored: GetLength,
/// appending and hashing count every time. Null texts are allowed only where it is said; positions are not checked.
class ZV_API ZvString : public ZvObject {
    ZV_DECLARE_CLASS(ZvString)
    ZV_DECLARE_CREATE(ZvString)
public:
    ZvString() noexcept;
    ZvString(const char* text);                      ///< null gives the empty string
    ZvString(void* text);                            ///< the same
    ZvString(const char* text, size_t size);         ///< size bytes as strncpy copies them, and a zero byte behind
    ZvString(const ZvString& other);
    ZvString(const ZvString$& other);                ///< copies the text; the handle must not be null
    ~ZvString() override;

    size_t GetLength() const { return std::strlen(m_buffer); }                          ///< bytes before the zero byte
    const char* CStr() const { return m_buffer; }                                       ///< valid until the text changes
    bool Empty() const { return m_buffer[0] == '\0'; }                                  ///< whether the first byte is zero
    int operator!() const { return m_buffer[0] == '\0'; }                               ///< the same, as a number
    char& operator[](size_t index) { return m_buffer[index]; }                          ///< the byte itself, not checked
    const char& operator[](size_t index) const { return m_buffer[index]; }

    /// Index of the first occurrence; all ones when there is none.
    size_t Find(const char* text) const;
    size_t Find(char c) const;
    /// Index of the last occurrence of a character; all ones when there is none.
    size_t RFind(char c) const;
    /// Always all ones: the search for a text from the end finds nothing, and programs rely on it.
    size_t RFind(const char* text) const;

    /// A new string of length bytes from position; the rest when length is all ones or reaches beyond the end.
    ZvString$ Substr(size_t position, size_t length) const;

    /// 64-bit FNV-1a of the bytes before the zero byte (Fowler, Noll and Vo; offset 0xcbf29ce484222325).
    static size_t Hash(const char* text);
    size_t GetHashCode() const override;

    /// True for a string with the same bytes. False for null and for any other class.
    bool Equals(const ZvObject* other) const override;
    ZvObject* Clone() const override;                ///< a new string with the same text

    /// Bytewise order, bytes as unsigned.
    bool operator<(const ZvString& s) const { return std::strcmp(m_buffer, s.m_buffer) < 0; }
    bool operator>(const ZvString& s) const { return std::strcmp(m_buffer, s.m_buffer) > 0; }
    bool operator<=(const ZvString& s) const { return std::strcmp(m_buffer, s.m_buffer) <= 0; }
    bool operator>=(const ZvString& s) const { return std::strcmp(m_buffer, s.m_buffer) >= 0; }
    bool operator<(const char* s) const { return std::strcmp(m_buffer, s) < 0; }
    bool operator>(const char* s) const { return std::strcmp(m_buffer, s) > 0; }
    bool operator<=(const char* s) const { return std::strcmp(m_buffer, s) <= 0; }
    bool operator>=(const char* s) const { return std::strcmp(m_buffer, s) >= 0; }

    ZvString& operator=(const ZvString& other) { return *this = static_cast<const char*>(other.m_buffer); }
    /// Takes the text, which may lie in the string's own buffer; null clears the string.
    ZvString& operator=(const char* text);

    ZvString& operator+=(const char* text);          ///< appends; the text may be the string's own, and is not null
    ZvString& operator+=(const ZvString& text);
    ZvString& operator+=(char c);
    ZvString operator+(const char* text) const;      ///< a null text gives a plain copy
    ZvString operator+(const ZvString& text) const;

    /// Discards the text and gives a writable buffer, empty, with room for size bytes and a zero byte. The caller keeps
    /// the zero byte in place.
    char* GetBuffer(size_t size);

    /// Empties the string. Without freeBlock a heap block is left to whoever took it over.
    void MakeEmpty(bool freeBlock);

    /// Replaces the text by the printed one. 4096 characters and more end the process.
    void Format(const char* format, ...) __attribute__((format(printf, 2, 3)));

    /// The text, taken as UTF-8, in the system's code page, and the other way round.
    ZvString$ ConvertFromUtf8() const;               ///< what is ill-formed, or not in the code page, is replaced:
    ZvString$ ConvertToUtf8() const;                 ///< by U+FFFD, and by a question mark where that is not in the page

    /// A new string with the double quote, ampersand, less-than and greater-than sign as entities; the apostrophe stays.
    ZvString$ XmlEscape() const;

    void Encode(ZvStream$& stream, ZvCoder* coder) const override;                      ///< as the coder writes a string
    void Decode(ZvStream$& stream, ZvCoder* coder) override;

private:
    static constexpr size_t InlineSize = 8;

    void expand(size_t n);
    bool IsInline() const { return m_buffer == m_inline; }
    void Construct(const char* text, size_t size);
    void TakeInlineBack(bool freeBlock);

    char* m_buffer;
    size_t m_capacity = 0;               // of the heap block; meaningless while the text is inline
    char m_inline[InlineSize];
};

inline bool operator==(const char* a, const ZvString& b) { return std::strcmp(a, b.CStr()) == 0; }
inline bool operator==(const ZvString& a, const ZvString& b) { return std::strcmp(a.CStr(), b.CStr()) == 0; }
inline bool operator==(const ZvString& a, const char* b) { return std::strcmp(a.CStr(), b) == 0; }
inline bool operator!=(const char* a, const ZvString& b) { return !(a == b); }
inline bool operator!=(const ZvString& a, const ZvString& b) { return !(a == b); }
inline bool operator!=(const ZvString& a, const char* b) { return !(a == b); }
