#include <zvc/zvc.h>

#include "support/Slots.h"

#include <gtest/gtest.h>

TEST(ZvException, CopySharesTheMessage) {
    ZvBadCastException e("no");
    ZvBadCastException copy(e);
    EXPECT_TRUE(e.What() == copy.What());
    EXPECT_EQ(*e.What(), "no");
    EXPECT_TRUE(!ZvException().What());
    EXPECT_EQ(ZvPluginUnloadedException::s_type.GetBaseType(), &ZvException::s_type);
    EXPECT_EQ(ZvBadAllocException::s_type.GetBaseType(), &ZvException::s_type);
}


template <class Exception>
class ExceptionTest : public testing::Test {};
using Exceptions = testing::Types<ZvBadCastException, ZvBadAllocException, ZvPluginUnloadedException, ZvChannelException,
                                  ZvCodecException, ZvImageUnloadedException, ZvSharedMemoryException>;
TYPED_TEST_SUITE(ExceptionTest, Exceptions);

TYPED_TEST(ExceptionTest, IsThrownByValueAndCaughtAsItsRoots) {
    EXPECT_EQ(TypeParam::s_type.GetBaseType(), &ZvException::s_type);
    EXPECT_THROW(throw TypeParam("as itself"), TypeParam);
    try {
        throw TypeParam("as an exception");
    } catch (ZvException& e) {
        EXPECT_EQ(*e.What(), "as an exception");
        EXPECT_EQ(e.GetType(), &TypeParam::s_type);
        EXPECT_EQ(e.ReferenceCount(), 0);         // the object itself was thrown, and nobody owns it
    }
    try {
        throw TypeParam("as an object");
    } catch (ZvObject& o) {
        EXPECT_EQ(o.GetType(), &TypeParam::s_type);
    }
}

TYPED_TEST(ExceptionTest, CopySharesTheMessage) {
    TypeParam e("shared");
    TypeParam copy(e);
    EXPECT_TRUE(e.What() == copy.What());
    EXPECT_EQ(copy.What()->ReferenceCount(), 3);  // two exceptions, and the one that is asked
}

TEST(ZvException, MessageIsANewString) {
    const char text[] = "text";
    ZvException a(text), b(text);
    EXPECT_EQ(*a.What(), "text");
    EXPECT_FALSE(a.What() == b.What());
}

TEST(ZvException, CopyOfOneWithoutAMessageHasNone) {
    ZvException none;
    ZvException copy(none);
    EXPECT_TRUE(!copy.What());
}

TEST(ZvException, WhatStandsBehindTheOperationsOfEveryClass) {
    EXPECT_EQ(SlotOf(&ZvException::What), 13u);
    EXPECT_EQ(SlotOf(&ZvException::Release), 12u);
}
