#include "zvc/core/ZvField.h"

#include "tests/values/EncodedBytes.h"
#include "zvc/core/ZvFieldMacros.h"
#include "zvc/core/ZvMethodMacros.h"
#include "zvc/core/ZvSystem.h"
#include "zvc/core/ZvTraverser.h"
#include "zvc/values/ZvArrayList.h"
#include "zvc/values/ZvDictionary.h"
#include "zvc/values/ZvHashSet.h"
#include "zvc/values/ZvPrimitive.h"
#include "zvc/values/ZvString.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

namespace field_test {

struct Tag {
    int m_tag = 5;                                   // a base that is no object, in front of nothing
};

class Body : public ZvObject, public Tag {
    ZV_DECLARE_CLASS(Body)
    ZV_DECLARE_CREATE(Body)
    ZV_DECLARE_TABLES()
public:
    int m_count = 3;
    double m_scale = 0.5;
    float m_weights[3] = {1, 2, 3};
    zvcolor m_colour{1, 0.5f, 0};
    struct {
        int lod = 4;
        struct {
            zvcolor tint{0, 0, 1};
        } deep;
        ZvString$ label;
    } m_detail;
    struct {
        short value = 0;
    } m_rows[2];
    ZvObject$ m_next;
    ZvObject* m_raw = nullptr;
    ZvString$ m_title;
    ZvInterface$ m_interface;
    ZvInterface* m_rawInterface = nullptr;
    ZvIList$ m_list;
    ZvObject$ m_children[2];
    zvcolor m_palette[2];

    int Secret() const { return m_secret; }

private:
    int m_secret = 11;
};
ZV_DECLARE_HANDLE(Body, ZvObject$);

class Derived : public Body {
    ZV_DECLARE_CLASS(Derived)
    ZV_DECLARE_TABLES()
public:
    long long m_more = 1;
    double m_count = 2.5;                            // a name that the base has, too
};

class Bare : public ZvObject {
    ZV_DECLARE_CLASS(Bare)
    ZV_DECLARE_TABLES()
};

/// One member of each kind.
class All : public ZvObject {
    ZV_DECLARE_CLASS(All)
public:
    bool m_bool;
    char m_char;
    unsigned char m_uchar;
    short m_short;
    unsigned short m_ushort;
    int m_int;
    unsigned int m_uint;
    long long m_int64;
    unsigned long long m_uint64;
    float m_float;
    double m_double;
    CG::vec2<int> m_vec2i;
    CG::vec2<float> m_vec2f;
    CG::vec2<double> m_vec2d;
    CG::vec3<int> m_vec3i;
    CG::vec3<float> m_vec3f;
    CG::vec3<double> m_vec3d;
    CG::vec4<int> m_vec4i;
    CG::vec4<float> m_vec4f;
    CG::vec4<double> m_vec4d;
    CG::mat3<float> m_mat3f;
    CG::mat3<double> m_mat3d;
    CG::mat4<float> m_mat4f;
    CG::mat4<double> m_mat4d;
    CG::rotation<float> m_rotf;
    CG::rotation<double> m_rotd;
    zvcolor m_color;
    ZvObject$ m_ref;
    ZvObject* m_ptr;
    ZvInterface$ m_interfaceRef;
    ZvInterface* m_interfacePtr;
};

}

