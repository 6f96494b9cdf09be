// Strings: storage, construction, queries, comparison, change, conversion, interning.

#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include "support/Locale.h"
#include "support/ShortMemory.h"

#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <malloc.h>
#include <new>
#include <string>

namespace {

constexpr size_t None = ~size_t(0);

bool IsInline(const ZvString& s) {
    const char* object = reinterpret_cast<const char*>(&s);
    return s.CStr() >= object && s.CStr() < object + sizeof s;
}

std::string TextOf(const ZvString$& s) { return s->CStr(); }

class DerivedString : public ZvString {
    ZV_DECLARE_CLASS(DerivedString)
public:
    using ZvString::ZvString;
};

}

ZV_DEFINE_CLASS(DerivedString, (ZvString), .spec = 2, .codec = true)

// ---- descriptor and storage -----------------------------------------------------------------------------------------------

TEST(ZvString, DescriptorIsThatOfAValueFamilyWithACodec) {
    EXPECT_STREQ(ZvString::s_type.GetName()->CStr(), "ZvString");
    EXPECT_EQ(ZvString::s_type.GetSchema(), 0x80000001u);
    EXPECT_EQ(ZvString::s_type.GetClassSpec(), 2u);
    EXPECT_TRUE(ZvString::s_type.HasCodec());
    EXPECT_EQ(ZvString::s_type.GetBaseType(), &ZvObject::s_type);
    EXPECT_EQ(ZvSystem::FindType("ZvString"), &ZvString::s_type);
    EXPECT_EQ(ZvSystem::FindType(typeid(ZvString), 2), &ZvString::s_type);
}

TEST(ZvString, HoldsThreeFieldsBehindThoseOfItsBase) {
    EXPECT_EQ(sizeof(ZvString), sizeof(ZvObject) + 24);                 // buffer, capacity, eight bytes
}

TEST(ZvString, FactoryMakesAnEmptyString) {
    const ZvString$ s = ZvObject$(ZvString::s_type.CreateObject());
    ASSERT_TRUE(s);
    EXPECT_EQ(s->GetType(), &ZvString::s_type);
    EXPECT_TRUE(s->Empty());
    EXPECT_TRUE(ZvObject$(ZvString::Create())->Equals(s.Get()));
}

TEST(ZvString, SixCharactersStayInlineAndSevenTakeABlockOfEight) {
    const std::string text = "1234567";
    for (size_t length = 0; length <= 7; ++length) {
        const std::string part = text.substr(0, length);
        const ZvString made(part.c_str()), sized(text.c_str(), length);
        ZvString assigned, appended;
        assigned = part.c_str();
        appended += part.c_str();
        for (const ZvString* s : {&made, &sized, &static_cast<const ZvString&>(assigned), &static_cast<const ZvString&>(appended)}) {
            EXPECT_EQ(IsInline(*s), length < 7) << length;
            EXPECT_EQ(*s, part.c_str());
            EXPECT_EQ(s->GetLength(), length);
        }
    }
}

TEST(ZvString, LongTextNeedsNoLimit) {
    const std::string text(1 << 20, 'x');
    const ZvString s(text.c_str());
    EXPECT_EQ(s.GetLength(), text.size());
    EXPECT_EQ(s, text.c_str());
}

// ---- construction -----------------------------------------------------------------------------------------------------------

TEST(ZvString, NullTextMakesTheEmptyString) {
    EXPECT_TRUE(ZvString().Empty());
    EXPECT_TRUE(ZvString(static_cast<const char*>(nullptr)).Empty());
    EXPECT_TRUE(ZvString(static_cast<void*>(nullptr)).Empty());
    EXPECT_TRUE(ZvString("").Empty());
    EXPECT_TRUE(IsInline(ZvString()));
}

TEST(ZvString, UntypedTextIsTakenAsText) {
    char text[] = "untyped text";
    EXPECT_EQ(ZvString(static_cast<void*>(text)), "untyped text");
}

