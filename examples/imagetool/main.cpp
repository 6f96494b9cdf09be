// Reads pictures, says what they are, resizes and converts them and saves them, in whatever formats the codec plug-ins beside
// the program know.

#include "Convert.h"
#include "Progress.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

ZV_MODULE("imagetool", nullptr, nullptr)

using namespace imagetool;

namespace {

constexpr char Usage[] =
    "imagetool [options] PICTURE...           says what each picture is\n"
    "imagetool [options] PICTURE... -o PATH   and saves it: to a file, or under its name into a folder\n"
    "\n"
    "  -o PATH         where to; the extension says the format\n"
    "  -t FORMAT       the format as an extension (png, jpg, tif, bmp, hdr), whatever the path says\n"
    "  -s WxH          new size; \"Wx\" or \"xH\" keeps the proportions, \"50%\" scales\n"
    "  -f FILTER       box, triangle, bell, bspline, lanczos3, mitchell, catmullrom or sinc (triangle)\n"
    "  -c CHANNELS     1 grey, 2 grey with alpha, 3 RGB, 4 RGB with alpha\n"
    "  -d DEPTH        8 or 16 bits a channel\n"
    "  -e STOPS        exposure of a high-dynamic-range picture that becomes an ordinary one (0)\n"
    "  -O NAME=VALUE   an option of the codec: quality=80, compression=9, subsampling=444, progressive=1, ...\n"
    "  -p              show progress always, and not on a terminal alone when something takes long\n"
    "  -l              the formats that there are\n";

struct UsageError {
    std::string text;
};

struct Failure {
    std::string file, text;
};

struct NamedFilter {
    const char* name;
    const ZvFilter* filter;
    bool overshoots;
};

const NamedFilter& FilterNamed(const std::string& name) {
    static const ZvBoxFilter box;
    static const ZvTriangleFilter triangle;
    static const ZvBellFilter bell;
    static const ZvBSplineFilter bspline;
    static const ZvLanczos3Filter lanczos3;
    static const ZvMitchellFilter mitchell;
    static const ZvCatmullRomFilter catmullrom;
    static const ZvSincFilter sinc;
    static const NamedFilter filters[] = {
        {"box", &box, false},           {"triangle", &triangle, false}, {"bell", &bell, false},
        {"bspline", &bspline, false},   {"lanczos3", &lanczos3, true},  {"mitchell", &mitchell, false},
        {"catmullrom", &catmullrom, false}, {"sinc", &sinc, true},
    };
    for (const NamedFilter& f : filters)
        if (name == f.name) return f;
    throw UsageError{"no filter is named " + name};
}

struct Arguments {
    std::vector<std::string> pictures;
    std::string output, format, size;
    std::vector<std::pair<std::string, std::string>> options;
    const NamedFilter* filter = &FilterNamed("triangle");
    int channels = 0, depth = 0;
    double exposure = 0;
    Progress::Mode progress = isatty(2) != 0 ? Progress::WhenSlow : Progress::Never;
    bool list = false;
};

int Number(const std::string& text, int least, int greatest) {
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || value < least || value > greatest) throw UsageError{text + " is not in the range"};
    return static_cast<int>(value);
}

Arguments Parse(int argc, char** argv) {
    Arguments a;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const auto value = [&]() -> std::string {
            if (++i == argc) throw UsageError{word + " needs a value"};
            return argv[i];
        };
        if (word == "-o") a.output = value();
        else if (word == "-t") a.format = value();
        else if (word == "-s") a.size = value();
        else if (word == "-f") a.filter = &FilterNamed(value());
        else if (word == "-c") a.channels = Number(value(), 1, 4);
        else if (word == "-d") a.depth = Number(value(), 8, 16);
        else if (word == "-e") a.exposure = Number(value(), -100, 100);
        else if (word == "-p") a.progress = Progress::Always;
        else if (word == "-l") a.list = true;
        else if (word == "-O") {
            const std::string pair = value();
            const size_t divide = pair.find('=');
            if (divide == std::string::npos) throw UsageError{pair + " is no NAME=VALUE"};
            a.options.emplace_back(pair.substr(0, divide), pair.substr(divide + 1));
        } else if (word.size() > 1 && word[0] == '-') throw UsageError{word + " is no option"};
        else a.pictures.push_back(word);
    }
    if (a.depth != 0 && a.depth != 8 && a.depth != 16) throw UsageError{"a depth is 8 or 16"};
    if (a.pictures.empty() && !a.list) throw UsageError{"no picture is named"};
    if (a.pictures.size() > 1 && !a.output.empty() && !std::filesystem::is_directory(a.output))
        throw UsageError{"several pictures go into a folder, and " + a.output + " is none"};
    return a;
}

