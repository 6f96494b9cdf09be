// A plug-in whose life tests follow: what it says goes to the file that LIFEPLUG_LOG names.
#include <zvc/zvc.h>

#include <cstdio>
#include <cstdlib>

static void Say(const char* text) {
    if (const char* path = std::getenv("LIFEPLUG_LOG"))
        if (FILE* file = std::fopen(path, "a")) {
            std::fprintf(file, "%s\n", text);
            std::fclose(file);
        }
}

struct Statics {
    Statics() { Say("statics up"); }
    ~Statics() { Say("statics down"); }
};
static Statics s_statics;

class lifeplug : public ZvObject {
    ZV_DECLARE_CLASS(lifeplug)
    ZV_DECLARE_CREATE(lifeplug)
    ZV_DECLARE_TABLES()
public:
    lifeplug() = default;
    explicit lifeplug(int value) : m_value(value) {}
    int m_value = 5;
};
class LifeOther : public ZvObject {
    ZV_DECLARE_CLASS(LifeOther)
};

static void Init() { Say(ZvSystem::FindType("lifeplug") != nullptr ? "init with types" : "init without types"); }
static void Term() { Say(ZvSystem::FindType("lifeplug") != nullptr ? "term with types" : "term without types"); }

ZV_MODULE("lifeplug", &Init, &Term)
ZV_DEFINE_CLASS(lifeplug, (ZvObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(lifeplug, ZV_FIELD(m_value))
ZV_METHODS(lifeplug)
ZV_CONSTRUCTORS(lifeplug, ZV_CONSTRUCTOR(), ZV_CONSTRUCTOR(int))
ZV_DEFINE_CLASS(LifeOther, (ZvObject))

extern "C" ZV_EXPORT int LifeAnswer() { return 42; }
