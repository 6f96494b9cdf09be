// Casts, handles, monitors and string objects, beside what the standard library and Boost have for the same work.

#include <zvc/zvc.h>

#include <benchmark/benchmark.h>
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <memory>
#include <mutex>
#include <string>

namespace levels {

class A : public ZvObject {
    ZV_DECLARE_CLASS(A)
};
class B : public A {
    ZV_DECLARE_CLASS(B)
};
class C : public B {
    ZV_DECLARE_CLASS(C)
};
class D : public C {
    ZV_DECLARE_CLASS(D)
};
class E : public D {
    ZV_DECLARE_CLASS(E)
};
class Stranger : public A {
    ZV_DECLARE_CLASS(Stranger)
};
ZV_DECLARE_HANDLE(A, ZvObject$);
ZV_DECLARE_HANDLE(Stranger, A$);

}

ZV_DEFINE_CLASS(levels::A, (ZvObject))
ZV_DEFINE_CLASS(levels::B, (levels::A))
ZV_DEFINE_CLASS(levels::C, (levels::B))
ZV_DEFINE_CLASS(levels::D, (levels::C))
ZV_DEFINE_CLASS(levels::E, (levels::D))
ZV_DEFINE_CLASS(levels::Stranger, (levels::A))

namespace {

// The same classes for the peers, counted by Boost's own atomic counter.
struct Base : boost::intrusive_ref_counter<Base, boost::thread_safe_counter> {
    virtual ~Base() = default;
};
struct PA : Base {};
struct PB : PA {};
struct PC : PB {};
struct PD : PC {};
struct PE : PD {};
struct PStranger : PA {};

using benchmark::DoNotOptimize;

template <class Target>
void CastOurs(benchmark::State& state) {
    ZvObject$ object = new levels::E;
    ZvObject* from = object.Get();
    for (auto _ : state) {
        DoNotOptimize(from);
        Target* to = from->GetType()->IsDerivedFrom(&Target::s_type) ? static_cast<Target*>(from) : nullptr;
        DoNotOptimize(to);
    }
}

template <class Target>
void CastPeer(benchmark::State& state) {
    PE object;
    Base* from = &object;
    for (auto _ : state) {
        DoNotOptimize(from);
        auto* to = dynamic_cast<Target*>(from);
        DoNotOptimize(to);
    }
}

template <class Target>
void HandleCastOurs(benchmark::State& state) {
    ZvObject$ from = new levels::E;
    for (auto _ : state) {
        DoNotOptimize(from);
        Target to = from;
        DoNotOptimize(to);
    }
}

template <class Target>
void HandleCastPeer(benchmark::State& state) {
    boost::intrusive_ptr<Base> from(new PE);
    for (auto _ : state) {
        DoNotOptimize(from);
        boost::intrusive_ptr<Target> to = boost::dynamic_pointer_cast<Target>(from);
        DoNotOptimize(to);
    }
}

void CopyOurs(benchmark::State& state) {
    ZvObject$ from = new levels::E;
    for (auto _ : state) {
        DoNotOptimize(from);
        ZvObject$ to = from;
        DoNotOptimize(to);
    }
}

void CopyPeer(benchmark::State& state) {
    boost::intrusive_ptr<Base> from(new PE);
    for (auto _ : state) {
        DoNotOptimize(from);
        boost::intrusive_ptr<Base> to = from;
        DoNotOptimize(to);
    }
}

void LockOurs(benchmark::State& state) {
    ZvObject$ object = new levels::E;
    for (auto _ : state) {
        object->Lock();
        object->Unlock();
    }
}

void LockPeer(benchmark::State& state) {
    std::recursive_mutex mutex;
    for (auto _ : state) {
        mutex.lock();
        mutex.unlock();
    }
}

void LockAgainOurs(benchmark::State& state) {
    ZvObject$ object = new levels::E;
    ZvLock outer(object.Get());
    for (auto _ : state) {
        object->Lock();
        object->Unlock();
    }
}

void LockAgainPeer(benchmark::State& state) {
    std::recursive_mutex mutex;
    std::lock_guard outer(mutex);
    for (auto _ : state) {
        mutex.lock();
        mutex.unlock();
    }
}

const char* const Text4 = "node";
const char* const Text45 = "a name of just enough characters for the heap";

void StringOurs(benchmark::State& state, const char* text) {
    for (auto _ : state) {
        DoNotOptimize(text);
        ZvObject$ string = new ZvString(text);
        DoNotOptimize(string);
    }
}

void StringPeer(benchmark::State& state, const char* text) {
    for (auto _ : state) {
        DoNotOptimize(text);
        auto string = std::make_shared<std::string>(text);
        DoNotOptimize(string);
    }
}

BENCHMARK(CastOurs<levels::A>)->Name("cast_up_4/ours");
BENCHMARK(CastPeer<PA>)->Name("cast_up_4/dynamic_cast");
BENCHMARK(CastOurs<levels::Stranger>)->Name("cast_failing/ours");
BENCHMARK(CastPeer<PStranger>)->Name("cast_failing/dynamic_cast");
BENCHMARK(HandleCastOurs<levels::A$>)->Name("handle_cast_up_4/ours");
BENCHMARK(HandleCastPeer<PA>)->Name("handle_cast_up_4/intrusive_ptr");
BENCHMARK(HandleCastOurs<levels::Stranger$>)->Name("handle_cast_failing/ours");
BENCHMARK(HandleCastPeer<PStranger>)->Name("handle_cast_failing/intrusive_ptr");
BENCHMARK(CopyOurs)->Name("handle_copy/ours");
BENCHMARK(CopyPeer)->Name("handle_copy/intrusive_ptr");
BENCHMARK(LockOurs)->Name("lock/ours");
BENCHMARK(LockPeer)->Name("lock/recursive_mutex");
BENCHMARK(LockAgainOurs)->Name("lock_second_level/ours");
BENCHMARK(LockAgainPeer)->Name("lock_second_level/recursive_mutex");
BENCHMARK_CAPTURE(StringOurs, s, Text4)->Name("string_4/ours");
BENCHMARK_CAPTURE(StringPeer, s, Text4)->Name("string_4/make_shared");
BENCHMARK_CAPTURE(StringOurs, s, Text45)->Name("string_45/ours");
BENCHMARK_CAPTURE(StringPeer, s, Text45)->Name("string_45/make_shared");

}
