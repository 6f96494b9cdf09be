#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace {

/// Writes its letter when it is called, and counts how many of its kind there are.
class Letter {
public:
    Letter(char letter, std::string& text) : m_letter(letter), m_text(&text) { ++s_alive; }
    Letter(const Letter& other) : m_letter(other.m_letter), m_text(other.m_text) {
        if (s_copiesLeft-- == 0) throw std::runtime_error("no copy");
        ++s_alive;
    }
    ~Letter() { --s_alive; }
    void operator()() { *m_text += m_letter; }

    static inline int s_alive = 0;
    static inline int s_copiesLeft = 1000000;

private:
    char m_letter;
    std::string* m_text;
};

/// The same with a member function, for the bound pair.
struct Writer {
    std::string& text;
    char letter;
    void Write() { text += letter; }
    void WriteConstant() const noexcept { text += letter; }
};

zvc::Delegate<void()> Chain(const std::string& letters, std::string& text) {
    zvc::Delegate<void()> chain;
    for (char c : letters) chain += Letter(c, text);
    return chain;
}

}

TEST(Delegate, IsOnePointer) {
    static_assert(sizeof(zvc::Delegate<void()>) == sizeof(void*));
    static_assert(sizeof(zvc::Delegate<void(int, const std::string&)>) == sizeof(void*));
}

TEST(Delegate, EmptyOneDoesNothing) {
    zvc::Delegate<void()> empty;
    EXPECT_TRUE(!empty);
    EXPECT_FALSE(static_cast<bool>(empty));
    empty();
    zvc::Delegate<void()> copy(empty), null(nullptr);
    copy();
    null();
    copy += empty;
    EXPECT_TRUE(!copy);
}

TEST(Delegate, OfThreeTargetsTheHeadIsCalledLast) {
    std::string text;
    const zvc::Delegate<void()> chain = Chain("ABC", text);
    chain();
    EXPECT_EQ(text, "BCA");
}

TEST(Delegate, ChainsOfEveryLengthCallTheHeadLast) {
    const std::pair<const char*, const char*> cases[] = {{"A", "A"}, {"AB", "BA"}, {"ABCD", "BCDA"}, {"ABCDEFG", "BCDEFGA"}};
    for (const auto& [letters, calls] : cases) {
        std::string text;
        Chain(letters, text)();
        EXPECT_EQ(text, calls);
    }
}

TEST(Delegate, AppendedChainKeepsTheHead) {
    std::string text;
    zvc::Delegate<void()> a = Chain("AB", text);
    a += Chain("XYZ", text);
    a();
    EXPECT_EQ(text, "BXYZA");
}

TEST(Delegate, EmptyOneTakesTheHeadOfWhatIsAppended) {
    std::string text;
    zvc::Delegate<void()> a;
    a += Chain("XYZ", text);
    a();
    EXPECT_EQ(text, "YZX");
}

TEST(Delegate, AppendedToItselfIsTwiceAsLong) {
    std::string text;
    zvc::Delegate<void()> a = Chain("AB", text);
    a += a;
    a();
    EXPECT_EQ(text, "BABA");
}

TEST(Delegate, CopyHasItsOwnTargetsInTheSameOrder) {
    std::string text;
    auto original = std::make_unique<zvc::Delegate<void()>>(Chain("ABC", text));
    ASSERT_EQ(Letter::s_alive, 3);
    zvc::Delegate<void()> copy(*original);
    EXPECT_EQ(Letter::s_alive, 6);
    original.reset();
    EXPECT_EQ(Letter::s_alive, 3);
    copy();
    EXPECT_EQ(text, "BCA");
}

TEST(Delegate, AssignmentReplacesTheTargets) {
    std::string text;
    zvc::Delegate<void()> a = Chain("ABC", text), b = Chain("XY", text);
    a = b;
    EXPECT_EQ(Letter::s_alive, 4);
    a();
    b();
    EXPECT_EQ(text, "YXYX");
    a = nullptr;
    EXPECT_TRUE(!a);
    EXPECT_EQ(Letter::s_alive, 2);
}

