// The XML writer: every text as it stands on the stream.

#include <zvc/zvc.h>

#include "support/Cases.h"
#include "support/Slots.h"
#include "support/Temporary.h"

#include <functional>

namespace {

ZvString$ S(const char* text) { return new ZvString(text); }
ZvString$ S(const std::string& text) { return new ZvString(text.c_str()); }
const ZvString$ None;

using Calls = std::function<void(ZvXmlWriter&)>;

std::string Text(bool indent, const Calls& calls) {
    const cases::Memory memory;
    const ZvXmlWriter$ writer = ZvXmlWriter::Create(memory.stream, indent);
    calls(*writer);
    return memory.Taken();
}

std::string Text(const Calls& calls) { return Text(true, calls); }

template <class T>
std::string Value(const T& value) {
    return Text([&](ZvXmlWriter& w) { w.WriteValue(value); });
}

template <class T>
bool CallValueOf(ZvXmlWriter& w, const cases::Json& value) {
    if constexpr (requires(const T& t) { w.WriteValue(t); }) {
        w.WriteValue(cases::Value<T>(value));
        return true;
    } else {
        return false;
    }
}

ZvString$ StringOf(const cases::Json& j) {
    if (j.is_null()) return nullptr;
    return S(cases::Text(j));
}

void CallValue(ZvXmlWriter& w, const std::string& kind, const cases::Json& value) {
    if (kind == "string") {
        w.WriteValue(StringOf(value));
        return;
    }
    bool known = false;
    cases::WithKind(kind, [&](auto* of) { known = CallValueOf<std::remove_pointer_t<decltype(of)>>(w, value); });
    EXPECT_TRUE(known) << kind;
}

void Call(ZvXmlWriter& w, const cases::Json& call) {
    const std::string name = call[0];
    const auto text = [&](size_t i) { return StringOf(call[i]); };
    if (name == "WriteValue") CallValue(w, call[1], call[2]);
    else if (name == "WriteStartDocument") w.WriteStartDocument(call[1]);
    else if (name == "WriteEndDocument") w.WriteEndDocument();
    else if (name == "WriteProcessingInstruction") w.WriteProcessingInstruction(text(1), text(2));
    else if (name == "WriteDocType") w.WriteDocType(text(1), text(2), text(3), text(4));
    else if (name == "WriteStartElement") w.WriteStartElement(text(1));
    else if (name == "WriteEndElement") w.WriteEndElement();
    else if (name == "WriteElementString") w.WriteElementString(text(1), text(2));
    else if (name == "WriteStartAttribute") w.WriteStartAttribute(text(1));
    else if (name == "WriteEndAttribute") w.WriteEndAttribute();
    else if (name == "WriteAttributeString") w.WriteAttributeString(text(1), text(2));
    else if (name == "WriteString") w.WriteString(text(1));
    else if (name == "WriteChars") w.WriteChars(FromHex(call[1]).c_str(), call[2], call[3]);
    else if (name == "WriteBase64")
        w.WriteBase64(reinterpret_cast<const unsigned char*>(FromHex(call[1]).c_str()), call[2], call[3]);
    else ADD_FAILURE() << name;
}

}

class ZvXmlWriterCases : public testing::TestWithParam<const char*> {};

TEST_P(ZvXmlWriterCases, GiveTheirText) {
    for (const cases::Json& c : cases::Group("xml", GetParam())) {
        const std::string text = Text(c["indent"].get<bool>(), [&](ZvXmlWriter& w) {
            for (const cases::Json& call : c["calls"]) Call(w, call);
        });
        EXPECT_EQ(text, cases::Text(c["out"])) << c["name"];
    }
}

INSTANTIATE_TEST_SUITE_P(Groups, ZvXmlWriterCases, testing::Values("worked", "values", "base64", "random"),
                         [](const auto& info) { return std::string(info.param); });

TEST(ZvXmlWriter, DeclarationAndAnEmptyElement) {
    EXPECT_EQ(Text([](ZvXmlWriter& w) {
                  w.WriteStartDocument(true);
                  w.WriteStartElement(S("a"));
                  w.WriteEndElement();
              }),
              "<?xml version=\"1.0\" encoding=\"utf-8\" standalone=\"yes\"?>\n<a/>\n");
    EXPECT_EQ(Text([](ZvXmlWriter& w) { w.WriteStartDocument(false); }),
              "<?xml version=\"1.0\" encoding=\"utf-8\" standalone=\"no\"?>\n");
}

