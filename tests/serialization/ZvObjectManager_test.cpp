#include "support/Cases.h"

#include <thread>

using namespace cases;

TEST(ZvObjectManager, IdZeroAndIdsThatAreNotThereAreNull) {
    ZvObjectManager manager;
    EXPECT_EQ(manager.GetObjectA(0), nullptr);
    EXPECT_EQ(manager.GetObjectA(-1), nullptr);
    EXPECT_EQ(manager.GetObjectA(1), nullptr);
    EXPECT_EQ(manager.GetObjectA(1LL << 62), nullptr);
}

TEST(ZvObjectManager, RegisteredObjectIsFoundWithoutANewReference) {
    ZvObjectManager manager;
    const ZvObject$ a = new ZvObject;
    manager.RegistObject(a.Get(), 1);
    EXPECT_EQ(a->ReferenceCount(), 2);
    EXPECT_EQ(manager.GetObjectA(1), a.Get());
    EXPECT_EQ(a->ReferenceCount(), 2);
}

TEST(ZvObjectManager, TakenIdMovesItsEntryUp) {
    ZvObjectManager manager;
    const ZvObject$ a = new ZvObject, b = new ZvObject, c = new ZvObject;
    manager.RegistObject(a.Get(), 1);
    manager.RegistObject(c.Get(), 2);
    manager.RegistObject(b.Get(), 1);
    EXPECT_EQ(manager.GetObjectA(1), b.Get());
    EXPECT_EQ(manager.GetObjectA(2), a.Get());
    EXPECT_EQ(manager.GetObjectA(3), c.Get());
    EXPECT_EQ(manager.GetObjectA(4), nullptr);
}

TEST(ZvObjectManager, KeepsItsObjectsUntilItEnds) {
    const ZvObject$ a = new ZvObject;
    {
        ZvObjectManager manager;
        manager.RegistObject(a.Get(), 1);
        manager.RegistObject(a.Get(), 2);
        EXPECT_EQ(a->ReferenceCount(), 3);
    }
    EXPECT_EQ(a->ReferenceCount(), 1);
}

TEST(ZvObjectManager, CopiesHoldReferencesOfTheirOwn) {
    const ZvObject$ a = new ZvObject, b = new ZvObject;
    ZvObjectManager manager;
    manager.RegistObject(a.Get(), 1);
    ZvObjectManager copy(manager), assigned;
    assigned.RegistObject(b.Get(), 1);
    assigned = manager;
    EXPECT_EQ(a->ReferenceCount(), 4);
    EXPECT_EQ(b->ReferenceCount(), 1);
    copy.RegistObject(b.Get(), 2);
    EXPECT_EQ(manager.GetObjectA(2), nullptr);
    EXPECT_EQ(copy.GetObjectA(2), b.Get());
    EXPECT_EQ(assigned.GetObjectA(1), a.Get());
}

TEST(ZvObjectManager, ThreadsRegisterAndFindSideBySide) {
    ZvObjectManager manager;
    const ZvObject$ a = new ZvObject;
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 1000; ++i) {
                manager.RegistObject(a.Get(), 1);
                EXPECT_EQ(manager.GetObjectA(1), a.Get());
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(manager.GetObjectA(2000), a.Get());
    EXPECT_EQ(manager.GetObjectA(2001), nullptr);
    EXPECT_EQ(a->ReferenceCount(), 2001);
}

TEST(ZvObjectManager, ComputedCases) {
    for (const Json& c : Group("idgenerator", "manager")) {
        ZvObjectManager manager;
        std::map<std::string, ZvObject$> objects;
        const auto object = [&](const Json& name) {
            if (name.is_null()) return static_cast<ZvObject*>(nullptr);
            ZvObject$& o = objects[name];
            if (!o) o = new ZvObject;
            return o.Get();
        };
        for (const Json& step : c["steps"]) manager.RegistObject(object(step[0]), step[1].get<long long>());
        for (size_t i = 0; i < c["table"].size(); ++i)
            EXPECT_EQ(manager.GetObjectA(static_cast<long long>(i)), object(c["table"][i])) << c["name"] << i;
        for (const Json& look : c["get"]) EXPECT_EQ(manager.GetObjectA(look[0].get<long long>()), object(look[1])) << c["name"] << look;
    }
}