TEST(Delegate, AssignmentToItselfDoesNothing) {
    std::string text;
    zvc::Delegate<void()> a = Chain("AB", text);
    Letter::s_copiesLeft = 0;                     // not even a clone
    auto& same = a;
    EXPECT_NO_THROW(a = same);
    Letter::s_copiesLeft = 1000000;
    a();
    EXPECT_EQ(text, "BA");
}

TEST(Delegate, MoveTakesTheChain) {
    std::string text;
    zvc::Delegate<void()> a = Chain("AB", text);
    Letter::s_copiesLeft = 0;
    zvc::Delegate<void()> b(std::move(a));
    zvc::Delegate<void()> c;
    c = std::move(b);
    Letter::s_copiesLeft = 1000000;
    c();
    EXPECT_EQ(text, "BA");
    EXPECT_EQ(Letter::s_alive, 2);
}

TEST(Delegate, CloneThatThrowsDeletesTheClonesMadeSoFar) {
    std::string text;
    const zvc::Delegate<void()> a = Chain("ABC", text);
    zvc::Delegate<void()> target = Chain("X", text);
    for (int copies = 0; copies < 3; ++copies) {
        Letter::s_copiesLeft = copies;
        EXPECT_THROW(zvc::Delegate<void()>{a}, std::runtime_error);
        EXPECT_EQ(Letter::s_alive, 4);
        Letter::s_copiesLeft = copies;
        EXPECT_THROW(target = a, std::runtime_error);
        EXPECT_EQ(Letter::s_alive, 4);
        Letter::s_copiesLeft = copies;
        EXPECT_THROW(target += a, std::runtime_error);
        EXPECT_EQ(Letter::s_alive, 4);
    }
    Letter::s_copiesLeft = 1000000;
    target();                                     // as it was
    a();
    EXPECT_EQ(text, "XBCA");
}

TEST(Delegate, FromAPairOfObjectAndMemberFunction) {
    std::string text;
    Writer writer{text, 'w'};
    zvc::Delegate<void()> fromPair(std::make_pair(&writer, &Writer::Write));
    const std::pair<Writer*, void (Writer::*)()> pair(&writer, &Writer::Write);
    zvc::Delegate<void()> fromNamedPair(pair);
    zvc::Delegate<void()> fromBoth(&writer, &Writer::Write);
    const Writer constant{text, 'c'};
    zvc::Delegate<void()> fromConstant(&constant, &Writer::WriteConstant);
    fromPair();
    fromNamedPair();
    fromBoth();
    fromConstant();
    EXPECT_EQ(text, "wwwc");
}

TEST(Delegate, BoundPairCallsTheObjectItWasMadeWith) {
    std::string text;
    Writer writer{text, 'a'};
    zvc::Delegate<void()> delegate(&writer, &Writer::Write);
    zvc::Delegate<void()> copy(delegate);
    writer.letter = 'b';
    copy();
    EXPECT_EQ(text, "b");
}

TEST(Delegate, MemberOfABaseAndVirtualMember) {
    struct Base {
        int calls = 0;
        virtual ~Base() = default;
        virtual void Virtual() { calls += 1; }
        void Plain() { calls += 10; }
    };
    struct Derived : Base {
        void Virtual() override { calls += 100; }
    } object;
    zvc::Delegate<void()> d(static_cast<Base*>(&object), &Base::Virtual);
    d += zvc::Delegate<void()>(&object, &Derived::Plain);
    d();
    EXPECT_EQ(object.calls, 110);
}

