#include "zvc/platform/File.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <signal.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace zvc::platform;

namespace {

constexpr unsigned int ReadWriteRights = FileAccessRead | FileAccessWrite;
constexpr uint32_t AllOnes = ~0u;

class File : public testing::Test {
protected:
    void SetUp() override {
        std::string name = (std::filesystem::temp_directory_path() / "zvc-file-XXXXXX").string();
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        m_folder = name;
    }
    void TearDown() override { std::filesystem::remove_all(m_folder); }

    std::string Path(const char* name) const { return m_folder + "/" + name; }
    std::string Make(const char* name, const std::string& content) const {
        std::ofstream(Path(name), std::ios::binary) << content;
        return Path(name);
    }
    static std::string Content(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    static Handle Open(const std::string& path, unsigned int access, unsigned int disposition, bool exclusive = true) {
        return FileOpen(path.c_str(), access, disposition, exclusive);
    }

    std::string m_folder;
};

struct Pipe {
    Pipe() {
        int ends[2];
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        reading = FileAdopt(ends[0], FileAccessRead);
        writing = FileAdopt(ends[1], FileAccessWrite);
    }
    ~Pipe() {
        CloseHandle(reading);
        CloseHandle(writing);
    }
    Handle reading, writing;
};

}

TEST_F(File, DispositionsOnAFileThatIsThereAndOneThatIsNot) {
    struct Row {
        unsigned int disposition;
        bool opensPresent, opensAbsent;
        const char* contentAfter;
    };
    for (const Row& row : {Row{FileCreateNew, false, true, "old"}, Row{FileCreateAlways, true, true, ""},
                           Row{FileOpenExisting, true, false, "old"}, Row{FileOpenAlways, true, true, "old"},
                           Row{FileTruncateExisting, true, false, ""}, Row{0, false, false, "old"}, Row{6, false, false, "old"}}) {
        SCOPED_TRACE(row.disposition);
        const std::string present = Make("present", "old"), absent = Path("absent");
        Handle handle = Open(present, FileAccessWrite, row.disposition);
        EXPECT_EQ(handle != InvalidHandle, row.opensPresent);
        CloseHandle(handle);
        EXPECT_EQ(Content(present), row.contentAfter);
        handle = Open(absent, FileAccessWrite, row.disposition);
        EXPECT_EQ(handle != InvalidHandle, row.opensAbsent);
        EXPECT_EQ(std::filesystem::exists(absent), row.opensAbsent);
        CloseHandle(handle);
        std::filesystem::remove(absent);
    }
}

TEST_F(File, DirectoriesAndMissingFoldersFail) {
    EXPECT_EQ(Open(m_folder, FileAccessRead, FileOpenExisting), InvalidHandle);
    EXPECT_EQ(Open(m_folder, FileAccessNone, FileOpenExisting), InvalidHandle);
    EXPECT_EQ(Open(Path("no/file"), FileAccessWrite, FileCreateAlways), InvalidHandle);
    EXPECT_EQ(FileOpen(nullptr, FileAccessRead, FileOpenExisting), InvalidHandle);
}

TEST_F(File, SecondOpenerIsRefusedWhileTheFirstHasIt) {
    const std::string path = Make("f", "content");
    const Handle first = Open(path, FileAccessRead, FileOpenExisting);
    ASSERT_NE(first, InvalidHandle);
    EXPECT_EQ(Open(path, FileAccessRead, FileOpenExisting), InvalidHandle);
    EXPECT_EQ(Open(path, FileAccessWrite, FileOpenAlways), InvalidHandle);
    CloseHandle(first);
    const Handle next = Open(path, FileAccessRead, FileOpenExisting);
    EXPECT_NE(next, InvalidHandle);
    CloseHandle(next);
}

TEST_F(File, RefusedOpeningDoesNotEmptyTheFile) {
    const std::string path = Make("f", "content");
    const Handle first = Open(path, FileAccessRead, FileOpenExisting);
    EXPECT_EQ(Open(path, FileAccessWrite, FileCreateAlways), InvalidHandle);
    EXPECT_EQ(Open(path, FileAccessWrite, FileTruncateExisting), InvalidHandle);
    EXPECT_EQ(Content(path), "content");
    CloseHandle(first);
}

TEST_F(File, SharedOpenersMayBeSeveral) {
    const std::string path = Make("f", "content");
    const Handle first = Open(path, FileAccessRead, FileOpenExisting, false);
    const Handle second = Open(path, FileAccessRead, FileOpenExisting, false);
    EXPECT_NE(first, InvalidHandle);
    EXPECT_NE(second, InvalidHandle);
    CloseHandle(first);
    CloseHandle(second);
}

TEST_F(File, DevicesAreNotKeptToOneself) {
    const Handle first = Open("/dev/null", FileAccessWrite, FileOpenExisting);
    const Handle second = Open("/dev/null", FileAccessWrite, FileOpenExisting);
    EXPECT_NE(first, InvalidHandle);
    EXPECT_NE(second, InvalidHandle);
    EXPECT_FALSE(FileIsRegular(first));
    EXPECT_EQ(FileSize(first), AllOnes);
    EXPECT_TRUE(FileFlush(first));
    CloseHandle(first);
    CloseHandle(second);
}

TEST_F(File, WithoutRightsItOpensBesideAnotherAndTransfersFail) {
    const std::string path = Make("f", "content");
    const Handle owner = Open(path, FileAccessRead, FileOpenExisting);
    const Handle handle = Open(path, FileAccessNone, FileOpenExisting);
    ASSERT_NE(handle, InvalidHandle);
    char buffer[4];
    uint32_t done = 9;
    EXPECT_FALSE(FileRead(handle, buffer, 4, &done));
    EXPECT_EQ(done, 0u);
    EXPECT_FALSE(FileWrite(handle, "x", 1, &done));
    EXPECT_EQ(done, 0u);
    EXPECT_FALSE(FileFlush(handle));
    EXPECT_FALSE(FileSetEnd(handle));
    EXPECT_EQ(FileSeek(handle, 3, 0), 3u);
    EXPECT_EQ(FileSize(handle), 7u);
    CloseHandle(owner);
    const Handle next = Open(path, FileAccessWrite, FileOpenExisting);     // it hinders nobody
    EXPECT_NE(next, InvalidHandle);
    CloseHandle(next);
    CloseHandle(handle);
}

TEST_F(File, WithoutRightsItIsStillMadeAndEmptied) {
    const Handle made = Open(Path("new"), FileAccessNone, FileCreateNew);
    EXPECT_NE(made, InvalidHandle);
    CloseHandle(made);
    EXPECT_TRUE(PathExists(Path("new").c_str()));
    for (unsigned int disposition : {FileCreateAlways, FileTruncateExisting}) {
        const std::string path = Make("f", "content");
        const Handle handle = Open(path, FileAccessNone, disposition);
        EXPECT_NE(handle, InvalidHandle);
        CloseHandle(handle);
        EXPECT_EQ(Content(path), "");
    }
}

TEST_F(File, RightsAreTheHandles) {
    const std::string path = Make("f", "content");
    char buffer[8];
    uint32_t done;
    Handle handle = Open(path, FileAccessRead, FileOpenExisting);
    EXPECT_TRUE(FileRead(handle, buffer, 3, &done));
    EXPECT_FALSE(FileWrite(handle, "x", 1, &done));
    EXPECT_FALSE(FileFlush(handle));
    EXPECT_FALSE(FileSetEnd(handle));
    CloseHandle(handle);
    handle = Open(path, FileAccessWrite, FileOpenExisting);
    EXPECT_FALSE(FileRead(handle, buffer, 3, &done));
    EXPECT_TRUE(FileWrite(handle, "C", 1, &done));
    EXPECT_TRUE(FileFlush(handle));
    CloseHandle(handle);
    EXPECT_EQ(Content(path), "Content");
}

TEST_F(File, ReadAtTheEndSucceedsWithNothing) {
    const Handle handle = Open(Make("f", "abc"), FileAccessRead, FileOpenExisting);
    char buffer[8];
    uint32_t done = 0;
    EXPECT_TRUE(FileRead(handle, buffer, 8, &done));
    EXPECT_EQ(done, 3u);
    EXPECT_TRUE(FileRead(handle, buffer, 8, &done));
    EXPECT_EQ(done, 0u);
    EXPECT_TRUE(FileRead(handle, buffer, 0, &done));
    EXPECT_EQ(done, 0u);
    CloseHandle(handle);
}

TEST_F(File, SeekFromEachOrigin) {
    const Handle handle = Open(Make("f", "0123456789"), FileAccessRead, FileOpenExisting);
    EXPECT_EQ(FileSeek(handle, 4, 0), 4u);
    EXPECT_EQ(FileSeek(handle, -1, 1), 3u);
    EXPECT_EQ(FileSeek(handle, -2, 2), 8u);
    EXPECT_EQ(FileSeek(handle, 5, 2), 15u);
    EXPECT_EQ(FileSeek(handle, 0, 1), 15u);
    EXPECT_EQ(FileSize(handle), 10u);
    CloseHandle(handle);
}

TEST_F(File, RefusedSeekGivesAllOnesAndDoesNotMove) {
    const Handle handle = Open(Make("f", "0123456789"), ReadWriteRights, FileOpenExisting);
    EXPECT_EQ(FileSeek(handle, 4, 0), 4u);
    EXPECT_EQ(FileSeek(handle, -5, 1), AllOnes);
    EXPECT_EQ(FileSeek(handle, -11, 2), AllOnes);
    EXPECT_EQ(FileSeek(handle, 0, 3), AllOnes);
    EXPECT_EQ(FileSeek(handle, 0, 1), 4u);
    EXPECT_EQ(FileSeek64(handle, 0xFFFFFFF0ll, 0), 0xFFFFFFF0ll);
    EXPECT_EQ(FileSeek(handle, 0x7FFFFFFF, 1), AllOnes);                  // beyond 32 bits
    EXPECT_EQ(FileTell64(handle), 0xFFFFFFF0ll);
    EXPECT_EQ(FileSeek(nullptr, 0, 0), AllOnes);
    EXPECT_EQ(FileSeek64(handle, 0, 3), -1);
    CloseHandle(handle);
    EXPECT_EQ(FileTell64(handle), -1);
}

TEST_F(File, SizeGivesTheLowHalf) {
    const Handle handle = Open(Path("big"), ReadWriteRights, FileCreateNew);
    EXPECT_EQ(FileSeek64(handle, 0x100000005ll, 0), 0x100000005ll);
    EXPECT_TRUE(FileSetEnd(handle));
    EXPECT_EQ(FileSize(handle), 5u);
    EXPECT_EQ(FileSize64(handle), 0x100000005ll);
    EXPECT_TRUE(FileIsRegular(handle));
    CloseHandle(handle);
}

TEST_F(File, SetEndCutsAndExtends) {
    const std::string path = Make("f", "0123456789");
    const Handle handle = Open(path, FileAccessWrite, FileOpenExisting);
    FileSeek(handle, 4, 0);
    EXPECT_TRUE(FileSetEnd(handle));
    EXPECT_EQ(Content(path), "0123");
    FileSeek(handle, 6, 0);
    EXPECT_TRUE(FileSetEnd(handle));
    EXPECT_EQ(Content(path), std::string("0123\0\0", 6));
    CloseHandle(handle);
}

TEST_F(File, PipeReadsBringWhatIsThere) {
    Pipe pipe;
    uint32_t done;
    char buffer[16];
    EXPECT_TRUE(FileWrite(pipe.writing, "hello", 5, &done));
    EXPECT_EQ(done, 5u);
    EXPECT_TRUE(FileRead(pipe.reading, buffer, 16, &done));
    EXPECT_EQ(done, 5u);
    EXPECT_EQ(std::string(buffer, done), "hello");
    EXPECT_EQ(FileSeek(pipe.reading, 0, 1), AllOnes);
    EXPECT_EQ(FileSeek(pipe.reading, 0, 0), AllOnes);
    EXPECT_EQ(FileSeek(pipe.reading, 0, 2), AllOnes);
    EXPECT_EQ(FileSize(pipe.reading), AllOnes);
    EXPECT_FALSE(FileIsRegular(pipe.reading));
    EXPECT_TRUE(FileFlush(pipe.writing));
}

TEST_F(File, LargePipeWriteArrivesWhole) {
    Pipe pipe;
    const std::string sent(1 << 20, 'z');
    std::thread writer([&] {
        uint32_t done;
        EXPECT_TRUE(FileWrite(pipe.writing, sent.data(), static_cast<uint32_t>(sent.size()), &done));
        EXPECT_EQ(done, sent.size());
    });
    std::string received(sent.size(), ' ');
    uint32_t total = 0;
    while (total != received.size()) {
        uint32_t done = 0;
        ASSERT_TRUE(FileRead(pipe.reading, received.data() + total, static_cast<uint32_t>(received.size() - total), &done));
        total += done;
    }
    writer.join();
    EXPECT_EQ(received, sent);
}

TEST_F(File, ReadFromAPipeWithoutWritersFails) {
    Pipe pipe;
    char byte;
    uint32_t done;
    CloseHandle(pipe.writing);
    EXPECT_FALSE(FileRead(pipe.reading, &byte, 1, &done));
    EXPECT_EQ(done, 0u);
    EXPECT_TRUE(FileRead(pipe.reading, &byte, 0, &done));
}

TEST_F(File, WriteToABrokenPipeFailsWithoutASignal) {
    static std::atomic<int> signals;
    signals = 0;
    struct sigaction counting {}, before {};
    counting.sa_handler = [](int) { ++signals; };
    sigaction(SIGPIPE, &counting, &before);
    Pipe pipe;
    CloseHandle(pipe.reading);
    uint32_t done = 9;
    EXPECT_FALSE(FileWrite(pipe.writing, "x", 1, &done));
    EXPECT_EQ(done, 0u);
    EXPECT_EQ(signals, 0);
    raise(SIGPIPE);                                         // the process's own setting is as it was
    EXPECT_EQ(signals, 1);
    sigaction(SIGPIPE, &before, nullptr);
}

TEST_F(File, NonBlockingDescriptorStillBlocks) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);
    const Handle reading = FileAdopt(ends[0], FileAccessRead), writing = FileAdopt(ends[1], FileAccessWrite);
    std::thread writer([&] {
        usleep(5000);
        uint32_t done;
        const std::string much(200000, 'q');
        EXPECT_TRUE(FileWrite(writing, much.data(), static_cast<uint32_t>(much.size()), &done));
        CloseHandle(writing);
    });
    std::string buffer(65536, ' ');
    uint32_t done = 0, total = 0;
    while (FileRead(reading, buffer.data(), 65536, &done)) total += done;
    writer.join();
    EXPECT_EQ(total, 200000u);
    CloseHandle(reading);
}

