#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include <array>
#include <type_traits>

namespace {

/// count scalars without gaps, copied as bytes, and the names under which the boxes and arrays of them are stored.
template <class T, class Scalar>
void ExpectRecord(size_t count, const char* box, const char* array) {
    EXPECT_EQ(sizeof(T), count * sizeof(Scalar)) << box;
    EXPECT_EQ(alignof(T), alignof(Scalar)) << box;
    EXPECT_TRUE(std::is_trivially_copyable_v<T>) << box;
    EXPECT_TRUE(std::is_standard_layout_v<T>) << box;
    EXPECT_FALSE(std::is_polymorphic_v<T>) << box;
    EXPECT_EQ(*ZvPrimitive<T>::s_type.GetName(), box);
    EXPECT_EQ(*ZvPrimArray<T>::s_type.GetName(), array);
}

}

TEST(CG, RecordsAreTheirScalarsAndNothingElse) {
    ExpectRecord<CG::vec2<int>, int>(2, "ZvVec2i", "ZvVec2iArray");
    ExpectRecord<CG::vec2<float>, float>(2, "ZvVec2f", "ZvVec2fArray");
    ExpectRecord<CG::vec2<double>, double>(2, "ZvVec2d", "ZvVec2dArray");
    ExpectRecord<CG::vec3<int>, int>(3, "ZvVec3i", "ZvVec3iArray");
    ExpectRecord<CG::vec3<float>, float>(3, "ZvVec3f", "ZvVec3fArray");
    ExpectRecord<CG::vec3<double>, double>(3, "ZvVec3d", "ZvVec3dArray");
    ExpectRecord<CG::vec4<int>, int>(4, "ZvVec4i", "ZvVec4iArray");
    ExpectRecord<CG::vec4<float>, float>(4, "ZvVec4f", "ZvVec4fArray");
    ExpectRecord<CG::vec4<double>, double>(4, "ZvVec4d", "ZvVec4dArray");
    ExpectRecord<CG::mat3<float>, float>(9, "ZvMat3f", "ZvMat3fArray");
    ExpectRecord<CG::mat3<double>, double>(9, "ZvMat3d", "ZvMat3dArray");
    ExpectRecord<CG::mat4<float>, float>(16, "ZvMat4f", "ZvMat4fArray");
    ExpectRecord<CG::mat4<double>, double>(16, "ZvMat4d", "ZvMat4dArray");
    ExpectRecord<CG::rotation<float>, float>(4, "ZvRotf", "ZvRotfArray");
    ExpectRecord<CG::rotation<double>, double>(4, "ZvRotd", "ZvRotdArray");
    EXPECT_EQ(sizeof(zvcolor), 3 * sizeof(float));
    EXPECT_EQ(*ZvPrimitive<zvcolor>::s_type.GetName(), "ZvColor");
    EXPECT_EQ(*ZvPrimArray<zvcolor>::s_type.GetName(), "ZvColorArray");
}

TEST(CG, MembersStandInTheOrderOfTheScalars) {
    const CG::vec4<int> v{1, 2, 3, 4};
    EXPECT_EQ((std::array{v.x, v.y, v.z, v.w}), (std::array{1, 2, 3, 4}));
    const CG::rotation<double> r{0.5, {1, 2, 3}};
    EXPECT_EQ(*reinterpret_cast<const double*>(&r), 0.5);
    EXPECT_EQ(reinterpret_cast<const double*>(&r)[3], 3.0);
}

TEST(CG, TextIsTheScalarsWithABlankBetweenTwo) {
    CG::mat3<float> m{};
    for (int i = 0; i < 9; ++i) reinterpret_cast<float*>(&m)[i] = static_cast<float>(i) + 0.5f;
    EXPECT_EQ(*ZvPrimitive<CG::mat3<float>>(m).ToString(), "0.5 1.5 2.5 3.5 4.5 5.5 6.5 7.5 8.5");
    EXPECT_EQ(*ZvPrimitive<CG::rotation<float>>({0.25f, {1, 2, 3}}).ToString(), "0.25 1 2 3");
    EXPECT_EQ(*ZvPrimitive<CG::vec2<int>>({-1, 7}).ToString(), "-1 7");
}