TEST(ZvString, SizedConstructorTakesThatManyBytes) {
    const ZvString s("abcdefghij", 8);
    EXPECT_EQ(s, "abcdefgh");
    EXPECT_EQ(s.CStr()[8], '\0');
    EXPECT_TRUE(ZvString("abc", 0).Empty());
    EXPECT_EQ(ZvString("abc", 3), "abc");
}

TEST(ZvString, SizedConstructorStopsAtTheTextsEndAndFillsWithZeros) {
    const char text[] = {'a', 'b', '\0', 'X', 'Y', 'X', 'Y', 'X', 'Y', 'X', 'Y', 'X'};
    const ZvString s(text, 12);
    EXPECT_EQ(s.GetLength(), 2u);
    for (size_t i = 2; i <= 12; ++i) EXPECT_EQ(s.CStr()[i], '\0') << i;
}

TEST(ZvString, CopyIsANewObjectWithCountZero) {
    for (const char* text : {"short", "a text that is longer"}) {
        const ZvString$ source = new ZvString(text);
        const ZvString copy(*source), fromHandle(source);
        EXPECT_EQ(copy, text);
        EXPECT_EQ(fromHandle, text);
        EXPECT_NE(copy.CStr(), source->CStr());
        EXPECT_NE(fromHandle.CStr(), source->CStr());
        EXPECT_EQ(copy.ReferenceCount(), 0);
        EXPECT_EQ(fromHandle.ReferenceCount(), 0);
        EXPECT_EQ(source->ReferenceCount(), 1);
    }
}

TEST(ZvString, CloneHasTheSameText) {
    const ZvString$ source = new ZvString("source text");
    const ZvString$ clone = ZvObject$(source->Clone());
    EXPECT_NE(clone.Get(), source.Get());
    EXPECT_EQ(*clone, "source text");
    *source += "!";
    EXPECT_EQ(*clone, "source text");
}

// ---- queries ----------------------------------------------------------------------------------------------------------------

TEST(ZvString, LengthCountsToTheZeroByteEachTime) {
    ZvString s("0123456789");
    EXPECT_EQ(s.GetLength(), 10u);
    s[4] = '\0';
    EXPECT_EQ(s.GetLength(), 4u);
    s[4] = '4';
    EXPECT_EQ(s.GetLength(), 10u);
}

TEST(ZvString, EmptyAndNotAskForTheFirstByte) {
    EXPECT_TRUE(ZvString("").Empty());
    EXPECT_NE(!ZvString(""), 0);
    EXPECT_FALSE(ZvString("x").Empty());
    EXPECT_EQ(!ZvString("x"), 0);
}

TEST(ZvString, IndexGivesTheByteItself) {
    ZvString s("abc");
    s[1] = 'X';
    EXPECT_EQ(s, "aXc");
    const ZvString& constant = s;
    EXPECT_EQ(constant[1], 'X');
    EXPECT_EQ(constant[3], '\0');
    EXPECT_EQ(&constant[0], s.CStr());
}

TEST(ZvString, FindGivesTheFirstOccurrence) {
    const ZvString s("abcabc");
    EXPECT_EQ(s.Find("bc"), 1u);
    EXPECT_EQ(s.Find(""), 0u);
    EXPECT_EQ(s.Find("abcabcd"), None);
    EXPECT_EQ(s.Find("x"), None);
    EXPECT_EQ(s.Find('c'), 2u);
    EXPECT_EQ(s.Find('x'), None);
    EXPECT_EQ(ZvString().Find('x'), None);
    EXPECT_EQ(ZvString("\xE4\xF6").Find('\xF6'), 1u);
}

TEST(ZvString, RFindOfACharacterGivesTheLastOccurrence) {
    const ZvString s("abcabc");
    EXPECT_EQ(s.RFind('a'), 3u);
    EXPECT_EQ(s.RFind('c'), 5u);
    EXPECT_EQ(s.RFind('x'), None);
    EXPECT_EQ(ZvString().RFind('x'), None);
}

