#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

namespace zvc {

/// A chain of call targets that are called as one: `Delegate<void(int)>`. The whole state is one pointer, null when empty.
///
///     zvc::Delegate<void()> tick(this, &Viewer::OnTick);      // also from a std::pair of both, and from any callable
///     tick += other;                                          // copies of other's targets, behind the ones that are there
///     tick();
///
/// The targets behind the head are called first, in the order of the chain, and the head last: of A, B, C the calls come
/// as B, C, A. Copies are deep. A call allocates nothing. There is no lock: one thread at a time may change a delegate, and
/// any number may call it while nobody does; what its targets do at the same time is theirs to settle.
template <class Signature>
class Delegate;

/// The delegate for calls with arguments of these types, each handed to every target.
template <class... Args>
class Delegate<void(Args...)> {
    // What each target is handed: references as they are, values as copies that one target cannot take from the next.
    template <class T>
    using Same = std::conditional_t<std::is_reference_v<T>, T, const T&>;

public:
    /// A call target. The operations stand in this order: destruction (this one target alone, never its link), Clone, Invoke.
    class Base {
    public:
        Base() = default;
        Base(const Base&) = delete;
        Base& operator=(const Base&) = delete;
        virtual ~Base() = default;

        /// A new target of the same kind, without a link.
        virtual Base* Clone() const = 0;

        /// The call itself. A target may delete itself in it, once nothing else refers to it.
        virtual void Invoke(Args... args) = 0;

        Base* next = nullptr;             ///< the next target of the chain; null at its end
    };

    /// The target that holds what is called by value: a std::pair of an object's address and a member function, or any
    /// callable. The object must outlive the calls.
    template <class Pair>
    class Implement final : public Base {
    public:
        explicit Implement(const Pair& pair) : m_pair(pair) {}
        explicit Implement(Pair&& pair) : m_pair(std::move(pair)) {}

        Base* Clone() const override { return new Implement(m_pair); }
        void Invoke(Args... args) override { Call(m_pair, static_cast<Args&&>(args)...); }

    private:
        template <class T, class Member>
            requires std::is_member_function_pointer_v<Member>
        static void Call(std::pair<T*, Member>& pair, Args... args) {
            (pair.first->*pair.second)(static_cast<Args&&>(args)...);
        }
        template <class Callable>
        static void Call(Callable& callable, Args... args) {
            callable(static_cast<Args&&>(args)...);
        }

        Pair m_pair;
    };

    /// An empty delegate: a call does nothing.
    Delegate() noexcept = default;
    Delegate(std::nullptr_t) noexcept {}

    /// One target: a member function, called on object.
    template <class T, class Member>
        requires(std::is_member_function_pointer_v<Member> && std::is_invocable_v<Member, T*, Args...>)
    Delegate(const std::pair<T*, Member>& pair) : m_head(new Implement<std::pair<T*, Member>>(pair)) {}
    template <class T, class Member>
        requires(std::is_member_function_pointer_v<Member> && std::is_invocable_v<Member, T*, Args...>)
    Delegate(T* object, Member member) : Delegate(std::pair<T*, Member>(object, member)) {}

    /// One target: a copy of anything that can be called with the signature's arguments.
    template <class Callable>
        requires(!std::is_same_v<std::remove_cvref_t<Callable>, Delegate> &&
                 std::is_invocable_v<std::decay_t<Callable>&, Args...>)
    Delegate(Callable&& callable) : m_head(new Implement<std::decay_t<Callable>>(std::forward<Callable>(callable))) {}

    /// Takes over a chain of targets, made with new.
    explicit Delegate(Base* head) noexcept : m_head(head) {}

    /// Clones target by target. When a Clone throws, the clones made so far go, and the exception goes on.
    Delegate(const Delegate& other) : m_head(CloneChain(other.m_head)) {}
    Delegate(Delegate&& other) noexcept : m_head(std::exchange(other.m_head, nullptr)) {}

    /// The old targets go once the new chain is complete; when a Clone throws, the delegate stays as it was.
    Delegate& operator=(const Delegate& other) {
        if (this != &other) DeleteChain(std::exchange(m_head, CloneChain(other.m_head)));
        return *this;
    }
    Delegate& operator=(Delegate&& other) noexcept {
        if (this != &other) DeleteChain(std::exchange(m_head, std::exchange(other.m_head, nullptr)));
        return *this;
    }
    ~Delegate() { DeleteChain(m_head); }

    /// Appends copies of other's targets. The head stays the head, and so is still called last; an empty delegate gets
    /// other's head.
    Delegate& operator+=(const Delegate& other) {
        Base* added = CloneChain(other.m_head);
        Base** end = &m_head;
        while (*end != nullptr) end = &(*end)->next;
        *end = added;
        return *this;
    }

    /// Calls every target with the same arguments, the head last. Nothing when empty. An exception of a target goes on, and
    /// the targets after it are not called.
    void operator()(Args... args) const {
        Base* const head = m_head;
        if (head == nullptr) return;
        if (head->next != nullptr) [[unlikely]] InvokeBehind(head, static_cast<Same<Args>>(args)...);
        head->Invoke(static_cast<Args&&>(args)...);
    }

    explicit operator bool() const noexcept { return m_head != nullptr; }
    bool operator!() const noexcept { return m_head == nullptr; }

private:
    static void InvokeBehind(Base* head, Same<Args>... args) {
        for (Base* target = head->next; target != nullptr;) {
            Base* const next = target->next;              // read first: the target may delete itself
            target->Invoke(static_cast<Same<Args>>(args)...);
            target = next;
        }
    }

    static Base* CloneChain(const Base* source) {
        Delegate clones;                                  // deletes them when one throws
        for (Base** end = &clones.m_head; source != nullptr; source = source->next) {
            *end = source->Clone();
            end = &(*end)->next;
        }
        return std::exchange(clones.m_head, nullptr);
    }

    static void DeleteChain(Base* target) noexcept {
        while (target != nullptr) {
            Base* const next = target->next;
            delete target;
            target = next;
        }
    }

    Base* m_head = nullptr;
};

}
