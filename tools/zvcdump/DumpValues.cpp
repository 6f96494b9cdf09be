// The values of the format: integers, floats, strings, raw bytes.

#include "DumpCoder.h"

#include <cstdio>

namespace dump {

namespace {

constexpr size_t ShownOfARun = 16;
constexpr size_t ShownOfABlock = 32;

std::string Number(float value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.9g", static_cast<double>(value));
    return text;
}

std::string Number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

std::string Hex(unsigned char byte) {
    char text[8];
    std::snprintf(text, sizeof text, "%02X", byte);
    return text;
}

}

void DumpCoder::Take(void* to, size_t count, const char* what) {
    if (m_bytes->Left() < count) Fail(m_bytes->Position(), std::string("the file ends within ") + what);
    m_bytes->ByteStream::Read(to, static_cast<long long>(count));
}

unsigned char DumpCoder::TakeTag(const char* what) {
    unsigned char tag = 0;
    if (m_bytes->Left() == 0) Fail(m_bytes->Position(), std::string("the file ends where ") + what + " should be");
    Take(&tag, 1, what);
    return tag;
}

unsigned long long DumpCoder::TakeInteger(unsigned int maxBytes, const char* kind) {
    const size_t at = m_bytes->Position();
    const unsigned char tag = TakeTag(kind);
    if (tag < ZvBinaryCoder::TagInt || tag >= ZvBinaryCoder::TagInt + maxBytes)
        Fail(at, "tag " + Hex(tag) + " where " + kind + " should be");
    unsigned long long value = 0;
    Take(&value, tag - ZvBinaryCoder::TagInt + 1u, kind);
    return value;
}

std::string DumpCoder::TakeString() {
    const size_t at = m_bytes->Position();
    const unsigned char tag = TakeTag("a string");
    if (tag < ZvBinaryCoder::TagStringLT16 || tag >= ZvBinaryCoder::TagReserve1)
        Fail(at, "tag " + Hex(tag) + " where a string should be");
    size_t length = tag - ZvBinaryCoder::TagStringLT16;
    if (tag >= ZvBinaryCoder::TagStringGE16) {
        length = 0;
        Take(&length, tag - ZvBinaryCoder::TagStringGE16 + 1u, "a string's length");
    }
    if (length > m_bytes->Left()) Fail(at, "a string of " + std::to_string(length) + " bytes, longer than the file");
    std::string text(length, '\0');
    Take(text.data(), length, "a string");
    return text;
}

// Values of one kind that follow each other are a run.
void DumpCoder::AddValue(const char* kind, size_t at, const std::string& text, size_t count) {
    if (m_collecting) {
        m_collected += (m_collected.empty() ? "" : " ") + text;
        return;
    }
    auto& siblings = m_current->children;
    const bool continues = !siblings.empty() && siblings.back()->kind == Node::Value && siblings.back()->type == kind;
    Node& node = continues ? *siblings.back() : m_current->Add(Node::Value, at);
    node.type = kind;
    node.count += count;
    node.end = m_bytes->Position();
    if (m_options.all || node.values.size() < ShownOfARun) node.values.push_back(text);
}

#define DUMP_INTEGER(type, name, shown)                                            \
    void DumpCoder::Read(ZvStream$&, type& value) {                                \
        const size_t at = m_bytes->Position();                                     \
        value = static_cast<type>(TakeInteger(sizeof(type), name));                \
        AddValue(#type, at, std::to_string(static_cast<shown>(value)));            \
    }
DUMP_INTEGER(unsigned long long, "a 64-bit number", unsigned long long)
DUMP_INTEGER(long long, "a 64-bit number", long long)
DUMP_INTEGER(unsigned int, "a 32-bit number", unsigned int)
DUMP_INTEGER(int, "a 32-bit number", int)
DUMP_INTEGER(unsigned short, "a 16-bit number", int)
DUMP_INTEGER(short, "a 16-bit number", int)
DUMP_INTEGER(unsigned char, "a byte", int)
DUMP_INTEGER(char, "a byte", int)

void DumpCoder::Read(ZvStream$&, bool& value) {
    const size_t at = m_bytes->Position();
    const unsigned char tag = TakeTag("a bool");
    if (tag != ZvBinaryCoder::TagFalse && tag != ZvBinaryCoder::TagTrue) Fail(at, "tag " + Hex(tag) + " where a bool should be");
    value = tag == ZvBinaryCoder::TagTrue;
    AddValue("bool", at, value ? "true" : "false");
}

void DumpCoder::Read(ZvStream$&, float& value) {
    const size_t at = m_bytes->Position();
    Take(&value, sizeof value, "a float");
    AddValue("float", at, Number(value));
}

void DumpCoder::Read(ZvStream$&, double& value) {
    const size_t at = m_bytes->Position();
    Take(&value, sizeof value, "a double");
    AddValue("double", at, Number(value));
}

void DumpCoder::Read(ZvStream$& stream, unsigned int count, float* values) {
    for (unsigned int i = 0; i < count; ++i) Read(stream, values[i]);
}

void DumpCoder::Read(ZvStream$& stream, unsigned int count, double* values) {
    for (unsigned int i = 0; i < count; ++i) Read(stream, values[i]);
}

void DumpCoder::Read(ZvStream$&, ZvString& text) {
    const size_t at = m_bytes->Position();
    const std::string bytes = TakeString();
    text = bytes.c_str();
    AddValue("string", at, bytes);
}

void DumpCoder::Read(ZvStream$&, void* data, unsigned long long size) {
    const size_t at = m_bytes->Position();
    Take(data, size, "a block of bytes");
    const auto* bytes = static_cast<const unsigned char*>(data);
    const size_t shown = m_options.all ? size : std::min<size_t>(size, ShownOfABlock);
    std::string text;
    for (size_t i = 0; i < shown; ++i) text += Hex(bytes[i]);
    AddValue("bytes", at, text, size);
}

}