TEST(ZvString, RFindOfATextFindsNothingWhateverTheStringHolds) {
    const ZvString s("abcabc");
    for (const char* text : {"abc", "c", "", "abcabc", "x"}) EXPECT_EQ(s.RFind(text), None) << text;
}

TEST(ZvString, SubstrTakesTheRestForAllOnesAndBeyondTheEnd) {
    const ZvString s("0123456789");
    EXPECT_EQ(TextOf(s.Substr(3, None)), "3456789");
    EXPECT_EQ(TextOf(s.Substr(0, 100)), "0123456789");
    EXPECT_EQ(TextOf(s.Substr(8, 5)), "89");
    EXPECT_EQ(TextOf(s.Substr(10, None)), "");
    EXPECT_EQ(TextOf(s.Substr(10, 0)), "");
    EXPECT_EQ(TextOf(s.Substr(5, None - 1)), "56789");                  // the sum does not come round
}

TEST(ZvString, SubstrTakesWhatItIsAskedFor) {
    const ZvString s("0123456789");
    EXPECT_EQ(TextOf(s.Substr(2, 3)), "234");
    EXPECT_EQ(TextOf(s.Substr(0, 10)), "0123456789");
    EXPECT_EQ(TextOf(s.Substr(4, 0)), "");
    EXPECT_EQ(s.Substr(0, 10)->ReferenceCount(), 1);
}

// Published values of the 64-bit FNV-1a hash.
TEST(ZvString, HashIsFnv1a) {
    EXPECT_EQ(ZvString::Hash(""), 0xcbf29ce484222325u);
    EXPECT_EQ(ZvString::Hash("a"), 0xaf63dc4c8601ec8cu);
    EXPECT_EQ(ZvString::Hash("foobar"), 0x85944171f73967e8u);
    EXPECT_EQ(ZvString().GetHashCode(), 0xcbf29ce484222325u);
    EXPECT_EQ(ZvString("foobar").GetHashCode(), 0x85944171f73967e8u);
}

TEST(ZvString, HashTakesBytesAsUnsigned) {
    // (offset ^ 0xFF) * prime, by hand: with a sign the upper bits would turn over too.
    EXPECT_EQ(ZvString::Hash("\xFF"), (0xcbf29ce484222325u ^ 0xFFu) * 0x100000001b3u);
}

TEST(ZvString, EqualsComparesTheBytesOfStringsOnly) {
    const ZvString s("1"), same("1"), other("2");
    const ZvPrimitive<int> box(1);
    const DerivedString derived("1");
    EXPECT_TRUE(s.Equals(&s));
    EXPECT_TRUE(s.Equals(&same));
    EXPECT_FALSE(s.Equals(&other));
    EXPECT_FALSE(s.Equals(nullptr));
    EXPECT_FALSE(s.Equals(&box));
    EXPECT_FALSE(box.Equals(&s));
    EXPECT_TRUE(s.Equals(&derived));
    EXPECT_TRUE(derived.Equals(&s));
}

TEST(ZvString, ToStringGivesTheClassNameAndNotTheText) {
    EXPECT_EQ(TextOf(ZvString("some text").ToString()), "ZvString");
    EXPECT_EQ(ZvString("some text").ToString().Get(), ZvString::s_type.GetName().Get());
}

// ---- comparison ---------------------------------------------------------------------------------------------------------------

TEST(ZvString, OrderIsBytewiseWithBytesAsUnsigned) {
    struct {
        const char* low;
        const char* high;
    } const pairs[] = {{"", "a"}, {"a", "b"}, {"a", "aa"}, {"Z", "a"}, {"a", "\x80"}, {"\x7F", "\xFF"}, {"ab\x01", "ab\xFE"}};
    for (const auto& pair : pairs) {
        const ZvString low(pair.low), high(pair.high);
        EXPECT_TRUE(low < high && low <= high && high > low && high >= low) << pair.high;
        EXPECT_FALSE(low > high || low >= high || high < low || high <= low) << pair.high;
        EXPECT_TRUE(low < pair.high && low <= pair.high && high > pair.low && high >= pair.low) << pair.high;
        EXPECT_FALSE(low > pair.high || low >= pair.high || high < pair.low || high <= pair.low) << pair.high;
    }
    const ZvString s("equal");
    EXPECT_TRUE(s <= "equal" && s >= "equal" && s <= ZvString("equal") && s >= ZvString("equal"));
    EXPECT_FALSE(s < "equal" || s > "equal" || s < ZvString("equal") || s > ZvString("equal"));
}

