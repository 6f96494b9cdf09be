// Resampling of 8-bit RGB pictures and packing of colours, in one thread, beside what others have for the same work.

#include <zvc/zvc.h>

#include "../tests/support/PlainResize.h"

#include <benchmark/benchmark.h>
#include <opencv2/imgproc.hpp>
#include <vips/vips.h>
#include <zimg.h>

#include <cmath>
#include <cstdlib>
#include <vector>

#define STB_IMAGE_RESIZE_IMPLEMENTATION
#define STB_IMAGE_RESIZE_STATIC
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wunused-parameter"
#include <stb/stb_image_resize.h>
#pragma GCC diagnostic pop

namespace {

struct Size {
    int width, height;
};
constexpr Size Large{3840, 2160}, Small{1920, 1080};

size_t BytesOf(Size size) { return size_t(size.width) * size_t(size.height) * 3; }

/// Slow waves, edges and noise: what a photograph has.
const std::vector<unsigned char>& Picture(Size size) {
    static std::vector<unsigned char> s_pictures[2];
    std::vector<unsigned char>& picture = s_pictures[size.width == Large.width];
    if (picture.empty()) {
        uint32_t state = 1;
        picture.resize(BytesOf(size));
        size_t at = 0;
        for (int y = 0; y < size.height; ++y)
            for (int x = 0; x < size.width; ++x)
                for (int c = 0; c < 3; ++c) {
                    state = state * 1664525 + 1013904223;
                    const double wave = 100 * std::sin(x * 0.01 * (c + 1)) * std::cos(y * 0.013) + ((x / 64 + y / 64) % 2 == 0 ? 20 : 0);
                    picture[at++] = static_cast<unsigned char>(std::clamp(110 + wave + (state >> 27), 0.0, 255.0));
                }
    }
    return picture;
}

template <class Filter>
void Ours(benchmark::State& state, Size from, Size to) {
    auto* pixels = const_cast<unsigned char*>(Picture(from).data());
    const ZvImage$ image = new ZvImage(from.width, from.height, 3, 8, 0, pixels, from.width * 3, false);
    for (auto _ : state) benchmark::DoNotOptimize(image->Resize(to.width, to.height, Filter())->GetBaseAddress());
}

void Plain(benchmark::State& state, Size from, Size to, const char* filter) {
    plain::Samples<uint8_t> picture(from.width, from.height, 3);
    picture.data = Picture(from);
    for (auto _ : state) benchmark::DoNotOptimize(plain::Resize(picture, to.width, to.height, plain::FilterNamed(filter)).data.data());
}

void OpenCv(benchmark::State& state, Size from, Size to, int interpolation) {
    cv::setNumThreads(1);
    const cv::Mat source(from.height, from.width, CV_8UC3, const_cast<unsigned char*>(Picture(from).data()));
    cv::Mat target(to.height, to.width, CV_8UC3);
    for (auto _ : state) {
        cv::resize(source, target, cv::Size(to.width, to.height), 0, 0, interpolation);
        benchmark::DoNotOptimize(target.data);
    }
}

void Vips(benchmark::State& state, Size from, Size to) {
    static const int s_started = VIPS_INIT("bench");
    vips_concurrency_set(1);
    vips_cache_set_max(0);
    for (auto _ : state) {
        VipsImage* source = vips_image_new_from_memory(Picture(from).data(), BytesOf(from), from.width, from.height, 3, VIPS_FORMAT_UCHAR);
        VipsImage* resized = nullptr;
        size_t bytes = 0;
        if (s_started != 0 || vips_resize(source, &resized, double(to.width) / from.width, "kernel", VIPS_KERNEL_LANCZOS3, nullptr) != 0) {
            state.SkipWithError("vips");
            break;
        }
        void* target = vips_image_write_to_memory(resized, &bytes);
        benchmark::DoNotOptimize(target);
        if (bytes != BytesOf(to)) state.SkipWithError("vips");
        g_free(target);
        g_object_unref(resized);
        g_object_unref(source);
    }
}

void Stb(benchmark::State& state, Size from, Size to) {
    std::vector<unsigned char> target(BytesOf(to));
    for (auto _ : state) {
        stbir_resize_uint8_generic(Picture(from).data(), from.width, from.height, 0, target.data(), to.width, to.height, 0, 3, STBIR_ALPHA_CHANNEL_NONE, 0,
                                   STBIR_EDGE_CLAMP, STBIR_FILTER_TRIANGLE, STBIR_COLORSPACE_LINEAR, nullptr);
        benchmark::DoNotOptimize(target.data());
    }
}

/// A picture in three planes, as zimg takes it, with rows of whole cache lines.
struct Planes {
    explicit Planes(Size size) : pitch((size.width + 63) / 64 * 64), height(size.height) {
        for (auto*& plane : planes) plane = static_cast<unsigned char*>(std::aligned_alloc(64, size_t(pitch) * size_t(height)));
    }
    ~Planes() {
        for (auto* plane : planes) std::free(plane);
    }
    Planes(const Planes&) = delete;

