// Objects through pipes, which have no position and give what has come so far, and through other streams that cannot tell
// whether anything still comes.

#include "support/Cases.h"
#include "support/OtherStream.h"
#include "support/Temporary.h"
#include "zvc/platform/File.h"

#include <sys/resource.h>
#include <unistd.h>

#include <functional>
#include <thread>

using namespace cases;

namespace {

long PeakMemoryMiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
}

std::vector<ZvObject$> LargeObjects() {
    constexpr int count = 100000;
    auto* floats = new ZvPrimArray<float>(count, nullptr);
    auto* numbers = new ZvPrimArray<int>(count, nullptr);
    for (int i = 0; i < count; ++i) {
        (*floats)[i] = static_cast<float>(i) / 3;
        (*numbers)[i] = i;
    }
    auto* list = new ZvArrayList;
    for (int i = 0; i < 20000; ++i) list->Add(new ZvPrimitive<int>(i));
    std::vector<unsigned char> bytes(3 << 20);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(i * i >> 8);
    return {floats, numbers, list, new ZvData(bytes.size(), bytes.data())};
}

std::string BytesOf(const ZvObject$& object) {
    Memory out(8 << 20);
    Coder(0)->Write(out.stream, object);
    return out.Taken();
}

/// What comes out of a pipe into which another thread writes.
void ExpectThroughPipe(const std::vector<ZvObject$>& objects, const std::function<ZvStream*(int)>& reading) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    std::thread writer([&] {
        ZvStream$ stream = new ZvFileStream(zvc::platform::FileAdopt(ends[1], zvc::platform::FileAccessWrite), ZvFile::Write);
        const ZvBinaryCoder$ coder = Coder(0);
        try {
            for (const ZvObject$& o : objects) coder->Write(stream, o);
        } catch (const ZvCoderException&) {
            // The reader gave up, and says so itself.
        }
    });
    {
        ZvStream$ stream = reading(ends[0]);
        const ZvBinaryCoder$ coder = Coder(0);
        for (const ZvObject$& o : objects) {
            ZvObject$ back;
            EXPECT_NO_THROW(coder->Read(stream, back));
            if (!back) break;
            EXPECT_TRUE(BytesOf(back) == BytesOf(o)) << o->GetType()->GetName()->CStr();
        }
    }
    writer.join();
}

/// Gives what it was made with and counts nothing: it has no position.
class Wire : public OtherStream {
public:
    using OtherStream::OtherStream;
    bool CanRead() const override { return true; }
};

}

TEST(ZvBinaryCoder, LargeObjectsComeThroughAPipe) {
    ExpectThroughPipe(LargeObjects(), [](int descriptor) {
        return new ZvFileStream(zvc::platform::FileAdopt(descriptor, zvc::platform::FileAccessRead), ZvFile::Read);
    });
}

TEST(ZvBinaryCoder, LargeObjectsComeThroughAPipeOfTheStandardLibrary) {
    ExpectThroughPipe(LargeObjects(), [](int descriptor) {
        auto* stream = new ZvStdFILEStream(descriptor, "rb");
        close(descriptor);
        return stream;
    });
}

TEST(ZvBinaryCoder, LargeArrayComesFromAStreamWithoutPositions) {
    std::string bytes = FromHex("84" "87" "945a76466c6f61744172726179" "8b5a5643" "a006" "a001" "a2a08601");
    for (int i = 0; i < 100000; ++i) bytes += FromHex("0000803f");
    ZvStream$ stream = new Wire(bytes);
    ZvObject$ back;
    ASSERT_NO_THROW(Coder(0)->Read(stream, back));
    const auto* array = static_cast<const ZvPrimArray<float>*>(back.Get());
    ASSERT_EQ(array->Count(), 100000u);
    EXPECT_EQ((*array)[99999], 1.0f);
}