TEST(ZvString, EqualityHasThreeForms) {
    const ZvString s("text");
    EXPECT_TRUE(s == ZvString("text"));
    EXPECT_TRUE(s == "text");
    EXPECT_TRUE("text" == s);
    EXPECT_FALSE(s == ZvString("Text"));
    EXPECT_FALSE(s == "tex");
    EXPECT_FALSE("texts" == s);
    EXPECT_TRUE(s != ZvString("Text"));
    EXPECT_TRUE(s != "tex");
    EXPECT_TRUE("texts" != s);
    EXPECT_FALSE(s != ZvString("text"));
    EXPECT_FALSE(s != "text");
    EXPECT_FALSE("text" != s);
}

// ---- change -------------------------------------------------------------------------------------------------------------------

TEST(ZvString, AssignmentTakesTheTextAndKeepsTheObject) {
    ZvString s("a text on the heap");
    const ZvString other("another text on the heap");
    EXPECT_EQ(&(s = other), &s);
    EXPECT_EQ(s, "another text on the heap");
    EXPECT_NE(s.CStr(), other.CStr());
    EXPECT_EQ(&(s = "short"), &s);
    EXPECT_EQ(s, "short");
    s = static_cast<const ZvString&>(s);
    EXPECT_EQ(s, "short");
}

TEST(ZvString, AssigningNullClears) {
    for (const char* text : {"short", "a text on the heap"}) {
        ZvString s(text);
        s = static_cast<const char*>(nullptr);
        EXPECT_TRUE(s.Empty());
        EXPECT_TRUE(IsInline(s));
    }
}

TEST(ZvString, AssigningAShortTextTakesTheInlineAreaBack) {
    ZvString s("a text on the heap");
    s = "123456";
    EXPECT_TRUE(IsInline(s));
    EXPECT_EQ(s, "123456");
}

TEST(ZvString, AssigningKeepsABlockThatIsLargeEnough) {
    ZvString s("a text of twenty-six bytes");
    const char* const block = s.CStr();
    s = "eight...";
    EXPECT_EQ(s.CStr(), block);
    EXPECT_EQ(s, "eight...");
}

TEST(ZvString, CapacityIsThatOfTheLastAssignmentAlsoOfALargerBlock) {
    ZvString s(std::string(400, 'x').c_str());
    s = "eight...";                                                     // counts as a block of nine
    const char* const block = s.CStr();
    s += "9";                                                           // ... so this one needs a new one, although there is room
    EXPECT_NE(s.CStr(), block);
    EXPECT_EQ(s, "eight...9");
}

TEST(ZvString, AssigningItsOwnTailDropsTheFirstBytes) {
    ZvString shortText("abcdef"), longText("abcdefghijklmnop");
    shortText = shortText.CStr() + 1;
    longText = longText.CStr() + 1;
    EXPECT_EQ(shortText, "bcdef");
    EXPECT_EQ(longText, "bcdefghijklmnop");
    longText = longText.CStr() + 12;
    EXPECT_EQ(longText, "nop");
    EXPECT_TRUE(IsInline(longText));
    shortText = shortText.CStr() + 5;
    EXPECT_TRUE(shortText.Empty());
}

TEST(ZvString, AppendingJoins) {
    ZvString s;
    EXPECT_EQ(&(s += "abc"), &s);
    EXPECT_EQ(&(s += ZvString("def")), &s);
    EXPECT_EQ(&(s += 'g'), &s);
    EXPECT_EQ(s, "abcdefg");
    EXPECT_FALSE(IsInline(s));
    s += "";
    EXPECT_EQ(s, "abcdefg");
    s += '\0';
    EXPECT_EQ(s.GetLength(), 7u);
}

