#include "serialization/CaseClasses.h"

#define CASE_TABLES(Name)    \
    ZV_METHODS(Name)         \
    ZV_CONSTRUCTORS(Name)
#define CASE_DEFINE(Name, Base) ZV_DEFINE_CLASS(Name, (Base), .create = &Create, ZV_TABLES) CASE_TABLES(Name)

CASE_DEFINE(Pt, ZvObject)
ZV_FIELDS(Pt, ZV_FIELD(x), ZV_FIELD(y))
CASE_DEFINE(GEmpty, ZvObject)
ZV_FIELDS(GEmpty)
CASE_DEFINE(GNode, ZvObject)
ZV_FIELDS(GNode, ZV_FIELD(next), ZV_FIELD(name), ZV_FIELD(value), ZV_FIELD(weight))
CASE_DEFINE(GAll, ZvObject)
ZV_FIELDS(GAll, ZV_FIELD(f_bool), ZV_FIELD(f_sbyte), ZV_FIELD(f_byte), ZV_FIELD(f_int16), ZV_FIELD(f_uint16),
    ZV_FIELD(f_int32), ZV_FIELD(f_uint32), ZV_FIELD(f_int64), ZV_FIELD(f_uint64), ZV_FIELD(f_float), ZV_FIELD(f_double),
    ZV_FIELD(f_vec2i), ZV_FIELD(f_vec3i), ZV_FIELD(f_vec4i), ZV_FIELD(f_vec2f), ZV_FIELD(f_vec3f), ZV_FIELD(f_vec4f),
    ZV_FIELD(f_vec2d), ZV_FIELD(f_vec3d), ZV_FIELD(f_vec4d), ZV_FIELD(f_mat3f), ZV_FIELD(f_mat4f), ZV_FIELD(f_mat3d),
    ZV_FIELD(f_mat4d), ZV_FIELD(f_rotf), ZV_FIELD(f_rotd), ZV_FIELD(f_color), ZV_FIELD(f_objectref), ZV_FIELD(f_objectptr),
    ZV_FIELD(f_interfaceref), ZV_FIELD(f_interfaceptr))
CASE_DEFINE(GArr, ZvObject)
ZV_FIELDS(GArr, ZV_FIELD_ARRAY(ints), ZV_FIELD_ARRAY(bytes), ZV_FIELD_ARRAY(vecs), ZV_FIELD_ARRAY(refs),
    ZV_FIELD_ARRAY(colors), ZV_FIELD_ARRAY(flags))
CASE_DEFINE(GMany, ZvObject)
ZV_FIELDS(GMany, ZV_FIELD(m0), ZV_FIELD(m1), ZV_FIELD(m2), ZV_FIELD(m3), ZV_FIELD(m4), ZV_FIELD(m5), ZV_FIELD(m6),
    ZV_FIELD(m7), ZV_FIELD(m8), ZV_FIELD(m9), ZV_FIELD(m10), ZV_FIELD(m11))
ZV_DEFINE_CLASS(GTracked, (ZvObject), .spec = 33, .create = &Create, ZV_TABLES)
CASE_TABLES(GTracked)
ZV_FIELDS(GTracked, ZV_FIELD(self), ZV_FIELD(n))
CASE_DEFINE(GBase, ZvObject)
ZV_FIELDS(GBase, ZV_FIELD(a), ZV_FIELD(b), ZV_FIELD(c))
CASE_DEFINE(GDerived, GBase)
ZV_FIELDS(GDerived, ZV_FIELD(d), ZV_FIELD(a), ZV_FIELD(e))
CASE_DEFINE(Adder, ZvMarshalByRefObject)
ZV_FIELDS(Adder)
ZV_DEFINE_CLASS(GStrict, (ZvObject), .schema = 2, .codec = true, .create = &Create)
ZV_DEFINE_CLASS(GOpen, (ZvObject), .schema = 0x80000002, .codec = true, .create = &Create)

ZV_DEFINE_CLASS(GBag, (ZvObject, ZvISerializable), ZV_TABLES)
ZV_FIELDS(GBag)
ZV_METHODS(GBag)
ZV_CONSTRUCTORS(GBag, ZV_CONSTRUCTOR(ZvObject$))

GBag::GBag(const ZvObject$& o) {
    const ZvSerializationInfo$ info = o;
    alpha = info->GetValue(new ZvString("alpha"));
    beta = info->GetValue(new ZvString("beta"));
    gamma = info->GetValue(new ZvString("gamma"));
}

void GBag::GetObjectData(ZvSerializationInfo$& info) {
    info->SetValue(new ZvString("alpha"), alpha);
    info->SetValue(new ZvString("beta"), beta);
    info->SetValue(new ZvString("gamma"), gamma);
}