TEST(ZvBinaryCoder, ArrayBehindFourGigabytesOfAFileIsRead) {
    // Positions of that width are not told.
    const TemporaryFolder folder;
    const std::string path = folder.File("file");
    constexpr long long start = (5LL << 30) + 1;
    SetContent(path, "");
    std::filesystem::resize_file(path, start);
    {
        const ZvHandle<ZvPrimArray<int>, ZvArrayValue$> numbers = new ZvPrimArray<int>(100000, nullptr);
        for (int i = 0; i < 100000; ++i) (*numbers)[i] = i;
        void* handle = zvc::platform::FileOpen(path.c_str(), zvc::platform::FileAccessWrite, zvc::platform::FileOpenExisting);
        zvc::platform::FileSeek64(handle, start, 0);
        ZvStream$ stream = new ZvFileStream(handle, ZvFile::Write);
        Coder(0)->Write(stream, ZvObject$(numbers));
    }
    void* handle = zvc::platform::FileOpen(path.c_str(), zvc::platform::FileAccessRead, zvc::platform::FileOpenExisting);
    zvc::platform::FileSeek64(handle, start, 0);
    ZvStream$ stream = new ZvFileStream(handle, ZvFile::Read);
    ZvObject$ back;
    ASSERT_NO_THROW(Coder(0)->Read(stream, back));
    EXPECT_EQ((*static_cast<const ZvPrimArray<int>*>(back.Get()))[99999], 99999);
}

TEST(HostileStream, CountThatAPipesEndDoesNotBearOutRaises) {
    // The standard library calls the end of a pipe no failure, and a pipe has no position that would stand still.
    const long before = PeakMemoryMiB();
    const std::string huge = FromHex("a3ffffffff") + "12345678", module = FromHex("8b5a5643"), exact = FromHex("a001");
    const std::pair<const char*, std::string> contents[] = {
        {"ZvFloatArray", FromHex("8487" "945a76466c6f61744172726179") + module + FromHex("a006") + exact + huge},
        {"ZvMat4dArray", FromHex("8487" "945a764d617434644172726179") + module + FromHex("a006") + exact + huge},
        {"ZvDoubleVector", FromHex("8487" "965a76446f75626c65566563746f72") + module + exact + exact + huge},
        {"ZvData", FromHex("8487" "8e5a7644617461") + module + exact + FromHex("a301000080") + huge},
        {"ZvImage", FromHex("8487" "8f5a76496d616765") + module + exact + FromHex("a301000080") +
                        FromHex("a2008000" "a2008000" "a004" "a020" "a000") + "12345678"}};
    for (const auto& [name, bytes] : contents) {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        ASSERT_EQ(write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        close(ends[1]);
        ZvStream$ stream = new ZvStdFILEStream(ends[0], "rb");
        close(ends[0]);
        try {
            const ZvObject$ o = Coder(0)->DecodeObject(stream);
            ADD_FAILURE() << name;
        } catch (const ZvCoderException& e) {
            EXPECT_EQ(e.cause, ZvCoderException::StreamFailed) << name;
        }
    }
    EXPECT_LT(PeakMemoryMiB() - before, 64);
}

TEST(ZvBinaryCoder, FailureThatIsToldOnceBehindAShortReadIsReported) {
    /// Gives two bytes and then an error, of which it tells once, as a standard-library file does.
    class Once : public Wire {
    public:
        using Wire::Wire;
        bool Fail() const override { return std::exchange(m_failed, false); }
        long long Read(void* buffer, long long count) override {
            m_failed = count > 2;
            return Wire::Read(buffer, std::min(count, 2LL));
        }
        mutable bool m_failed = false;
    };
    ZvStream$ stream = new Once("abcdef");
    char four[4];
    EXPECT_NO_THROW(Coder(0)->Read(stream, four, 2ull));
    try {
        Coder(0)->Read(stream, four, 4ull);
        ADD_FAILURE() << "nobody was told";
    } catch (const ZvCoderException& e) {
        EXPECT_EQ(e.cause, ZvCoderException::StreamFailed);
    }
}
