// Reads a mesh, makes a document of it, saves the document, and has a second process load the file and compare.
//
//     scene mesh.obj [document.zvc]
//     scene --load document.zvc mesh.obj      what the second process does

#include "ObjReader.h"
#include "Scene.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

using namespace demo;

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

int Save(const std::string& meshFile, const std::string& documentFile, const char* program) {
    std::string error;
    const Mesh$ mesh = ReadObj(meshFile, error);
    if (!mesh) return Fail(meshFile, error);
    const Document$ document = MakeDocument(mesh, std::filesystem::path(meshFile).stem().c_str());
    std::printf("Read %s: %llu points, %llu triangles.\n", meshFile.c_str(), mesh->m_points->Count(), mesh->m_corners->Count() / 3);
    std::printf("Made a document of it: four places that share one mesh and one material, %zu objects in all.\n",
                CountObjects(document));

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
    ZvObject$ loaded;
    try {
        ZvStream$ file = new ZvFileStream(documentFile.c_str(), ZvFile::Read, ZvFile::Open);
        NewCoder()->Read(file, loaded);
    } catch (const ZvCoderException& e) {
        return Fail(documentFile, std::string("is no document (") + e.function + ", cause " + std::to_string(e.cause) + ")");
    }
    const double milliseconds = clock.Milliseconds();
    const Document$ document = loaded;
    const Node$ root = document ? document->m_root : ZvObject$();
    const ZvArrayList$ places = root ? root->m_children : ZvObject$();
    const Node$ first = places && places->Count() != 0 ? places->ItemAt(0) : ZvObject$();
    const Mesh$ mesh = first ? first->m_mesh : ZvObject$();
    if (!mesh) return Fail(documentFile, "is a file of the right form, but no document of a scene");

    const uintmax_t bytes = std::filesystem::file_size(documentFile);
    std::printf("A second process loaded it in %.2f ms (%.0f MB/s): %zu objects.\n", milliseconds, Rate(bytes, milliseconds),
                CountObjects(document));
    std::string error;
    const Mesh$ original = ReadObj(meshFile, error);
    bool isShared = true;
    for (size_t i = 0; i < places->Count(); ++i) {
        const Node$ place = places->ItemAt(i);
        isShared = isShared && place && place->m_mesh == mesh && place->m_parent == root;
    }
    if (!original || !mesh->Equals(original.Get()) || !isShared) return Fail(documentFile, "is not what was saved");
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