TEST(ZvString, AppendingItselfDoublesTheText) {
    ZvString s("abc");
    s += s;
    EXPECT_EQ(s, "abcabc");
    s += s;
    EXPECT_EQ(s, "abcabcabcabc");
    s += s.CStr() + 10;
    EXPECT_EQ(s, "abcabcabcabcbc");
    s += s.CStr() + s.GetLength();
    EXPECT_EQ(s, "abcabcabcabcbc");
}

TEST(ZvString, AppendingHasNoGrowthFactor) {
    ZvString s("a text of more than seven bytes");
    for (int i = 0; i != 40; ++i) {
        const size_t length = s.GetLength();
        s += 'x';
        // Exactly the text and its zero byte, as far as the allocator tells.
        void* const probe = std::malloc(length + 2);
        EXPECT_EQ(malloc_usable_size(const_cast<char*>(s.CStr())), malloc_usable_size(probe)) << length;
        std::free(probe);
    }
}

TEST(ZvString, SumIsANewStringAndNullAddsNothing) {
    const ZvString s("left ");
    EXPECT_EQ(s + "right", "left right");
    EXPECT_EQ(s + ZvString("right"), "left right");
    EXPECT_EQ(s + static_cast<const char*>(nullptr), "left ");
    EXPECT_EQ(s, "left ");
    EXPECT_EQ((s + "right").ReferenceCount(), 0);
}

TEST(ZvString, GetBufferOfNothingIsInlineEmptyAndWritable) {
    for (const char* text : {"short", "a text on the heap"}) {
        ZvString s(text);
        char* const buffer = s.GetBuffer(0);
        EXPECT_EQ(buffer, s.CStr());
        EXPECT_TRUE(IsInline(s));
        EXPECT_TRUE(s.Empty());
        std::strcpy(buffer, "123456");
        EXPECT_EQ(s, "123456");
    }
}

TEST(ZvString, GetBufferHasRoomForTheBytesAndAZero) {
    ZvString s("text before");
    char* buffer = s.GetBuffer(6);
    EXPECT_TRUE(IsInline(s));
    buffer = s.GetBuffer(7);
    EXPECT_FALSE(IsInline(s));
    buffer = s.GetBuffer(5000);
    EXPECT_TRUE(s.Empty());
    std::memset(buffer, 'y', 5000);
    buffer[5000] = '\0';
    EXPECT_EQ(s.GetLength(), 5000u);
}

TEST(ZvString, MakeEmptyTakesTheInlineAreaBack) {
    for (const bool freeBlock : {false, true}) {
        ZvString s("short");
        s.MakeEmpty(freeBlock);
        EXPECT_TRUE(s.Empty());
        EXPECT_TRUE(IsInline(s));
    }
    ZvString s("a text on the heap");
    s.MakeEmpty(true);
    EXPECT_TRUE(s.Empty());
    EXPECT_TRUE(IsInline(s));
}

TEST(ZvString, MakeEmptyLeavesTheBlockToACallerThatTookItOver) {
    ZvString s("a text on the heap");
    char* const block = &s[0];
    s.MakeEmpty(false);
    EXPECT_TRUE(s.Empty());
    EXPECT_TRUE(IsInline(s));
    EXPECT_STREQ(block, "a text on the heap");
    std::free(block);                                                   // blocks are freed with free
}

TEST(ZvString, FormatReplacesTheText) {
    ZvString s("before");
    s.Format("%s has %d of %.2f", "it", 3, 1.5);
    EXPECT_EQ(s, "it has 3 of 1.50");
    s.Format("%s", "");
    EXPECT_TRUE(s.Empty());
    s.Format("%d", 7);
    EXPECT_EQ(s, "7");
}

TEST(ZvString, FormatMakesRoomBehindTheTextThatIsThere) {
    ZvString s("1234");
    s.Format("%s", "abc");                                              // 3 + 4 + 1 bytes
    EXPECT_EQ(s, "abc");
    EXPECT_FALSE(IsInline(s));
    ZvString shorter("123");
    shorter.Format("%s", "abc");
    EXPECT_TRUE(IsInline(shorter));
}

