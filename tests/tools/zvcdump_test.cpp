// The stream dumper, run as its users run it, on the example's file, on files made by hand and on damaged ones.

#include "support/Bytes.h"
#include "support/Sanitizers.h"
#include "zvc/platform/Module.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
#include <cstdio>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Json = nlohmann::ordered_json;

std::string Beside(const std::string& program) {
    const std::string own = zvc::platform::ProgramPath();
    return own.substr(0, own.find_last_of('/') + 1) + program;
}

struct Output {
    int code;
    std::string text;
};

Output Execute(const std::string& command) {
    Output output{-1, {}};
    FILE* pipe = popen(("ASAN_OPTIONS=detect_leaks=0 " + command + " 2>&1").c_str(), "r");
    std::array<char, 4096> buffer;
    for (size_t n; (n = std::fread(buffer.data(), 1, buffer.size(), pipe)) != 0;) output.text.append(buffer.data(), n);
    const int status = pclose(pipe);
    output.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return output;
}

Output Dump(const std::string& arguments) { return Execute("'" + Beside("zvcdump") + "' " + arguments); }
Json DumpJson(const std::string& arguments) { return Json::parse(Dump("--json " + arguments).text); }

/// A file that goes with the test.
class File {
public:
    explicit File(const std::string& bytes = {}) {
        char path[] = "/tmp/zvcdump-test-XXXXXX";
        close(mkstemp(path));
        name = path;
        std::ofstream(name, std::ios::binary) << bytes;
    }
    ~File() { unlink(name.c_str()); }
    File(const File&) = delete;
    std::string name;
};

std::string ByHand(const std::string& name) { return std::string(ZVC_TEST_DATA) + "/evolution/" + name + ".zvc"; }

std::string Content(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

bool Has(const std::string& text, const std::string& what) { return text.find(what) != std::string::npos; }

/// All nodes of a kind, in the order of the file.
void Find(const Json& nodes, const std::string& kind, std::vector<Json>& found) {
    for (const Json& node : nodes) {
        if (node["kind"] == kind) found.push_back(node);
        if (node.contains("children")) Find(node["children"], kind, found);
    }
}

std::vector<Json> Find(const Json& document, const std::string& kind) {
    std::vector<Json> found;
    Find(document["values"], kind, found);
    return found;
}

/// The document of the example, written by it.
class Scene : public ::testing::Test {
protected:
    void SetUp() override {
        std::ofstream(mesh.name) << "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\n";
        ASSERT_EQ(Execute("'" + Beside("scene") + "' " + mesh.name + " " + document.name).code, 0);
    }
    File mesh, document;
};

using ZvcDumpScene = Scene;

}

TEST_F(ZvcDumpScene, ShowsTypesObjectsAndReferencesOfTheExample) {
    const Output output = Dump(document.name);
    EXPECT_EQ(output.code, 0) << output.text;
    EXPECT_TRUE(Has(output.text, "read with tracked objects"));
    EXPECT_TRUE(Has(output.text, "type #1 demo::Document of module scene_model, class spec 1, 2 fields"));
    EXPECT_TRUE(Has(output.text, "type #2 ZvString of module ZVC, class spec 2, schema 0x80000001, version 1"));
    EXPECT_TRUE(Has(output.text, "4 x CG::vec3<float> (0 0 0) (1 0 0) (1 1 0) (0 1 0)"));
    EXPECT_TRUE(Has(output.text, "6 x int 0 1 2 0 2 3"));
    EXPECT_TRUE(Has(output.text, "m_bump.bias: double 0.25"));
    EXPECT_TRUE(Has(output.text, "m_mesh: the same demo::Mesh #"));
    EXPECT_TRUE(Has(output.text, "string \"plaster\""));
}