TEST_F(File, AdoptedDescriptorIsTheHandles) {
    const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const Handle handle = FileAdopt(descriptor, FileAccessRead);
    EXPECT_TRUE(CloseHandle(handle));
    EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
    EXPECT_EQ(FileAdopt(-1, FileAccessRead), InvalidHandle);
}

TEST_F(File, OpenedFileIsNotInherited) {
    const Handle handle = Open(Make("f", ""), FileAccessRead, FileOpenExisting);
    int found = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        if (std::filesystem::read_symlink(entry.path(), error) != Path("f")) continue;
        EXPECT_NE(fcntl(std::atoi(entry.path().filename().c_str()), F_GETFD) & FD_CLOEXEC, 0);
        ++found;
    }
    EXPECT_EQ(found, 1);
    CloseHandle(handle);
}

TEST_F(File, ExistenceOfFilesAndDirectories) {
    const std::string path = Make("f", "");
    EXPECT_TRUE(PathExists(path.c_str()));
    EXPECT_FALSE(PathIsDirectory(path.c_str()));
    EXPECT_TRUE(PathExists(m_folder.c_str()));
    EXPECT_TRUE(PathIsDirectory(m_folder.c_str()));
    EXPECT_FALSE(PathExists(Path("none").c_str()));
    EXPECT_FALSE(PathIsDirectory(Path("none").c_str()));
}

