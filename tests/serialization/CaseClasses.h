#pragma once

// The client classes that the computed object graphs are made of.

#include <zvc/zvc.h>

#define CASE_FIELD_CLASS(Name, Body)      \
    class Name : public ZvObject {        \
        ZV_DECLARE_CLASS(Name)            \
        ZV_DECLARE_CREATE(Name)           \
        ZV_DECLARE_TABLES()               \
    public:                               \
        Body                              \
    };                                    \
    ZV_DECLARE_HANDLE(Name, ZvObject$)

CASE_FIELD_CLASS(Pt, int x = 0; float y = 0;);
CASE_FIELD_CLASS(GEmpty, );
CASE_FIELD_CLASS(GNode, ZvObject$ next; ZvObject$ name; int value = 0; double weight = 0;);
CASE_FIELD_CLASS(GAll,
    bool f_bool = false; char f_sbyte = 0; unsigned char f_byte = 0; short f_int16 = 0; unsigned short f_uint16 = 0;
    int f_int32 = 0; unsigned int f_uint32 = 0; long long f_int64 = 0; unsigned long long f_uint64 = 0; float f_float = 0;
    double f_double = 0; CG::vec2<int> f_vec2i{}; CG::vec3<int> f_vec3i{}; CG::vec4<int> f_vec4i{};
    CG::vec2<float> f_vec2f{}; CG::vec3<float> f_vec3f{}; CG::vec4<float> f_vec4f{}; CG::vec2<double> f_vec2d{};
    CG::vec3<double> f_vec3d{}; CG::vec4<double> f_vec4d{}; CG::mat3<float> f_mat3f{}; CG::mat4<float> f_mat4f{};
    CG::mat3<double> f_mat3d{}; CG::mat4<double> f_mat4d{}; CG::rotation<float> f_rotf{}; CG::rotation<double> f_rotd{};
    zvcolor f_color; ZvObject$ f_objectref; ZvObject* f_objectptr = nullptr; ZvInterface$ f_interfaceref;
    ZvInterface* f_interfaceptr = nullptr;);
CASE_FIELD_CLASS(GArr,
    int ints[3]{}; unsigned char bytes[4]{}; CG::vec3<float> vecs[2]{}; ZvObject$ refs[2]; zvcolor colors[2]; bool flags[5]{};);
CASE_FIELD_CLASS(GMany,
    int m0 = 0; int m1 = 0; int m2 = 0; int m3 = 0; int m4 = 0; int m5 = 0; int m6 = 0; int m7 = 0; int m8 = 0; int m9 = 0;
    int m10 = 0; int m11 = 0;);
CASE_FIELD_CLASS(GTracked, ZvObject$ self; int n = 0;);
CASE_FIELD_CLASS(GBase, int a = 0; float b = 0; ZvObject$ c;);

class GDerived : public GBase {
    ZV_DECLARE_CLASS(GDerived)
    ZV_DECLARE_CREATE(GDerived)
    ZV_DECLARE_TABLES()
public:
    long long d = 0;
    double a = 0;
    bool e = false;
};
ZV_DECLARE_HANDLE(GDerived, GBase$);

class GBag : public ZvObject, public ZvISerializable {
    ZV_DECLARE_CLASS(GBag)
    ZV_DECLARE_TABLES()
public:
    GBag() = default;
    explicit GBag(const ZvObject$& o);
    void GetObjectData(ZvSerializationInfo$& info) override;
    ZvValue$ alpha, beta, gamma;
};
ZV_DECLARE_HANDLE(GBag, ZvObject$);

#define CASE_CODEC_CLASS(Name)                                                                              \
    class Name : public ZvObject {                                                                          \
        ZV_DECLARE_CLASS(Name)                                                                              \
        ZV_DECLARE_CREATE(Name)                                                                             \
    public:                                                                                                 \
        void Encode(ZvStream$& stream, ZvCoder* coder) const override { coder->Write(stream, v); }          \
        void Decode(ZvStream$& stream, ZvCoder* coder) override {                                           \
            coder->Read(stream, v);                                                                         \
            version = FindFileVersion(coder, GetType());                                                    \
        }                                                                                                   \
        int v = 0;                                                                                          \
        unsigned int version = 0;                                                                           \
    };                                                                                                      \
    ZV_DECLARE_HANDLE(Name, ZvObject$)
CASE_CODEC_CLASS(GStrict);
CASE_CODEC_CLASS(GOpen);

class Adder : public ZvMarshalByRefObject {
    ZV_DECLARE_CLASS(Adder)
    ZV_DECLARE_CREATE(Adder)
    ZV_DECLARE_TABLES()
};
ZV_DECLARE_HANDLE(Adder, ZvMarshalByRefObject$);
