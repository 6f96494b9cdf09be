// The classes that a peer may have made, and the objects that are kept for it.

#include "Support.h"

#include "support/Program.h"

using remoting::ChannelServices;
using remoting::RemotingConfigulation;
using remoting::RemotingServices;

TEST(RemotingConfigulation, AnswersWithTheFirstClassWhateverIsAskedFor) {
    EXPECT_FALSE(RemotingConfigulation::LookupActivatedType(TypeHandle(Calc::s_type)));
    RemotingConfigulation::RegisterActivatedType(TypeHandle(Calc::s_type));
    EXPECT_EQ(RemotingConfigulation::LookupActivatedType(TypeHandle(Calc::s_type)), &Calc::s_type);
    EXPECT_EQ(RemotingConfigulation::LookupActivatedType(TypeHandle(AdderPlain::s_type)), &Calc::s_type);
    EXPECT_EQ(RemotingConfigulation::LookupActivatedType(TypeHandle(ZvICollection::s_type)), &Calc::s_type);
    EXPECT_EQ(RemotingConfigulation::LookupActivatedType(ZvType$()), &Calc::s_type);

    // Of several the one that a set of the same elements gives first.
    RemotingConfigulation::RegisterActivatedType(TypeHandle(AdderPlain::s_type));
    ZvHashSet$ set = new ZvHashSet;
    set->Add(TypeHandle(Calc::s_type));
    set->Add(TypeHandle(AdderPlain::s_type));
    EXPECT_EQ(RemotingConfigulation::LookupActivatedType(TypeHandle(Calc::s_type)), ZvType$(set->GetEnumerator()->Next()));

    RemotingConfigulation::Shutdown();
    EXPECT_FALSE(RemotingConfigulation::LookupActivatedType(TypeHandle(Calc::s_type)));
    RemotingConfigulation::RegisterActivatedType(TypeHandle(AdderPlain::s_type));
    EXPECT_EQ(RemotingConfigulation::LookupActivatedType(TypeHandle(Calc::s_type)), &AdderPlain::s_type);
    RemotingConfigulation::Shutdown();
    RemotingConfigulation::Shutdown();
}

TEST(RemotingServices, KeepsObjectsUntilTheyAreUnregistered) {
    EXPECT_FALSE(RemotingServices::m_remoteObjects);
    ZvObject$ object = Box(1);
    RemotingServices::UnregistRemoteObject(object);
    EXPECT_FALSE(RemotingServices::m_remoteObjects);
    RemotingServices::RegistRemoteObject(object);
    ASSERT_TRUE(RemotingServices::m_remoteObjects);
    EXPECT_EQ(object->ReferenceCount(), 2);
    EXPECT_TRUE(RemotingServices::m_remoteObjects->Contains(object));
    RemotingServices::UnregistRemoteObject(Box(2));
    RemotingConfigulation::Shutdown();
    EXPECT_EQ(RemotingServices::m_remoteObjects->Count(), 1u);
    RemotingServices::UnregistRemoteObject(object);
    EXPECT_EQ(object->ReferenceCount(), 1);
    RemotingServices::UnregistRemoteObject(object);
    RemotingServices::m_remoteObjects = ZvHashSet$();
}

TEST(RemotingServices, LetGoOfTheirObjectsWhenTheProcessEnds) {
    // A class that is still registered does no harm then: its descriptor is gone by that time.
    const Outcome outcome = RunProgram(BesideTests("left_registered"));
    EXPECT_EQ(outcome.output, "registered\nreleased\n");
    EXPECT_EQ(outcome.code, 9);
}

TEST(RemotingServices, ConnectAlwaysGivesNull) {
    EXPECT_FALSE(RemotingServices::Connect(TypeHandle(Calc::s_type)));
    EXPECT_FALSE(RemotingServices::Connect(ZvType$()));
}

TEST(ChannelServices, IsAShellAroundOneHandle) {
    ChannelServices services;
    EXPECT_FALSE(services.m_object);
    const ZvObject$ object = Box(1);
    services.m_object = object;
    ChannelServices copy(services);
    EXPECT_EQ(object->ReferenceCount(), 3);
    ChannelServices moved(std::move(copy));
    EXPECT_EQ(object->ReferenceCount(), 3);
    EXPECT_EQ(moved.m_object, object);
    ChannelServices assigned;
    assigned = moved;
    EXPECT_EQ(object->ReferenceCount(), 4);
}
