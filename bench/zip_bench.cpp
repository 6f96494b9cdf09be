// Compressed streams beside zlib's own gz files, XML text beside libxml2's writer, and random numbers.

#include <zvc/zvc.h>

#include <benchmark/benchmark.h>
#include <libxml/xmlwriter.h>
#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr size_t Size = 64 << 20;
constexpr size_t Large = 16 * 1024, Small = 8;

/// A file of the benchmark's own, which goes with the program.
class Scratch {
public:
    explicit Scratch(const char* name) : m_path(std::filesystem::temp_directory_path() / (name + std::to_string(getpid()))) {}
    ~Scratch() { std::filesystem::remove(m_path); }
    const char* Path() const { return m_path.c_str(); }

private:
    std::string m_path;
};

/// Half of it numbers as they stand in meshes, half of it text: compresses to about a third.
const std::string& Content() {
    static const std::string s_content = [] {
        std::mt19937 random;
        std::string content;
        content.reserve(Size);
        while (content.size() < Size) {
            for (int i = 0; i < 1000; ++i) {
                const float value = static_cast<float>(random() % 4096) / 16.0f;
                content.append(reinterpret_cast<const char*>(&value), sizeof value);
            }
            for (int i = 0; i < 200; ++i) content += "node " + std::to_string(random() % 1000) + " of the mesh\n";
        }
        content.resize(Size);
        return content;
    }();
    return s_content;
}

/// The content as a gzip file that zlib wrote, for the readers.
const char* Compressed() {
    static const Scratch s_file("zvc-bench-read");
    static const bool s_written = [] {
        gzFile file = gzopen(s_file.Path(), "wb");
        gzwrite(file, Content().data(), static_cast<unsigned int>(Size));
        return gzclose(file) == Z_OK;
    }();
    if (!s_written) std::abort();
    return s_file.Path();
}

void WriteAll(ZvStream& stream, size_t block) {
    const char* const content = Content().data();
    for (size_t at = 0; at < Size; at += block)
        if (stream.Write(content + at, static_cast<long long>(block)) != static_cast<long long>(block)) std::abort();
}

void ReadAll(ZvStream& stream, size_t block) {
    std::vector<char> to(block);
    for (size_t at = 0; at < Size; at += block)
        if (stream.Read(to.data(), static_cast<long long>(block)) != static_cast<long long>(block)) std::abort();
    benchmark::DoNotOptimize(to.data());
}

void ZipWrite(benchmark::State& state, size_t block) {
    const Scratch file("zvc-bench-ours");
    Content();
    for (auto _ : state) {
        ZvZipStream stream(file.Path(), "wb");
        WriteAll(stream, block);
    }
}

void ZipRead(benchmark::State& state, size_t block) {
    Compressed();
    for (auto _ : state) {
        ZvZipStream stream(Compressed(), "rb");
        ReadAll(stream, block);
    }
}

void StreamWrite(benchmark::State& state, size_t block) {
    const Scratch file("zvc-bench-ours");
    Content();
    for (auto _ : state) {
        std::fstream wrapped(file.Path(), std::ios::in | std::ios::out | std::ios::binary | std::ios::trunc);
        ZvStdIOZipStream stream(wrapped, ZvIStdIOZipStream::OpenWrite);
        WriteAll(stream, block);
    }
}

void StreamRead(benchmark::State& state, size_t block) {
    Compressed();
    for (auto _ : state) {
        std::fstream wrapped(Compressed(), std::ios::in | std::ios::binary);
        ZvStdIOZipStream stream(wrapped, ZvIStdIOZipStream::OpenRead);
        ReadAll(stream, block);
    }
}

void ZlibWrite(benchmark::State& state, size_t block) {
    const Scratch path("zvc-bench-zlib");
    const char* const content = Content().data();
    for (auto _ : state) {
        gzFile file = gzopen(path.Path(), "wb");
        for (size_t at = 0; at < Size; at += block)
            if (gzwrite(file, content + at, static_cast<unsigned int>(block)) != static_cast<int>(block)) std::abort();
        gzclose(file);
    }
}

