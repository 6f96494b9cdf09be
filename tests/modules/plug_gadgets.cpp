// A plug-in with a module record, loaded by the system's table and never unloaded before the end.

#include <zvc/zvc.h>

namespace {
int s_inits = 0;
}

ZV_MODULE("plug_gadgets", [] { ++s_inits; }, nullptr)

class Gadget : public ZvObject {
    ZV_DECLARE_CLASS(Gadget)
    ZV_DECLARE_CREATE(Gadget)
    ZV_DECLARE_TABLES()
public:
    Gadget() = default;
    explicit Gadget(int size) : m_size(size) {}
    ZvString$ ToString() const override {
        ZvString$ text = new ZvString;
        text->Format("gadget of %d", m_size);
        return text;
    }
    int Grow(int by) { return m_size += by; }
    int m_size = 1;
};
ZV_DEFINE_CLASS(Gadget, (ZvObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(Gadget, ZV_FIELD(m_size))
ZV_METHODS(Gadget, ZV_METHOD(Grow, "by"))
ZV_CONSTRUCTORS(Gadget, ZV_CONSTRUCTOR(), ZV_CONSTRUCTOR(int))

/// The class of the plug-in's own name.
class plug_gadgets : public ZvObject {
    ZV_DECLARE_CLASS(plug_gadgets)
    ZV_DECLARE_CREATE(plug_gadgets)
    ZV_DECLARE_TABLES()
public:
    plug_gadgets() = default;
};
ZV_DEFINE_CLASS(plug_gadgets, (ZvObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(plug_gadgets)
ZV_METHODS(plug_gadgets)
ZV_CONSTRUCTORS(plug_gadgets, ZV_CONSTRUCTOR())

class GadgetShop : public ZvObject {
    ZV_DECLARE_CLASS(GadgetShop)
};
ZV_DEFINE_CLASS(GadgetShop, (ZvObject))

class Tool : public ZvInterface {
    ZV_DECLARE_INTERFACE(Tool)
};
ZV_DEFINE_INTERFACE(Tool, (ZvInterface))

/// A second class of a name that is there: the older of the two comes into the plug-in's types.
namespace {
ZvType s_second("class GadgetShop", sizeof(GadgetShop), GadgetShop::GetBases(), typeid(GadgetShop), ZvThisModule(), {});
}

extern "C" ZV_EXPORT int plug_gadgets_inits();
extern "C" ZV_EXPORT int plug_gadgets_inits() { return s_inits; }
extern "C" ZV_EXPORT ZvType* plug_gadgets_shop();
extern "C" ZV_EXPORT ZvType* plug_gadgets_shop() { return &GadgetShop::s_type; }
