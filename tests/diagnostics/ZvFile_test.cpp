#include <zvc/zvc.h>

#include "support/Temporary.h"

namespace {

bool Exists(const std::string& path) { return ZvFile::Exists(new ZvString(path.c_str())); }

}

TEST(ZvFile, ExistsIsTrueOfFilesAndFalseOfDirectories) {
    const TemporaryFolder folder;
    const std::string file = folder.File("file");
    EXPECT_FALSE(Exists(file));
    SetContent(file, "");
    EXPECT_TRUE(Exists(file));
    EXPECT_FALSE(Exists(folder.File("")));
    EXPECT_FALSE(Exists(file + "/below"));
    EXPECT_FALSE(Exists(""));
    EXPECT_FALSE(ZvFile::Exists(nullptr));
    std::filesystem::create_symlink(file, folder.File("link"));
    std::filesystem::create_directory_symlink(folder.File(""), folder.File("up"));
    std::filesystem::create_symlink(folder.File("none"), folder.File("nowhere"));
    EXPECT_TRUE(Exists(folder.File("link")));
    EXPECT_FALSE(Exists(folder.File("up")));
    EXPECT_FALSE(Exists(folder.File("nowhere")));
    EXPECT_TRUE(Exists("/dev/null"));
}

TEST(ZvFile, NumbersOfAccessAndMode) {
    EXPECT_EQ(ZvFile::Read, 1);
    EXPECT_EQ(ZvFile::Write, 2);
    EXPECT_EQ(ZvFile::ReadWrite, 3);
    EXPECT_EQ(ZvFile::Append, 0);
    EXPECT_EQ(ZvFile::Create, 1);
    EXPECT_EQ(ZvFile::CreateNew, 2);
    EXPECT_EQ(ZvFile::Open, 3);
    EXPECT_EQ(ZvFile::OpenOrCreate, 4);
    EXPECT_EQ(ZvFile::Truncate, 5);
}
