#include "zvc/platform/CodePage.h"

#include <cerrno>
#include <clocale>
#include <iconv.h>
#include <langinfo.h>
#include <locale.h>

namespace zvc::platform {

namespace {

constexpr char16_t Replacement = 0xFFFD;

// One step of decoding: the code point at text[i], or -1 for an ill-formed part; i moves behind it. The ranges of the
// second byte are those of well-formed UTF-8 (The Unicode Standard, table 3-7), so that an ill-formed part is maximal.
int32_t NextCodePoint(std::string_view text, size_t& i) {
    const auto first = static_cast<unsigned char>(text[i++]);
    if (first < 0x80) return first;
    int more = 0;
    unsigned char low = 0x80, high = 0xBF;
    int32_t code = 0;
    if (first >= 0xC2 && first <= 0xDF) {
        more = 1;
        code = first & 0x1F;
    } else if (first >= 0xE0 && first <= 0xEF) {
        more = 2;
        code = first & 0x0F;
        if (first == 0xE0) low = 0xA0;
        if (first == 0xED) high = 0x9F;
    } else if (first >= 0xF0 && first <= 0xF4) {
        more = 3;
        code = first & 0x07;
        if (first == 0xF0) low = 0x90;
        if (first == 0xF4) high = 0x8F;
    } else {
        return -1;
    }
    for (; more != 0; --more) {
        if (i == text.size()) return -1;
        const auto c = static_cast<unsigned char>(text[i]);
        if (c < low || c > high) return -1;
        code = (code << 6) | (c & 0x3F);
        low = 0x80;
        high = 0xBF;
        ++i;
    }
    return code;
}

void Append(std::u16string& out, int32_t code) {
    if (code < 0x10000) {
        out.push_back(static_cast<char16_t>(code));
        return;
    }
    code -= 0x10000;
    out.push_back(static_cast<char16_t>(0xD800 + (code >> 10)));
    out.push_back(static_cast<char16_t>(0xDC00 + (code & 0x3FF)));
}

// The environment's code page. A library must not set the program's locale: it asks one of its own. The "C" locale, which
// containers have, counts as UTF-8.
std::string SystemCodePage() {
    locale_t locale = newlocale(LC_CTYPE_MASK, "", static_cast<locale_t>(nullptr));
    if (locale == static_cast<locale_t>(nullptr)) return "UTF-8";
    const std::string name = nl_langinfo_l(CODESET, locale);
    freelocale(locale);
    return name == "ANSI_X3.4-1968" ? "UTF-8" : name;
}

/// A converter that is given one character at a time, so that it is known which one fails.
class Converter {
public:
    Converter(const char* to, const char* from) : m_handle(iconv_open(to, from)) {}
    ~Converter() {
        if (IsOpen()) iconv_close(m_handle);
    }
    Converter(const Converter&) = delete;
    bool IsOpen() const { return m_handle != reinterpret_cast<iconv_t>(-1); }

    /// The converted bytes of in, or false.
    bool Convert(const char* in, size_t size, std::string& out) {
        char buffer[32];
        char* source = const_cast<char*>(in);
        char* target = buffer;
        size_t room = sizeof buffer;
        if (iconv(m_handle, &source, &size, &target, &room) == static_cast<size_t>(-1) || size != 0) {
            iconv(m_handle, nullptr, nullptr, nullptr, nullptr);
            return false;
        }
        out.append(buffer, static_cast<size_t>(target - buffer));
        return true;
    }

private:
    iconv_t m_handle;
};

}

std::u16string Utf8ToUtf16(std::string_view text) {
    std::u16string out;
    for (size_t i = 0; i < text.size();) {
        const int32_t code = NextCodePoint(text, i);
        Append(out, code < 0 ? Replacement : code);
    }
    return out;
}

std::string Utf16ToUtf8(std::u16string_view text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        uint32_t code = text[i];
        if (code >= 0xD800 && code <= 0xDFFF) {
            const bool pair = code < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF;
            code = pair ? 0x10000 + ((code - 0xD800) << 10) + (text[++i] - 0xDC00u) : Replacement;
        }
        if (code < 0x80) {
            out.push_back(static_cast<char>(code));
            continue;
        }
        const int more = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
        static const unsigned int lead[] = {0, 0xC0, 0xE0, 0xF0};
        out.push_back(static_cast<char>(lead[more] | (code >> (6 * more))));
        for (int k = more - 1; k >= 0; --k) out.push_back(static_cast<char>(0x80 | ((code >> (6 * k)) & 0x3F)));
    }
    return out;
}

std::u16string SystemToUtf16(std::string_view text) {
    const std::string page = SystemCodePage();
    if (page == "UTF-8") return Utf8ToUtf16(text);
    Converter converter("UTF-8", page.c_str());
    if (!converter.IsOpen()) return Utf8ToUtf16(text);
    std::u16string out;
    for (size_t i = 0; i < text.size();) {
        std::string utf8;
        size_t size = 1;                       // characters of one to four bytes
        while (size <= 4 && i + size <= text.size() && !converter.Convert(text.data() + i, size, utf8)) ++size;
        if (utf8.empty()) {
            out.push_back(Replacement);
            ++i;
        } else {
            out += Utf8ToUtf16(utf8);
            i += size;
        }
    }
    return out;
}

std::string Utf16ToSystem(std::u16string_view text) {
    const std::string page = SystemCodePage();
    if (page == "UTF-8") return Utf16ToUtf8(text);
    Converter converter(page.c_str(), "UTF-16LE");
    if (!converter.IsOpen()) return Utf16ToUtf8(text);
    std::string out;
    for (size_t i = 0; i < text.size();) {
        const bool pair = i + 1 < text.size() && text[i] >= 0xD800 && text[i] < 0xDC00 && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000;
        const size_t units = pair ? 2 : 1;
        if (!converter.Convert(reinterpret_cast<const char*>(text.data() + i), units * sizeof(char16_t), out)) out.append(units, '?');
        i += units;
    }
    return out;
}

}
