#include "zvc/serialization/ZvXmlWriter.h"

#include "zvc/core/ZvSystem.h"

#include <array>
#include <charconv>
#include <cstring>

ZV_DEFINE_CLASS(ZvXmlWriter, (ZvObject))

namespace {

/// The pieces that documents are made of: interned when the library starts, for interning is not for many threads.
const struct {
    ZvString$ blank = $L(" "), newLine = $L("\n"), tab = $L("\t"), quote = $L("\"");
    ZvString$ less = $L("<"), greater = $L(">"), lessSlash = $L("</"), slashGreater = $L("/>"), equalsQuote = $L("=\"");
    ZvString$ lessQuestion = $L("<?"), questionGreater = $L("?>"), xml = $L("xml");
    ZvString$ standalone = $L("version=\"1.0\" encoding=\"utf-8\" standalone=\"yes\"");
    ZvString$ dependent = $L("version=\"1.0\" encoding=\"utf-8\" standalone=\"no\"");
    ZvString$ docType = $L("<!DOCTYPE"), isPublic = $L("PUBLIC"), one = $L("1"), zero = $L("0");
} s_text;

// As a string stream prints it that nobody has set up.
template <class T>
ZvString$ Number(T value) {
    char text[64];
    std::to_chars_result end;
    if constexpr (std::is_floating_point_v<T>)
        end = std::to_chars(text, text + sizeof text - 1, value, std::chars_format::general, 6);
    else
        end = std::to_chars(text, text + sizeof text - 1, value);
    *end.ptr = '\0';
    return new ZvString(text);
}

ZvString$ Components(double x, double y) {
    ZvString$ text = new ZvString;
    text->Format("%f %f", x, y);
    return text;
}

ZvString$ Components(double x, double y, double z) {
    ZvString$ text = new ZvString;
    text->Format("%f %f %f", x, y, z);
    return text;
}

enum Kind : unsigned char { Plain, Markup, Foreign };

// Plain: escaping leaves it alone, and it is the same byte in every code page. Foreign: what is not ASCII, and the places of
// ASCII that some pages give to another character.
constexpr auto Kinds = [] {
    std::array<Kind, 256> kinds{};
    for (size_t c = 0; c < kinds.size(); ++c) kinds[c] = c >= 0x7E || c == '\\' ? Foreign : Plain;
    for (const char c : {'"', '&', '<', '>'}) kinds[static_cast<unsigned char>(c)] = Markup;
    return kinds;
}();

Kind KindOf(const char* text) {
    unsigned char kinds = Plain;
    for (; *text != '\0'; ++text) kinds |= Kinds[static_cast<unsigned char>(*text)];
    return kinds >= Foreign ? Foreign : static_cast<Kind>(kinds);
}

}

ZvXmlWriter::ZvXmlWriter(const ZvStream$& stream, bool indent) : m_stream(stream), m_indent(indent) {}
ZvXmlWriter::ZvXmlWriter(const ZvXmlWriter& other) = default;
ZvXmlWriter& ZvXmlWriter::operator=(const ZvXmlWriter& other) = default;
ZvXmlWriter::~ZvXmlWriter() = default;

ZvXmlWriter$ ZvXmlWriter::Create(ZvStream$ stream, bool indent) { return new ZvXmlWriter(stream, indent); }

// ---- building blocks ----------------------------------------------------------------------------------------------------

void ZvXmlWriter::WriteString(const ZvString$& text) {
    if (text) m_stream->Write(static_cast<const void*>(text->CStr()), static_cast<long long>(text->GetLength()));
}

void ZvXmlWriter::WriteTabs(unsigned long long count) {
    if (!m_indent) return;
    for (; count > 0; --count) WriteString(s_text.tab);
}

void ZvXmlWriter::WriteNewLine(bool indented) {
    WriteString(s_text.newLine);
    if (indented) WriteTabs(m_elements.size());
}

void ZvXmlWriter::WriteWhiteSpace() { WriteString(s_text.blank); }

bool ZvXmlWriter::CloseBracket() {
    if (!m_bracketOpen) return false;
    WriteString(s_text.slashGreater);
    WriteNewLine(false);
    m_bracketOpen = false;
    return true;
}

/// An element begins inside of one whose start tag is still open.
void ZvXmlWriter::OpenBracketEnds(bool indented) {
    if (!m_bracketOpen) return;
    WriteString(s_text.greater);
    WriteNewLine(indented);
    m_bracketOpen = false;
}

void ZvXmlWriter::WriteQuoted(const ZvString$& text) {
    WriteString(s_text.quote);
    WriteString(text);
    WriteString(s_text.quote);
    WriteWhiteSpace();
}

// ---- the document -------------------------------------------------------------------------------------------------------

void ZvXmlWriter::WriteStartDocument(bool standalone) {
    if (m_documentStarted) return;
    WriteString(s_text.lessQuestion);
    WriteString(s_text.xml);
    WriteWhiteSpace();
    WriteString(standalone ? s_text.standalone : s_text.dependent);
    WriteString(s_text.questionGreater);
    WriteNewLine(true);
    m_documentStarted = true;
}

void ZvXmlWriter::WriteEndDocument() { m_documentStarted = false; }

// It keeps a declaration away, as a declaration keeps it away: meant so.
void ZvXmlWriter::WriteProcessingInstruction(const ZvString$& name, const ZvString$& text) {
    if (m_documentStarted) return;
    WriteString(s_text.lessQuestion);
    WriteString(name);
    if (text) {
        WriteWhiteSpace();
        WriteString(text);
    }
    WriteString(s_text.questionGreater);
    WriteNewLine(true);
    m_documentStarted = true;
}

