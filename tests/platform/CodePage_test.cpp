#include "zvc/platform/CodePage.h"

#include "support/Locale.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

using namespace zvc::platform;
using namespace std::string_literals;

TEST(CodePage, WellFormedTextGoesThereAndBack) {
    struct Row {
        std::string utf8;
        std::u16string utf16;
    };
    for (const Row& row : {Row{"", u""}, Row{"plain", u"plain"}, Row{"\xC2\x80\xDF\xBF", u"\u0080\u07FF"},
                           Row{"\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF", u"\u0800\uD7FF\uE000\uFFFF"},
                           Row{"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", u"\xD800\xDC00\xDBFF\xDFFF"}, Row{"a\0b"s, u"a\0b"s}}) {
        EXPECT_EQ(Utf8ToUtf16(row.utf8), row.utf16);
        EXPECT_EQ(Utf16ToUtf8(row.utf16), row.utf8);
    }
}

TEST(CodePage, EachMaximalIllFormedPartBecomesOneReplacement) {
    struct Row {
        const char* utf8;
        std::u16string utf16;
    };
    for (const Row& row : {Row{"a\x80z", u"a\uFFFDz"}, Row{"\xC3", u"\uFFFD"}, Row{"\xE2\x82z", u"\uFFFDz"},
                           Row{"\xC0\xAF", u"\uFFFD\uFFFD"}, Row{"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},
                           Row{"\xF0\x9F\x98", u"\uFFFD"}, Row{"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
                           Row{"\xE0\x9F\xBFx", u"\uFFFD\uFFFD\uFFFDx"}, Row{"\xFF\xFE", u"\uFFFD\uFFFD"}})
        EXPECT_EQ(Utf8ToUtf16(row.utf8), row.utf16) << row.utf8;
}

TEST(CodePage, LoneSurrogateBecomesAReplacement) {
    EXPECT_EQ(Utf16ToUtf8(u"a\xD800z"), "a\xEF\xBF\xBDz");
    EXPECT_EQ(Utf16ToUtf8(u"\xDC00\xD800"), "\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(CodePage, EnvironmentWithoutACodePageCountsAsUtf8) {
    for (const char* locale : {"C", "POSIX", "C.UTF-8", "no such locale"}) {
        Environment environment(locale);
        EXPECT_EQ(SystemToUtf16("\xC3\xA4"), u"\u00E4") << locale;
        EXPECT_EQ(Utf16ToSystem(u"\u00E4"), "\xC3\xA4") << locale;
        EXPECT_EQ(SystemToUtf16("\xC3"), u"\uFFFD") << locale;
    }
}

TEST(CodePage, ProgramsLocaleStaysAsItIs) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    Environment environment("C.UTF-8");
    Utf16ToSystem(u"x");
    SystemToUtf16("x");
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), before);
}

TEST(CodePage, SingleByteSystemPage) {
    const OwnLocale locale("de_DE", "ISO-8859-1", "de_DE.ISO-8859-1");
    ASSERT_TRUE(locale.made);
    Environment environment("de_DE.ISO-8859-1");
    EXPECT_EQ(SystemToUtf16("a\xE4"), u"a\u00E4");
    EXPECT_EQ(Utf16ToSystem(u"a\u00E4"), "a\xE4");
    EXPECT_EQ(Utf16ToSystem(u"\u20ACx"), "?x");
    EXPECT_EQ(Utf16ToSystem(u"\xD83D\xDE00"), "??");
}
