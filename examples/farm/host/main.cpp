// The render farm's host: reads a scene, has workers render it tile by tile, and saves the picture. docs/farm.md tells how it
// is used.

#include "Interrupt.h"
#include "Progress.h"
#include "Results.h"
#include "Time.h"

#include <cstdio>
#include <exception>
#include <filesystem>

ZV_MODULE("farm", nullptr, nullptr)

namespace farm {

namespace {

constexpr int Interrupted = 130;                        // what shells know a Ctrl-C by

/// What would only show at the end otherwise.
void Check(const Options& options) {
    if (FilterNamed(options.filter) == nullptr) throw UsageError{"\"" + options.filter + "\" is no filter"};
    const std::filesystem::path program = options.launcher.empty() ? options.worker : options.launcher;
    if (!std::filesystem::is_regular_file(program)) throw UsageError{program.string() + " is not there"};
    const std::filesystem::path folder = std::filesystem::absolute(options.output).parent_path();
    if (!std::filesystem::is_directory(folder)) throw UsageError{folder.string() + " is no folder"};
}

int Render(const Options& options) {
    Check(options);
    const SceneFile scene(options);
    std::printf("%s: %s, %dx%d pixels, %d samples each\n", options.scene.c_str(), scene.summary->CStr(), scene.width,
                scene.height, scene.samples);
    std::fflush(stdout);
    ZvOpenLog((options.output + ".log").c_str());
    ZvLogPrintf("%9.3f %s: %s, %zu workers\n", Seconds(), options.scene.c_str(), scene.summary->CStr(), options.hosts.size());

    CatchInterrupts();
    Tiles tiles(scene.width, scene.height, options.tile);
    Picture picture(scene.width, scene.height);
    const StartScripts scripts(options);
    Progress progress(tiles);
    Job job{options, scene.scene, tiles, picture, scripts, progress};
    Farm farm(job);
    const bool complete = farm.Run();
    const bool saved = SaveResults(options, scene, picture);
    PrintTable(farm);
    ZvLogPrintf("%9.3f %zu of %zu tiles, %lld rays\n", Seconds(), tiles.DoneCount(), tiles.Count(), progress.Rays());
    ZvCloseLog();
    if (Interrupts() != 0) return Interrupted;
    const size_t missing = tiles.Count() - tiles.DoneCount();
    if (!complete) std::fprintf(stderr, "farm: no worker is left, and %zu of %zu tiles are missing\n", missing, tiles.Count());
    return complete && saved ? 0 : 1;
}

}

}

int main(int argc, char** argv) {
    if (argc == 1) {
        std::fputs(farm::Usage, stdout);
        return 0;
    }
    try {
        return farm::Render(farm::Options(argc, argv));
    } catch (const farm::UsageError& e) {
        std::fprintf(stderr, "farm: %s\n", e.text.c_str());
    } catch (ZvPluginUnloadedException& e) {
        std::fprintf(stderr, "farm: %s is a plug-in that cannot be loaded\n", e.What()->CStr());
    } catch (ZvException& e) {
        std::fprintf(stderr, "farm: %s\n", e.What() ? e.What()->CStr() : "failed");
    } catch (const std::exception& e) {
        std::fprintf(stderr, "farm: %s\n", e.what());
    }
    return 1;
}
