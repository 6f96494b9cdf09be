#include <zvc/zvc.h>

#include "support/Sanitizers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace traverser_test {

class Node : public ZvObject {
    ZV_DECLARE_CLASS(Node)
    ZV_DECLARE_CREATE(Node)
    ZV_DECLARE_TABLES()
public:
    Node() = default;
    explicit Node(int id) : m_id(id) {}

    int m_id = 0;
    ZvObject$ m_left;
    ZvObject$ m_right;
    struct {
        ZvObject$ hidden;
    } m_nest;
    ZvObject$ m_array[2];
    ZvObject* m_raw = nullptr;
    ZvInterface$ m_interface;
    ZvHandle<Node, ZvObject$> m_typed;
};
ZV_DECLARE_HANDLE(Node, ZvObject$);

class DerivedNode : public Node {
    ZV_DECLARE_CLASS(DerivedNode)
    ZV_DECLARE_CREATE(DerivedNode)
    ZV_DECLARE_TABLES()
public:
    ZvObject$ m_own;
};
ZV_DECLARE_HANDLE(DerivedNode, Node$);

/// A field of a client's own, which walks from a handle of its own.
class CopyingField : public ZvFieldPrimitive<ZvObject$> {
public:
    using ZvFieldPrimitive<ZvObject$>::ZvFieldPrimitive;
    ZvObject* Clone() const override { return new CopyingField(*this); }
    void Traverse(ZvTraverser& traverser, ZvObject$& o) override {
        ZvObject$ copy = *At(o.Get());
        traverser.Traverse(copy);
    }
};

class CopyingNode : public ZvObject {
    ZV_DECLARE_CLASS(CopyingNode)
    ZV_DECLARE_TABLES()
public:
    ZvObject$ m_copied;
};
ZV_DECLARE_HANDLE(CopyingNode, ZvObject$);

/// Equal by value.
class Twin : public ZvObject {
    ZV_DECLARE_CLASS(Twin)
public:
    size_t GetHashCode() const override { return 7; }
    bool Equals(const ZvObject* other) const override { return other != nullptr && other->GetType() == GetType(); }
};

/// A collection with a field of its own.
class Album : public ZvObject, public ZvIEnumeratable {
    ZV_DECLARE_CLASS(Album)
    ZV_DECLARE_TABLES()
public:
    ZvIEnumerator$ GetEnumerator() const override { return m_list->GetEnumerator(); }
    ZvIEnumerator$ GetEnumerator() override { return m_list->GetEnumerator(); }
    ZvArrayList$ m_list = new ZvArrayList;
    ZvObject$ m_cover;
};
ZV_DECLARE_HANDLE(Album, ZvObject$);

class Recorder : public ZvTraverser {
public:
    bool OnEnter(ZvObject$& o) override {
        m_entered.push_back(o.Get());
        m_log += "+" + Id(o);
        if (m_throwAt == o.Get()) throw 5;
        if (m_haltAt == o.Get()) HaltTraverse();
        return m_goOn && !(m_obeyHalt && IsHalted());
    }
    void OnLeave(ZvObject$& o) override { m_log += "-" + Id(o); }

    std::vector<ZvObject*> m_entered;
    std::string m_log;
    bool m_goOn = true;
    bool m_obeyHalt = false;
    ZvObject* m_haltAt = nullptr;
    ZvObject* m_throwAt = nullptr;

private:
    static std::string Id(const ZvObject$& o) {
        const Node$ node = o;
        return node ? std::to_string(node->m_id) : *o->ToString() == "traverser_test::Twin" ? "T" : "?";
    }
};

}