TEST(ZvXmlWriter, NestedElementsAreIndentedByTabs) {
    const Calls calls = [](ZvXmlWriter& w) {
        w.WriteStartElement(S("a"));
        w.WriteStartElement(S("b"));
        w.WriteStartElement(S("c"));
        w.WriteEndElement();
        w.WriteEndElement();
        w.WriteStartElement(S("d"));
        w.WriteEndElement();
        w.WriteEndElement();
    };
    EXPECT_EQ(Text(calls), "<a>\n\t<b>\n\t\t<c/>\n\t</b>\n\t<d/>\n</a>\n");
    EXPECT_EQ(Text(false, calls), "<a>\n<b>\n<c/>\n</b>\n<d/>\n</a>\n");
}

TEST(ZvXmlWriter, AttributesAreEscaped) {
    EXPECT_EQ(Text([](ZvXmlWriter& w) {
                  w.WriteStartElement(S("a"));
                  w.WriteAttributeString(S("k"), S("x<y"));
                  w.WriteAttributeString(S("l"), S("\"1\" > 0 & it's"));
                  w.WriteEndElement();
              }),
              "<a k=\"x&lt;y\" l=\"&quot;1&quot; &gt; 0 &amp; it's\"/>\n");
}

TEST(ZvXmlWriter, AttributeByAValueHasItsQuotes) {
    EXPECT_EQ(Text([](ZvXmlWriter& w) {
                  w.WriteStartElement(S("a"));
                  w.WriteStartAttribute(S("k"));
                  w.WriteValue(true);
                  w.WriteEndAttribute();
              }),
              "<a k=\"1\"");
}

TEST(ZvXmlWriter, DeclarationStandsOnceInADocument) {
    const std::string yes = "<?xml version=\"1.0\" encoding=\"utf-8\" standalone=\"yes\"?>\n";
    EXPECT_EQ(Text([](ZvXmlWriter& w) {
                  w.WriteStartDocument(true);
                  w.WriteStartDocument(true);
                  w.WriteStartDocument(false);
              }),
              yes);
    EXPECT_EQ(Text([](ZvXmlWriter& w) {
                  w.WriteStartDocument(true);
                  w.WriteEndDocument();
                  w.WriteStartDocument(true);
              }),
              yes + yes);
}

TEST(ZvXmlWriter, ProcessingInstructionComesFirstOrNotAtAll) {
    EXPECT_EQ(Text([](ZvXmlWriter& w) {
                  w.WriteProcessingInstruction(S("style"), S("href='x'"));
                  w.WriteStartDocument(true);                            // skipped
                  w.WriteProcessingInstruction(S("second"), None);       // the same
                  w.WriteEndDocument();
                  w.WriteProcessingInstruction(S("third"), None);
                  w.WriteEndDocument();
                  w.WriteProcessingInstruction(S("fourth"), S(""));
              }),
              "<?style href='x'?>\n<?third?>\n<?fourth ?>\n");
    EXPECT_EQ(Text([](ZvXmlWriter& w) {
                  w.WriteStartElement(S("a"));
                  w.WriteStartDocument(true);                            // no rule about the order of calls
              }),
              "<a<?xml version=\"1.0\" encoding=\"utf-8\" standalone=\"yes\"?>\n\t");
}

TEST(ZvXmlWriter, DocTypeHasEveryPartInDoubleQuotes) {
    const auto docType = [](const ZvString$& publicId, const ZvString$& systemId, const ZvString$& subset) {
        return Text([&](ZvXmlWriter& w) { w.WriteDocType(S("a"), publicId, systemId, subset); });
    };
    EXPECT_EQ(docType(nullptr, nullptr, nullptr), "<!DOCTYPE a >\n");
    EXPECT_EQ(docType(S("p"), nullptr, nullptr), "<!DOCTYPE a PUBLIC \"p\" >\n");
    EXPECT_EQ(docType(nullptr, S("s"), nullptr), "<!DOCTYPE a \"s\" >\n");
    EXPECT_EQ(docType(nullptr, nullptr, S("<!ELEMENT a>")), "<!DOCTYPE a \"<!ELEMENT a>\" >\n");
    EXPECT_EQ(docType(S("p"), S("s"), S("u")), "<!DOCTYPE a PUBLIC \"p\" \"s\" \"u\" >\n");
    EXPECT_EQ(Text([](ZvXmlWriter& w) {
                  w.WriteStartElement(S("a"));
                  w.WriteDocType(S("b"), None, None, None);
              }),
              "<a<!DOCTYPE b >\n\t");
}