// "640x480", "640x", "x480", "50%".
void NewSize(const std::string& text, const ZvImage& image, int& width, int& height) {
    constexpr int greatest = 1 << 20;
    const int w = image.GetWidth(), h = std::abs(image.GetHeight());
    const auto scaled = [](int side, double scale) { return std::max(1, static_cast<int>(side * scale + 0.5)); };
    if (text.ends_with('%')) {
        const double scale = Number(text.substr(0, text.size() - 1), 1, 10000) / 100.0;
        width = scaled(w, scale);
        height = scaled(h, scale);
        return;
    }
    const size_t x = text.find('x');
    if (x == std::string::npos || text.size() == 1) throw UsageError{text + " is no size"};
    width = x == 0 ? 0 : Number(text.substr(0, x), 1, greatest);
    height = x + 1 == text.size() ? 0 : Number(text.substr(x + 1), 1, greatest);
    if (width == 0) width = scaled(w, double(height) / h);
    if (height == 0) height = scaled(h, double(width) / w);
}

// The registry's name of the format, which GetDecoder has found by these bytes.
std::string FormatOf(const std::string& path) {
    std::vector<char> start(static_cast<size_t>(ZvImgCodec::s_max_signature_length) + 1);
    std::ifstream(path, std::ios::binary).read(start.data(), static_cast<std::streamsize>(start.size()) - 1);
    for (const ZvCodecType* type = ZvImgCodec::s_root; type != nullptr; type = type->next)
        if (type->CheckSignature(start.data())) return type->name;
    return "an unknown format";
}

ZvImage$ Load(const std::string& path) {
    ZvImage$ image;
    try {
        image = new ZvImage(path.c_str());
    } catch (ZvImageUnloadedException& e) {
        if (ZvImgCodec::s_root == nullptr) throw Failure{path, "no codec plug-in lies beside the program"};
        throw Failure{path, *e.What() == "decode error" ? "is damaged, or not of a kind that can be read" : "is no picture of a known format"};
    }
    if (image->GetBaseAddress() == nullptr) throw Failure{path, "cannot be opened"};
    return image;
}

void Describe(const std::string& path, const ZvImage$& image) {
    static const char* const channels[] = {"grey", "grey with alpha", "RGB", "RGB with alpha"};
    const auto name = FormatOf(path);
    const char* kind = IsPacked(image) ? "packed colours" : channels[image->GetChannels() - 1];
    std::printf("%s: %s, %d x %d, %s, %d bits a channel, rows %s\n", path.c_str(), name.c_str(), image->GetWidth(),
                std::abs(image->GetHeight()), kind, image->GetDepth(), image->IsBottomUp() ? "from the bottom" : "from the top");
}

std::string Extension(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return extension.empty() ? extension : extension.substr(1);
}

std::string Target(const Arguments& a, const std::string& picture) {
    if (!std::filesystem::is_directory(a.output)) return a.output;
    const std::filesystem::path name = std::filesystem::path(picture).filename();
    return (std::filesystem::path(a.output) / (a.format.empty() ? name.string() : name.stem().string() + "." + a.format)).string();
}

// Across and then down, as one call would do it: so the progress line can tell them apart.
ZvImage$ Resized(const ZvImage$& image, const Arguments& a, Progress& progress, const std::string& label) {
    int width, height;
    NewSize(a.size, *image, width, height);
    const bool headroom = a.filter->overshoots;
    ZvImage$ work = headroom ? ToHeadroom(image) : image;
    progress.Step(label + "resizing across to " + std::to_string(width));
    work = work->Resize(width, std::abs(image->GetHeight()), *a.filter->filter);
    progress.Step(label + "resizing down to " + std::to_string(height));
    work = work->Resize(width, height, *a.filter->filter);
    return headroom ? FromHeadroom(work, image->GetDepth()) : work;
}

