// A plug-in whose record has another name than its file.

#include <zvc/zvc.h>

ZV_MODULE("AliasedModule", nullptr, nullptr)

class Aliased : public ZvObject {
    ZV_DECLARE_CLASS(Aliased)
    ZV_DECLARE_CREATE(Aliased)
};
ZV_DEFINE_CLASS(Aliased, (ZvObject), .create = &Create)
