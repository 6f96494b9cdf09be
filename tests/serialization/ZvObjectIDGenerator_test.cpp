#include "support/Cases.h"

using namespace cases;

TEST(ZvObjectIDGenerator, GetIdTwiceGivesOneIdFirstTimeTrueThenFalse) {
    ZvObjectIDGenerator generator;
    const ZvObject$ o = new ZvObject;
    bool first = false;
    EXPECT_EQ(generator.GetId(o.Get(), &first), 1);
    EXPECT_TRUE(first);
    EXPECT_EQ(generator.GetId(o.Get(), &first), 1);
    EXPECT_FALSE(first);
}

TEST(ZvObjectIDGenerator, HasIdOfANewObjectGivesZeroAndEntersNothing) {
    ZvObjectIDGenerator generator;
    const ZvObject$ a = new ZvObject, b = new ZvObject;
    bool first = false;
    EXPECT_EQ(generator.HasId(a.Get(), &first), 0);
    EXPECT_TRUE(first);                                  // true means not known
    EXPECT_EQ(generator.GetId(b.Get(), nullptr), 1);     // as if HasId had not been called
    EXPECT_EQ(generator.GetId(a.Get(), &first), 2);
    EXPECT_TRUE(first);
    EXPECT_EQ(generator.HasId(a.Get(), &first), 2);
    EXPECT_FALSE(first);
}

TEST(ZvObjectIDGenerator, NullHasIdZeroFromTheStart) {
    ZvObjectIDGenerator generator;
    bool first = true;
    EXPECT_EQ(generator.GetId(nullptr, &first), 0);
    EXPECT_FALSE(first);
    first = true;
    EXPECT_EQ(generator.HasId(nullptr, &first), 0);
    EXPECT_FALSE(first);
}

TEST(ZvObjectIDGenerator, FirstTimeMayBeNull) {
    ZvObjectIDGenerator generator;
    const ZvObject$ o = new ZvObject;
    EXPECT_EQ(generator.HasId(o.Get(), nullptr), 0);
    EXPECT_EQ(generator.GetId(o.Get(), nullptr), 1);
    EXPECT_EQ(generator.HasId(o.Get(), nullptr), 1);
}

TEST(ZvObjectIDGenerator, HoldsNoReference) {
    ZvObjectIDGenerator generator;
    const ZvObject$ o = new ZvObject;
    generator.GetId(o.Get(), nullptr);
    EXPECT_EQ(o->ReferenceCount(), 1);
}

TEST(ZvObjectIDGenerator, IdsHaveNoGapsAcrossGrowth) {
    ZvObjectIDGenerator generator;
    std::vector<ZvObject$> objects(5000);
    for (ZvObject$& o : objects) o = new ZvObject;
    for (size_t i = 0; i < objects.size(); ++i) ASSERT_EQ(generator.GetId(objects[i].Get(), nullptr), static_cast<long long>(i + 1));
    for (size_t i = 0; i < objects.size(); ++i) ASSERT_EQ(generator.HasId(objects[i].Get(), nullptr), static_cast<long long>(i + 1));
}

TEST(ZvObjectIDGenerator, CopiesGoOnByThemselves) {
    ZvObjectIDGenerator generator;
    const ZvObject$ a = new ZvObject, b = new ZvObject, c = new ZvObject;
    generator.GetId(a.Get(), nullptr);
    ZvObjectIDGenerator copy(generator), assigned;
    assigned.GetId(c.Get(), nullptr);
    assigned = generator;
    EXPECT_EQ(copy.GetId(b.Get(), nullptr), 2);
    EXPECT_EQ(assigned.HasId(c.Get(), nullptr), 0);
    EXPECT_EQ(assigned.HasId(a.Get(), nullptr), 1);
    EXPECT_EQ(generator.HasId(b.Get(), nullptr), 0);
    EXPECT_EQ(generator.GetId(c.Get(), nullptr), 2);
    ZvObjectIDGenerator& itself = assigned;
    assigned = itself;
    EXPECT_EQ(assigned.HasId(a.Get(), nullptr), 1);
}

TEST(ZvObjectIDGenerator, IsAPlainClassOfTheLibrary) {
    const ZvObjectIDGenerator$ generator = new ZvObjectIDGenerator;
    EXPECT_EQ(*generator->GetType()->GetName(), "ZvObjectIDGenerator");
    EXPECT_EQ(generator->GetType()->GetSchema(), 0x80000001u);
    EXPECT_FALSE(generator->GetType()->HasCodec());
    EXPECT_EQ(generator->GetType()->CreateObject(), nullptr);
}

TEST(ZvObjectIDGenerator, ComputedCases) {
    for (const Json& c : Group("idgenerator", "generator")) {
        ZvObjectIDGenerator generator;
        std::map<std::string, ZvObject$> objects;
        for (size_t i = 0; i < c["steps"].size(); ++i) {
            const std::string name = c["steps"][i][1];
            if (name != "-" && !objects[name]) objects[name] = new ZvObject;
            ZvObject* o = name == "-" ? nullptr : objects[name].Get();
            bool first = !c["out"][i][1].get<bool>();
            const long long id = c["steps"][i][0] == "get" ? generator.GetId(o, &first) : generator.HasId(o, &first);
            EXPECT_EQ(id, c["out"][i][0].get<long long>()) << c["name"] << i;
            EXPECT_EQ(first, c["out"][i][1].get<bool>()) << c["name"] << i;
        }
    }
}
