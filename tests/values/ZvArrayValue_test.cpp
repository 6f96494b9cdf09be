#include "zvc/values/ZvArrayValue.h"

#include <gtest/gtest.h>

namespace {

/// An array of a program's own, with no more than what has no default.
class FourBytes : public ZvArrayValue {
    ZV_DECLARE_CLASS(FourBytes)
public:
    bool SetValue(const void*, ZvValueType, int) override { return false; }
    bool GetValue(void*, ZvValueType, int) const override { return false; }
    void* GetBaseAddress() override { return m_bytes; }
    void* GetBaseAddress() const override { return const_cast<char*>(m_bytes); }

private:
    char m_bytes[4]{};
};

}

ZV_DEFINE_CLASS(FourBytes, (ZvArrayValue))

TEST(ZvArrayValue, LeavesCountAsItIsInAValue) {
    FourBytes bytes;
    const ZvArrayValue& array = bytes;
    EXPECT_EQ(array.Count(), 1u);
}

TEST(ZvArrayValue, GivesTheStorageInBothForms) {
    FourBytes bytes;
    ZvArrayValue& array = bytes;
    const ZvArrayValue& constant = bytes;
    EXPECT_NE(array.GetBaseAddress(), nullptr);
    EXPECT_EQ(constant.GetBaseAddress(), array.GetBaseAddress());
}

TEST(ZvArrayValue, CannotBeMadeByName) {
    EXPECT_EQ(ZvArrayValue::s_type.GetBaseType(), &ZvValue::s_type);
    EXPECT_EQ(ZvArrayValue::s_type.CreateObject(), nullptr);
}
