#include "zvc/values/ZvVoid.h"

#include "tests/values/EncodedBytes.h"
#include "zvc/core/ZvSystem.h"
#include "zvc/values/ZvPrimitive.h"

#include <gtest/gtest.h>

TEST(ZvVoid, IsRegistered) {
    EXPECT_EQ(ZvSystem::FindType("ZvVoid"), &ZvVoid::s_type);
    EXPECT_STREQ(ZvVoid::s_type.GetName()->CStr(), "ZvVoid");
    EXPECT_EQ(ZvVoid::s_type.GetSchema(), 0x80000001u);
    EXPECT_EQ(ZvVoid::s_type.GetClassSpec(), 2u);
    EXPECT_TRUE(ZvVoid::s_type.HasCodec());
    EXPECT_TRUE(ZvVoid::s_type.TypeID() == typeid(void));
    EXPECT_EQ(ZvVoid::s_type.GetBaseType(), &ZvValue::s_type);
}

TEST(ZvVoid, HoldsNothing) {
    ZvVoid nothing, fromPointer(&nothing), copy(nothing);
    for (ZvVoid* v : {&nothing, &fromPointer, &copy}) {
        EXPECT_EQ(v->Count(), 0u);
        int number = 5;
        for (int kind = 0; kind < 64; ++kind) {
            EXPECT_FALSE(v->SetValue(&number, static_cast<ZvValueType>(kind), 0));
            EXPECT_FALSE(v->GetValue(&number, static_cast<ZvValueType>(kind), 0));
        }
        v->SetValue(static_cast<const void*>(&number));
        v->GetValue(&number);
        EXPECT_EQ(number, 5);
        EXPECT_FALSE(v->SetValue(ZvPrimitive<int>(1)));
    }
}

TEST(ZvVoid, CreateGivesANewOne) {
    const ZvObject$ a = ZvVoid::Create(), b = ZvVoid::s_type.CreateObject();
    EXPECT_EQ(a->GetType(), &ZvVoid::s_type);
    EXPECT_EQ(b->GetType(), &ZvVoid::s_type);
    EXPECT_NE(a.Get(), b.Get());
    const ZvObject$ clone = a->Clone();
    EXPECT_EQ(clone->GetType(), &ZvVoid::s_type);
}

TEST(ZvVoid, HasNoContentInAStream) {
    EXPECT_EQ(encoded::Of(ZvVoid()), "");
    ZvVoid nothing;
    encoded::ReadFrom("0102", [&](ZvStream$& stream, ZvCoder* coder) {
        nothing.Decode(stream, coder);
        EXPECT_EQ(stream->Tellg(), 0);
    });
}