TEST_F(ZvcDumpScene, JsonTellsTheSame) {
    const Json json = DumpJson(document.name);
    EXPECT_EQ(json["bytes"], Content(document.name).size());
    EXPECT_EQ(json["tracked"], true);
    EXPECT_TRUE(json["stopped"].is_null());
    ASSERT_EQ(json["values"].size(), 1u);
    EXPECT_EQ(json["values"][0]["type"], "demo::Document");
    EXPECT_EQ(json["values"][0]["end"], json["bytes"]);
    std::vector<std::string> types;
    for (const Json& type : Find(json, "type")) types.push_back(type["type"]);
    const std::vector<std::string> expected = {"demo::Document", "ZvString", "ZvObjectRef", "demo::Node", "ZvVec3d", "ZvArrayList", "demo::Mesh",
                                               "ZvVec3fArray", "ZvInt32Array", "demo::Material", "ZvColor", "ZvDouble", "ZvFloatArray", "ZvInt32",
                                               "ZvDictionary"};
    EXPECT_EQ(types, expected);
    int meshes = 0, same = 0;
    for (const Json& object : Find(json, "object")) meshes += object["type"] == "demo::Mesh";
    for (const Json& reference : Find(json, "reference")) same += reference["type"] == "demo::Mesh";
    EXPECT_EQ(meshes, 1);
    EXPECT_EQ(same, 3);
}

TEST_F(ZvcDumpScene, WithoutThePluginAFieldLayoutIsReadAndACodecIsWhereItStops) {
    const Output output = Dump("--no-plugins " + document.name);
    EXPECT_EQ(output.code, 1);
    EXPECT_TRUE(Has(output.text, "m_name: ZvString #15: string"));
    EXPECT_TRUE(Has(output.text, "the content of demo::Mesh, which only its class can read: its plug-in scene_model is not loaded"));
}

TEST_F(ZvcDumpScene, CutFileShowsWhatCameBeforeAndWhereItEnds) {
    const std::string whole = Content(document.name);
    for (size_t size : {1u, 20u, 100u, 250u, 300u, 500u, 800u}) {
        ASSERT_LT(size, whole.size());
        const File cut(whole.substr(0, size));
        const Json json = DumpJson(cut.name);
        ASSERT_FALSE(json["stopped"].is_null()) << size;
        EXPECT_LE(json["stopped"]["offset"].get<size_t>(), size);
        EXPECT_GE(json["stopped"]["offset"].get<size_t>() + 32, size) << size;      // no value of the file is longer than that
        EXPECT_EQ(Find(json, "type").empty(), size == 1) << size;
        EXPECT_EQ(Dump(cut.name).code, 1);
    }
    const File cut(whole.substr(0, whole.size() - 1));
    EXPECT_TRUE(Has(Dump(cut.name).text, "the file ends within an object's id"));
}

TEST_F(ZvcDumpScene, EachChangedByteEndsInAnAnswer) {
    const std::string whole = Content(document.name);
    for (size_t at = 0; at < whole.size(); at += 37) {
        std::string bytes = whole;
        bytes[at] = static_cast<char>(bytes[at] ^ 0x55);
        const File damaged(bytes);
        const Output output = Dump(damaged.name);
        EXPECT_TRUE(output.code == 0 || output.code == 1) << at << output.text;
        EXPECT_EQ(output.code == 1, Has(output.text, "stopped here, at byte ")) << at;
    }
}

TEST(ZvcDump, FieldsOfAnUnknownClassAreReadByTheTypesOfTheLayout) {
    const Json json = DumpJson(ByHand("shape_v1"));
    EXPECT_TRUE(json["stopped"].is_null());
    std::vector<Json> fields = Find(json, "field");
    ASSERT_EQ(fields.size(), 3u);
    EXPECT_EQ(fields[0]["name"], "height");
    EXPECT_EQ(fields[0]["offset"], 120);
    EXPECT_EQ(fields[0]["end"], 124);
    EXPECT_EQ(fields[0]["children"][0]["values"][0], "1.5");
    EXPECT_EQ(fields[2]["name"], "width");
    EXPECT_EQ(fields[2]["children"][0]["values"][0], "5");
    const Json type = Find(json, "type")[0];
    EXPECT_EQ(type["module"], "App");
    EXPECT_TRUE(Has(type["note"], "its plug-in App cannot be loaded"));
    EXPECT_EQ(json["values"][1]["children"][0]["values"][0], "1000");
}

