// Damaged and hostile bytes: they end in a value or a ZvCoderException, and take no memory out of proportion.

#include "support/Graph.h"
#include "support/Leaks.h"
#include "support/Sanitizers.h"
#include "support/Temporary.h"

#include <sys/resource.h>

#include <sstream>
#include <thread>

using namespace cases;

namespace {

// A list in a list in a list: each level is a TagNewObject, a back reference to the list's type and a count of one.
std::string NestedLists(int depth) {
    std::string bytes = FromHex("84" "87" "935a7641727261794c697374" "8b5a5643" "a001" "a301000080" "a001");
    for (int i = 1; i < depth; ++i) bytes += FromHex("84a801a001");
    return bytes;
}

ZvCoderException::Causes CauseOf(const std::string& bytes, int state) {
    Memory in(bytes);
    ZvBinaryCoder$ coder = Coder(state);
    try {
        const ZvObject$ o = coder->DecodeObject(in.stream);
    } catch (const ZvCoderException& e) {
        return e.cause;
    }
    return static_cast<ZvCoderException::Causes>(0);
}

std::string NewObject(const std::string& type, unsigned char spec, const std::string& schema, const std::string& content) {
    std::string bytes = FromHex("8487");
    bytes += type.size() < 16 ? std::string(1, static_cast<char>(0x88 + type.size())) : "\x98" + std::string(1, static_cast<char>(type.size()));
    bytes += type + FromHex("8b5a5643");
    bytes += FromHex("a0") + static_cast<char>(spec) + schema + content;
    return bytes;
}

void Member(std::stringstream& to, const std::string& content) {
    const ZvStream$ zip = ZvIStdIOZipStream::Create(to, ZvIStdIOZipStream::OpenWrite);
    zip->Write(content.data(), static_cast<long long>(content.size()));
}

long PeakMemoryMiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
}

}

TEST(HostileStream, NestingDeeperThanTheStackRaises) {
    SKIP_WHERE_CALLS_CANNOT_NEST_DEEPLY();
    EXPECT_EQ(CauseOf(NestedLists(1000000), 0), ZvCoderException::TypeUnavailable);
    EXPECT_EQ(CauseOf(NestedLists(1000000), 1), ZvCoderException::TypeUnavailable);
}

TEST(HostileStream, NestingRaisesOnASmallStackToo) {
    SKIP_WHERE_CALLS_CANNOT_NEST_DEEPLY();
    std::thread thread([] { EXPECT_EQ(CauseOf(NestedLists(1000000), 0), ZvCoderException::TypeUnavailable); });
    thread.join();
}

TEST(HostileStream, EncodingAnUntrackedCycleRaisesBeforeTheStackEnds) {
    SKIP_WHERE_CALLS_CANNOT_NEST_DEEPLY();
    ZvArrayList$ list = new ZvArrayList;
    list->Add(list);
    Memory out;
    ZvBinaryCoder$ coder = Coder(0);
    try {
        coder->Write(out.stream, list);
        ADD_FAILURE() << "it ended";
    } catch (const ZvCoderException& e) {
        EXPECT_EQ(e.cause, ZvCoderException::StreamFailed);
    }
    list->Clear();
}