TEST(ZvXmlWriter, ElementStringIsNotEscapedAndKeepsTheStack) {
    EXPECT_EQ(Text([](ZvXmlWriter& w) {
                  w.WriteStartElement(S("a"));
                  w.WriteElementString(S("b"), S("x<y"));
                  w.WriteElementString(S("c"), S(""));
                  w.WriteEndElement();
              }),
              "<a>\n\t<b>x<y</b>\n\t<c></c>\n\t</a>\n");
    EXPECT_EQ(Text([](ZvXmlWriter& w) { w.WriteElementString(S("b"), S("x")); }), "<b>x</b>\n");
}

TEST(ZvXmlWriter, ContentDoesNotCloseTheStartTag) {
    EXPECT_EQ(Text([](ZvXmlWriter& w) {
                  w.WriteStartElement(S("a"));
                  w.WriteString(S("x<y"));
                  w.WriteValue(S("x<y"));
                  w.WriteEndElement();
              }),
              "<ax<yx&lt;y/>\n");
}

TEST(ZvXmlWriter, EndElementBehindContentIsWrittenOut) {
    EXPECT_EQ(Text([](ZvXmlWriter& w) {
                  w.WriteStartElement(S("a"));
                  w.WriteStartElement(S("b"));
                  w.WriteStartElement(S("c"));
                  w.WriteEndElement();
                  w.WriteString(S("text"));
                  w.WriteEndElement();
                  w.WriteEndElement();
              }),
              "<a>\n\t<b>\n\t\t<c/>\ntext\t</b>\n</a>\n");
}

TEST(ZvXmlWriter, TextsOfTheValues) {
    EXPECT_EQ(Value(true), "1");
    EXPECT_EQ(Value(false), "0");
    EXPECT_EQ(Value(static_cast<unsigned char>('A')), "A");
    EXPECT_EQ(Value(static_cast<unsigned char>(0xE4)), "\xE4");
    EXPECT_EQ(Value(static_cast<short>(-32768)), "-32768");
    EXPECT_EQ(Value(static_cast<unsigned short>(65535)), "65535");
    EXPECT_EQ(Value(-2147483647 - 1), "-2147483648");
    EXPECT_EQ(Value(4294967295u), "4294967295");
    EXPECT_EQ(Value(-9223372036854775807LL - 1), "-9223372036854775808");
    EXPECT_EQ(Value(18446744073709551615ULL), "18446744073709551615");
    EXPECT_EQ(Value(1.5f), "1.5");
    EXPECT_EQ(Value(0.1f), "0.1");
    EXPECT_EQ(Value(16777216.0f), "1.67772e+07");
    EXPECT_EQ(Value(3.14159265358979), "3.14159");
    EXPECT_EQ(Value(100000.0), "100000");
    EXPECT_EQ(Value(1e6), "1e+06");
    EXPECT_EQ(Value(999999.5), "1e+06");
    EXPECT_EQ(Value(0.0001), "0.0001");
    EXPECT_EQ(Value(0.00001), "1e-05");
    EXPECT_EQ(Value(-0.0), "-0");
    EXPECT_EQ(Value(5e-324), "4.94066e-324");
    EXPECT_EQ(Value(1.7976931348623157e308), "1.79769e+308");
    EXPECT_EQ(Value(CG::vec2<float>{1, 2}), "1.000000 2.000000");
    EXPECT_EQ(Value(CG::vec2<double>{-0.5, 1e-7}), "-0.500000 0.000000");
    EXPECT_EQ(Value(CG::vec3<float>{1.5f, -2, 0}), "1.500000 -2.000000 0.000000");
    EXPECT_EQ(Value(CG::vec3<double>{1e15, 0.1, 2.0 / 3}), "1000000000000000.000000 0.100000 0.666667");
    EXPECT_EQ(Value(zvcolor(0.25f, 0.5f, 1)), "0.250000 0.500000 1.000000");
    const double huge = 1.7976931348623157e308;
    EXPECT_EQ(Value(CG::vec3<double>{huge, huge, huge}).size(), 3 * 316u + 2);
}

