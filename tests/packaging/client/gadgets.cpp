#include <zvc/zvc.h>

class Gadget : public ZvObject {
    ZV_DECLARE_CLASS(Gadget)
    ZV_DECLARE_CREATE(Gadget)
};

ZV_MODULE("gadgets", nullptr, nullptr)
ZV_DEFINE_CLASS(Gadget, (ZvObject), .create = &Create)
