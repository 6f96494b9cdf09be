#include "support/Cases.h"
#include "support/Slots.h"

#include <atomic>
#include <thread>

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

TEST(ZvObjectIDGenerator, OperationsStandInTheirSlots) {
    constexpr size_t before = 12;                        // what every class has, in front of the first of its own
    EXPECT_EQ(SlotOf(&ZvObjectIDGenerator::GetId), before + 1);
    EXPECT_EQ(SlotOf(&ZvObjectIDGenerator::HasId), before + 2);
}

TEST(ZvObjectIDGenerator, ThreadsShareOneNumbering) {
    ZvObjectIDGenerator generator;
    std::vector<ZvObject$> objects(2000);
    for (ZvObject$& o : objects) o = new ZvObject;
    std::atomic<int> entered = 0;
    std::atomic<bool> agree = true;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (const ZvObject$& o : objects) {
                bool first = false;
                const long long id = generator.GetId(o.Get(), &first);
                entered += first;
                if (generator.HasId(o.Get(), &first) != id || first) agree = false;
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(entered, 2000);                            // each object entered by one of the threads
    EXPECT_TRUE(agree);
    std::set<long long> ids;
    for (const ZvObject$& o : objects) ids.insert(generator.HasId(o.Get(), nullptr));
    EXPECT_EQ(ids.size(), 2000u);
    EXPECT_EQ(*ids.begin(), 1);
    EXPECT_EQ(*ids.rbegin(), 2000);                      // no gaps
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
