#include "Options.h"

#include <zvc/platform/Module.h>
#include <zvc/platform/System.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace farm {

const char Usage[] =
    "farm [options] SCENE     renders a scene with many worker processes\n"
    "\n"
    "  SCENE          a text file (see bunny.farm), or the document of an earlier job (.zvc.gz)\n"
    "  -o NAME        what the results are called: NAME.png, NAME-small.png, NAME.zvc.gz, NAME.log (the scene's name)\n"
    "  -m FOLDER      where meshes are looked for that do not lie beside the scene\n"
    "  -w COUNT       how many workers (one for each processor)\n"
    "  -l LAUNCHER    a program that starts a worker somewhere else: it is given a host, the worker's path and its arguments\n"
    "  -H HOST[:N]    with a launcher: N workers (1) on this host; may be repeated\n"
    "  -W PATH        the worker program (farm_worker beside this program)\n"
    "  -s WxH         size of the picture\n"
    "  -n SAMPLES     for each pixel\n"
    "  -t EDGE        of a tile, in pixels (32)\n"
    "  -f FILTER      of the smaller picture: box, triangle, bell or bspline (bell)\n"
    "  -p SECONDS     how long a worker may take for one answer before it is replaced (60)\n"
    "  --by-value     send tiles through the channels even where memory is shared\n";

namespace {

int Number(const std::string& option, const std::string& text, int most) {
    char* end = nullptr;
    const long number = std::strtol(text.c_str(), &end, 10);
    if (end == text.c_str() || *end != '\0' || number < 1 || number > most)
        throw UsageError{option + " takes a number from 1 to " + std::to_string(most)};
    return static_cast<int>(number);
}

/// The words of the command line, one after the other.
class Words {
public:
    Words(int argc, char** argv) : m_at(argv + 1), m_end(argv + argc) {}
    bool More() const { return m_at != m_end; }
    std::string Next() { return *m_at++; }
    std::string Operand(const std::string& option) {
        if (!More()) throw UsageError{option + " takes an operand"};
        return Next();
    }

private:
    char** m_at;
    char** m_end;
};

void SetSize(Options& options, const std::string& text) {
    const size_t x = text.find('x');
    if (x == std::string::npos) throw UsageError{"-s takes a size such as 640x480"};
    options.width = Number("-s", text.substr(0, x), 16384);
    options.height = Number("-s", text.substr(x + 1), 16384);
}

void AddHost(Options& options, const std::string& text) {
    const size_t colon = text.rfind(':');
    const int count = colon == std::string::npos ? 1 : Number("-H", text.substr(colon + 1), 1000);
    options.hosts.insert(options.hosts.end(), static_cast<size_t>(count), text.substr(0, colon));
}

std::string WithoutExtensions(std::string name) {
    return name.substr(0, name.find('.', 1));
}

}

Options::Options(int argc, char** argv) {
    int workers = 0;
    for (Words words(argc, argv); words.More();) {
        const std::string word = words.Next();
        if (word == "-o") output = words.Operand(word);
        else if (word == "-m") meshFolder = words.Operand(word);
        else if (word == "-w") workers = Number(word, words.Operand(word), 1000);
        else if (word == "-l") launcher = words.Operand(word);
        else if (word == "-H") AddHost(*this, words.Operand(word));
        else if (word == "-W") worker = words.Operand(word);
        else if (word == "-s") SetSize(*this, words.Operand(word));
        else if (word == "-n") samples = Number(word, words.Operand(word), 1 << 20);
        else if (word == "-t") tile = Number(word, words.Operand(word), 1024);
        else if (word == "-f") filter = words.Operand(word);
        else if (word == "-p") patience = Number(word, words.Operand(word), 1000000);
        else if (word == "--by-value") byValue = true;
        else if (word[0] == '-' || !scene.empty()) throw UsageError{"\"" + word + "\" is not understood"};
        else scene = word;
    }
    if (scene.empty()) throw UsageError{"no scene is named"};
    if (!hosts.empty() && launcher.empty()) throw UsageError{"hosts need a launcher"};
    if (!hosts.empty() && workers != 0) throw UsageError{"either -w or -H says how many workers there are"};
    if (hosts.empty()) hosts.resize(workers != 0 ? static_cast<size_t>(workers) : zvc::platform::ProcessorCount());
    const std::filesystem::path program = zvc::platform::ProgramPath();
    if (worker.empty()) worker = program.parent_path() / "farm_worker";
    if (output.empty()) output = WithoutExtensions(std::filesystem::path(scene).filename());
    if (!launcher.empty()) launcher = std::filesystem::absolute(launcher);
}

}