TEST(ZvXmlWriter, NumbersAreThoseOfAStringStream) {
    uint64_t bits = 1;
    for (int i = 0; i < 2000; ++i) {
        bits = bits * 6364136223846793005u + 1442695040888963407u;
        const double d = std::bit_cast<double>(bits);
        const float f = std::bit_cast<float>(static_cast<uint32_t>(bits >> 32));
        std::ostringstream expected;
        expected << d << ' ' << f << ' ' << static_cast<int>(bits >> 40) << ' ' << static_cast<long long>(bits);
        EXPECT_EQ(Value(d) + ' ' + Value(f) + ' ' + Value(static_cast<int>(bits >> 40)) + ' ' + Value(static_cast<long long>(bits)),
                  expected.str());
    }
}

TEST(ZvXmlWriter, StringsBecomeUtf8BehindTheirEscaping) {
    EXPECT_EQ(Value(S("\xC3\xA4 & \xE2\x82\xAC")), "\xC3\xA4 &amp; \xE2\x82\xAC");
    EXPECT_EQ(Value(S("tab\tline\n~\\")), "tab\tline\n~\\");
    for (int c = 1; c < 128; ++c) {          // what goes out as it stands is what the string itself would have made of it
        const std::string text(1, static_cast<char>(c));
        EXPECT_EQ(Value(S(text)), S(text)->XmlEscape()->ConvertToUtf8()->CStr()) << c;
    }
    EXPECT_EQ(Value(S("")), "");
    EXPECT_EQ(Text([](ZvXmlWriter& w) { w.WriteValue(new ZvString("no bool")); }), "no bool");
}

TEST(ZvXmlWriter, CharsAreBytesAsTheyStand) {
    const std::string bytes("ab\0<&\xFF", 6);
    EXPECT_EQ(Text([&](ZvXmlWriter& w) { w.WriteChars(bytes.data(), 1, 5); }), bytes.substr(1));
    EXPECT_EQ(Text([&](ZvXmlWriter& w) { w.WriteChars(bytes.data(), 3, 0); }), "");
}