TEST(ZvString, FormatPrintsItsOwnText) {
    ZvString s("own text");
    s.Format("<%s>", s.CStr());
    EXPECT_EQ(s, "<own text>");
}

TEST(ZvString, FormatOf4095CharactersSucceeds) {
    const std::string text(4095, 'x');
    ZvString s;
    s.Format("%s", text.c_str());
    EXPECT_EQ(s, text.c_str());
}

TEST(ZvStringDeathTest, FormatOf4096CharactersEndsTheProcess) {
    const std::string text(4096, 'x');
    ZvString s;
    EXPECT_DEATH(s.Format("%s", text.c_str()), "");
}

TEST(ZvStringDeathTest, FormatThatCannotBePrintedEndsTheProcess) {
    ZvString s;
    // A character that no locale has makes the print's result negative.
    EXPECT_DEATH(s.Format("%lc", static_cast<wint_t>(0x7FFFFFFF)), "");
}

TEST(ZvString, SizesThatNoMemoryHasRaiseTheStandardException) {
    constexpr size_t most = std::numeric_limits<size_t>::max();
    for (const size_t impossible : {most, most - 1, most - 7, most / 2, most / 4}) {
        EXPECT_THROW(ZvString("", impossible), std::bad_alloc) << impossible;
        ZvString s("some text that goes");
        EXPECT_THROW(s.GetBuffer(impossible), std::bad_alloc) << impossible;
        EXPECT_TRUE(s.Empty());                                         // the text is discarded before
        EXPECT_TRUE(IsInline(s));
    }
}

TEST(ZvString, ExhaustionRaisesTheStandardExceptionAndNotTheLibrarys) {
    try {
        ZvString failing("", std::numeric_limits<size_t>::max() / 4);
        ADD_FAILURE() << "nothing raised";
    } catch (const ZvException&) {
        ADD_FAILURE() << "the library's exception";
    } catch (const std::bad_alloc&) {
    }
}

TEST(ZvString, TextStaysWhereAnAssignmentOrAnAppendFindsNoMemory) {
    if (!MemoryCanRunShort) GTEST_SKIP() << "the allocator does not give null";
    const std::string large(64 << 20, 'x');
    for (const char* text : {"short", "a text on the heap"}) {
        EXPECT_TRUE(HoldsWithShortMemory([&] {
            ZvString s(text);
            try {
                s = large.c_str();
                return false;
            } catch (const std::bad_alloc&) {
            }
            if (s != text) return false;
            s += "!";                                                   // and it is a string as before
            return s == (std::string(text) + "!").c_str();
        })) << text;
        EXPECT_TRUE(HoldsWithShortMemory([&] {
            ZvString s(text);
            try {
                s += large.c_str();
                return false;
            } catch (const std::bad_alloc&) {
                return s == text;
            }
        })) << text;
    }
}

// ---- conversion -----------------------------------------------------------------------------------------------------------------

TEST(ZvString, XmlEscapeReplacesFourCharacters) {
    EXPECT_EQ(TextOf(ZvString("\"&<>").XmlEscape()), "&quot;&amp;&lt;&gt;");
    EXPECT_EQ(TextOf(ZvString("a<b && c>\"d\"").XmlEscape()), "a&lt;b &amp;&amp; c&gt;&quot;d&quot;");
    EXPECT_EQ(TextOf(ZvString("&amp;").XmlEscape()), "&amp;amp;");
    EXPECT_EQ(TextOf(ZvString("").XmlEscape()), "");
}

TEST(ZvString, XmlEscapeLeavesTheApostropheAndAllOtherBytes) {
    std::string all;
    for (int c = 1; c != 256; ++c)
        if (std::string("\"&<>").find(static_cast<char>(c)) == std::string::npos) all.push_back(static_cast<char>(c));
    EXPECT_NE(all.find('\''), std::string::npos);
    EXPECT_EQ(TextOf(ZvString(all.c_str()).XmlEscape()), all);
}

