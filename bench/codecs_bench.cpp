// Saving and loading a 4K picture of 8-bit RGB through the codecs, beside the libraries that they stand on, called directly as
// a program without ZVC would: the same settings, the same file on the same disk, memory for the pixels taken in each round.

#include <zvc/zvc.h>

#include <benchmark/benchmark.h>
#include <jpeglib.h>
#include <png.h>

#include <csetjmp>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr int Width = 3840, Height = 2160, Quality = 90;
constexpr size_t RowBytes = size_t(Width) * 3;

/// A file of this process's own, gone at its end.
struct TemporaryFile {
    explicit TemporaryFile(const char* extension)
        : path((std::filesystem::temp_directory_path() / ("zvc-bench-" + std::to_string(getpid()) + extension)).string()) {}
    ~TemporaryFile() { std::remove(path.c_str()); }
    const std::string path;
};

void Require(bool condition) {
    if (!condition) std::abort();
}

/// Top row first: waves of several lengths, an edge here and there, and some grain, as a photograph has them.
const std::vector<unsigned char>& Pixels() {
    static const std::vector<unsigned char> s_pixels = [] {
        std::vector<unsigned char> pixels(RowBytes * Height);
        uint32_t seed = 1;
        for (int y = 0; y < Height; ++y)
            for (int x = 0; x < Width; ++x)
                for (int c = 0; c < 3; ++c) {
                    seed = seed * 1664525 + 1013904223;
                    const double wave = 60 * std::sin(x * 0.011 + c) + 40 * std::sin((x + 2 * y) * 0.003) + (((x >> 7) ^ (y >> 7)) & 1) * 30;
                    const double value = 110 + wave + double(seed >> 29);
                    pixels[size_t(y) * RowBytes + size_t(x) * 3 + size_t(c)] = static_cast<unsigned char>(std::fmin(std::fmax(value, 0), 255));
                }
        return pixels;
    }();
    return s_pixels;
}

const ZvImage& Image() {
    static const ZvImage s_image(Width, -Height, 3, 8, 0, const_cast<unsigned char*>(Pixels().data()), RowBytes, false);
    return s_image;
}

std::vector<const unsigned char*> Rows(const unsigned char* pixels) {
    std::vector<const unsigned char*> rows(Height);
    for (size_t y = 0; y < Height; ++y) rows[y] = pixels + y * RowBytes;
    return rows;
}

void WritePng(const char* path) {
    FILE* file = std::fopen(path, "wb");
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png)) != 0) std::abort();
    png_init_io(png, file);
    png_set_IHDR(png, info, Width, Height, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    auto rows = Rows(Pixels().data());
    png_write_image(png, const_cast<png_bytepp>(rows.data()));
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    std::fclose(file);
}

unsigned char ReadPng(const char* path) {
    FILE* file = std::fopen(path, "rb");
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png)) != 0) std::abort();
    png_init_io(png, file);
    png_read_info(png, info);
    auto* pixels = static_cast<unsigned char*>(std::malloc(png_get_rowbytes(png, info) * png_get_image_height(png, info)));
    auto rows = Rows(pixels);
    png_read_image(png, const_cast<png_bytepp>(rows.data()));
    png_read_end(png, nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);
    const unsigned char last = pixels[RowBytes * Height - 1];
    std::free(pixels);
    return last;
}

void WriteJpeg(const char* path) {
    FILE* file = std::fopen(path, "wb");
    jpeg_compress_struct jpeg{};
    jpeg_error_mgr errors{};
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    jpeg_stdio_dest(&jpeg, file);
    jpeg.image_width = Width;
    jpeg.image_height = Height;
    jpeg.input_components = 3;
    jpeg.in_color_space = JCS_RGB;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, Quality, TRUE);
    jpeg_start_compress(&jpeg, TRUE);
    auto rows = Rows(Pixels().data());
    while (jpeg.next_scanline < jpeg.image_height)
        jpeg_write_scanlines(&jpeg, const_cast<JSAMPARRAY>(rows.data()) + jpeg.next_scanline, jpeg.image_height - jpeg.next_scanline);
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
    std::fclose(file);
}

unsigned char ReadJpeg(const char* path) {
    FILE* file = std::fopen(path, "rb");
    jpeg_decompress_struct jpeg{};
    jpeg_error_mgr errors{};
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&jpeg);
    jpeg_stdio_src(&jpeg, file);
    jpeg_read_header(&jpeg, TRUE);
    jpeg_start_decompress(&jpeg);
    auto* pixels = static_cast<unsigned char*>(std::malloc(RowBytes * jpeg.output_height));
    auto rows = Rows(pixels);
    while (jpeg.output_scanline < jpeg.output_height)
        jpeg_read_scanlines(&jpeg, const_cast<JSAMPARRAY>(rows.data()) + jpeg.output_scanline, jpeg.output_height - jpeg.output_scanline);
    jpeg_finish_decompress(&jpeg);
    jpeg_destroy_decompress(&jpeg);
    std::fclose(file);
    const unsigned char last = pixels[RowBytes * Height - 1];
    std::free(pixels);
    return last;
}

void SaveOurs(benchmark::State& state, const char* extension) {
    const TemporaryFile file(extension);
    for (auto _ : state) Require(Image().Save(file.path.c_str(), nullptr));
}

void LoadOurs(benchmark::State& state, const char* extension) {
    const TemporaryFile file(extension);
    Require(Image().Save(file.path.c_str(), nullptr));
    for (auto _ : state) {
        ZvImage image;
        Require(image.Load(file.path.c_str()));
        benchmark::DoNotOptimize(image.GetBaseAddress()[0]);
    }
}

void SavePeer(benchmark::State& state, const char* extension, void (*write)(const char*)) {
    const TemporaryFile file(extension);
    for (auto _ : state) write(file.path.c_str());
    // What is compared is the same work: the codec's file has the same number of bytes.
    const auto size = std::filesystem::file_size(file.path);
    Require(Image().Save(file.path.c_str(), nullptr) && std::filesystem::file_size(file.path) == size);
}

void LoadPeer(benchmark::State& state, const char* extension, unsigned char (*read)(const char*)) {
    const TemporaryFile file(extension);
    Require(Image().Save(file.path.c_str(), nullptr));
    for (auto _ : state) benchmark::DoNotOptimize(read(file.path.c_str()));
}

}

BENCHMARK_CAPTURE(SaveOurs, png, ".png")->Name("save_png_4k/ours")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(SavePeer, png, ".png", &WritePng)->Name("save_png_4k/libpng")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(LoadOurs, png, ".png")->Name("load_png_4k/ours")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(LoadPeer, png, ".png", &ReadPng)->Name("load_png_4k/libpng")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(SaveOurs, jpg, ".jpg")->Name("save_jpeg_4k/ours")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(SavePeer, jpg, ".jpg", &WriteJpeg)->Name("save_jpeg_4k/libjpeg-turbo")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(LoadOurs, jpg, ".jpg")->Name("load_jpeg_4k/ours")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(LoadPeer, jpg, ".jpg", &ReadJpeg)->Name("load_jpeg_4k/libjpeg-turbo")->Unit(benchmark::kMillisecond);