// The subset stands in quotes and not in brackets, and there is a blank before ">": readers of these files know it so.
void ZvXmlWriter::WriteDocType(const ZvString$& name, const ZvString$& publicId, const ZvString$& systemId,
                               const ZvString$& subset) {
    WriteString(s_text.docType);
    WriteWhiteSpace();
    WriteString(name);
    WriteWhiteSpace();
    if (publicId) {
        WriteString(s_text.isPublic);
        WriteWhiteSpace();
        WriteQuoted(publicId);
    }
    if (systemId) WriteQuoted(systemId);
    if (subset) WriteQuoted(subset);
    WriteString(s_text.greater);
    WriteNewLine(true);
}

// ---- elements and attributes --------------------------------------------------------------------------------------------

void ZvXmlWriter::WriteStartElement(const ZvString$& name) {
    OpenBracketEnds(false);
    WriteTabs(m_elements.size());
    WriteString(s_text.less);
    WriteString(name);
    m_bracketOpen = true;
    m_elements.push_back(name);
}

void ZvXmlWriter::WriteEndElement() {
    const ZvString$ name = m_elements.back();
    m_elements.pop_back();
    if (CloseBracket()) return;
    WriteTabs(m_elements.size());
    WriteString(s_text.lessSlash);
    WriteString(name);
    WriteString(s_text.greater);
    WriteNewLine(false);
}

// No tabs in front: those that the last line break left stand there. Meant so.
void ZvXmlWriter::WriteElementString(const ZvString$& name, const ZvString$& value) {
    OpenBracketEnds(true);
    WriteString(s_text.less);
    WriteString(name);
    WriteString(s_text.greater);
    WriteString(value);
    WriteString(s_text.lessSlash);
    WriteString(name);
    WriteString(s_text.greater);
    WriteNewLine(true);
}

void ZvXmlWriter::WriteStartAttribute(const ZvString$& name) {
    WriteWhiteSpace();
    WriteString(name);
    WriteString(s_text.equalsQuote);
}

void ZvXmlWriter::WriteEndAttribute() { WriteString(s_text.quote); }

void ZvXmlWriter::WriteAttributeString(const ZvString$& name, const ZvString$& value) {
    WriteStartAttribute(name);
    WriteValue(value);
    WriteEndAttribute();
}

// ---- values -------------------------------------------------------------------------------------------------------------

void ZvXmlWriter::WriteValue(const zvcolor& value) { WriteString(Components(value.r, value.g, value.b)); }
void ZvXmlWriter::WriteValue(const CG::vec3<float>& value) { WriteString(Components(value.x, value.y, value.z)); }
void ZvXmlWriter::WriteValue(const CG::vec3<double>& value) { WriteString(Components(value.x, value.y, value.z)); }
void ZvXmlWriter::WriteValue(const CG::vec2<float>& value) { WriteString(Components(value.x, value.y)); }
void ZvXmlWriter::WriteValue(const CG::vec2<double>& value) { WriteString(Components(value.x, value.y)); }

// Asking the system for its code page takes longer than all the rest, and most texts need not know it.
void ZvXmlWriter::WriteValue(const ZvString$& value) {
    if (!value) return;
    switch (KindOf(value->CStr())) {
        case Plain: WriteString(value); break;
        case Markup: WriteString(value->XmlEscape()); break;
        case Foreign: WriteString(value->XmlEscape()->ConvertToUtf8()); break;
    }
}

void ZvXmlWriter::WriteValue(const double& value) { WriteString(Number(value)); }
void ZvXmlWriter::WriteValue(const float& value) { WriteString(Number(value)); }
void ZvXmlWriter::WriteValue(const unsigned long long& value) { WriteString(Number(value)); }
void ZvXmlWriter::WriteValue(const long long& value) { WriteString(Number(value)); }
void ZvXmlWriter::WriteValue(unsigned int value) { WriteString(Number(value)); }
void ZvXmlWriter::WriteValue(int value) { WriteString(Number(value)); }
void ZvXmlWriter::WriteValue(unsigned short value) { WriteString(Number(value)); }
void ZvXmlWriter::WriteValue(short value) { WriteString(Number(value)); }

// A character, and so nothing for zero, which ends a text.
void ZvXmlWriter::WriteValue(unsigned char value) {
    const char text[] = {static_cast<char>(value), '\0'};
    WriteString(new ZvString(text));
}

void ZvXmlWriter::WriteValue(bool value) { WriteString(value ? s_text.one : s_text.zero); }

void ZvXmlWriter::WriteChars(const char* buffer, int index, int count) {
    m_stream->Write(static_cast<const void*>(buffer + index), static_cast<long long>(count));
}

void ZvXmlWriter::WriteBase64(const unsigned char* buffer, int index, int count) {
    static constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const unsigned char* at = buffer + index;
    for (; count > 0; count -= 3, at += 3) {
        const int bits = at[0] << 16 | (count > 1 ? at[1] << 8 : 0) | (count > 2 ? at[2] : 0);
        const char four[] = {alphabet[bits >> 18], alphabet[bits >> 12 & 63], count > 1 ? alphabet[bits >> 6 & 63] : '=',
                             count > 2 ? alphabet[bits & 63] : '='};
        m_stream->Write(static_cast<const void*>(four), 4LL);
    }
}
