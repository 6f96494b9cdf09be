// Reads a mesh, makes a document of it, saves the document, and has a second process load the file and compare.
//
//     scene mesh.obj [document.zvc]
//     scene --load document.zvc mesh.obj      what the second process does
//
// The program knows none of the document's classes. The first process asks a plug-in by its name for a new document; the
// second has no name to ask for: the coder loads the plug-in whose name stands in the file.

#include <zvc/zvc.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <string>

namespace {

class Clock {
public:
    double Milliseconds() const {
        return static_cast<double>(ZvSystem::RealTimeNow() - m_start) * 1000.0 / static_cast<double>(ZvSystem::RealTimeFrequency());
    }

private:
    unsigned long long m_start = ZvSystem::RealTimeNow();
};

int Fail(const std::string& what, const std::string& why) {
    std::fprintf(stderr, "scene: %s: %s\n", what.c_str(), why.c_str());
    return 1;
}

double Rate(uintmax_t bytes, double milliseconds) { return static_cast<double>(bytes) / 1e6 / (milliseconds / 1000.0); }

ZvBinaryCoder$ NewCoder() { return new ZvBinaryCoder(new ZvStreamingContext(ZvStreamingContext::TrackObjects)); }

ZvArguments$ Arguments(std::initializer_list<ZvObject$> values) {
    ZvArguments$ args = new ZvPrimArray<ZvObject$>(values.size(), nullptr);
    unsigned long long i = 0;
    for (const ZvObject$& value : values) (*args)[i++] = value;
    return args;
}

/// Calls a method by its name; false for an object that has none of that name, result and arguments.
bool Call(const ZvObject$& target, const char* name, ZvType& result, ZvValue$& answer, std::initializer_list<ZvObject$> values = {}) {
    ZvArguments$ args = Arguments(values);
    const ZvMethod$ method = target->GetType()->Find(new ZvString(name), &result, args);
    if (!method) return false;
    method->Invoke(target.Get(), answer, args);
    return true;
}

ZvString$ TextOf(const ZvValue$& answer) {
    ZvObject$ text;
    if (answer) answer->GetValue(&text, ZvVtObjectRef, 0);
    return text;
}

int NumberOf(const ZvValue$& answer) {
    int number = 0;
    if (answer) answer->GetValue(&number, ZvVtInt32, 0);
    return number;
}

int Save(const std::string& meshFile, const std::string& documentFile, const char* program) {
    ZvObject$ document;
    try {
        document = ZvSystem::New(new ZvString("scene_model.demo::Document"), Arguments({new ZvString(meshFile.c_str())}));
    } catch (ZvPluginUnloadedException& e) {
        return Fail(e.What()->CStr(), "is a plug-in that cannot be loaded");
    } catch (ZvException& e) {
        return Fail(meshFile, e.What()->CStr());
    }
    ZvValue$ summary, count;
    if (!document || !Call(document, "Summary", ZvString::s_type, summary) ||
        !Call(document, "CountObjects", ZvPrimitive<int>::s_type, count))
        return Fail("scene_model", "is a plug-in without documents");
    std::printf("Read %s: %s.\n", meshFile.c_str(), TextOf(summary)->CStr());
    std::printf("Made a document of it: four places that share one mesh and one material, %d objects in all.\n", NumberOf(count));

    Clock clock;
    {
        ZvStream$ file = new ZvFileStream(documentFile.c_str(), ZvFile::Write, ZvFile::Create);
        NewCoder()->Write(file, document);
    }
    const double milliseconds = clock.Milliseconds();
    const uintmax_t bytes = std::filesystem::file_size(documentFile);
    std::printf("Saved it: %ju bytes in %.2f ms (%.0f MB/s). The mesh and the material are in the file once.\n", bytes,
                milliseconds, Rate(bytes, milliseconds));
    std::fflush(stdout);
    const std::string command = std::string("'") + program + "' --load '" + documentFile + "' '" + meshFile + "'";
    return std::system(command.c_str()) == 0 ? 0 : 1;
}

int Load(const std::string& documentFile, const std::string& meshFile) {
    Clock clock;
    ZvObject$ document;
    try {
        ZvStream$ file = new ZvFileStream(documentFile.c_str(), ZvFile::Read, ZvFile::Open);
        NewCoder()->Read(file, document);
    } catch (const ZvCoderException& e) {
        return Fail(documentFile, std::string("is no document (") + e.function + ", cause " + std::to_string(e.cause) + ")");
    }
    const double milliseconds = clock.Milliseconds();
    ZvValue$ count, fault;
    if (!document || !Call(document, "CountObjects", ZvPrimitive<int>::s_type, count) ||
        !Call(document, "Check", ZvString::s_type, fault, {new ZvString(meshFile.c_str())}))
        return Fail(documentFile, "is a file of the right form, but no document of a scene");

    const uintmax_t bytes = std::filesystem::file_size(documentFile);
    std::printf("A second process loaded it in %.2f ms (%.0f MB/s): %d objects. It had never heard of their classes; the\n"
                "plug-in %s came by its name in the file.\n",
                milliseconds, Rate(bytes, milliseconds), NumberOf(count), document->GetType()->GetModule()->name);
    if (const ZvString$ text = TextOf(fault)) return Fail(documentFile, text->CStr());
    std::printf("The same, point for point; shared objects are still shared, and every place knows its parent again.\n");
    return 0;
}

}

int main(int argc, char** argv) {
    if (argc == 4 && std::string(argv[1]) == "--load") return Load(argv[2], argv[3]);
    if (argc != 2 && argc != 3) {
        std::fprintf(stderr, "usage: scene mesh.obj [document.zvc]\n");
        return 1;
    }
    const bool keeps = argc == 3;
    const std::string document = keeps ? argv[2] : (std::filesystem::temp_directory_path() / "zvc-scene.zvc").string();
    const int result = Save(argv[1], document, argv[0]);
    if (!keeps) std::filesystem::remove(document);
    return result;
}