bool SaveAs(const ZvImage$& image, const std::string& path, const Arguments& a) {
    constexpr size_t most = 8;
    const char* words[2 * most + 1] = {};
    size_t count = 0;
    auto options = a.options;
    if (!a.format.empty()) options.emplace_back("format", a.format);
    if (options.size() > most) throw UsageError{"too many options"};
    for (const auto& [name, value] : options) {
        words[count++] = name.c_str();
        words[count++] = value.c_str();
    }
    // Behind the null that ends them the rest is not looked at.
    return image->Save(path.c_str(), words[0], words[1], words[2], words[3], words[4], words[5], words[6], words[7], words[8], words[9],
                       words[10], words[11], words[12], words[13], words[14], words[15], words[16]);
}

// A format that cannot hold the picture gets the plain one, without alpha and of 8 bits, unless the user has said what to save; image is then what was
// saved.
bool Save(ZvImage$& image, const std::string& path, const Arguments& a) {
    if (SaveAs(image, path, a)) return true;
    const int plain = image->GetChannels() < 3 ? 1 : 3;
    if (a.channels != 0 || a.depth != 0 || IsPacked(image) || (image->GetChannels() == plain && image->GetDepth() == 8)) return false;
    image = Convert(image, plain, 8);
    return SaveAs(image, path, a);
}

void Treat(const std::string& picture, const Arguments& a, Progress& progress, const std::string& label) {
    progress.Step(label + "reading");
    ZvImage$ image = Load(picture);
    progress.Clear();
    Describe(picture, image);
    if (a.output.empty()) return;

    const std::string target = Target(a, picture);
    const bool packs = (a.format.empty() ? Extension(target) : a.format) == "hdr";
    // What is to be resized must be light that can be added up, and packed colours cannot.
    if (IsPacked(image) && (!packs || !a.size.empty() || a.channels != 0 || a.depth != 0)) {
        progress.Step(label + "developing");
        image = Develop(image, a.exposure);
    }
    if (!a.size.empty()) image = Resized(image, a, progress, label);
    if (a.channels != 0 || a.depth != 0) {
        progress.Step(label + "converting");
        image = Convert(image, a.channels != 0 ? a.channels : image->GetChannels(), a.depth != 0 ? a.depth : image->GetDepth());
    }
    if (packs && !IsPacked(image)) image = Pack(image);
    progress.Step(label + "writing " + target);
    if (!Save(image, target, a)) throw Failure{target, "cannot be written, or is of a format that cannot hold this picture"};
    progress.Clear();
    Describe(target, image);
}

int List() {
    ZvStream$ none = new ZvStdFILEStream("/dev/null", "rb");
    ZvImgCodec::GetEncoder(none, "");
    for (const ZvCodecType* type = ZvImgCodec::s_root; type != nullptr; type = type->next)
        std::printf("%-28s %s\n", type->name, type->extensions);
    return 0;
}

int Run(const Arguments& a) {
    if (a.list) return List();
    Progress progress(a.progress);
    for (size_t i = 0; i < a.pictures.size(); ++i) {
        const std::string name = std::filesystem::path(a.pictures[i]).filename().string();
        const std::string count = "[" + std::to_string(i + 1) + "/" + std::to_string(a.pictures.size()) + "] ";
        Treat(a.pictures[i], a, progress, (a.pictures.size() > 1 ? count : "") + name + ": ");
    }
    return 0;
}

}

int main(int argc, char** argv) {
    try {
        return Run(Parse(argc, argv));
    } catch (const UsageError& e) {
        std::fprintf(stderr, "imagetool: %s\n\n%s", e.text.c_str(), Usage);
        return 2;
    } catch (const Failure& e) {
        std::fprintf(stderr, "imagetool: %s: %s\n", e.file.c_str(), e.text.c_str());
    } catch (ZvException& e) {
        std::fprintf(stderr, "imagetool: %s: %s\n", e.GetType()->GetName()->CStr(), e.What() ? e.What()->CStr() : "");
    } catch (const std::exception& e) {
        std::fprintf(stderr, "imagetool: %s\n", e.what());
    }
    return 1;
}