TEST_F(File, MakeDirectoryIsOneLevelOnly) {
    EXPECT_TRUE(MakeDirectory(Path("d").c_str()));
    EXPECT_TRUE(PathIsDirectory(Path("d").c_str()));
    EXPECT_FALSE(MakeDirectory(Path("d").c_str()));
    EXPECT_FALSE(MakeDirectory(Path("x/y").c_str()));
}

TEST_F(File, ListIsInTheOrderOfTheBytes) {
    for (const char* name : {"b", "a", "C", "a.dli", "\xC3\xA4"}) Make(name, "");
    MakeDirectory(Path("sub").c_str());
    EXPECT_EQ(ListDirectory(m_folder.c_str()), (std::vector<std::string>{"C", "a", "a.dli", "b", "sub", "\xC3\xA4"}));
    EXPECT_TRUE(ListDirectory(Path("none").c_str()).empty());
}

TEST_F(File, StdFileOnADescriptorLeavesItOpen) {
    const std::string path = Path("f");
    const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    FILE* file = StdFileOnDescriptor(descriptor, "w");
    ASSERT_NE(file, nullptr);
    std::fputs("held back", file);
    EXPECT_EQ(StdFileLength(file), 0);
    std::fflush(file);
    EXPECT_EQ(StdFileLength(file), 9);
    std::fputs("!", file);
    std::fclose(file);
    EXPECT_NE(fcntl(descriptor, F_GETFD), -1);
    EXPECT_EQ(lseek(descriptor, 0, SEEK_CUR), 10);
    EXPECT_EQ(Content(path), "held back!");
    close(descriptor);
    EXPECT_EQ(StdFileOnDescriptor(-1, "r"), nullptr);
    EXPECT_EQ(StdFileOnDescriptor(0, "no mode"), nullptr);
}

TEST_F(File, LengthOfAStdFileThatHasNone) {
    FILE* file = std::fopen("/dev/null", "r");
    EXPECT_EQ(StdFileLength(file), -1);
    std::fclose(file);
}
