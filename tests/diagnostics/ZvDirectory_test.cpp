#include <zvc/zvc.h>

#include "support/Temporary.h"

namespace {

bool Exists(const std::string& path) { return ZvDirectory::Exists(new ZvString(path.c_str())); }
bool Create(const std::string& path) { return ZvDirectory::Create(new ZvString(path.c_str())); }

}

TEST(ZvDirectory, ExistsIsTrueOfDirectoriesAndFalseOfFiles) {
    const TemporaryFolder folder;
    SetContent(folder.File("file"), "content");
    EXPECT_FALSE(Exists(folder.File("file")));
    EXPECT_TRUE(Exists(folder.File("")));
    EXPECT_TRUE(Exists(folder.File(".")));
    EXPECT_FALSE(Exists(folder.File("none")));
    EXPECT_FALSE(Exists(""));
    EXPECT_FALSE(ZvDirectory::Exists(nullptr));
    std::filesystem::create_directory_symlink(folder.File(""), folder.File("up"));
    EXPECT_TRUE(Exists(folder.File("up")));
}

TEST(ZvDirectory, CreateMakesOneLevelAndTellsWhetherItDid) {
    const TemporaryFolder folder;
    EXPECT_FALSE(Create(folder.File("a/b")));           // the parent is missing
    EXPECT_FALSE(Exists(folder.File("a")));
    EXPECT_TRUE(Create(folder.File("a")));
    EXPECT_TRUE(Exists(folder.File("a")));
    EXPECT_FALSE(Create(folder.File("a")));             // it is there
    EXPECT_TRUE(Create(folder.File("a/b")));
    SetContent(folder.File("file"), "");
    EXPECT_FALSE(Create(folder.File("file")));
    EXPECT_FALSE(Create(""));
    EXPECT_FALSE(ZvDirectory::Create(nullptr));
}
