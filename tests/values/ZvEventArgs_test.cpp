#include "zvc/values/ZvEventArgs.h"

#include <zvc/zvc.h>

#include <gtest/gtest.h>

TEST(ZvEventArgs, IsEmptyAndReflected) {
    ZvEventArgs args;
    ZvEventArgs copy(args);
    copy = args;
    EXPECT_EQ(args.GetType(), &ZvEventArgs::s_type);
    EXPECT_EQ(ZvSystem::FindType("ZvEventArgs"), &ZvEventArgs::s_type);
    EXPECT_EQ(sizeof(ZvEventArgs), sizeof(ZvObject));
    EXPECT_EQ(ZvEventArgs::GetFieldMap()->Length(), 0);
    EXPECT_EQ(ZvEventArgs::GetMethodMap()->GetNumMethod(), 0u);
    EXPECT_EQ(ZvEventArgs::GetConstructorMap()->GetNumConstructors(), 0u);
}

TEST(ZvEventArgs, CannotBeMadeByName) {
    EXPECT_EQ(ZvEventArgs::s_type.CreateObject(), nullptr);
    EXPECT_EQ(ZvEventArgs::s_type.GetSchema(), 0x80000001u);
    EXPECT_EQ(ZvEventArgs::s_type.GetClassSpec(), 1u);
    EXPECT_FALSE(ZvEventArgs::s_type.HasCodec());
}

TEST(ZvEventArgs, KeepsTheIdentityOfAnObject) {
    ZvEventArgs$ a = new ZvEventArgs, b = new ZvEventArgs;
    EXPECT_TRUE(a->Equals(a.Get()));
    EXPECT_FALSE(a->Equals(b.Get()));
    EXPECT_EQ(a->Clone(), nullptr);
    EXPECT_EQ(*a->ToString(), "ZvEventArgs");
}
