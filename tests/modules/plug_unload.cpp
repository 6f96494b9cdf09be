// A plug-in that tells its host how it begins and ends. It holds what compilers are tempted to keep mapped for good: statics
// of templates, of inline functions and of the standard library's templates.

#include <zvc/zvc.h>

#include <cstdlib>
// The compiler takes what its own library does there for a use of something unset.
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <regex>
#include <string>

class Fleeting : public ZvObject {
    ZV_DECLARE_CLASS(Fleeting)
    ZV_DECLARE_CREATE(Fleeting)
    ZV_DECLARE_TABLES()
public:
    Fleeting() = default;
    bool Matches(const ZvString$& text) const { return std::regex_match(text->CStr(), std::regex("[a-z]+")); }
};
ZV_DECLARE_HANDLE(Fleeting, ZvObject$);

namespace {

/// The host hands its listener over in the environment, for the first words are said within the load.
void Tell(const std::string& words) {
    using Listener = void (*)(const char*);
    const char* address = std::getenv("PLUG_UNLOAD_LISTENER");
    if (address != nullptr) reinterpret_cast<Listener>(std::strtoull(address, nullptr, 16))(words.c_str());
}

std::string Descriptor() {
    const std::string known = ZvSystem::FindType("Fleeting") == &Fleeting::s_type ? "known" : "unknown";
    return known + ", counted " + std::to_string(Fleeting::s_type.ReferenceCount());
}

struct Static {
    Static() { Tell("statics are made"); }
    ~Static() { Tell("statics are gone"); }
};
template <class T>
struct Shared {
    static inline std::string s_text = "a text that does not fit into the string itself";
    static std::string& Local() {
        static std::string s_local = "another text that does not fit into the string itself";
        return s_local;
    }
};

void Init() { Tell("init: " + Descriptor()); }
void Term() { Tell("term: " + Descriptor()); }

}

ZV_MODULE("plug_unload", &Init, &Term)

ZV_DEFINE_CLASS(Fleeting, (ZvObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(Fleeting)
ZV_METHODS(Fleeting, ZV_METHOD(Matches, "text"))
ZV_CONSTRUCTORS(Fleeting, ZV_CONSTRUCTOR())

namespace {
Static s_static;                 // made behind the module record, and gone ahead of it
}

extern "C" ZV_EXPORT const char* plug_unload_text();
extern "C" ZV_EXPORT const char* plug_unload_text() {
    Shared<Fleeting>::Local() += Shared<Fleeting>::s_text;
    return Shared<Fleeting>::Local().c_str();
}
