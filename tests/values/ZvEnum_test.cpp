#include "zvc/values/ZvEnum.h"

#include "../support/Coding.h"

#include <gtest/gtest.h>

namespace {

constexpr auto Plain = ZvStreamingContext::States(0);
constexpr auto Track = ZvStreamingContext::TrackObjects;

ZvString$ Text(const char* text) { return new ZvString(text); }

ZvEnum$ MakeEnum(std::initializer_list<const char*> names) {
    ZvEnum$ e = new ZvEnum;
    for (const char* name : names) e->AddCandidate(Text(name));
    return e;
}

}

TEST(ZvEnum, NewOneHasNoCandidatesAndSelectionZero) {
    ZvEnum e;
    EXPECT_EQ(*e.ToString(), "candidates :\nselection :0\n");
    EXPECT_TRUE(!e.GetSelected());
}

TEST(ZvEnum, AddCandidateAnswersTheIndex) {
    ZvEnum e;
    EXPECT_EQ(e.AddCandidate(Text("a")), 0u);
    EXPECT_EQ(e.AddCandidate(Text("b")), 1u);
    EXPECT_EQ(e.AddCandidate(Text("c")), 2u);
    e.Select(1);
    e.Select(Text("B"));
    EXPECT_EQ(*e.ToString(), "candidates :a b c \nselection :1\n");
    EXPECT_EQ(*e.GetSelected(), "b");
}

TEST(ZvEnum, SetCandidateInsertsAndLeavesTheSelectionAlone) {
    ZvEnum$ e = MakeEnum({"old"});
    e->SetCandidate(0, Text("s"));
    EXPECT_EQ(*e->ToString(), "candidates :s old \nselection :0\n");
    EXPECT_EQ(*e->GetSelected(), "s");
    e->Select(1);
    e->SetCandidate(1, Text("between"));
    e->SetCandidate(3, Text("last"));
    EXPECT_EQ(*e->ToString(), "candidates :s between old last \nselection :1\n");
}

TEST(ZvEnum, SelectIgnoresAnIndexOutside) {
    ZvEnum$ e = MakeEnum({"a", "b"});
    e->Select(1);
    e->Select(2);
    e->Select(~size_t(0));
    EXPECT_EQ(*e->GetSelected(), "b");
    ZvEnum empty;
    empty.Select(0);
    EXPECT_TRUE(!empty.GetSelected());
}

TEST(ZvEnum, SelectByANameHeldTwiceTakesTheLater) {
    ZvEnum$ e = MakeEnum({"x", "y", "x", "z"});
    e->Select(Text("x"));
    EXPECT_EQ(*e->ToString(), "candidates :x y x z \nselection :2\n");
}

TEST(ZvEnum, SelectByNameIsCaseSensitiveAndWithoutAMatchStays) {
    ZvEnum$ e = MakeEnum({"x", "y"});
    e->Select(Text("y"));
    e->Select(Text("X"));
    e->Select(Text(""));
    e->Select(ZvString$());
    EXPECT_EQ(*e->GetSelected(), "y");
}

TEST(ZvEnum, EqualityIsOfTheCandidatesIdentityAndTheSelection) {
    ZvString$ a = Text("a"), b = Text("b");
    ZvEnum first, second;
    for (ZvEnum* e : {&first, &second}) {
        e->AddCandidate(a);
        e->AddCandidate(b);
    }
    EXPECT_TRUE(first == second);
    EXPECT_FALSE(first != second);
    second.Select(1);
    EXPECT_TRUE(first != second);
    second.Select(0);
    second.AddCandidate(a);
    EXPECT_FALSE(first == second);
    EXPECT_FALSE(*MakeEnum({"a"}) == *MakeEnum({"a"}));      // equal texts in distinct objects
}

TEST(ZvEnum, HashAndEqualsAreByIdentity) {
    ZvEnum$ e = MakeEnum({"a"});
    ZvEnum$ copy = ZvObject$(e->Clone());
    ASSERT_TRUE(copy);
    EXPECT_TRUE(*copy == *e);
    EXPECT_FALSE(copy->Equals(e.Get()));
    EXPECT_TRUE(e->Equals(e.Get()));
    EXPECT_EQ(e->GetHashCode(), reinterpret_cast<uintptr_t>(e.Get()) >> 4);
}

