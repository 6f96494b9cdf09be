// The worker of the benchmarks of channels, and of the bare peers: without words it serves a channel, and otherwise
//   bare          sums over pipes with threads and condition variables
//   byte          writes one byte at once and ends
//   pipe BYTES    reads so many bytes at a time, sums them as floats, writes the sum
//   mapped BYTES  the same of the memory that descriptor 3 maps, for each byte that it reads

#include "Bare.h"

#include <zvc/zvc.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <numeric>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

ZV_MODULE("Bench", nullptr, nullptr)

namespace {

using Floats = ZvPrimArray<float>;
using SharedFloats = ZvSharePrimArray<float>;

/// In eight columns, so that additions need not wait for one another.
int SumOf(const void* values, size_t count) {
    const auto* floats = static_cast<const float*>(values);
    float columns[8] = {};
    for (size_t i = 0; i + 8 <= count; i += 8)
        for (size_t k = 0; k < 8; ++k) columns[k] += floats[i + k];
    return static_cast<int>(std::accumulate(columns, columns + 8, 0.0));
}

}

class Summer : public ZvMarshalByRefObject {
    ZV_DECLARE_CLASS(Summer)
    ZV_DECLARE_TABLES()
public:
    int Sum(int a, int b) { return a + b; }
    int SumArray(const ZvHandle<Floats, ZvArrayValue$>& values) { return SumOf(values->GetBaseAddress(), values->Count()); }
    int SumShared(const ZvHandle<SharedFloats, ZvArrayValue$>& values) {
        m_shared = values;                        // kept, so that the next one finds it mapped
        return SumOf(values->GetBaseAddress(), values->Count());
    }

private:
    ZvHandle<SharedFloats, ZvArrayValue$> m_shared;
};
ZV_DEFINE_CLASS(Summer, (ZvMarshalByRefObject), ZV_TABLES)
ZV_FIELDS(Summer)
ZV_METHODS(Summer, ZV_METHOD(Sum, "a", "b"), ZV_METHOD(SumArray, "values"), ZV_METHOD(SumShared, "values"))
ZV_CONSTRUCTORS(Summer, ZV_CONSTRUCTOR())

namespace {

int ServeChannel() {
    remoting::RemotingConfigulation::RegisterActivatedType(ZvType$(&Summer::s_type));
    ZvChannel$ channel = new ZvChannel(8);
    channel->StartListening();
    remoting::Pump(channel).Run();
    channel->StopListening();
    return 0;
}

int ServeBare() {
    bare::End end(0, 1, 1);
    bare::Message message;
    while (end.Take(0, message)) {
        message.a += message.b;
        end.Send(message);
    }
    return 0;
}

bool ReadAll(void* data, size_t size) {
    for (char* p = static_cast<char*>(data); size != 0;) {
        const ssize_t n = read(0, p, size);
        if (n <= 0) return false;
        p += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

int ServePipe(size_t size) {
    const std::unique_ptr<float[]> values(new float[size / sizeof(float)]);
    while (ReadAll(values.get(), size)) {
        const int sum = SumOf(values.get(), size / sizeof(float));
        if (write(1, &sum, sizeof sum) != sizeof sum) break;
    }
    return 0;
}

int ServeMapped(size_t size) {
    const auto* values = static_cast<const float*>(mmap(nullptr, size, PROT_READ, MAP_SHARED, 3, 0));
    char byte;
    while (ReadAll(&byte, 1)) {
        const int sum = SumOf(values, size / sizeof(float));
        if (write(1, &sum, sizeof sum) != sizeof sum) break;
    }
    return 0;
}

}

int main(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    const size_t size = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 0;
    if (mode == "bare") return ServeBare();
    if (mode == "byte") return write(1, "x", 1) == 1 ? 0 : 1;
    if (mode == "pipe") return ServePipe(size);
    if (mode == "mapped") return ServeMapped(size);
    return ServeChannel();
}
