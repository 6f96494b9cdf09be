// Calls and fields by name, growing vectors, checksums and walks over objects, beside what others have for the same work.

#include <zvc/zvc.h>

#include <QMetaMethod>
#include <QObject>
#include <QVariant>
#include <benchmark/benchmark.h>
#include <rttr/registration>
#include <rttr/type>
#include <zlib.h>

#include <memory>
#include <unordered_set>
#include <vector>

namespace {
using benchmark::DoNotOptimize;
}

// ---- one class, three times -----------------------------------------------------------------------------------------------

class Calculator : public ZvObject {
    ZV_DECLARE_CLASS(Calculator)
    ZV_DECLARE_CREATE(Calculator)
    ZV_DECLARE_TABLES()
public:
    virtual int Sum(int a, int b) { return a + b + m_count; }
    int m_count = 1;
};
ZV_DECLARE_HANDLE(Calculator, ZvObject$);
ZV_DEFINE_CLASS(Calculator, (ZvObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(Calculator, ZV_FIELD(m_count))
ZV_METHODS(Calculator, ZV_METHOD(Sum, "a", "b"))
ZV_CONSTRUCTORS(Calculator, ZV_CONSTRUCTOR())

class QtCalculator : public QObject {
    Q_OBJECT
    Q_PROPERTY(int count MEMBER m_count)
public:
    Q_INVOKABLE virtual int Sum(int a, int b) { return a + b + m_count; }
    int m_count = 1;
};

class RttrCalculator {
    RTTR_ENABLE()
public:
    virtual ~RttrCalculator() = default;
    virtual int Sum(int a, int b) { return a + b + m_count; }
    int m_count = 1;
};

RTTR_REGISTRATION { rttr::registration::class_<RttrCalculator>("RttrCalculator").method("Sum", &RttrCalculator::Sum); }

namespace {

ZvObject$ Box(int value) { return new ZvPrimitive<int>(value); }

int Unbox(const ZvValue$& value) {
    int number = 0;
    value->GetValue(&number, ZvVtInt32, 0);
    return number;
}

// ---- calls ----------------------------------------------------------------------------------------------------------------

void FindAndInvokeOurs(benchmark::State& state) {
    Calculator$ target = new Calculator;
    const ZvString$ name = $L("Sum");
    ZvArguments$ args = new ZvPrimArray<ZvObject$>(2, nullptr);
    ZvValue$ result;
    int a = 1;
    for (auto _ : state) {
        (*args)[0] = Box(a);
        (*args)[1] = Box(2);
        ZvMethod$ method = target->GetType()->Find(name, &ZvPrimitive<int>::s_type, args);
        method->Invoke(target.Get(), result, args);
        a = Unbox(result) & 0xff;
        DoNotOptimize(a);
    }
}

void FindAndInvokeQt(benchmark::State& state) {
    QtCalculator target;
    int a = 1;
    for (auto _ : state) {
        int result = 0;
        QMetaObject::invokeMethod(&target, "Sum", Qt::DirectConnection, Q_RETURN_ARG(int, result), Q_ARG(int, a), Q_ARG(int, 2));
        a = result & 0xff;
        DoNotOptimize(a);
    }
}

void InvokeOurs(benchmark::State& state) {
    Calculator$ target = new Calculator;
    ZvArguments$ args = new ZvPrimArray<ZvObject$>(2, nullptr);
    (*args)[0] = Box(1);
    (*args)[1] = Box(2);
    ZvMethod$ method = target->GetType()->Find($L("Sum"), &ZvPrimitive<int>::s_type, args);
    ZvValue$ result;
    for (auto _ : state) {
        method->Invoke(target.Get(), result, args);
        DoNotOptimize(result.Get());
    }
}

void InvokeQt(benchmark::State& state) {
    QtCalculator target;
    const QMetaMethod method = target.metaObject()->method(target.metaObject()->indexOfMethod("Sum(int,int)"));
    for (auto _ : state) {
        int result = 0;
        method.invoke(&target, Qt::DirectConnection, Q_RETURN_ARG(int, result), Q_ARG(int, 1), Q_ARG(int, 2));
        DoNotOptimize(result);
    }
}

void InvokeRttr(benchmark::State& state) {
    RttrCalculator target;
    const rttr::method method = rttr::type::get<RttrCalculator>().get_method("Sum");
    const int a = 1, b = 2;
    for (auto _ : state) {
        rttr::variant result = method.invoke(target, a, b);
        DoNotOptimize(result);
    }
}

void CallVirtual(benchmark::State& state) {
    Calculator$ target = new Calculator;
    Calculator* pointer = target.Get();
    for (auto _ : state) {
        DoNotOptimize(pointer);
        DoNotOptimize(pointer->Sum(1, 2));
    }
}

// ---- a field --------------------------------------------------------------------------------------------------------------

void ReadFieldOurs(benchmark::State& state) {
    Calculator$ target = new Calculator;
    const ZvString$ name = $L("m_count");
    for (auto _ : state) {
        ZvObject$ value = target->GetType()->FindField(name)->GetValue(target.Get());
        DoNotOptimize(value.Get());
    }
}

void ReadFieldQt(benchmark::State& state) {
    QtCalculator target;
    for (auto _ : state) {
        QVariant value = target.property("count");
        DoNotOptimize(value);
    }
}

// ---- a vector, a checksum -------------------------------------------------------------------------------------------------

constexpr int Added = 10'000'000;

void AddOurs(benchmark::State& state) {
    for (auto _ : state) {
        ZvVector<float> vector;
        for (int i = 0; i < Added; ++i) vector.Add(static_cast<float>(i));
        DoNotOptimize(vector[Added - 1]);
    }
}

void AddPeer(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<float> vector;
        for (int i = 0; i < Added; ++i) vector.push_back(static_cast<float>(i));
        DoNotOptimize(vector[Added - 1]);
    }
}

std::vector<unsigned char> SomeBytes() {
    std::vector<unsigned char> bytes(64 << 20);
    uint32_t r = 1;
    for (unsigned char& byte : bytes) byte = static_cast<unsigned char>((r = r * 1664525 + 1013904223) >> 24);
    return bytes;
}

template <class Checksum>
void Crc(benchmark::State& state, Checksum checksum) {
    static const std::vector<unsigned char> bytes = SomeBytes();
    for (auto _ : state) DoNotOptimize(checksum(bytes));
}

void CrcOurs(benchmark::State& state) {
    Crc(state, [](const auto& bytes) { return Zv::crc32(bytes.data(), static_cast<int>(bytes.size())); });
}

void CrcPeer(benchmark::State& state) {
    Crc(state, [](const auto& bytes) { return crc32(0, bytes.data(), static_cast<uInt>(bytes.size())); });
}

}

// ---- a walk ---------------------------------------------------------------------------------------------------------------

class Leaf : public ZvObject {
    ZV_DECLARE_CLASS(Leaf)
    ZV_DECLARE_CREATE(Leaf)
    ZV_DECLARE_TABLES()
public:
    ZvObject$ m_left, m_right;
    int m_id = 0;
};
ZV_DECLARE_HANDLE(Leaf, ZvObject$);
ZV_DEFINE_CLASS(Leaf, (ZvObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(Leaf, ZV_FIELD(m_left), ZV_FIELD(m_right), ZV_FIELD(m_id))
ZV_METHODS(Leaf)
ZV_CONSTRUCTORS(Leaf, ZV_CONSTRUCTOR())

namespace {

constexpr size_t Walked = 1'000'000;

/// A tree of objects in which each outer link leads back to a shared one.
const std::vector<Leaf$>& Tree() {
    static const std::vector<Leaf$> leaves = [] {
        std::vector<Leaf$> all(Walked);
        for (size_t i = 0; i < Walked; ++i) {
            all[i] = new Leaf;
            all[i]->m_id = static_cast<int>(i);
        }
        for (size_t i = 0; i < Walked; ++i) {
            all[i]->m_left = all[2 * i + 1 < Walked ? 2 * i + 1 : i / 4];
            all[i]->m_right = all[2 * i + 2 < Walked ? 2 * i + 2 : i % 1000];
        }
        return all;
    }();
    return leaves;
}

class Counter : public ZvTraverser {
public:
    bool OnEnter(ZvObject$& o) override {
        m_sum += static_cast<Leaf*>(o.Get())->m_id;
        return true;
    }
    void OnLeave(ZvObject$&) override { ++m_left; }
    long long m_sum = 0;
    size_t m_left = 0;
};

void WalkOurs(benchmark::State& state) {
    ZvObject$ root = Tree()[0];
    for (auto _ : state) {
        Counter counter;
        counter.Traverse(root);
        if (counter.m_left != Walked) state.SkipWithError("not everything was walked");
        DoNotOptimize(counter.m_sum);
    }
}

/// Depth first with the way back in a vector, for a graph may be deeper than the stack.
struct Walk {
    struct Place {
        Leaf* leaf;
        int next;
    };
    void Enter(const ZvObject$& o) {
        auto* leaf = static_cast<Leaf*>(o.Get());
        if (leaf == nullptr || !seen.insert(leaf).second) return;
        sum += leaf->m_id;
        path.push_back({leaf, 0});
    }
    void From(const ZvObject$& root) {
        Enter(root);
        while (!path.empty()) {
            Place& place = path.back();
            switch (place.next++) {
            case 0: Enter(place.leaf->m_left); break;
            case 1: Enter(place.leaf->m_right); break;
            default:
                ++left;
                path.pop_back();
            }
        }
    }
    std::unordered_set<ZvObject*> seen;
    std::vector<Place> path;
    long long sum = 0;
    size_t left = 0;
};

void WalkPeer(benchmark::State& state) {
    const ZvObject$ root = Tree()[0];
    for (auto _ : state) {
        Walk walk;
        walk.From(root);
        if (walk.left != Walked) state.SkipWithError("not everything was walked");
        DoNotOptimize(walk.sum);
    }
}

BENCHMARK(FindAndInvokeOurs)->Name("find_and_invoke/ours");
BENCHMARK(FindAndInvokeQt)->Name("find_and_invoke/invokeMethod");
BENCHMARK(InvokeOurs)->Name("invoke_found/ours");
BENCHMARK(InvokeQt)->Name("invoke_found/QMetaMethod");
BENCHMARK(InvokeRttr)->Name("invoke_found/rttr");
BENCHMARK(CallVirtual)->Name("invoke_found/virtual_call");
BENCHMARK(ReadFieldOurs)->Name("read_int_field_by_name/ours");
BENCHMARK(ReadFieldQt)->Name("read_int_field_by_name/property");
BENCHMARK(AddOurs)->Name("vector_add_10000000/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(AddPeer)->Name("vector_add_10000000/push_back")->Unit(benchmark::kMillisecond);
BENCHMARK(CrcOurs)->Name("crc32_64_MiB/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(CrcPeer)->Name("crc32_64_MiB/zlib")->Unit(benchmark::kMillisecond);
BENCHMARK(WalkOurs)->Name("traverse_1000000/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(WalkPeer)->Name("traverse_1000000/hand_written")->Unit(benchmark::kMillisecond);

}

#include "reflection_bench.moc"