TEST(ZvEnum, CopiesShareTheCandidates) {
    ZvEnum$ e = MakeEnum({"a", "b"});
    e->Select(1);
    ZvEnum copy(*e), assigned, fromPointer(static_cast<void*>(e.Get()));
    assigned = *e;
    for (ZvEnum* c : {&copy, &assigned, &fromPointer}) {
        EXPECT_TRUE(*c == *e);
        EXPECT_TRUE(c->GetSelected() == e->GetSelected());
    }
    copy.AddCandidate(Text("c"));
    EXPECT_EQ(*e->ToString(), "candidates :a b \nselection :1\n");
}

TEST(ZvEnum, IsMadeByName) {
    EXPECT_EQ(ZvSystem::FindType("ZvEnum"), &ZvEnum::s_type);
    ZvEnum$ e = ZvObject$(ZvEnum::s_type.CreateObject());
    EXPECT_TRUE(e);
    EXPECT_EQ(ZvEnum::s_type.GetSchema(), 0x80000001u);
    EXPECT_EQ(ZvEnum::s_type.GetClassSpec(), 1u);
    EXPECT_TRUE(ZvEnum::s_type.HasCodec());
}

TEST(ZvEnum, StoredBytes) {
    ZvEnum$ e = MakeEnum({"tbrerturwzpxjqae", "u", "pgryd"});
    const std::vector<std::string> expected = {
        "84878e5a76456e756d8b5a5643a001a301000080a0038487905a76537472696e678b5a5643a002a3010000809810"
        "7462726572747572777a70786a71616584a803897584a8038d7067727964a000"};
    EXPECT_EQ(Written({e}, Track), expected);
    const std::vector<std::string> empty = {"84878e5a76456e756d8b5a5643a001a301000080a000a000"};
    EXPECT_EQ(Written({new ZvEnum}, Track), empty);
}

TEST(ZvEnum, ReadsItsBytes) {
    // Two candidates, and a selection of 2, which no candidate has.
    ZvEnum$ e = ReadBack(
        "84878e5a76456e756d8b5a5643a001a301000080a0028487905a76537472696e678b5a5643a002a30100008098106371736f7679746d6277766e6261"
        "716284a8038d7573666869a002", 1, Track)[0];
    ASSERT_TRUE(e);
    EXPECT_EQ(*e->ToString(), "candidates :cqsovytmbwvnbaqb usfhi \nselection :2\n");
    EXPECT_TRUE(!e->GetSelected());
}

TEST(ZvEnum, DecodeAppendsBehindWhatIsThere) {
    ZvEnum$ e = MakeEnum({"kept"});
    ZvStream$ stream = StreamOf("a0028487905a76537472696e678b5a5643a002a3010000808961" "80" "a001");      // "a", null; 1
    ZvBinaryCoder$ coder = new ZvBinaryCoder(new ZvStreamingContext(Plain));
    e->Decode(stream, coder.Get());
    EXPECT_EQ(*e->ToString(), "candidates :kept a  \nselection :1\n");
}

TEST(ZvEnum, WhatIsNoStringComesAsANullHandle) {
    ZvEnum e;
    ZvStream$ stream = StreamOf("a00184878f5a76496e7433328b5a5643a002a001a005a000");         // a box of 5; selection 0
    ZvBinaryCoder$ coder = new ZvBinaryCoder(new ZvStreamingContext(Plain));
    e.Decode(stream, coder.Get());
    EXPECT_EQ(*e.ToString(), "candidates : \nselection :0\n");
    EXPECT_TRUE(!e.GetSelected());
}

TEST(ZvEnum, CountThatTheStreamDoesNotBearOutRaises) {
    ZvEnum e;
    ZvStream$ stream = StreamOf("a3ffffffff80");
    ZvBinaryCoder$ coder = new ZvBinaryCoder(new ZvStreamingContext(Plain));
    EXPECT_THROW(e.Decode(stream, coder.Get()), ZvCoderException);
}