TEST(HostileStream, CountsAreBelievedAsElementsArrive) {
    const std::string exact = FromHex("a001"), tolerant = FromHex("a301000080"), huge = FromHex("a3ffffffff");
    const long before = PeakMemoryMiB();
    for (const char* name : {"ZvArrayList", "ZvQueue", "ZvStack", "ZvHashSet", "ZvDictionary"})
        EXPECT_EQ(CauseOf(NewObject(name, 1, tolerant, huge), 0), ZvCoderException::BadTag) << name;
    for (const char* name : {"ZvInt32Array", "ZvBoolArray", "ZvObjectArray"})
        EXPECT_EQ(CauseOf(NewObject(name, 6, exact, huge), 0), ZvCoderException::BadTag) << name;
    for (const char* name : {"ZvFloatArray", "ZvDoubleArray", "ZvMat4dArray", "ZvColorArray"})
        EXPECT_EQ(CauseOf(NewObject(name, 6, exact, huge), 0), ZvCoderException::StreamFailed) << name;
    EXPECT_EQ(CauseOf(NewObject("ZvFloatVector", 1, exact, huge), 0), ZvCoderException::StreamFailed);
    // A field-driven type with four thousand million fields.
    EXPECT_EQ(CauseOf(FromHex("84878a50748b417070a001a3ffffffff"), 0), ZvCoderException::BadTag);
    EXPECT_LT(PeakMemoryMiB() - before, 64);
}

TEST(HostileStream, CountsOfRawNumbersAreBelievedAsTheyArriveOnAnyStream) {
    const std::string exact = FromHex("a001"), huge = FromHex("a3ffffffff");
    const TemporaryFolder folder;
    const std::string path = folder.File("file");
    const long before = PeakMemoryMiB();
    for (const char* name : {"ZvFloatArray", "ZvVec3fArray", "ZvMat4dArray", "ZvDoubleVector"}) {
        const bool isVector = std::string(name) == "ZvDoubleVector";
        const std::string bytes = NewObject(name, isVector ? 1 : 6, exact, huge + "12345678");
        SetContent(path, bytes);
        std::stringstream text(bytes), packed;
        Member(packed, bytes);
        std::vector<char> room(bytes.begin(), bytes.end());
        room.push_back('\0');
        ZvStream* const str = new ZvStrStream(room.data(), static_cast<long long>(room.size()), 0);
        str->Seekp(static_cast<long long>(bytes.size()), ZvStream::Begin);
        ZvStream* const streams[] = {new ZvStdIOStream(text),
                                     str,
                                     new ZvFileStream(path.c_str(), ZvFile::Read, ZvFile::Open),
                                     new ZvStdFILEStream(path.c_str(), "rb"),
                                     new ZvZipStream(path.c_str(), "rb"),
                                     ZvIStdIOZipStream::Create(packed, ZvIStdIOZipStream::OpenRead)};
        for (ZvStream* const raw : streams) {
            ZvStream$ stream = raw;
            try {
                const ZvObject$ o = Coder(0)->DecodeObject(stream);
                ADD_FAILURE() << name << " of " << stream->ToString()->CStr();
            } catch (const ZvCoderException& e) {
                EXPECT_EQ(e.cause, ZvCoderException::StreamFailed) << name << " of " << stream->ToString()->CStr();
            }
        }
    }
    EXPECT_LT(PeakMemoryMiB() - before, 64);
}

TEST(HostileStream, StringIsAsLongAsWhatArrived) {
    Memory in(FromHex("9bffffffff") + "abc");
    ZvString text;
    Coder(0)->Read(in.stream, text);
    EXPECT_EQ(text, "abc");
}

TEST(HostileStream, ExhaustedStreamIsABadTag) {
    for (const char* hex : {"", "84", "8487", "84878f5a76", "ac", "a8"}) {
        const auto cause = CauseOf(FromHex(hex), 0);
        EXPECT_NE(cause, 0) << hex;
    }
}

TEST(HostileStream, ModuleWithASeparatorIsNotLoaded) {
    for (const std::string module : {"../lib/evil", "/lib/libm.so.6", "a\\b"}) {
        std::string bytes = FromHex("8487") + FromHex("8a") + "Xy" + static_cast<char>(0x88 + module.size()) + module + FromHex("a001");
        EXPECT_EQ(CauseOf(bytes, 0), ZvCoderException::TypeUnavailable) << module;
    }
    EXPECT_EQ(CauseOf(FromHex("84878a5879" "8e") + "nobody" + FromHex("a001"), 0), ZvCoderException::TypeUnavailable);
}