TEST(ZvString, ConversionKeepsAscii) {
    const ZvString s("plain text 123 ~");
    EXPECT_EQ(TextOf(s.ConvertFromUtf8()), "plain text 123 ~");
    EXPECT_EQ(TextOf(s.ConvertToUtf8()), "plain text 123 ~");
    EXPECT_EQ(TextOf(ZvString().ConvertFromUtf8()), "");
    EXPECT_EQ(TextOf(ZvString().ConvertToUtf8()), "");
    EXPECT_NE(s.ConvertToUtf8().Get(), &s);
}

// Latin-1 has one byte where UTF-8 has two: the two directions cannot be taken for each other.
TEST(ZvString, ConvertsBetweenUtf8AndTheSystemsCodePage) {
    const OwnLocale locale("de_DE", "ISO-8859-1", "de_DE.ISO-8859-1");
    ASSERT_TRUE(locale.made);
    const Environment environment("de_DE.ISO-8859-1");
    EXPECT_EQ(TextOf(ZvString("a\xC3\xA4\xC3\x9F").ConvertFromUtf8()), "a\xE4\xDF");
    EXPECT_EQ(TextOf(ZvString("a\xE4\xDF").ConvertToUtf8()), "a\xC3\xA4\xC3\x9F");
    EXPECT_EQ(TextOf(ZvString("\xE2\x82\xAC.").ConvertFromUtf8()), "?.");           // the euro sign is not in this page
    EXPECT_EQ(TextOf(ZvString("\xE4.").ConvertFromUtf8()), "?.");                   // ill-formed
    EXPECT_EQ(TextOf(ZvString("\xC3\xA4").ConvertToUtf8()), "\xC3\x83\xC2\xA4");
}

TEST(ZvString, ConversionWithoutACodePageInTheEnvironmentIsThatOfUtf8) {
    const Environment environment("C");
    for (const char* text : {"a\xC3\xA4", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"}) {
        EXPECT_EQ(TextOf(ZvString(text).ConvertFromUtf8()), text);
        EXPECT_EQ(TextOf(ZvString(text).ConvertToUtf8()), text);
    }
    EXPECT_EQ(TextOf(ZvString("a\xE4z").ConvertFromUtf8()), "a\xEF\xBF\xBDz");     // ill-formed
}

// ---- interning --------------------------------------------------------------------------------------------------------------------

TEST(ZvString, InternedTextsAreOneObject) {
    char first[] = "ZvString_test interned", second[] = "ZvString_test interned";
    const ZvString$ a = $L(first), b = $L(second);
    EXPECT_EQ(a.Get(), b.Get());
    EXPECT_EQ(*a, "ZvString_test interned");
    EXPECT_NE($L("ZvString_test other").Get(), a.Get());
    EXPECT_EQ($L("").Get(), $L("").Get());
}

TEST(ZvString, InternedTextOfAChangedPointerIsNotFound) {
    char text[] = "ZvString_test before";
    const ZvString$ before = $L(text);
    std::memcpy(text, "ZvString_test behind", sizeof text);
    const ZvString$ behind = $L(text);
    EXPECT_NE(behind.Get(), before.Get());
    EXPECT_EQ(*before, "ZvString_test before");
    EXPECT_EQ(*behind, "ZvString_test behind");
}

TEST(ZvString, InternedStringsStayAlive) {
    ZvString* const only = $L("ZvString_test immortal").Get();
    EXPECT_EQ(only->ReferenceCount(), 1);                               // the table's own
    EXPECT_EQ($L("ZvString_test immortal").Get(), only);
}

TEST(ZvString, InterningTellsBytesAboveTheAsciiRangeApart) {
    EXPECT_EQ($L("ZvString_test \xFF").Get(), $L("ZvString_test \xFF").Get());
    EXPECT_NE($L("ZvString_test \xFF").Get(), $L("ZvString_test \xFE").Get());
}