ZV_DEFINE_CLASS(field_test::Body, (ZvObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(field_test::Body,
    ZV_FIELD(m_count), ZV_FIELD(m_scale), ZV_FIELD_ARRAY(m_weights), ZV_FIELD(m_colour), ZV_FIELD_NEST(m_detail.lod),
    ZV_FIELD_NEST(m_detail.deep.tint), ZV_FIELD_NEST(m_detail.label), ZV_FIELD_NEST(m_rows[1].value), ZV_FIELD(m_next),
    ZV_FIELD(m_raw), ZV_FIELD(m_title), ZV_FIELD(m_interface), ZV_FIELD(m_rawInterface), ZV_FIELD(m_list),
    ZV_FIELD_ARRAY(m_children), ZV_FIELD_ARRAY(m_palette), ZV_FIELD(m_secret), ZV_FIELD(m_tag))
ZV_METHODS(field_test::Body)
ZV_CONSTRUCTORS(field_test::Body)

ZV_DEFINE_CLASS(field_test::Derived, (field_test::Body), ZV_TABLES)
ZV_FIELDS(field_test::Derived, ZV_FIELD(m_more), ZV_FIELD(m_count))
ZV_METHODS(field_test::Derived)
ZV_CONSTRUCTORS(field_test::Derived)

ZV_DEFINE_CLASS(field_test::Bare, (ZvObject), ZV_TABLES)
ZV_FIELDS(field_test::Bare)
ZV_METHODS(field_test::Bare)
ZV_CONSTRUCTORS(field_test::Bare)

ZV_DEFINE_CLASS(field_test::All, (ZvObject))

using field_test::All;
using field_test::Bare;
using field_test::Body;
using field_test::Body$;
using field_test::Derived;

namespace {

ZvField$ FieldOf(const char* name) { return Body::s_type.FindField(new ZvString(name)); }

template <class T>
ZvObject$ Box(const T& value) {
    return new ZvPrimitive<T>(value);
}

std::string EncodedMember(const ZvField& field, const ZvObject& o) {
    return encoded::Written([&](ZvStream$& stream, ZvCoder* coder) { field.Encode(stream, coder, &o); });
}

void DecodeMember(ZvField& field, ZvObject& o, const std::string& hex) {
    encoded::ReadFrom(hex, [&](ZvStream$& stream, ZvCoder* coder) { field.Decode(stream, coder, &o); });
}

/// Makes the three fields of a kind that all families have, or the single one.
struct Row {
    const char* element;                             // as it stands in a name
    int number;
    const char* box;
    const char* array;                               // null: there is a single field only
    ZvField* (*single)();
    ZvField* (*nested)();
    ZvField* (*several)();
};

template <auto Member, class T>
Row SingleRow(const char* element, int number, const char* box) {
    return {element, number, box, nullptr,
            []() -> ZvField* {
                return new ZvFieldPrimitive<T>(&All::s_type, "m", zvc::detail::ObjectMember<All>(Member));
            },
            nullptr, nullptr};
}

template <auto Member, class T>
Row FullRow(const char* element, int number, const char* box, const char* array) {
    Row row = SingleRow<Member, T>(element, number, box);
    row.array = array;
    row.nested = []() -> ZvField* { return new ZvNestFieldPrimitive<T>(&All::s_type, "m", 64); };
    row.several = []() -> ZvField* {
        return new ZvFieldPrimitiveArray<T>(&All::s_type, "m", 1, zvc::detail::ObjectMember<All>(Member));
    };
    return row;
}

std::vector<Row> Family() {
    return {
        FullRow<&All::m_bool, bool>("bool", 1, "ZvBoolean", "ZvBoolArray"),
        FullRow<&All::m_char, char>("char", 2, "ZvSByte", "ZvSByteArray"),
        FullRow<&All::m_uchar, unsigned char>("unsigned char", 3, "ZvByte", "ZvByteArray"),
        FullRow<&All::m_short, short>("short", 7, "ZvInt16", "ZvInt16Array"),
        FullRow<&All::m_ushort, unsigned short>("unsigned short", 11, "ZvUInt16", "ZvUInt16Array"),
        FullRow<&All::m_int, int>("int", 15, "ZvInt32", "ZvInt32Array"),
        FullRow<&All::m_uint, unsigned int>("unsigned int", 19, "ZvUInt32", "ZvUInt32Array"),
        FullRow<&All::m_int64, long long>("__int64", 20, "ZvInt64", "ZvInt64Array"),
        FullRow<&All::m_uint64, unsigned long long>("unsigned __int64", 21, "ZvUInt64", "ZvUInt64Array"),
        FullRow<&All::m_float, float>("float", 22, "ZvFloat", "ZvFloatArray"),
        FullRow<&All::m_double, double>("double", 28, "ZvDouble", "ZvDoubleArray"),
        FullRow<&All::m_vec2i, CG::vec2<int>>("struct CG::vec2<int> ", 16, "ZvVec2i", "ZvVec2iArray"),
        FullRow<&All::m_vec2f, CG::vec2<float>>("struct CG::vec2<float> ", 23, "ZvVec2f", "ZvVec2fArray"),
        FullRow<&All::m_vec2d, CG::vec2<double>>("struct CG::vec2<double> ", 29, "ZvVec2d", "ZvVec2dArray"),
        SingleRow<&All::m_vec3i, CG::vec3<int>>("struct CG::vec3<int> ", 17, "ZvVec3i"),
        FullRow<&All::m_vec3f, CG::vec3<float>>("struct CG::vec3<float> ", 24, "ZvVec3f", "ZvVec3fArray"),
        FullRow<&All::m_vec3d, CG::vec3<double>>("struct CG::vec3<double> ", 30, "ZvVec3d", "ZvVec3dArray"),
        SingleRow<&All::m_vec4i, CG::vec4<int>>("struct CG::vec4<int> ", 18, "ZvVec4i"),
        FullRow<&All::m_vec4f, CG::vec4<float>>("struct CG::vec4<float> ", 25, "ZvVec4f", "ZvVec4fArray"),
        FullRow<&All::m_vec4d, CG::vec4<double>>("struct CG::vec4<double> ", 31, "ZvVec4d", "ZvVec4dArray"),
        FullRow<&All::m_mat3f, CG::mat3<float>>("struct CG::mat3<float> ", 26, "ZvMat3f", "ZvMat3fArray"),
        FullRow<&All::m_mat3d, CG::mat3<double>>("struct CG::mat3<double> ", 32, "ZvMat3d", "ZvMat3dArray"),
        FullRow<&All::m_mat4f, CG::mat4<float>>("struct CG::mat4<float> ", 27, "ZvMat4f", "ZvMat4fArray"),
        FullRow<&All::m_mat4d, CG::mat4<double>>("struct CG::mat4<double> ", 33, "ZvMat4d", "ZvMat4dArray"),
        FullRow<&All::m_rotf, CG::rotation<float>>("struct CG::rotation<float> ", 38, "ZvRotf", "ZvRotfArray"),
        FullRow<&All::m_rotd, CG::rotation<double>>("struct CG::rotation<double> ", 39, "ZvRotd", "ZvRotdArray"),
        FullRow<&All::m_color, zvcolor>("struct zvcolor", 24, "ZvColor", "ZvColorArray"),
        FullRow<&All::m_ref, ZvObject$>("class ZvObject$", 45, "ZvObjectRef", "ZvObjectArray"),
        FullRow<&All::m_ptr, ZvObject*>("class ZvObject *", 46, "ZvObjectPtr", "ZvObjectPtrArray"),
        SingleRow<&All::m_interfaceRef, ZvInterface$>("class ZvInterface$", 47, "ZvInterfaceRef"),
        SingleRow<&All::m_interfacePtr, ZvInterface*>("class ZvInterface *", 47, "ZvInterfacePtr")};
}

void ExpectField(ZvField* field, const Row& row, const char* family, const char* valueType) {
    ZvObject$ owner = field;
    const std::string name = std::string(family) + "<" + row.element + ">";
    SCOPED_TRACE(name);
    EXPECT_STREQ(field->GetType()->GetName()->CStr(), name.c_str());
    EXPECT_EQ(ZvSystem::FindType(name.c_str()), field->GetType());
    EXPECT_EQ(field->GetType()->GetBaseType(), &ZvField::s_type);
    EXPECT_EQ(field->GetType()->GetSchema(), 1u);
    EXPECT_EQ(field->GetType()->GetClassSpec(), 1u);
    EXPECT_FALSE(field->GetType()->HasCodec());
    EXPECT_EQ(field->GetValueType(), row.number);
    EXPECT_STREQ(field->Type()->GetName()->CStr(), valueType);
    EXPECT_STREQ(field->Name()->CStr(), "m");

    ZvField$ clone = ZvObject$(field->Clone());
    ASSERT_TRUE(clone);
    EXPECT_NE(clone.Get(), field);
    EXPECT_EQ(clone->GetType(), field->GetType());
    EXPECT_EQ(clone->Name().Get(), field->Name().Get());
    EXPECT_EQ(clone->Type(), field->Type());
    EXPECT_EQ(clone->GetValueType(), field->GetValueType());
}

}

TEST(ZvField, EachFamilyHasItsNameValueTypeAndNumber) {
    ASSERT_EQ(Family().size(), 31u);
    int full = 0;
    for (const Row& row : Family()) {
        ExpectField(row.single(), row, "ZvFieldPrimitive", row.box);
        if (row.array == nullptr) continue;
        ++full;
        ExpectField(row.nested(), row, "ZvNestFieldPrimitive", row.box);
        ExpectField(row.several(), row, "ZvFieldPrimitiveArray", row.array);
    }
    EXPECT_EQ(full, 27);
}

TEST(ZvField, FieldsThatAFamilyHasNotAreNotRegistered) {
    for (const char* name : {"ZvNestFieldPrimitive<struct CG::vec3<int> >", "ZvFieldPrimitiveArray<struct CG::vec4<int> >",
                             "ZvNestFieldPrimitive<class ZvInterface$>", "ZvFieldPrimitiveArray<class ZvInterface *>"})
        EXPECT_EQ(ZvSystem::FindType(name), nullptr) << name;
}

TEST(ZvField, NumberOfAColourIsThatOfThreeFloats) {
    EXPECT_EQ(FieldOf("m_colour")->GetValueType(), 24);
    EXPECT_EQ(FieldOf("m_palette")->GetValueType(), 24);
    EXPECT_EQ(FieldOf("m_detail.deep.tint")->GetValueType(), 24);
    EXPECT_EQ(FieldOf("m_colour")->Type(), &ZvPrimitive<zvcolor>::s_type);
}

TEST(ZvField, SelectKnowsTheKindsFromOneToFortySix) {
    for (int number = -1; number <= 60; ++number) {
        SCOPED_TRACE(number);
        ZvType* box = ZvValue::FindType(static_cast<ZvValueType>(number));
        ZvField$ field = ZvSelectFieldPrimitive(&Body::s_type, "x", static_cast<ZvValueType>(number),
                                                zvc::detail::ObjectMember<Body>(&Body::m_count));
        const bool known = box != nullptr && number <= 46;
        ASSERT_EQ(bool(field), known);
        if (!known) continue;
        EXPECT_EQ(field->Type(), box);
        EXPECT_EQ(field->GetValueType(), number == 42 ? 24 : number);
        EXPECT_STREQ(field->Name()->CStr(), "x");
    }
}

TEST(ZvField, SelectOfUnknownNumbersGivesNull) {
    for (int number : {47, 4, 0, 49, 48, 45 + 256})
        EXPECT_EQ(ZvSelectFieldPrimitive(&Body::s_type, "x", static_cast<ZvValueType>(number), nullptr), nullptr) << number;
}

TEST(ZvField, SelectMakesTheFieldOfTheKind) {
    ZvField$ field = ZvSelectFieldPrimitive(&Body::s_type, "x", ZvVtVec3i, nullptr);
    EXPECT_STREQ(field->GetType()->GetName()->CStr(), "ZvFieldPrimitive<struct CG::vec3<int> >");
    ZvField$ colour = ZvSelectFieldPrimitive(&Body::s_type, "x", ZvVtColor, nullptr);
    EXPECT_STREQ(colour->GetType()->GetName()->CStr(), "ZvFieldPrimitive<struct zvcolor>");
    Body body;
    ZvField$ count = ZvSelectFieldPrimitive(&Body::s_type, "x", ZvVtInt32, zvc::detail::ObjectMember<Body>(&Body::m_count));
    EXPECT_EQ(EncodedMember(*count, body), "a003");
}

TEST(ZvField, GetValueBoxesTheMember) {
    Body body;
    ZvObject$ box = FieldOf("m_count")->GetValue(&body);
    EXPECT_EQ(box->GetType(), &ZvPrimitive<int>::s_type);
    EXPECT_TRUE(box->Equals(Box(3).Get()));
    EXPECT_EQ(box->ReferenceCount(), 1);
    EXPECT_TRUE(FieldOf("m_detail.lod")->GetValue(&body)->Equals(Box(4).Get()));
    EXPECT_TRUE(FieldOf("m_colour")->GetValue(&body)->Equals(Box(zvcolor(1, 0.5f, 0)).Get()));
    EXPECT_TRUE(FieldOf("m_tag")->GetValue(&body)->Equals(Box(5).Get()));
    EXPECT_TRUE(FieldOf("m_secret")->GetValue(&body)->Equals(Box(11).Get()));
}

TEST(ZvField, SetValueConvertsFromTheBoxesKind) {
    Body body;
    FieldOf("m_count")->SetValue(&body, Box(-7.9));
    EXPECT_EQ(body.m_count, -7);
    FieldOf("m_scale")->SetValue(&body, Box(4));
    EXPECT_EQ(body.m_scale, 4.0);
    FieldOf("m_detail.lod")->SetValue(&body, Box(true));
    EXPECT_EQ(body.m_detail.lod, 1);
    FieldOf("m_rows[1].value")->SetValue(&body, Box(70000));
    EXPECT_EQ(body.m_rows[1].value, 4464);
    EXPECT_EQ(body.m_rows[0].value, 0);
    FieldOf("m_secret")->SetValue(&body, Box(12));
    EXPECT_EQ(body.Secret(), 12);
}

TEST(ZvField, SetValueTakesColoursAndVectorsForAColour) {
    Body body;
    FieldOf("m_colour")->SetValue(&body, Box(CG::vec3<float>{0.25f, 0.5f, 0.75f}));
    EXPECT_EQ(body.m_colour.b, 0.75f);
    FieldOf("m_colour")->SetValue(&body, Box(zvcolor(3, 2, 1)));
    EXPECT_EQ(body.m_colour.r, 3.0f);
    FieldOf("m_colour")->SetValue(&body, Box(CG::vec3<double>{0.5, 0, 0}));
    EXPECT_EQ(body.m_colour.r, 0.5f);
}

TEST(ZvField, SetValueIgnoresWhatIsNoValue) {
    Body body;
    FieldOf("m_count")->SetValue(&body, ZvObject$(new ZvString("12")));
    FieldOf("m_count")->SetValue(&body, ZvObject$());
    EXPECT_EQ(body.m_count, 3);
}

TEST(ZvField, SetValueIgnoresValuesOfAnotherCount) {
    Body body;
    const int two[2] = {8, 9};
    FieldOf("m_count")->SetValue(&body, ZvObject$(new ZvPrimArray<int>(2, two)));
    EXPECT_EQ(body.m_count, 3);
    FieldOf("m_count")->SetValue(&body, ZvObject$(new ZvPrimArray<int>));
    EXPECT_EQ(body.m_count, 3);
    FieldOf("m_count")->SetValue(&body, ZvObject$(new ZvPrimArray<int>(1, two)));
    EXPECT_EQ(body.m_count, 8);
}

TEST(ZvField, SetValueOfARefusedKindStoresZero) {
    Body body;
    FieldOf("m_count")->SetValue(&body, Box(CG::vec2<float>{1, 2}));
    EXPECT_EQ(body.m_count, 0);
}

TEST(ZvField, ArrayFieldsBoxAllElements) {
    Body body;
    ZvHandle<ZvPrimArray<float>, ZvArrayValue$> array = FieldOf("m_weights")->GetValue(&body);
    ASSERT_TRUE(array);
    ASSERT_EQ(array->Count(), 3u);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(array->GetAt(i), body.m_weights[i]);

    body.m_palette[1] = zvcolor(1, 2, 3);
    ZvHandle<ZvPrimArray<zvcolor>, ZvArrayValue$> palette = FieldOf("m_palette")->GetValue(&body);
    ASSERT_EQ(palette->Count(), 2u);
    EXPECT_EQ(palette->GetAt(1).b, 3.0f);
}

TEST(ZvField, ArrayFieldsTakeArraysOfTheirLengthAlone) {
    Body body;
    const float two[2] = {8, 9};
    FieldOf("m_weights")->SetValue(&body, ZvObject$(new ZvPrimArray<float>(2, two)));
    FieldOf("m_weights")->SetValue(&body, Box(1.0f));
    FieldOf("m_weights")->SetValue(&body, ZvObject$(new ZvString("x")));
    EXPECT_EQ(body.m_weights[0], 1);
    EXPECT_EQ(body.m_weights[1], 2);
    EXPECT_EQ(body.m_weights[2], 3);
    const int three[3] = {7, 8, 9};
    FieldOf("m_weights")->SetValue(&body, ZvObject$(new ZvPrimArray<int>(3, three)));
    EXPECT_EQ(body.m_weights[0], 7);
    EXPECT_EQ(body.m_weights[2], 9);
}

TEST(ZvField, EncodeAndDecodePassTheMemberAlone) {
    Body body;
    EXPECT_EQ(EncodedMember(*FieldOf("m_count"), body), "a003");
    EXPECT_EQ(EncodedMember(*FieldOf("m_scale"), body), "000000000000e03f");
    EXPECT_EQ(EncodedMember(*FieldOf("m_weights"), body), "0000803f0000004000004040");
    EXPECT_EQ(EncodedMember(*FieldOf("m_colour"), body), "0000803f0000003f00000000");
    EXPECT_EQ(EncodedMember(*FieldOf("m_detail.lod"), body), "a004");
    EXPECT_EQ(EncodedMember(*FieldOf("m_detail.deep.tint"), body), "00000000000000000000803f");
    EXPECT_EQ(EncodedMember(*FieldOf("m_next"), body), "80");
    EXPECT_EQ(EncodedMember(*FieldOf("m_raw"), body), "80");
    EXPECT_EQ(EncodedMember(*FieldOf("m_interface"), body), "80");
    EXPECT_EQ(EncodedMember(*FieldOf("m_rawInterface"), body), "80");
    EXPECT_EQ(EncodedMember(*FieldOf("m_children"), body), "8080");

    DecodeMember(*FieldOf("m_count"), body, "a3ffffffff");
    EXPECT_EQ(body.m_count, -1);
    DecodeMember(*FieldOf("m_weights"), body, "000000400000803f00000000");
    EXPECT_EQ(body.m_weights[0], 2);
    EXPECT_EQ(body.m_weights[2], 0);
    DecodeMember(*FieldOf("m_detail.deep.tint"), body, "0000803f0000000000000000");
    EXPECT_EQ(body.m_detail.deep.tint.r, 1);
    DecodeMember(*FieldOf("m_colour"), body, "000000000000000000000040");
    EXPECT_EQ(body.m_colour.b, 2);
}

TEST(ZvField, FailuresOfTheCoderPassThrough) {
    Body body;
    ZvField$ field = FieldOf("m_count");
    EXPECT_THROW(DecodeMember(*field, body, "81"), ZvCoderException);
    EXPECT_EQ(body.m_count, 3);
}

TEST(ZvField, ObjectHandlesAreCounted) {
    Body body;
    ZvObject$ object = new ZvString("next");
    FieldOf("m_next")->SetValue(&body, Box(object));
    EXPECT_EQ(body.m_next.Get(), object.Get());
    EXPECT_EQ(object->ReferenceCount(), 2);
    {
        ZvObject$ box = FieldOf("m_next")->GetValue(&body);
        EXPECT_EQ(box->GetType(), &ZvPrimitive<ZvObject$>::s_type);
        EXPECT_EQ(object->ReferenceCount(), 3);
    }
    FieldOf("m_next")->SetValue(&body, Box(ZvObject$()));
    EXPECT_TRUE(!body.m_next);
    EXPECT_EQ(object->ReferenceCount(), 1);
}

TEST(ZvField, ArraysOfHandlesAreCounted) {
    Body body;
    ZvObject$ object = new ZvString("child");
    body.m_children[1] = object;
    {
        ZvObject$ array = FieldOf("m_children")->GetValue(&body);
        EXPECT_EQ(object->ReferenceCount(), 3);
        body.m_children[1] = nullptr;
        FieldOf("m_children")->SetValue(&body, array);
        EXPECT_EQ(body.m_children[1].Get(), object.Get());
        EXPECT_EQ(object->ReferenceCount(), 3);
    }
    EXPECT_EQ(object->ReferenceCount(), 2);
}

TEST(ZvField, PointersAreNotCounted) {
    Body body;
    ZvObject$ object = new ZvString("raw");
    FieldOf("m_raw")->SetValue(&body, Box(object.Get()));
    EXPECT_EQ(body.m_raw, object.Get());
    EXPECT_EQ(object->ReferenceCount(), 1);
    ZvObject$ box = FieldOf("m_raw")->GetValue(&body);
    EXPECT_EQ(object->ReferenceCount(), 1);
}

TEST(ZvField, InterfaceMembersAreClearedByAnyValue) {
    Body body;
    ZvObject$ list = new ZvArrayList;
    body.m_interface = ZvInterface$(list);
    body.m_rawInterface = body.m_interface.Get();
    ASSERT_TRUE(body.m_interface);
    EXPECT_EQ(list->ReferenceCount(), 2);
    ZvValue$ box = FieldOf("m_interface")->GetValue(&body);       // and their box is empty
    ZvInterface$ held;
    ASSERT_TRUE(box->GetValue(&held, ZvVtObjectRef, 0));
    EXPECT_TRUE(!held);
    FieldOf("m_interface")->SetValue(&body, ZvObject$(new ZvPrimitive<ZvInterface$>(body.m_interface)));
    EXPECT_TRUE(!body.m_interface);
    EXPECT_EQ(list->ReferenceCount(), 1);
    FieldOf("m_rawInterface")->SetValue(&body, ZvObject$(new ZvPrimitive<int>(1)));
    EXPECT_EQ(body.m_rawInterface, nullptr);
}

TEST(ZvField, SpecialHandlesAreObjectReferences) {
    Body body;
    ZvField$ field = FieldOf("m_title");
    EXPECT_EQ(field->Type(), &ZvPrimitive<ZvObject$>::s_type);
    EXPECT_EQ(field->GetValueType(), ZvVtObjectRef);
    ZvString$ title = new ZvString("title");
    field->SetValue(&body, Box(ZvObject$(title)));
    EXPECT_EQ(body.m_title.Get(), title.Get());
    EXPECT_EQ(title->ReferenceCount(), 2);
    ZvObject$ out;
    ASSERT_TRUE(ZvValue$(field->GetValue(&body))->GetValue(&out, ZvVtObjectRef, 0));
    EXPECT_EQ(out.Get(), title.Get());
    FieldOf("m_detail.label")->SetValue(&body, Box(ZvObject$(title)));
    EXPECT_EQ(body.m_detail.label.Get(), title.Get());

    Body read;
    DecodeMember(*field, read, EncodedMember(*field, body));
    ASSERT_TRUE(read.m_title);
    EXPECT_STREQ(read.m_title->CStr(), "title");
    ZvField$ label = FieldOf("m_detail.label");
    DecodeMember(*label, read, EncodedMember(*label, body));
    ASSERT_TRUE(read.m_detail.label);
    EXPECT_STREQ(read.m_detail.label->CStr(), "title");
}

TEST(ZvField, SpecialHandlesNeverTakeObjectsOfAnotherClass) {
    Body body;
    body.m_next = new ZvPrimitive<int>(5);
    const std::string number = EncodedMember(*FieldOf("m_next"), body);
    for (const char* name : {"m_title", "m_detail.label"}) {
        SCOPED_TRACE(name);
        ZvField$ field = FieldOf(name);
        body.m_title = new ZvString("before");
        body.m_detail.label = body.m_title;
        field->SetValue(&body, Box(body.m_next));
        EXPECT_TRUE(name == std::string("m_title") ? !body.m_title : !body.m_detail.label);
        body.m_title = new ZvString("before");
        body.m_detail.label = body.m_title;
        DecodeMember(*field, body, number);
        EXPECT_TRUE(name == std::string("m_title") ? !body.m_title : !body.m_detail.label);
    }
    body.m_list = ZvIList$(ZvObject$(new ZvArrayList));
    ASSERT_TRUE(body.m_list);
    body.m_next = new ZvHashSet;                                   // another interface line
    DecodeMember(*FieldOf("m_list"), body, EncodedMember(*FieldOf("m_next"), body));
    EXPECT_TRUE(!body.m_list);
}

TEST(ZvField, SpecialInterfaceHandlesComeBack) {
    Body body;
    body.m_list = ZvIList$(ZvObject$(new ZvArrayList));
    body.m_list->Add(Box(3));
    ZvField$ field = FieldOf("m_list");
    EXPECT_EQ(field->GetValueType(), ZvVtInterface);
    Body read;
    DecodeMember(*field, read, EncodedMember(*field, body));
    ASSERT_TRUE(read.m_list);
    EXPECT_EQ(ZvObject$(read.m_list)->GetType(), &ZvArrayList::s_type);
    field->SetValue(&read, ZvObject$(new ZvPrimitive<ZvInterface$>(body.m_list)));
    EXPECT_TRUE(!read.m_list);
}

TEST(ZvField, SpecialHandlesStayCheckedInClones) {
    ZvField$ clone = ZvObject$(FieldOf("m_title")->Clone());
    Body body;
    body.m_title = new ZvString("before");
    clone->SetValue(&body, Box(ZvObject$(new ZvPrimitive<int>(5))));
    EXPECT_TRUE(!body.m_title);
}

TEST(ZvField, ToStringNamesOwnerAndMember) {
    ZvField$ field = FieldOf("m_weights");
    ZvString$ text = new ZvString;
    text->Format("address[0x%p] \"field_test::Body.m_weights\"", static_cast<void*>(field.Get()));
    EXPECT_STREQ(field->ToString()->CStr(), text->CStr());
}

TEST(ZvField, ToStringOfSingleFieldsEndsInTheOffset) {
    const Body body;
    const auto offset = [&](const void* member) {
        return reinterpret_cast<void*>(reinterpret_cast<uintptr_t>(member) - reinterpret_cast<uintptr_t>(&body));
    };
    const struct {
        const char* name;
        const void* member;
    } cases[] = {{"m_count", &body.m_count}, {"m_detail.lod", &body.m_detail.lod}, {"m_rows[1].value", &body.m_rows[1].value},
                 {"m_tag", &body.m_tag}, {"m_title", &body.m_title}};
    for (const auto& c : cases) {
        ZvField$ field = FieldOf(c.name);
        ASSERT_TRUE(field) << c.name;
        ZvString$ text = new ZvString;
        text->Format("address[0x%p] \"field_test::Body.%s\" mem_ptr = 0x%p", static_cast<void*>(field.Get()), c.name,
                     offset(c.member));
        EXPECT_STREQ(field->ToString()->CStr(), text->CStr());
    }
}

TEST(ZvField, NamesAreInterned) { EXPECT_EQ(FieldOf("m_count")->Name().Get(), $L("m_count").Get()); }

TEST(ZvField, SetDefaultDoesNothing) {
    Body body;
    FieldOf("m_count")->SetDefault(&body);
    EXPECT_EQ(body.m_count, 3);
}

TEST(ZvFieldMap, TablesKeepTheOrderAndTheNamesAsWritten) {
    ZvFieldMap* map = Body::GetFieldMap();
    EXPECT_EQ(map, Body::GetFieldMap());
    EXPECT_EQ(map, Body::s_type.GetFieldMap());
    EXPECT_EQ(map->Length(), 18);
    ZvDictionary$ infos = new ZvDictionary;
    map->GetFieldInfos(infos);
    EXPECT_EQ(infos->Count(), 18u);
    for (const char* name : {"m_count", "m_detail.lod", "m_detail.deep.tint", "m_rows[1].value", "m_secret"})
        EXPECT_TRUE(infos->Contains(new ZvString(name))) << name;
}

TEST(ZvFieldMap, AnEmptyTableHasNoFields) {
    EXPECT_EQ(Bare::GetFieldMap()->Length(), 0);
    EXPECT_EQ(Bare::s_type.GetFields()->Count(), 0u);
}

TEST(ZvFieldMap, InfosAreClones) {
    ZvDictionary$ first = new ZvDictionary;
    ZvDictionary$ second = new ZvDictionary;
    Body::GetFieldMap()->GetFieldInfos(first);
    Body::GetFieldMap()->GetFieldInfos(second);
    ZvObject$ name = new ZvString("m_count");
    EXPECT_NE(first->Find(name).Get(), second->Find(name).Get());
    EXPECT_EQ(first->Find(name)->ReferenceCount(), 2);          // the dictionary's and this one
}

TEST(ZvFieldMap, ValuesAreBoxes) {
    Body body;
    ZvDictionary$ values = new ZvDictionary;
    Body::GetFieldMap()->GetFieldValues(&body, values);
    EXPECT_EQ(values->Count(), 18u);
    EXPECT_TRUE(values->Find(new ZvString("m_count"))->Equals(Box(3).Get()));
}

TEST(ZvFieldMap, MapsOwnTheirFieldsWhateverTheirCounts) {
    int deleted = 0;
    class Counting : public ZvFieldPrimitive<int> {
    public:
        explicit Counting(int& deletions)
            : ZvFieldPrimitive<int>(&Body::s_type, "c", zvc::detail::ObjectMember<Body>(&Body::m_count)), m_deletions(deletions) {}
        ~Counting() override { ++m_deletions; }

    private:
        int& m_deletions;
    };
    ZvField* table[] = {new Counting(deleted), new Counting(deleted), nullptr};
    table[0]->Retain();
    {
        ZvFieldMap map(table);
        table[1] = nullptr;                                      // the map has a table of its own
        EXPECT_EQ(map.Length(), 2);
        const ZvFieldMap copy(map);
        EXPECT_EQ(copy.Length(), 2);
        ZvField* none[] = {nullptr};
        ZvFieldMap assigned(none);
        EXPECT_EQ(assigned.Length(), 0);
        assigned = map;
        EXPECT_EQ(assigned.Length(), 2);
    }
    EXPECT_EQ(deleted, 2);
}

TEST(ZvField, CacheHoldsOwnAndInheritedFields) {
    ZvDictionary$ fields = Derived::s_type.GetFields();
    EXPECT_EQ(fields->Count(), 19u);
    EXPECT_TRUE(Derived::s_type.FindField(new ZvString("m_more")));
    EXPECT_TRUE(Derived::s_type.FindField(new ZvString("m_weights")));
    EXPECT_FALSE(Derived::s_type.FindField(new ZvString("m_nothing")));
}

TEST(ZvField, AFieldOfTheBaseReplacesOneOfTheSameName) {
    EXPECT_EQ(Derived::s_type.FindField(new ZvString("m_count"))->GetValueType(), ZvVtInt32);
}

TEST(ZvField, ObjectsGiveTheirFieldValues) {
    Derived object;
    object.Body::m_count = 8;
    ZvDictionary$ values = object.GetFieldValues();
    EXPECT_EQ(values->Count(), 19u);
    EXPECT_TRUE(values->Find(new ZvString("m_count"))->Equals(Box(8).Get()));
    EXPECT_TRUE(values->Find(new ZvString("m_more"))->Equals(Box(1ll).Get()));
}

TEST(ZvField, TraverseFollowsDirectHandlesAlone) {
    struct Visitor : ZvTraverser {
        bool OnEnter(ZvObject$& o) override {
            entered.push_back(o.Get());
            return true;
        }
        void OnLeave(ZvObject$&) override {}
        std::vector<ZvObject*> entered;
    };
    Body$ body = new Body;
    body->m_next = new ZvString("next");
    body->m_title = new ZvString("title");
    body->m_detail.label = new ZvString("label");
    body->m_children[0] = new ZvString("child");
    ZvObject$ raw = new ZvString("raw");
    body->m_raw = raw.Get();
    Visitor visitor;
    ZvObject$ root = body;
    for (const char* name : {"m_count", "m_next", "m_title", "m_detail.label", "m_children", "m_raw", "m_interface"})
        FieldOf(name)->Traverse(visitor, root);
    EXPECT_EQ(visitor.entered, (std::vector<ZvObject*>{body->m_next.Get(), body->m_title.Get()}));
}

TEST(ZvField, AVisitorCannotPutAnotherClassIntoASpecialHandle) {
    struct Visitor : ZvTraverser {
        bool OnEnter(ZvObject$& o) override {
            o = new ZvPrimitive<int>(1);
            return false;
        }
        void OnLeave(ZvObject$&) override {}
    };
    Body$ body = new Body;
    body->m_title = new ZvString("title");
    Visitor visitor;
    ZvObject$ root = body;
    FieldOf("m_title")->Traverse(visitor, root);
    EXPECT_TRUE(!body->m_title);
}

TEST(ZvFieldMap, HasADescriptorOfItsOwn) {
    ZvField* none[] = {nullptr};
    const ZvFieldMap map(none);
    EXPECT_EQ(map.GetType(), &ZvFieldMap::s_type);
    EXPECT_EQ(ZvSystem::FindType("ZvFieldMap"), &ZvFieldMap::s_type);
    EXPECT_EQ(ZvFieldMap::s_type.GetBaseType(), &ZvObject::s_type);
    EXPECT_EQ(ZvFieldMap::s_type.GetSchema(), 0x80000001u);
    EXPECT_EQ(ZvFieldMap::s_type.GetClassSpec(), 1u);
    EXPECT_EQ(ZvFieldMap::s_type.CreateObject(), nullptr);
}