TEST(Delegate, FromFunctionsAndFunctionObjects) {
    static int calls;
    calls = 0;
    struct Function {
        static void Static(int n) { calls += n; }
    };
    std::function<void(int)> function = [](int n) { calls += 10 * n; };
    int captured = 0;
    zvc::Delegate<void(int)> d(&Function::Static);
    d += Function::Static;
    d += function;
    d += [&captured](int n) mutable { captured += n; };
    d(3);
    EXPECT_EQ(calls, 36);
    EXPECT_EQ(captured, 3);
}

TEST(Delegate, EveryTargetGetsTheSameArguments) {
    std::string seen;
    zvc::Delegate<void(std::string, const int&, int*)> d([&](std::string text, const int& number, int* count) {
        seen += text + std::to_string(number) + ";";
        text.clear();                             // its own copy
        ++*count;
    });
    d += d;
    d += d;
    int count = 0;
    d("text", 7, &count);
    EXPECT_EQ(seen, "text7;text7;text7;text7;");
    EXPECT_EQ(count, 4);
}

TEST(Delegate, ReferencesArePassedOnAsTheyAre) {
    ZvObject$ object = new ZvObject;
    const ZvObject$* address = nullptr;
    zvc::Delegate<void(ZvObject$&)> d([&](ZvObject$& o) {
        address = &o;
        o = ZvObject$();
    });
    d(object);
    EXPECT_EQ(address, &object);
    EXPECT_TRUE(!object);
}

namespace {

/// A target of one's own kind, which takes itself out of its chain and deletes itself when it is called.
class Passing : public zvc::Delegate<void()>::Base {
public:
    Passing(Base* before, std::string& text) : m_before(before), m_text(text) { ++s_alive; }
    ~Passing() override { --s_alive; }
    Base* Clone() const override { return new Passing(m_before, m_text); }
    void Invoke() override {
        m_text += 'p';
        if (m_before == nullptr) return;
        m_before->next = next;
        delete this;
    }
    static inline int s_alive = 0;

private:
    Base* m_before;
    std::string& m_text;
};

}

TEST(Delegate, TargetMayDeleteItselfWhileItIsCalled) {
    std::string text;
    auto* head = new Passing(nullptr, text);
    auto* second = new Passing(head, text);
    head->next = second;
    auto* third = new zvc::Delegate<void()>::Implement<Letter>(Letter('t', text));
    second->next = third;
    {
        zvc::Delegate<void()> d(head);
        d();
        EXPECT_EQ(text, "ptp");
        EXPECT_EQ(Passing::s_alive, 1);
        d();
        EXPECT_EQ(text, "ptptp");
    }
    EXPECT_EQ(Passing::s_alive, 0);
    EXPECT_EQ(Letter::s_alive, 0);
}

TEST(Delegate, ClonesHaveNoLink) {
    std::string text;
    zvc::Delegate<void()>::Implement<Letter> first(Letter('1', text)), second(Letter('2', text));
    first.next = &second;
    const std::unique_ptr<zvc::Delegate<void()>::Base> clone(first.Clone());
    EXPECT_EQ(clone->next, nullptr);
    clone->Invoke();
    EXPECT_EQ(text, "1");
}

TEST(Delegate, ExceptionOfATargetGoesOn) {
    std::string text;
    zvc::Delegate<void()> d = Chain("A", text);
    d += [] { throw std::runtime_error("target"); };
    d += Letter('C', text);
    EXPECT_THROW(d(), std::runtime_error);
    EXPECT_EQ(text, "");
}

TEST(Delegate, ImplementIsATargetBehindOneLink) {
    using Pair = std::pair<Writer*, void (Writer::*)()>;
    using Target = zvc::Delegate<void()>::Implement<Pair>;
    static_assert(std::is_base_of_v<zvc::Delegate<void()>::Base, Target>);
    static_assert(std::is_abstract_v<zvc::Delegate<void()>::Base>);
    static_assert(sizeof(Target) == sizeof(void*) + sizeof(zvc::Delegate<void()>::Base*) + sizeof(Pair));
}