void ZlibRead(benchmark::State& state, size_t block) {
    Compressed();
    for (auto _ : state) {
        gzFile file = gzopen(Compressed(), "rb");
        std::vector<char> to(block);
        for (size_t at = 0; at < Size; at += block)
            if (gzread(file, to.data(), static_cast<unsigned int>(block)) != static_cast<int>(block)) std::abort();
        benchmark::DoNotOptimize(to.data());
        gzclose(file);
    }
}

/// The example's document of a mesh of 20,000 points.
ZvObject$ Document() {
    static const ZvObject$ s_document = [] {
        const Scratch path("zvc-bench-mesh");
        std::ofstream mesh(path.Path());
        std::mt19937 random;
        const int rows = 100, columns = 200;
        for (int i = 0; i < rows * columns; ++i)
            mesh << "v " << i % columns * 0.37 << ' ' << i / columns * 1.1 << ' ' << static_cast<double>(random() % 1000) / 300.0 << '\n';
        for (int y = 1; y < rows; ++y)
            for (int x = 1; x < columns; ++x) {
                const int at = y * columns + x + 1;
                mesh << "f " << at << ' ' << at - 1 << ' ' << at - columns - 1 << ' ' << at - columns << '\n';
            }
        mesh.close();
        ZvArguments$ args = new ZvPrimArray<ZvObject$>(1, nullptr);
        (*args)[0] = new ZvString(path.Path());
        return ZvSystem::New(new ZvString("scene_model.demo::Document"), args);
    }();
    return s_document;
}

void Save(ZvStream$ stream) {
    const ZvBinaryCoder$ coder = new ZvBinaryCoder(new ZvStreamingContext(ZvStreamingContext::TrackObjects));
    coder->Write(stream, Document());
}

void SceneZip(benchmark::State& state) {
    const Scratch file("zvc-bench-scene");
    Document();
    for (auto _ : state) Save(new ZvZipStream(file.Path(), "wb"));
}

void SceneStream(benchmark::State& state) {
    const Scratch file("zvc-bench-scene");
    Document();
    for (auto _ : state) {
        std::fstream wrapped(file.Path(), std::ios::in | std::ios::out | std::ios::binary | std::ios::trunc);
        Save(ZvIStdIOZipStream::Create(wrapped, ZvIStdIOZipStream::OpenWrite));
    }
}

void ScenePlain(benchmark::State& state) {
    const Scratch plain("zvc-bench-plain"), packed("zvc-bench-packed");
    Document();
    for (auto _ : state) {
        Save(new ZvFileStream(plain.Path(), ZvFile::Write, ZvFile::Create));
        std::ifstream in(plain.Path(), std::ios::binary);
        std::string bytes(std::filesystem::file_size(plain.Path()), '\0');
        in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        gzFile file = gzopen(packed.Path(), "wb");
        gzwrite(file, bytes.data(), static_cast<unsigned int>(bytes.size()));
        gzclose(file);
    }
}

// A million attributes, ten an element. Every tenth value has something to escape.
constexpr int Elements = 100000, AttributesEach = 10;
constexpr const char* Names[AttributesEach] = {"id", "name", "kind", "x", "y", "z", "material", "parent", "visible", "comment"};
constexpr const char* Values[AttributesEach] = {"4711",  "left front wheel", "mesh", "1.25", "-0.333333", "17",
                                                "rubber", "chassis",         "1",    "bolt & \"nut\" < 3"};

