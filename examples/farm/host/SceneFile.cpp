#include "SceneFile.h"

#include "Calls.h"

#include <fstream>

namespace farm {

namespace {

bool IsCompressed(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return file.get() == 0x1F && file.get() == 0x8B;
}

ZvBinaryCoder$ NewCoder() { return new ZvBinaryCoder(new ZvStreamingContext(ZvStreamingContext::TrackObjects)); }

ZvObject$ New(const char* type, std::initializer_list<ZvObject$> arguments) {
    const ZvObject$ object = ZvSystem::New(new ZvString((std::string("farm_scene.") + type).c_str()), Arguments(arguments));
    if (!object) throw ZvException((std::string("farm_scene has no ") + type).c_str());
    return object;
}

/// The scene of an earlier job.
ZvObject$ SceneOfDocument(const std::string& path) {
    ZvObject$ document;
    try {
        ZvStream$ file = new ZvZipStream(path.c_str(), "rb");
        NewCoder()->Read(file, document);
    } catch (const ZvCoderException& e) {
        throw ZvException((path + ": is no document (" + e.function + ", cause " + std::to_string(e.cause) + ")").c_str());
    }
    const bool isDocument = document && *document->GetType()->GetName() == "farm::Document";
    ZvObject$ scene;
    if (isDocument) scene = ValueOf<ZvObject$>(Call(document, ZvPrimitive<ZvObject$>::s_type, "GetScene"));
    if (!scene || *scene->GetType()->GetName() != "farm::Scene")
        throw ZvException((path + ": is no document of a scene").c_str());
    return scene;
}

}

SceneFile::SceneFile(const Options& options) {
    const ZvString$ path = new ZvString(options.scene.c_str()), meshFolder = new ZvString(options.meshFolder.c_str());
    scene = IsCompressed(options.scene) ? SceneOfDocument(options.scene) : New("farm::Scene", {path, meshFolder});
    Call(scene, ZvVoid::s_type, "SetPicture", {Box(options.width), Box(options.height), Box(options.samples)});
    summary = ValueOf<ZvObject$>(Call(scene, ZvString::s_type, "Summary"));
    width = ValueOf<int>(Call(scene, ZvPrimitive<int>::s_type, "Width"));
    height = ValueOf<int>(Call(scene, ZvPrimitive<int>::s_type, "Height"));
    samples = ValueOf<int>(Call(scene, ZvPrimitive<int>::s_type, "Samples"));
}

bool SceneFile::SaveDocument(const std::string& path, const ZvObject$& colours) const {
    ZvStream$ file = new ZvZipStream(path.c_str(), "wb6");
    if (file->Fail()) return false;
    NewCoder()->Write(file, New("farm::Document", {Box(scene), Box(colours)}));
    return !file->Fail();
}

}
