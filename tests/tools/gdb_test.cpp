// What gdb shows of a program's objects, by the printers that it loads together with the library.

#include "support/Program.h"
#include "support/Sanitizers.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <vector>

namespace {

struct Shown {
    const char* expression;
    const char* text;                // "@" stands for an address
};

const Shown Table[] = {
    {"none", "null"},
    {"text", "\"a text that stands on the heap\" (6 owners)"},
    {"sameText", "\"a text that stands on the heap\" (6 owners)"},
    {"inlineText", "\"short\""},
    {"number", "ZvPrimitive<int> -42 (4 owners)"},
    {"letter", "ZvPrimitive<char> 97 'a' (1 owner)"},
    {"yes", "ZvPrimitive<bool> true (1 owner)"},
    {"real", "ZvPrimitive<double> 1.5 (1 owner)"},
    {"vec", "ZvPrimitive<CG::vec3<float> > {x = 1, y = 2, z = 3} (1 owner)"},
    {"color", "ZvPrimitive<zvcolor> {r = 0.5, g = 0.25, b = 1} (1 owner)"},
    {"reference", "ZvPrimitive<ZvObject$> -> ZvPrimitive<int> -42 (4 owners) (1 owner)"},
    {"toNothing", "ZvPrimitive<ZvObject$> -> null (1 owner)"},
    {"pointer", "ZvPrimitive<ZvObject*> -> \"a text that stands on the heap\" (1 owner)"},
    {"array", "ZvPrimArray<int> of 3 (1 owner) = {7, 8, 9}"},
    {"emptyArray", "ZvPrimArray<double> of 0 (1 owner)"},
    {"colors", "ZvPrimArray<zvcolor> of 1 = {{r = 1, g = 1, b = 1}}"},
    {"arguments", "ZvPrimArray<ZvObject$> of 2 (1 owner) = {\"a text that stands on the heap\" (6 owners), null}"},
    {"vector", "ZvVector<float> of 5, capacity 6 = {0.5, 1.5, 2.5, 3.5, 4.5}"},
    {"list", "ZvArrayList of 3 (4 owners) = {ZvPrimitive<int> -42 (4 owners), null, \"a text that stands on the heap\" (6 owners)}"},
    {"queue", "ZvQueue of 2 (1 owner) = {ZvPrimitive<int> 68 (1 owner), ZvPrimitive<int> 69 (1 owner)}"},
    {"stack", "ZvStack of 1 (1 owner) = {\"a text that stands on the heap\" (6 owners)}"},
    {"dictionary", "ZvDictionary of 2 (1 owner) = {[\"one\" (1 owner)] = ZvPrimitive<int> 1 (1 owner), [\"list\" (1 owner)] = "
                   "ZvArrayList of 3 (4 owners) = {ZvPrimitive<int> -42 (4 owners), null, "
                   "\"a text that stands on the heap\" (6 owners)}}"},
    {"set", "ZvHashSet of 1 (1 owner) = {\"member\" (1 owner)}"},
    {"pair", "ZvPair (1 owner) = {first = \"a text that stands on the heap\" (6 owners), second = null}"},
    {"info", "ZvSerializationInfo of 1 (1 owner) = {[\"count\" (1 owner)] = ZvPrimitive<int> -42 (4 owners)}"},
    {"choice", "ZvEnum of 2, selection 1 (1 owner) = {\"red\" (1 owner), \"green\" (1 owner)}"},
    {"data", "ZvData of 3 (1 owner) = {97 'a', 98 'b', 99 'c'}"},
    {"date", "ZvDateTime 1999-12-24 08:05:1.5 zone 3, daylight-saving (1 owner)"},
    {"noon", "ZvDateTime 2000-07-01 12:00:0 zone 9"},
    {"walker", "ZvArrayList::Enumerator (1 owner) = {object = @}"},       // an interface of a class that gdb may not know
    {"type", "ZvType studio::Lamp of Printed, schema 0x80000001 (2 owners)"},
    {"boxType", "ZvType ZvInt32 of ZVC, schema 0x1 (2 owners)"},
    {"lamp", "studio::Lamp (3 owners) = {object = @}"},
    {"asObject", "studio::Lamp (3 owners) = {object = @}"},
    {"generic", "studio::Lamp (3 owners) = {object = @}"},
    {"asInterface", "ZvArrayList of 3 (4 owners) = {ZvPrimitive<int> -42 (4 owners), null, "
                    "\"a text that stands on the heap\" (6 owners)}"},
    {"asList", "ZvArrayList of 3 (4 owners) = {ZvPrimitive<int> -42 (4 owners), null, "
               "\"a text that stands on the heap\" (6 owners)}"},
    {"ofPlugin", "Gadget (1 owner) = {object = @}"},
    {"$zv(lamp).m_watts", "60"},
    {"$zv(asObject).m_watts", "60"},
    {"$zv(lamp.m_object).m_watts", "60"},
};

/// What gdb answers to `print` of each expression, at the program's stop; `image` is what stands behind the program's name.
std::vector<std::string> Ask(const std::string& stop, const std::string& image) {
    std::string command = "gdb -nx -batch -iex 'set debuginfod enabled off' -iex 'set auto-load safe-path /' -ex 'set width 0' ";
    command += stop + " -ex 'frame function Show'";
    for (const Shown& shown : Table) command += std::string(" -ex 'print ") + shown.expression + "'";
    const std::string output = RunProgram(command + " " + BesideTests("printed") + " " + image).output;
    std::vector<std::string> answers;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        const std::string head = "$" + std::to_string(answers.size() + 1) + " = ";
        if (line.compare(0, head.size(), head) == 0) answers.push_back(line.substr(head.size()));
    }
    EXPECT_EQ(answers.size(), std::size(Table)) << output;
    return answers;
}

std::string WithoutAddresses(std::string text) {
    for (size_t at; (at = text.find("0x5")) != std::string::npos || (at = text.find("0x6")) != std::string::npos
                    || (at = text.find("0x7")) != std::string::npos;) {
        size_t end = at + 2;
        while (end < text.size() && std::isxdigit(static_cast<unsigned char>(text[end]))) ++end;
        text.replace(at, end - at, "@");
    }
    return text;
}

void ExpectTable(const std::vector<std::string>& answers) {
    for (size_t i = 0; i < answers.size(); ++i) EXPECT_EQ(WithoutAddresses(answers[i]), Table[i].text) << Table[i].expression;
}

}

TEST(Debugger, ShowsObjectsOfARunningProgram) {
    setenv("ASAN_OPTIONS", "detect_leaks=0", 1);        // which a traced program cannot do
    ExpectTable(Ask("-ex 'break Stop' -ex run", ""));
}

TEST(Debugger, ShowsObjectsOfACrashedProgramWithoutRunningIt) {
    if (ZVC_THREAD_SANITIZER) GTEST_SKIP() << "the sanitizer keeps signals back from the threads";
    setenv("ASAN_OPTIONS", "handle_sigill=0:handle_segv=0:handle_sigbus=0:detect_leaks=0:use_sigaltstack=0", 1);
    ScratchDirectory directory;
    const std::string image = directory.File("image");
    RunProgram(BesideTests("printed") + " " + image);
    ExpectTable(Ask("", image));
}