ZV_DEFINE_CLASS(traverser_test::Node, (ZvObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(traverser_test::Node,
    ZV_FIELD(m_left), ZV_FIELD(m_id), ZV_FIELD(m_right), ZV_FIELD_NEST(m_nest.hidden), ZV_FIELD_ARRAY(m_array), ZV_FIELD(m_raw),
    ZV_FIELD(m_interface), ZV_FIELD(m_typed))
ZV_METHODS(traverser_test::Node)
ZV_CONSTRUCTORS(traverser_test::Node)
ZV_DEFINE_CLASS(traverser_test::DerivedNode, (traverser_test::Node), .create = &Create, ZV_TABLES)
ZV_FIELDS(traverser_test::DerivedNode, ZV_FIELD(m_own))
ZV_METHODS(traverser_test::DerivedNode)
ZV_CONSTRUCTORS(traverser_test::DerivedNode)
ZV_DEFINE_CLASS(traverser_test::CopyingNode, (ZvObject), ZV_TABLES)
ZvFieldMap* traverser_test::CopyingNode::GetFieldMap() {
    static ZvField* s_table[] = {
        new CopyingField(&s_type, "m_copied", static_cast<ZvObject$ ZvObject::*>(&CopyingNode::m_copied)), nullptr};
    static ZvFieldMap s_map(s_table);
    return &s_map;
}
ZV_METHODS(traverser_test::CopyingNode)
ZV_CONSTRUCTORS(traverser_test::CopyingNode)
ZV_DEFINE_CLASS(traverser_test::Twin, (ZvObject))
ZV_DEFINE_CLASS(traverser_test::Album, (ZvObject, ZvIEnumeratable), ZV_TABLES)
ZV_FIELDS(traverser_test::Album, ZV_FIELD(m_cover))
ZV_METHODS(traverser_test::Album)
ZV_CONSTRUCTORS(traverser_test::Album)

using namespace traverser_test;

namespace {

Node$ MakeNode(int id) { return new Node(id); }

size_t TimesEntered(const Recorder& recorder, const ZvObject* o) {
    size_t times = 0;
    for (const ZvObject* entered : recorder.m_entered) times += entered == o;
    return times;
}

}

TEST(ZvTraverser, NullIsPassedOver) {
    Recorder recorder;
    ZvObject$ null;
    recorder.Traverse(null);
    EXPECT_EQ(recorder.m_log, "");
}

TEST(ZvTraverser, CycleOfTwoIsEnteredOnceEach) {
    Node$ a = MakeNode(1), b = MakeNode(2);
    a->m_left = b;
    b->m_left = a;
    Recorder recorder;
    recorder.Traverse(a);
    EXPECT_EQ(recorder.m_log, "+1+2-2-1");
    b->m_left = nullptr;
}

TEST(ZvTraverser, ObjectReachedByTwoPathsIsEnteredOnce) {
    Node$ root = MakeNode(1), a = MakeNode(2), b = MakeNode(3), shared = MakeNode(4);
    root->m_left = a;
    root->m_right = b;
    a->m_left = shared;
    b->m_left = shared;
    Recorder recorder;
    recorder.Traverse(root);
    EXPECT_EQ(recorder.m_entered.size(), 4u);
    EXPECT_EQ(TimesEntered(recorder, shared.Get()), 1u);
}

TEST(ZvTraverser, TwoEqualObjectsCountAsOne) {
    Node$ root = MakeNode(1);
    root->m_left = new Twin;
    root->m_right = new Twin;
    Recorder recorder;
    recorder.Traverse(root);
    EXPECT_EQ(recorder.m_log, "+1+T-T-1");
}

TEST(ZvTraverser, EqualObjectsOfAClassWithoutADescriptorOfItsOwnCountAsOne) {
    class Alike : public Node {
    public:
        size_t GetHashCode() const override { return 7; }
        bool Equals(const ZvObject* other) const override { return dynamic_cast<const Alike*>(other) != nullptr; }
    };
    Node$ root = MakeNode(1);
    root->m_left = new Alike;
    root->m_right = new Alike;
    Recorder recorder;
    recorder.Traverse(root);
    EXPECT_EQ(recorder.m_log, "+1+0-0-1");
}

TEST(ZvTraverser, HoldsWhatItHasSeen) {
    Node$ node = MakeNode(1);
    ZvObject$ twin = new Twin;
    node->m_left = twin;
    {
        Recorder recorder;
        recorder.Traverse(node);
        EXPECT_EQ(node->ReferenceCount(), 2);
        EXPECT_EQ(twin->ReferenceCount(), 3);
    }
    EXPECT_EQ(node->ReferenceCount(), 1);
    EXPECT_EQ(twin->ReferenceCount(), 2);
}

TEST(ZvTraverser, ListIsWalkedThroughAndNotEntered) {
    ZvArrayList$ list = new ZvArrayList;
    for (int id = 1; id <= 3; ++id) list->Add(MakeNode(id));
    list->Add(nullptr);
    Recorder recorder;
    recorder.Traverse(list);
    EXPECT_EQ(recorder.m_log, "+1-1+2-2+3-3");
}

TEST(ZvTraverser, FieldsOfACollectionAreNotVisited) {
    Album$ album = new Album;
    album->m_list->Add(MakeNode(1));
    album->m_cover = MakeNode(2);
    Recorder recorder;
    recorder.Traverse(album);
    EXPECT_EQ(recorder.m_log, "+1-1");
}

TEST(ZvTraverser, CollectionInAFieldIsWalkedThroughOnce) {
    Node$ root = MakeNode(1);
    ZvArrayList$ list = new ZvArrayList;
    list->Add(MakeNode(2));
    root->m_left = list;
    root->m_right = list;
    Recorder recorder;
    recorder.Traverse(root);
    EXPECT_EQ(recorder.m_log, "+1+2-2-1");
}

TEST(ZvTraverser, FieldsOfAllFirstBasesAreFollowed) {
    ZvHandle<DerivedNode, Node$> node = new DerivedNode;
    node->m_left = MakeNode(1);
    node->m_right = MakeNode(2);
    node->m_own = MakeNode(3);
    Recorder recorder;
    recorder.Traverse(node);
    EXPECT_EQ(recorder.m_entered.size(), 4u);
    for (const ZvObject$& o : {node->m_left, node->m_right, node->m_own}) EXPECT_EQ(TimesEntered(recorder, o.Get()), 1u);
}

TEST(ZvTraverser, FieldsComeInTheOrderOfTheFieldCache) {
    Node$ root = MakeNode(0);
    std::map<std::string, ZvObject$> fields = {{"m_left", MakeNode(1)}, {"m_right", MakeNode(2)}};
    root->m_left = fields["m_left"];
    root->m_right = fields["m_right"];
    std::string expected = "+0";
    ZvIDictionaryEnumerator$ e = Node::s_type.GetFields()->GetEnumerator();
    for (; e->HasNext(); e->Next()) {
        const auto found = fields.find(ZvString$(e->Key())->CStr());
        if (found == fields.end()) continue;
        const std::string id = std::to_string(Node$(found->second)->m_id);
        expected += "+" + id + "-" + id;
    }
    Recorder recorder;
    recorder.Traverse(root);
    EXPECT_EQ(recorder.m_log, expected + "-0");
}

TEST(ZvTraverser, OtherMembersAreNotFollowed) {
    Node$ root = MakeNode(1), other = MakeNode(2);
    root->m_nest.hidden = MakeNode(3);
    root->m_array[0] = MakeNode(4);
    root->m_array[1] = MakeNode(5);
    root->m_raw = other.Get();
    ZvObject$ album = new Album;
    root->m_interface = album;
    Recorder recorder;
    recorder.Traverse(root);
    EXPECT_EQ(recorder.m_log, "+1-1");
}

TEST(ZvTraverser, HaltIsARequestAndTheWalkGoesOn) {
    Node$ root = MakeNode(1), child = MakeNode(2);
    root->m_left = child;
    child->m_left = MakeNode(3);
    Recorder recorder;
    EXPECT_FALSE(recorder.IsHalted());
    recorder.m_haltAt = root.Get();
    recorder.Traverse(root);
    EXPECT_TRUE(recorder.IsHalted());
    EXPECT_EQ(recorder.m_log, "+1+2+3-3-2-1");
}

TEST(ZvTraverser, HaltThatOnEnterObeysEndsTheWalk) {
    Node$ root = MakeNode(1), child = MakeNode(2);
    root->m_left = child;
    child->m_left = MakeNode(3);
    Recorder recorder;
    recorder.m_haltAt = child.Get();
    recorder.m_obeyHalt = true;
    recorder.Traverse(root);
    EXPECT_EQ(recorder.m_log, "+1+2-2-1");
}

TEST(ZvTraverser, OnEnterThatRefusesTheRootLeavesItAndNothingElse) {
    Node$ root = MakeNode(1);
    root->m_left = MakeNode(2);
    Recorder recorder;
    recorder.m_goOn = false;
    recorder.Traverse(root);
    EXPECT_EQ(recorder.m_log, "+1-1");
}

TEST(ZvTraverser, SecondWalkSkipsWhatTheFirstSaw) {
    Node$ first = MakeNode(1), second = MakeNode(2), shared = MakeNode(3);
    first->m_left = shared;
    second->m_left = shared;
    Recorder recorder;
    recorder.Traverse(first);
    recorder.Traverse(first);
    recorder.Traverse(second);
    EXPECT_EQ(recorder.m_log, "+1+3-3-1+2-2");
}

TEST(ZvTraverser, CopySharesTheSeenObjectsAndTakesTheHaltedFlag) {
    Node$ a = MakeNode(1), b = MakeNode(2);
    Recorder recorder;
    recorder.HaltTraverse();
    Recorder copy(recorder);
    EXPECT_TRUE(copy.IsHalted());
    copy.Traverse(a);
    recorder.Traverse(a);
    recorder.Traverse(b);
    EXPECT_EQ(copy.m_log, "+1-1");
    EXPECT_EQ(recorder.m_log, "+2-2");
    Recorder assigned;
    assigned = recorder;
    assigned.m_log.clear();
    EXPECT_TRUE(assigned.IsHalted());
    assigned.Traverse(a);
    EXPECT_EQ(assigned.m_log, "");
}

TEST(ZvTraverser, ExceptionUnwindsAndLeavesTheSeenObjects) {
    Node$ root = MakeNode(1), child = MakeNode(2);
    root->m_left = child;
    Recorder recorder;
    recorder.m_throwAt = child.Get();
    EXPECT_THROW(recorder.Traverse(root), int);
    EXPECT_EQ(recorder.m_log, "+1+2");
    recorder.m_throwAt = nullptr;
    recorder.Traverse(root);
    recorder.Traverse(child);
    EXPECT_EQ(recorder.m_log, "+1+2");
}

TEST(ZvTraverser, LargeGraphWithCyclesAndSharedParts) {
    constexpr int count = 100000;
    std::vector<Node$> nodes;
    nodes.reserve(count);
    for (int id = 0; id < count; ++id) nodes.push_back(MakeNode(id));
    for (int id = 0; id < count; ++id) {
        // A tree over all of them, where each right-hand leaf leads back: to its grandparent, or to a shared node.
        const int left = 2 * id + 1, right = 2 * id + 2;
        nodes[static_cast<size_t>(id)]->m_left = nodes[static_cast<size_t>(left < count ? left : (id - 3) / 4)];
        nodes[static_cast<size_t>(id)]->m_right = nodes[static_cast<size_t>(right < count ? right : id % 100)];
    }
    Recorder recorder;
    recorder.Traverse(nodes[0]);
    ASSERT_EQ(recorder.m_entered.size(), static_cast<size_t>(count));
    std::vector<bool> seen(count);
    for (ZvObject* o : recorder.m_entered) seen[static_cast<size_t>(static_cast<Node*>(o)->m_id)] = true;
    EXPECT_EQ(std::count(seen.begin(), seen.end(), true), count);
    for (Node$& node : nodes) node->m_left = node->m_right = nullptr;
}

TEST(ZvTraverser, DeepGraphNeedsNoStack) {
    constexpr int count = 1000000;
    std::vector<Node$> chain;
    chain.reserve(count);
    for (int id = 0; id < count; ++id) {
        chain.push_back(MakeNode(id));
        if (id == 0) continue;
        Node$& before = chain[static_cast<size_t>(id) - 1];
        ZvArrayList$ list = new ZvArrayList;
        list->Add(chain.back());
        if (id % 3 == 0) before->m_left = chain.back();
        if (id % 3 == 1) before->m_typed = chain.back();
        if (id % 3 == 2) before->m_left = list;
    }
    Recorder recorder;
    recorder.Traverse(chain[0]);
    ASSERT_EQ(recorder.m_entered.size(), static_cast<size_t>(count));
    for (size_t id = 0; id < count; ++id) ASSERT_EQ(recorder.m_entered[id], chain[id].Get());
    for (Node$& node : chain) node->m_left = node->m_typed = nullptr;
}

TEST(ZvTraverser, MemberOfAHandleClassIsFollowedAndKeepsItsClass) {
    class Replacer : public Recorder {
    public:
        bool OnEnter(ZvObject$& o) override {
            Recorder::OnEnter(o);
            if (o.Get() == m_old) o = m_new;
            return true;
        }
        ZvObject* m_old = nullptr;
        ZvObject$ m_new;
    };
    Node$ root = MakeNode(1), child = MakeNode(2), other = MakeNode(3);
    root->m_typed = child;
    Replacer replacer;
    replacer.m_old = child.Get();
    replacer.m_new = other;
    replacer.Traverse(root);
    EXPECT_EQ(replacer.m_log, "+1+2-3-1");
    EXPECT_EQ(root->m_typed.Get(), other.Get());
    Replacer another;
    another.m_old = other.Get();
    another.m_new = new Twin;
    another.Traverse(root);
    EXPECT_EQ(another.m_log, "+1+3-T-1");
    EXPECT_TRUE(!root->m_typed);
}

TEST(ZvTraverser, FieldsOfClientsAreCalledAndTooDeepAChainOfThemRaises) {
    SKIP_WHERE_CALLS_CANNOT_NEST_DEEPLY();
    constexpr int count = 1000000;
    std::vector<CopyingNode$> chain;
    chain.reserve(count);
    for (int id = 0; id < count; ++id) {
        chain.push_back(new CopyingNode);
        if (id != 0) chain[static_cast<size_t>(id) - 1]->m_copied = chain.back();
    }
    Recorder recorder;
    EXPECT_THROW(recorder.Traverse(chain[0]), ZvException);
    EXPECT_GT(recorder.m_entered.size(), 1000u);
    for (CopyingNode$& node : chain) node->m_copied = nullptr;
}