TEST(ZvXmlWriter, Base64IsTheStandardOne) {
    // RFC 4648, section 10
    const std::pair<const char*, const char*> vectors[] = {{"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"},
                                                           {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"}};
    for (const auto& [plain, coded] : vectors) {
        const auto size = static_cast<int>(std::strlen(plain));
        const std::string around = std::string("xx") + plain + "yy";
        const auto* bytes = reinterpret_cast<const unsigned char*>(around.data());
        EXPECT_EQ(Text([&](ZvXmlWriter& w) { w.WriteBase64(bytes, 2, size); }), coded);
    }
    std::string all;
    for (int c = 255; c >= 0; --c) all.push_back(static_cast<char>(c));
    const TemporaryFolder folder;
    SetContent(folder.File("all"), all);
    EXPECT_EQ(Text([&](ZvXmlWriter& w) { w.WriteBase64(reinterpret_cast<const unsigned char*>(all.data()), 0, 256); }) + "\n",
              RunCommand("base64 -w0 '" + folder.File("all") + "'; echo").output);
}

namespace {

/// Sees the virtual calls, and the protected operations.
class Watching : public ZvXmlWriter {
public:
    Watching(const ZvStream$& stream, bool indent) : ZvXmlWriter(stream, indent) {}
    Watching(const Watching& other) : ZvXmlWriter(other), calls(other.calls) {}
    Watching& operator=(const Watching&) = default;
    ~Watching() override = default;
    using ZvXmlWriter::CloseBracket;
    using ZvXmlWriter::WriteNewLine;
    using ZvXmlWriter::WriteTabs;
    using ZvXmlWriter::WriteValue;
    using ZvXmlWriter::WriteWhiteSpace;
    void WriteStartAttribute(const ZvString$& name) override {
        calls += "start ";
        ZvXmlWriter::WriteStartAttribute(name);
    }
    void WriteValue(const ZvString$& value) override {
        calls += "value ";
        ZvXmlWriter::WriteValue(value);
    }
    void WriteEndAttribute() override {
        calls += "end ";
        ZvXmlWriter::WriteEndAttribute();
    }
    size_t Depth() const { return m_elements.size(); }
    std::string calls;
};
using Watching$ = ZvHandle<Watching, ZvXmlWriter$>;

}

TEST(ZvXmlWriter, AttributeStringIsThreeVirtualCalls) {
    const cases::Memory memory;
    const Watching$ w = new Watching(memory.stream, true);
    w->WriteAttributeString(S("k"), S("v"));
    EXPECT_EQ(w->calls, "start value end ");
    EXPECT_EQ(memory.Taken(), " k=\"v\"");
}

TEST(ZvXmlWriter, BuildingBlocks) {
    const cases::Memory memory;
    const Watching$ w = new Watching(memory.stream, true);
    EXPECT_FALSE(w->CloseBracket());
    w->WriteTabs(3);
    w->WriteWhiteSpace();
    w->WriteStartElement(S("a"));
    EXPECT_TRUE(w->CloseBracket());
    EXPECT_FALSE(w->CloseBracket());
    EXPECT_EQ(w->Depth(), 1u);
    w->WriteNewLine(true);
    w->WriteNewLine(false);
    EXPECT_EQ(memory.Taken(), "\t\t\t <a/>\n\n\t\n");
    const cases::Memory other;
    const Watching$ plain = new Watching(other.stream, false);
    plain->WriteStartElement(S("a"));
    plain->WriteTabs(3);
    plain->WriteNewLine(true);
    EXPECT_EQ(other.Taken(), "<a\n");
}

TEST(ZvXmlWriter, CopiesGoOnIndependentlyOnOneStream) {
    const cases::Memory memory;
    const Watching$ first = new Watching(memory.stream, true);
    first->WriteStartDocument(true);
    first->WriteStartElement(S("a"));
    const std::string before = memory.Taken();
    const Watching$ second = new Watching(*first);
    second->WriteStartElement(S("b"));
    second->WriteStartDocument(true);        // already written
    EXPECT_EQ(first->Depth(), 1u);
    EXPECT_EQ(second->Depth(), 2u);
    first->WriteEndElement();                // the first still has its bracket open
    const cases::Memory elsewhere;
    const Watching$ third = new Watching(elsewhere.stream, false);
    *third = *second;
    third->WriteEndElement();
    EXPECT_EQ(memory.Taken(), before + ">\n\t<b/>\n/>\n");
    EXPECT_EQ(elsewhere.Taken(), "");
}

TEST(ZvXmlWriter, AssignmentTakesStreamStackAndFlags) {
    const cases::Memory memory, left;
    const ZvXmlWriter$ first = ZvXmlWriter::Create(memory.stream, true);
    const ZvXmlWriter$ second = ZvXmlWriter::Create(left.stream, false);
    first->WriteStartDocument(true);
    first->WriteStartElement(S("a"));
    const std::string before = memory.Taken();
    *second = *first;
    second->WriteStartDocument(true);        // already written
    second->WriteStartElement(S("b"));       // ends the bracket, one level deep
    second->WriteEndElement();
    second->WriteEndElement();
    first->WriteEndElement();
    EXPECT_EQ(memory.Taken(), before + ">\n\t<b/>\n</a>\n" + "/>\n");
    EXPECT_EQ(left.Taken(), "");
}

TEST(ZvXmlWriter, CreateMakesAWriterThatKeepsItsStream) {
    ZvStream$ stream = cases::Memory().stream;
    const ZvXmlWriter$ writer = ZvXmlWriter::Create(stream, false);
    EXPECT_EQ(stream->ReferenceCount(), 2);
    EXPECT_TRUE(writer->IsKindOf(&ZvXmlWriter::s_type));
    EXPECT_STREQ(ZvXmlWriter::s_type.GetName()->CStr(), "ZvXmlWriter");
}

TEST(ZvXmlWriter, OperationsStandInTheirSlots) {
    size_t order = 12;                       // what every class has, in front of the first of its own
#define NEXT_VALUE(T) EXPECT_EQ(SlotOf(static_cast<void (ZvXmlWriter::*)(T)>(&ZvXmlWriter::WriteValue)), ++order) << #T
    NEXT_VALUE(const zvcolor&);
    NEXT_VALUE(const CG::vec3<float>&);
    NEXT_VALUE(const CG::vec3<double>&);
    NEXT_VALUE(const CG::vec2<float>&);
    NEXT_VALUE(const CG::vec2<double>&);
    NEXT_VALUE(const ZvString$&);
    NEXT_VALUE(const double&);
    NEXT_VALUE(const float&);
    NEXT_VALUE(const unsigned long long&);
    NEXT_VALUE(const long long&);
    NEXT_VALUE(unsigned int);
    NEXT_VALUE(int);
    NEXT_VALUE(unsigned short);
    NEXT_VALUE(short);
    NEXT_VALUE(unsigned char);
    NEXT_VALUE(bool);
#undef NEXT_VALUE
    EXPECT_EQ(SlotOf(&ZvXmlWriter::WriteChars), ++order);
    EXPECT_EQ(SlotOf(&ZvXmlWriter::WriteProcessingInstruction), ++order);
    EXPECT_EQ(SlotOf(&ZvXmlWriter::WriteDocType), ++order);
    EXPECT_EQ(SlotOf(&ZvXmlWriter::WriteStartDocument), ++order);
    EXPECT_EQ(SlotOf(&ZvXmlWriter::WriteEndDocument), ++order);
    EXPECT_EQ(SlotOf(&ZvXmlWriter::WriteStartElement), ++order);
    EXPECT_EQ(SlotOf(&ZvXmlWriter::WriteEndElement), ++order);
    EXPECT_EQ(SlotOf(&ZvXmlWriter::WriteElementString), ++order);
    EXPECT_EQ(SlotOf(&ZvXmlWriter::WriteStartAttribute), ++order);
    EXPECT_EQ(SlotOf(&ZvXmlWriter::WriteEndAttribute), ++order);
    EXPECT_EQ(SlotOf(&ZvXmlWriter::WriteAttributeString), ++order);
    EXPECT_EQ(SlotOf(&ZvXmlWriter::WriteString), ++order);
    EXPECT_EQ(SlotOf(&ZvXmlWriter::WriteBase64), ++order);
    EXPECT_EQ(order, 12u + 29);
}

TEST(ZvXmlWriter, XmllintAcceptsDocumentsWrittenInOrder) {
    const TemporaryFolder folder;
    for (const bool indent : {true, false}) {
        const std::string text = Text(indent, [](ZvXmlWriter& w) {
            w.WriteStartDocument(true);
            w.WriteDocType(S("scene"), None, None, None);
            w.WriteStartElement(S("scene"));
            w.WriteAttributeString(S("name"), S("a < b & \"c\" > \xC3\xA4"));
            for (int i = 0; i < 3; ++i) {
                w.WriteStartElement(S("node"));
                w.WriteStartAttribute(S("id"));
                w.WriteValue(i);
                w.WriteEndAttribute();
                w.WriteStartAttribute(S("at"));
                w.WriteValue(CG::vec3<double>{i * 1.5, 0, 1e-3});
                w.WriteEndAttribute();
                w.WriteElementString(S("title"), S("plain"));
                w.WriteStartElement(S("empty"));
                w.WriteEndElement();
                w.WriteBase64(reinterpret_cast<const unsigned char*>("\xFF\xFE\xFD\xFC"), 0, 4);
                w.WriteValue(S("1 < 2"));
                w.WriteEndElement();
            }
            w.WriteEndElement();
            w.WriteEndDocument();
        });
        SetContent(folder.File("out.xml"), text);
        EXPECT_EQ(RunCommand("xmllint --nonet --noout '" + folder.File("out.xml") + "'").output, "") << text;
        const auto xpath = [&](const std::string& expression) {
            return RunCommand("xmllint --nonet --xpath '" + expression + "' '" + folder.File("out.xml") + "'").output;
        };
        EXPECT_EQ(xpath("string(/scene/@name)"), "a < b & \"c\" > \xC3\xA4\n");
        EXPECT_EQ(xpath("count(/scene/node)"), "3\n");
        EXPECT_EQ(xpath("string(/scene/node[3]/@at)"), "3.000000 0.000000 0.001000\n");
        EXPECT_EQ(xpath("normalize-space(/scene/node[1])"), "plain //79/A==1 < 2\n");
    }
}