TEST(HostileStream, TypeThatCannotBeBuiltRaises) {
    EXPECT_EQ(CauseOf(FromHex("8487") + FromHex("90") + "ZvStream" + FromHex("8b5a5643" "a001" "a000"), 0),
              ZvCoderException::TypeUnavailable);
}

TEST(HostileStream, CollectionThatIsItsOwnKeyRaises) {
    SKIP_WHERE_CALLS_CANNOT_NEST_DEEPLY();
    // A tracked set that holds a list that holds itself: its hash has no end.
    const std::string set = FromHex("8487") + FromHex("91") + "ZvHashSet" + FromHex("8b5a5643" "a001" "a301000080" "a001");
    const std::string list = FromHex("8487") + FromHex("93") + "ZvArrayList" + FromHex("8b5a5643" "a001" "a301000080" "a001" "ac04");
    const LeaksAllowed theListHoldsItself;
    EXPECT_EQ(CauseOf(set + list, 1), ZvCoderException::TypeUnavailable);
}

TEST(HostileStream, NullWhereAHashNeedsAnObjectRaises) {
    const std::string set = FromHex("8487") + FromHex("91") + "ZvHashSet" + FromHex("8b5a5643" "a001" "a301000080" "a001");
    const std::string queue = FromHex("8487") + FromHex("8f") + "ZvQueue" + FromHex("8b5a5643" "a001" "a301000080" "a001" "80");
    EXPECT_EQ(CauseOf(set + queue, 0), ZvCoderException::TypeUnavailable);
    const std::string box = FromHex("8487") + FromHex("93") + "ZvObjectRef" + FromHex("8b5a5643" "a002" "a001" "80");
    EXPECT_EQ(CauseOf(set + box, 0), ZvCoderException::TypeUnavailable);
}

TEST(HostileStream, ChainOfFiveThousandObjectsSavesAndLoads) {
    ZvObject$ head;
    for (int i = 0; i < 5000; ++i) {
        GNode* node = new GNode;
        node->value = i;
        node->next = head;
        head = node;
    }
    for (int state : {0, 1}) {
        Memory out(4 << 20);
        Coder(state)->Write(out.stream, head);
        Memory in(out.Taken());
        ZvObject$ back;
        Coder(state)->Read(in.stream, back);
        int length = 0;
        for (GNode$ at = back; at; at = at->next) EXPECT_EQ(at->value, 4999 - length++);
        EXPECT_EQ(length, 5000);
    }
}

TEST(HostileStream, ChainOfAMillionObjectsComesApart) {
    ZvObject$ head;
    for (int i = 0; i < 1000000; ++i) {
        GNode* node = new GNode;
        node->next = head;
        head = node;
    }
    head = nullptr;
    SUCCEED();
}

TEST(HostileStream, LastByteOfAMemoryStreamThatIsAnElementForEverEndsTheReader) {
    // A count of four thousand million, and then a null reference, which a memory stream gives again and again.
    const std::string tolerant = FromHex("a301000080"), lie = FromHex("a3ffffffff80");
    const long before = PeakMemoryMiB();
    for (const char* name : {"ZvArrayList", "ZvQueue", "ZvStack", "ZvHashSet", "ZvDictionary", "ZvSerializationInfo", "ZvEnum"}) {
        const std::string bytes = NewObject(name, 1, tolerant, lie);
        Bytes array = new ZvPrimArray<unsigned char>(bytes.size(), reinterpret_cast<const unsigned char*>(bytes.data()));
        ZvStream$ stream = new ZvMemoryStream(array);
        try {
            const ZvObject$ o = Coder(0)->DecodeObject(stream);
            ADD_FAILURE() << name;
        } catch (const ZvCoderException& e) {
            EXPECT_EQ(e.cause, ZvCoderException::StreamFailed) << name;
        }
    }
    EXPECT_LT(PeakMemoryMiB() - before, 64);
}
