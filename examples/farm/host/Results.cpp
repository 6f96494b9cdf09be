#include "Results.h"

#include <algorithm>
#include <cstdio>

namespace farm {

namespace {

constexpr int Smaller = 3;                              // how many times the second picture is smaller

bool Saved(bool done, const std::string& path, const std::string& what) {
    if (done) std::printf("%-24s %s\n", path.c_str(), what.c_str());
    else std::fprintf(stderr, "farm: %s cannot be written\n", path.c_str());
    return done;
}

std::string SizeOf(const ZvImage$& image) {
    return std::to_string(image->GetWidth()) + "x" + std::to_string(std::abs(image->GetHeight()));
}

}

// Those without overshoot alone: the samples of a resized picture are cut off, and not limited.
const ZvFilter* FilterNamed(const std::string& name) {
    static const ZvBoxFilter box;
    static const ZvTriangleFilter triangle;
    static const ZvBellFilter bell;
    static const ZvBSplineFilter bspline;
    if (name == "box") return &box;
    if (name == "triangle") return &triangle;
    if (name == "bell") return &bell;
    return name == "bspline" ? &bspline : nullptr;
}

bool SaveResults(const Options& options, const SceneFile& scene, const Picture& picture) {
    const ZvImage$ image = picture.Develop();
    const int width = std::max(1, scene.width / Smaller), height = std::max(1, scene.height / Smaller);
    const ZvImage$ smaller = image->Resize(width, height, *FilterNamed(options.filter));
    const std::string large = options.output + ".png", small = options.output + "-small.png";
    const std::string document = options.output + ".zvc.gz";
    bool all = Saved(image->Save(large.c_str(), nullptr), large, SizeOf(image));
    all &= Saved(smaller->Save(small.c_str(), nullptr), small, SizeOf(smaller) + ", " + options.filter + " filter");
    all &= Saved(scene.SaveDocument(document, picture.Colours()), document, "the scene and its colours");
    return all;
}

void PrintTable(const Farm& farm) {
    std::printf("\n%-28s %7s %7s %12s %10s  %s\n", "", "started", "tiles", "rays", "rays/s", "tiles travel");
    for (const auto& place : farm.Places()) {
        const Place::Account& a = place->GetAccount();
        const double rate = a.seconds > 0 ? static_cast<double>(a.rays) / a.seconds : 0;
        std::printf("%-28s %7d %7d %12lld %9.2fM  %s\n", place->Name().c_str(), a.workers, a.tiles, a.rays, rate / 1e6,
                    a.tiles == 0 ? "-" : a.sharesMemory ? "in shared memory" : "by value");
    }
}

}