    int pitch, height;
    unsigned char* planes[3];
};

void Zimg(benchmark::State& state, Size from, Size to, zimg_resample_filter_e filter) {
    Planes source(from), target(to);
    for (int y = 0; y < from.height; ++y)
        for (int x = 0; x < from.width; ++x)
            for (int c = 0; c < 3; ++c) source.planes[c][y * source.pitch + x] = Picture(from)[size_t((y * from.width + x) * 3 + c)];

    zimg_image_format in, out;
    zimg_graph_builder_params params;
    zimg_image_format_default(&in, ZIMG_API_VERSION);
    zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
    in.width = static_cast<unsigned>(from.width);
    in.height = static_cast<unsigned>(from.height);
    in.pixel_type = ZIMG_PIXEL_BYTE;
    in.color_family = ZIMG_COLOR_RGB;
    in.matrix_coefficients = ZIMG_MATRIX_RGB;
    in.pixel_range = ZIMG_RANGE_FULL;
    out = in;
    out.width = static_cast<unsigned>(to.width);
    out.height = static_cast<unsigned>(to.height);
    params.resample_filter = filter;
    if (filter == ZIMG_RESIZE_LANCZOS) params.filter_param_a = 3;
    params.cpu_type = ZIMG_CPU_AUTO_64B;

    for (auto _ : state) {
        zimg_filter_graph* graph = zimg_filter_graph_build(&in, &out, &params);
        size_t room = 0;
        if (graph == nullptr || zimg_filter_graph_get_tmp_size(graph, &room) != ZIMG_ERROR_SUCCESS) {
            state.SkipWithError("zimg");
            break;
        }
        void* scratch = std::aligned_alloc(64, (room + 63) / 64 * 64);
        zimg_image_buffer_const src = {ZIMG_API_VERSION, {}};
        zimg_image_buffer dst = {ZIMG_API_VERSION, {}};
        for (int c = 0; c < 3; ++c) {
            src.plane[c] = {source.planes[c], source.pitch, ZIMG_BUFFER_MAX};
            dst.plane[c] = {target.planes[c], target.pitch, ZIMG_BUFFER_MAX};
        }
        if (zimg_filter_graph_process(graph, &src, &dst, scratch, nullptr, nullptr, nullptr, nullptr) != ZIMG_ERROR_SUCCESS) state.SkipWithError("zimg");
        benchmark::DoNotOptimize(target.planes[0]);
        std::free(scratch);
        zimg_filter_graph_free(graph);
    }
}

/// The larger of two pictures, copied.
void Copy(benchmark::State& state, Size from, Size to) {
    const std::vector<unsigned char>& source = Picture(from.width > to.width ? from : to);
    std::vector<unsigned char> target(source.size());
    for (auto _ : state) {
        std::memcpy(target.data(), source.data(), source.size());
        benchmark::DoNotOptimize(target.data());
    }
}

template <class F, class... Args>
int Resize(const char* name, F function, Args... args) {
    benchmark::RegisterBenchmark(name, [=](benchmark::State& state) { function(state, args...); })
        ->Unit(benchmark::kMillisecond)
        ->MeasureProcessCPUTime();                          // libvips works in threads of its own
    return 0;
}

[[maybe_unused]] const int s_registered[] = {
    Resize("shrink_lanczos3/ours", Ours<ZvLanczos3Filter>, Large, Small),
    Resize("shrink_lanczos3/libvips", Vips, Large, Small),
    Resize("shrink_lanczos3/opencv_lanczos4", OpenCv, Large, Small, cv::INTER_LANCZOS4),
    Resize("shrink_lanczos3/zimg", Zimg, Large, Small, ZIMG_RESIZE_LANCZOS),
    Resize("shrink_lanczos3/plain", Plain, Large, Small, "ZvLanczos3Filter"),
    Resize("shrink_triangle/ours", Ours<ZvTriangleFilter>, Large, Small),
    Resize("shrink_triangle/stb_image_resize", Stb, Large, Small),
    Resize("shrink_triangle/zimg", Zimg, Large, Small, ZIMG_RESIZE_BILINEAR),
    Resize("shrink_triangle/plain", Plain, Large, Small, "ZvTriangleFilter"),
    Resize("shrink_triangle/memcpy", Copy, Large, Small),
    Resize("enlarge_lanczos3/ours", Ours<ZvLanczos3Filter>, Small, Large),
    Resize("enlarge_lanczos3/opencv_lanczos4", OpenCv, Small, Large, cv::INTER_LANCZOS4),
    Resize("enlarge_lanczos3/zimg", Zimg, Small, Large, ZIMG_RESIZE_LANCZOS),
    Resize("enlarge_lanczos3/plain", Plain, Small, Large, "ZvLanczos3Filter"),
    Resize("enlarge_triangle/ours", Ours<ZvTriangleFilter>, Small, Large),
    Resize("enlarge_triangle/stb_image_resize", Stb, Small, Large),
    Resize("enlarge_triangle/zimg", Zimg, Small, Large, ZIMG_RESIZE_BILINEAR),
    Resize("enlarge_triangle/plain", Plain, Small, Large, "ZvTriangleFilter"),
    Resize("enlarge_triangle/memcpy", Copy, Small, Large),
};

constexpr size_t Colors = 10'000'000;

const std::vector<zvcolor>& SomeColors() {
    static const std::vector<zvcolor> s_colors = [] {
        std::vector<zvcolor> colors(Colors);
        uint32_t state = 1;
        const auto next = [&state] { return static_cast<float>((state = state * 1664525 + 1013904223) >> 8) / 65536.0f; };
        for (zvcolor& c : colors) c = zvcolor(next(), next(), next());
        return colors;
    }();
    return s_colors;
}

void PackOurs(benchmark::State& state) {
    const std::vector<zvcolor>& colors = SomeColors();
    std::vector<zvpackedcolor> packed(Colors, zvpackedcolor(0, 0, 0, 0));
    std::vector<zvcolor> back(Colors);
    for (auto _ : state) {
        for (size_t i = 0; i < Colors; ++i) packed[i] = zvpackedcolor(colors[i]);
        benchmark::DoNotOptimize(packed.data());
        for (size_t i = 0; i < Colors; ++i) back[i] = packed[i];
        benchmark::DoNotOptimize(back.data());
    }
}

zvpackedcolor PackByFrexp(const zvcolor& c) {
    const float m = std::max(std::max(c.r, c.g), c.b);
    if (m < 1e-32f) return {0, 0, 0, 0};
    int exponent = 0;
    const auto factor = static_cast<float>(static_cast<float>(std::frexp(m, &exponent)) * 256.0 / m);
    const auto byte = [factor](float channel) { return static_cast<unsigned char>(static_cast<int>(factor * channel)); };
    return {byte(c.r), byte(c.g), byte(c.b), static_cast<unsigned char>(exponent + 128)};
}

zvcolor UnpackByLdexp(const zvpackedcolor& p) {
    if (p.e == 0) return zvcolor::black;
    const auto f = static_cast<float>(std::ldexp(1.0, p.e - 136));
    return {(static_cast<float>(p.r) + 0.5f) * f, (static_cast<float>(p.g) + 0.5f) * f, (static_cast<float>(p.b) + 0.5f) * f};
}

void PackPlain(benchmark::State& state) {
    const std::vector<zvcolor>& colors = SomeColors();
    std::vector<zvpackedcolor> packed(Colors, zvpackedcolor(0, 0, 0, 0));
    std::vector<zvcolor> back(Colors);
    for (auto _ : state) {
        for (size_t i = 0; i < Colors; ++i) packed[i] = PackByFrexp(colors[i]);
        benchmark::DoNotOptimize(packed.data());
        for (size_t i = 0; i < Colors; ++i) back[i] = UnpackByLdexp(packed[i]);
        benchmark::DoNotOptimize(back.data());
    }
}

BENCHMARK(PackOurs)->Name("pack_unpack_colors/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(PackPlain)->Name("pack_unpack_colors/frexp_ldexp")->Unit(benchmark::kMillisecond);

}
