#include "zvc/imaging/ZvImgCodec.h"

#include "zvc/core/ZvFieldMacros.h"
#include "zvc/core/ZvMethodMacros.h"
#include "zvc/core/ZvPlugin.h"
#include "zvc/core/ZvSystem.h"
#include "zvc/platform/File.h"
#include "zvc/platform/Module.h"
#include "zvc/values/ZvString.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

ZV_DEFINE_CLASS(ZvImgCodec, (ZvObject), ZV_TABLES)
ZV_FIELDS(ZvImgCodec)
ZV_METHODS(ZvImgCodec)
ZV_CONSTRUCTORS(ZvImgCodec)

ZV_DEFINE_CLASS(ZvCodecException, (ZvException))

ZvCodecException::ZvCodecException(const char* message) : ZvException(message) {}
ZvCodecException::ZvCodecException(const ZvCodecException& other) = default;
ZvCodecException::~ZvCodecException() = default;

// Plug-ins register while the library is running, and both are there before any code runs.
constinit ZvCodecType* ZvImgCodec::s_root = nullptr;
constinit int ZvImgCodec::s_max_signature_length = 0;

// The link stays as it is: it belongs to the registration, which may have come first.
ZvCodecType::ZvCodecType(const char* typeName, const char** typeSignatures, const char* typeExtensions, CreateFunction createFunction,
                         ZvCodecRegister* typeRegistrar)
    : name(typeName), signatures(typeSignatures), signatureLength(0), extensions(typeExtensions), create(createFunction),
      registrar(typeRegistrar) {
    for (const char** s = signatures; *s != nullptr; ++s) signatureLength = std::max(signatureLength, static_cast<int>(std::strlen(*s)));
}

namespace {

// As memcmp would tell, and no byte is read behind the first that differs: a signature may be shorter than length.
bool SameBytes(const char* a, const char* b, int length) {
    for (int i = 0; i < length; ++i)
        if (a[i] != b[i]) return false;
    return true;
}

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
bool IsAlphanumeric(char c) { return (Lower(c) >= 'a' && Lower(c) <= 'z') || (c >= '0' && c <= '9'); }

}

bool ZvCodecType::CheckSignature(const char* bytes) const {
    if (signatures[0] == nullptr) return true;
    for (const char** s = signatures; *s != nullptr; ++s)
        // The longest one's length for all of them is meant so: plug-ins count on it ("MM" with its zero is a signature).
        if (signatureLength > 0 && bytes != nullptr && SameBytes(bytes, *s, signatureLength)) return true;
    return false;
}

bool ZvCodecType::CheckExtension(const char* extension) const {
    if (extensions == nullptr || extension == nullptr) return false;
    for (const char* dot = std::strchr(extensions, '.'); dot != nullptr; dot = std::strchr(dot + 1, '.')) {
        const char* listed = dot + 1;
        const char* wanted = extension;
        while (IsAlphanumeric(*listed) && Lower(*listed) == Lower(*wanted)) ++listed, ++wanted;
        if (!IsAlphanumeric(*listed) && *wanted == '\0') return true;
    }
    return false;
}

ZvCodecRegister::ZvCodecRegister(ZvCodecType* type) {
    type->next = ZvImgCodec::s_root;
    ZvImgCodec::s_root = type;
    ZvImgCodec::s_max_signature_length = std::max(ZvImgCodec::s_max_signature_length, type->signatureLength);
}

ZvImgCodec::ZvImgCodec(ZvStream$& stream) : m_stream(stream) {}
ZvImgCodec::ZvImgCodec(const ZvImgCodec& other) : ZvObject(other), m_stream(other.m_stream) {}
ZvImgCodec::~ZvImgCodec() = default;

ZvImgCodec& ZvImgCodec::operator=(const ZvImgCodec& other) {
    m_stream = other.m_stream;
    return *this;
}

long long ZvImgCodec::Read(void* buffer, long long count) { return m_stream->Read(buffer, count); }
long long ZvImgCodec::Write(const void* buffer, long long count) { return m_stream->Write(buffer, count); }
void ZvImgCodec::Flush() { m_stream->Flush(); }
long long ZvImgCodec::Tellp() const { return m_stream->Tellp(); }
long long ZvImgCodec::Tellg() const { return m_stream->Tellg(); }
void ZvImgCodec::Seekp(long long offset, ZvStream::SeekOrigin origin) { m_stream->Seekp(offset, origin); }
void ZvImgCodec::Seekg(long long offset, ZvStream::SeekOrigin origin) { m_stream->Seekg(offset, origin); }
bool ZvImgCodec::Fail() const { return m_stream->Fail(); }

void ZvImgCodec::Shutdown() {}

namespace {

constinit bool s_scanned = false;

// Loads the plug-ins beside the program's executable, in the order of their names. Without any it is done again at the next
// call; a plug-in that fails to load ends it for good, and the exception passes.
void LoadPlugins() {
    if (s_scanned) return;
    const std::string program = zvc::platform::ProgramPath();
    const std::string folder = program.substr(0, program.rfind('/'));       // all of it without a separator
    std::vector<std::string> found = zvc::platform::ListDirectory(folder.c_str());
    std::erase_if(found, [](const std::string& file) { return !file.ends_with(".dli"); });
    if (found.empty()) return;
    s_scanned = true;
    for (const std::string& file : found) ZvSystem::LoadPlugin(ZvString$(new ZvString((folder + "/" + file).c_str())));
}

}

ZvImgCodec$ ZvImgCodec::GetDecoder(ZvStream$& stream, const char*) {
    LoadPlugins();
    // A short stream leaves the rest as it is, zero; there is one byte at least, so that a type never sees null.
    std::vector<char> start(static_cast<size_t>(s_max_signature_length) + 1);
    const long long position = stream->Tellg();
    stream->Read(start.data(), s_max_signature_length);
    stream->Seekg(position, ZvStream::Begin);
    for (const ZvCodecType* type = s_root; type != nullptr; type = type->next) {
        if (type->signatureLength > s_max_signature_length) continue;
        if (type->CheckSignature(start.data()) && type->create != nullptr) return type->create(stream);
    }
    return ZvImgCodec$();
}

ZvImgCodec$ ZvImgCodec::GetEncoder(ZvStream$& stream, const char* extension) {
    if (extension == nullptr) return ZvImgCodec$();
    LoadPlugins();
    for (const ZvCodecType* type = s_root; type != nullptr; type = type->next)
        if (type->CheckExtension(extension) && type->create != nullptr) return type->create(stream);
    return ZvImgCodec$();
}