void XmlOurs(benchmark::State& state) {
    ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$> bytes = new ZvPrimArray<unsigned char>(64 << 20, nullptr);
    const ZvString$ element = new ZvString("node");
    std::vector<ZvString$> names, values;
    for (int i = 0; i < AttributesEach; ++i) {
        names.push_back(new ZvString(Names[i]));
        values.push_back(new ZvString(Values[i]));
    }
    for (auto _ : state) {
        const ZvStream$ stream = new ZvMemoryStream(bytes);
        const ZvXmlWriter$ writer = ZvXmlWriter::Create(stream, true);
        writer->WriteStartDocument(true);
        writer->WriteStartElement(new ZvString("scene"));
        for (int i = 0; i < Elements; ++i) {
            writer->WriteStartElement(element);
            for (size_t a = 0; a < AttributesEach; ++a) writer->WriteAttributeString(names[a], values[a]);
            writer->WriteEndElement();
        }
        writer->WriteEndElement();
        if (stream->Fail()) std::abort();
    }
}

const xmlChar* Xml(const char* text) { return reinterpret_cast<const xmlChar*>(text); }

void XmlTheirs(benchmark::State& state) {
    for (auto _ : state) {
        xmlBufferPtr buffer = xmlBufferCreateSize(64 << 20);
        xmlTextWriterPtr writer = xmlNewTextWriterMemory(buffer, 0);
        xmlTextWriterSetIndent(writer, 1);
        xmlTextWriterStartDocument(writer, "1.0", "utf-8", "yes");
        xmlTextWriterStartElement(writer, Xml("scene"));
        for (int i = 0; i < Elements; ++i) {
            xmlTextWriterStartElement(writer, Xml("node"));
            for (int a = 0; a < AttributesEach; ++a) xmlTextWriterWriteAttribute(writer, Xml(Names[a]), Xml(Values[a]));
            xmlTextWriterEndElement(writer);
        }
        xmlTextWriterEndDocument(writer);
        xmlFreeTextWriter(writer);
        xmlBufferFree(buffer);
    }
}

void RandomOurs(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(ZvMath::Random());
}

void RandomTheirs(benchmark::State& state) {
    std::mt19937 random;
    for (auto _ : state) benchmark::DoNotOptimize(random() * 0x1p-32);
}

void Register(const char* name, void (*run)(benchmark::State&, size_t), size_t block) {
    benchmark::RegisterBenchmark(name, run, block)->Unit(benchmark::kMillisecond);
}

const bool s_registered = [] {
    Register("zip_write_16k/ours", ZipWrite, Large);
    Register("zip_write_8/ours", ZipWrite, Small);
    Register("zip_read_16k/ours", ZipRead, Large);
    Register("zip_read_8/ours", ZipRead, Small);
    Register("iostream_write_16k/ours", StreamWrite, Large);
    Register("iostream_write_8/ours", StreamWrite, Small);
    Register("iostream_read_16k/ours", StreamRead, Large);
    Register("iostream_read_8/ours", StreamRead, Small);
    for (const char* family : {"zip", "iostream"}) {
        const std::string name = family;
        Register((name + "_write_16k/gzwrite").c_str(), ZlibWrite, Large);
        Register((name + "_write_8/gzwrite").c_str(), ZlibWrite, Small);
        Register((name + "_read_16k/gzread").c_str(), ZlibRead, Large);
        Register((name + "_read_8/gzread").c_str(), ZlibRead, Small);
    }
    return true;
}();

BENCHMARK(SceneZip)->Name("scene_save_zip/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(ScenePlain)->Name("scene_save_zip/plain_and_gzwrite")->Unit(benchmark::kMillisecond);
BENCHMARK(SceneStream)->Name("scene_save_iostream/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(ScenePlain)->Name("scene_save_iostream/plain_and_gzwrite")->Unit(benchmark::kMillisecond);
BENCHMARK(XmlOurs)->Name("xml_attributes/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(XmlTheirs)->Name("xml_attributes/xmlTextWriter")->Unit(benchmark::kMillisecond);
BENCHMARK(RandomOurs)->Name("random/ours");
BENCHMARK(RandomTheirs)->Name("random/mt19937");

}
