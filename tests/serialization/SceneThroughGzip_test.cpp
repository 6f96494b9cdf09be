// The example's document through the compressed streams. Its classes live in a plug-in: they are reached by reflection alone.

#include <zvc/zvc.h>

#include "support/Cases.h"
#include "support/Temporary.h"

#include <initializer_list>
#include <sstream>

namespace {

ZvArguments$ Arguments(std::initializer_list<ZvObject$> values) {
    ZvArguments$ args = new ZvPrimArray<ZvObject$>(values.size(), nullptr);
    unsigned long long i = 0;
    for (const ZvObject$& value : values) (*args)[i++] = value;
    return args;
}

class SceneThroughGzip : public testing::Test {
protected:
    void SetUp() override {
        std::ofstream mesh(m_folder.File("grid.obj"));
        const int side = 60;
        for (int y = 0; y < side; ++y)
            for (int x = 0; x < side; ++x) mesh << "v " << x * 0.37 << ' ' << y * 1.1 << ' ' << (x * y) % 17 << '\n';
        for (int y = 1; y < side; ++y)
            for (int x = 1; x < side; ++x) {
                const int at = y * side + x + 1;
                mesh << "f " << at << ' ' << at - 1 << ' ' << at - side - 1 << ' ' << at - side << '\n';
            }
        mesh.close();
        m_mesh = new ZvString(m_folder.File("grid.obj").c_str());
        m_document = ZvSystem::New(new ZvString("scene_model.demo::Document"), Arguments({m_mesh}));
        ASSERT_TRUE(m_document);
    }

    /// What the document itself finds wrong with what came back; empty when it is all there.
    std::string FaultOf(const ZvObject$& document) const {
        if (!document) return "null";
        ZvArguments$ args = Arguments({m_mesh});
        const ZvMethod$ check = document->GetType()->Find(new ZvString("Check"), &ZvString::s_type, args);
        if (!check) return "no document";
        ZvValue$ answer;
        check->Invoke(document.Get(), answer, args);
        ZvObject$ text;
        if (answer) answer->GetValue(&text, ZvVtObjectRef, 0);
        return text ? ZvString$(text)->CStr() : "";
    }

    void Save(ZvStream$ stream) const { cases::Coder(1)->Write(stream, m_document); }
    static ZvObject$ Load(ZvStream$ stream) {
        ZvObject$ document;
        cases::Coder(1)->Read(stream, document);
        return document;
    }

    std::string Plain() const {
        Save(new ZvFileStream(m_folder.File("plain").c_str(), ZvFile::Write, ZvFile::Create));
        return ContentOf(m_folder.File("plain"));
    }

    const TemporaryFolder m_folder;
    ZvString$ m_mesh;
    ZvObject$ m_document;
};

}

TEST_F(SceneThroughGzip, ByAFilesPath) {
    const std::string path = m_folder.File("scene.gz");
    Save(new ZvZipStream(path.c_str(), "wb"));
    EXPECT_EQ(FaultOf(Load(new ZvZipStream(path.c_str(), "rb"))), "");
    EXPECT_EQ(RunCommand("gzip -t '" + path + "'").output, "");
    EXPECT_TRUE(RunCommand("gzip -dc '" + path + "'").output == Plain());        // nothing but the compression differs
    EXPECT_LT(std::filesystem::file_size(path), Plain().size());
}

TEST_F(SceneThroughGzip, OnAStandardLibraryStream) {
    std::stringstream stream;
    Save(ZvIStdIOZipStream::Create(stream, ZvIStdIOZipStream::OpenWrite));
    EXPECT_EQ(FaultOf(Load(ZvIStdIOZipStream::Create(stream, ZvIStdIOZipStream::OpenRead))), "");
    SetContent(m_folder.File("scene.gz"), stream.str());
    EXPECT_TRUE(RunCommand("gzip -dc '" + m_folder.File("scene.gz") + "'").output == Plain());
}

TEST_F(SceneThroughGzip, PlainDocumentsLoadAsWell) {
    const std::string plain = Plain();
    EXPECT_EQ(FaultOf(Load(new ZvZipStream(m_folder.File("plain").c_str(), "rb"))), "");
    std::stringstream stream(plain);
    EXPECT_EQ(FaultOf(Load(ZvIStdIOZipStream::Create(stream, ZvIStdIOZipStream::OpenRead))), "");
}

TEST_F(SceneThroughGzip, CutOffDocumentRaises) {
    const std::string path = m_folder.File("scene.gz");
    Save(new ZvZipStream(path.c_str(), "wb"));
    const std::string file = ContentOf(path);
    for (const size_t size : {size_t(5), file.size() / 2, file.size() - 200}) {
        SetContent(path, file.substr(0, size));
        EXPECT_THROW(Load(new ZvZipStream(path.c_str(), "rb")), ZvCoderException) << size;
        std::stringstream stream(file.substr(0, size));
        EXPECT_THROW(Load(ZvIStdIOZipStream::Create(stream, ZvIStdIOZipStream::OpenRead)), ZvCoderException) << size;
    }
}