TEST(ZvcDump, FindsOutWhetherObjectsAreTracked) {
    EXPECT_EQ(DumpJson(ByHand("row_tracked"))["tracked"], true);
    EXPECT_EQ(DumpJson(ByHand("shape_v1"))["tracked"], false);
    const Json forced = DumpJson("--state=0 " + ByHand("row_tracked"));
    EXPECT_EQ(forced["tracked"], false);
    EXPECT_TRUE(Has(forced["stopped"]["reason"], "a reference to #4, which has not occurred"));
}

TEST(ZvcDump, OldVersionsAreNamed) {
    const Output date = Dump(ByHand("datetime_v1"));
    EXPECT_EQ(date.code, 0) << date.text;
    EXPECT_TRUE(Has(date.text, "schema 0x80000001, version 1   (the class is at version 2)"));
    EXPECT_TRUE(Has(date.text, "double 8.5"));
    // A box reads its own version alone.
    const File box(FromHex("84" "87" "8f5a76496e743332" "8b5a5643" "a002" "a007" "a005"));
    const Output strict = Dump(box.name);
    EXPECT_EQ(strict.code, 1);
    EXPECT_TRUE(Has(strict.text, "it was stored at version 7, and the class reads version 1 alone")) << strict.text;
    const File older(FromHex("84" "83" "8f5a76496e743332" "8b5a5643" "a002" "a1e803"));
    const Output form = Dump(older.name);
    EXPECT_EQ(form.code, 0);
    EXPECT_TRUE(Has(form.text, "a definition of the older form, without a version"));
    EXPECT_TRUE(Has(form.text, "ZvInt32 #2: int 1000"));
}

TEST(ZvcDump, PlainValuesNullsAndTypesStandByThemselves) {
    const File file(FromHex("82" "a1e803" "8361" /* no tag of a value */));
    const Output damaged = Dump(file.name);
    EXPECT_EQ(damaged.code, 1);
    EXPECT_TRUE(Has(damaged.text, "bool true"));
    EXPECT_TRUE(Has(damaged.text, "integer 1000"));
    const File values(FromHex("80" "8a6162" "87" "8f5a76496e743332" "8b5a5643" "a002" "a001" "a801" "ac01"));
    const Json json = DumpJson(values.name);
    ASSERT_EQ(json["values"].size(), 5u) << json;
    EXPECT_EQ(json["values"][0]["kind"], "null");
    EXPECT_EQ(json["values"][1]["values"][0], "ab");
    EXPECT_EQ(json["values"][2]["kind"], "type");
    EXPECT_EQ(json["values"][2]["schema"], 1);
    EXPECT_EQ(json["values"][3]["kind"], "type reference");
    EXPECT_EQ(json["values"][4]["kind"], "reference");
}

TEST(ZvcDump, LongRunsAreShownByTheirFirstValuesAndWholeOnRequest) {
    std::string bytes = FromHex("84" "87" "945a76496e7433324172726179" "8b5a5643" "a006" "a001" "a064");
    for (int i = 0; i < 100; ++i) bytes += FromHex("a0") + static_cast<char>(i);
    const File file(bytes);
    const Json brief = DumpJson(file.name), all = DumpJson("--all " + file.name);
    const Json run = Find(brief, "value")[1];
    EXPECT_EQ(run["count"], 100);
    EXPECT_EQ(run["values"].size(), 16u);
    EXPECT_EQ(Find(all, "value")[1]["values"].size(), 100u);
    EXPECT_EQ(Find(all, "value")[1]["values"][99], "99");
}

TEST(ZvcDump, BytesOutsideAsciiAreEscaped) {
    const File file(FromHex("8b41e9220a"));       // a string of three bytes, and a line end that is no tag
    const Output output = Dump(file.name);
    EXPECT_TRUE(Has(output.text, "string \"A\\xE9\\\"\"")) << output.text;
    EXPECT_TRUE(Has(output.text, "stopped here, at byte 4: tag 0A where an object should be"));
    EXPECT_EQ(DumpJson(file.name)["values"][0]["values"][0], "A\xC3\xA9\"");
}

