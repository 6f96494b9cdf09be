#include "zvc/values/ZvVoid.h"

namespace {
ZvBase* VoidBases() {
    static zvc::detail::BaseTable<ZvVoid, ZvValue> s_table;
    return s_table.entries;
}
}

ZvType ZvVoid::s_type("class ZvVoid", sizeof(ZvVoid), VoidBases(), typeid(void), ZvThisModule(),
                      {.spec = ZvType::SpecPrimitive, .codec = true, .create = &Create});

ZvBase* ZvVoid::GetBases() { return VoidBases(); }
ZvType* ZvVoid::GetType() const { return &s_type; }
ZV_DETAIL_DEFINE_COUNT(ZvVoid)

ZvVoid::ZvVoid() = default;
ZvVoid::ZvVoid(void*) {}
ZvVoid::ZvVoid(const ZvVoid& other) = default;
ZvVoid::~ZvVoid() = default;

unsigned long long ZvVoid::Count() const { return 0; }
bool ZvVoid::SetValue(const void*, ZvValueType, int) { return false; }
bool ZvVoid::GetValue(void*, ZvValueType, int) const { return false; }
void ZvVoid::SetValue(const void*) {}
bool ZvVoid::SetValue(const ZvValue&) { return false; }
void ZvVoid::GetValue(void*) const {}
void ZvVoid::Encode(ZvStream$&, ZvCoder*) const {}
void ZvVoid::Decode(ZvStream$&, ZvCoder*) {}
ZvObject* ZvVoid::Clone() const { return new ZvVoid(*this); }