TEST(ZvcDump, HostileInputEndsInAReason) {
    const struct {
        std::string bytes;
        const char* reason;
    } cases[] = {
        {FromHex("84" "87" "8a5879" "8f2e2e2f6576696c" "a001" "a001" "a005"), "what stands for its module is no name"},
        {FromHex("ac09"), "a reference to #9, which has not occurred"},
        {FromHex("84a809"), "a reference to #9, which has not occurred"},
        {FromHex("9bffffffff"), "longer than the file"},
    };
    for (const auto& c : cases) {
        const File file(c.bytes);
        const Output output = Dump(file.name);
        EXPECT_EQ(output.code, 1) << c.reason;
        EXPECT_TRUE(Has(output.text, c.reason)) << output.text;
    }
}

TEST(ZvcDump, NestingDeeperThanTheStackEndsInAReason) {
    SKIP_WHERE_CALLS_CANNOT_NEST_DEEPLY();
    std::string nested = FromHex("84" "87" "93" "5a7641727261794c697374" "8b5a5643" "a001" "a301000080" "a001");
    for (int i = 0; i < 300000; ++i) nested += FromHex("84a801a001");
    const File deep(nested);
    const Output output = Dump(deep.name + " | tail -1");
    EXPECT_TRUE(Has(output.text, "nested deeper than the stack allows")) << output.text;
}

// An object Pt of a class that is not here: fields x, a ZvInt32, and y, a ZvFloat.
std::string UnknownPoint() {
    return FromHex("84" "87" "8a5074" "8b417070" "a001" "a002" "84" "87" "905a76537472696e67" "8b5a5643" "a002" "a301000080" "8978"
                 "87" "8f5a76496e743332" "8b5a5643" "a002" "a001" "84" "a802" "8979" "87" "8f5a76466c6f6174" "8b5a5643" "a002" "a001" "a005" "0000c03f");
}

TEST(ZvcDump, CutAnywhereTellsTheByteAndWhatCameBeforeAndNoMore) {
    const std::string whole = UnknownPoint();
    const Output all = Dump(File(whole).name);
    ASSERT_EQ(0, all.code) << all.text;
    EXPECT_TRUE(Has(all.text, "y: float 1.5"));
    for (size_t size = 1; size < whole.size(); ++size) {
        const File file(whole.substr(0, size));
        const Output output = Dump(file.name);
        EXPECT_EQ(1, output.code) << size;
        EXPECT_TRUE(Has(output.text, "stopped here, at byte ")) << output.text;
        EXPECT_TRUE(Has(output.text, "file")) << output.text;                  // it ends, or something is longer than it
        EXPECT_FALSE(Has(output.text, "schema 0x00000002")) << output.text;    // a count of fields is no version
        EXPECT_EQ(size >= 11, Has(output.text, "class spec 1")) << output.text;
        EXPECT_EQ(size >= 9, Has(output.text, "module App")) << output.text;
        if (size % 5 != 0) continue;
        const Json json = DumpJson(file.name);
        EXPECT_LE(json["stopped"]["offset"], size);
        EXPECT_LE(json["stopped"]["offset"].get<size_t>(), json["values"][0]["end"].get<size_t>()) << size;
        EXPECT_LE(json["values"][0]["end"], size);
    }
}

TEST(ZvcDump, TypeOfAnUnknownBagAtTheEndIsWhole) {
    const File file(FromHex("87" "8c47426167" "8b417070" "a001"));                      // a type alone
    const Output output = Dump(file.name);
    EXPECT_EQ(0, output.code) << output.text;
    EXPECT_TRUE(Has(output.text, "type #1 GBag of module App, class spec 1")) << output.text;
    const File behind(FromHex("87" "8c47426167" "8b417070" "a001" "80"));
    EXPECT_EQ(0, Dump(behind.name).code);
}

TEST(ZvcDump, FolderCannotBeRead) {
    const Output output = Dump("/tmp");
    EXPECT_EQ(1, output.code);
    EXPECT_EQ("zvcdump: /tmp: cannot be read\n", output.text);
}

TEST(ZvcDump, EmptyFileIsWholeAndAMissingOneIsNot) {
    const File empty;
    EXPECT_EQ(Dump(empty.name).code, 0);
    const Output missing = Dump("/no/such/file");
    EXPECT_EQ(missing.code, 1);
    EXPECT_TRUE(Has(missing.text, "zvcdump: /no/such/file: cannot be read"));
    EXPECT_EQ(Dump("").code, 2);
    EXPECT_EQ(Dump("--wrong x").code, 2);
}
