#include "Progress.h"

#include "Time.h"

#include <zvc/platform/Pipe.h>

#include <cstdio>

namespace farm {

namespace platform = zvc::platform;

Progress::Progress(const Tiles& tiles)
    : m_tiles(tiles), m_terminal(platform::IsTerminal(platform::StandardStream::Error)), m_start(Seconds()) {}

std::string Progress::Line(size_t done) const {
    const double elapsed = Seconds() - m_start, rays = static_cast<double>(m_rays) / 1e6;
    const size_t count = m_tiles.Count();
    ZvString line;
    line.Format("%3zu %%  %zu of %zu tiles  %.2f million rays a second", done * 100 / count, done, count, rays / elapsed);
    if (done == 0) return line.CStr();
    const auto left = static_cast<unsigned long>(elapsed / static_cast<double>(done) * static_cast<double>(count - done) + 0.5);
    ZvString rest;
    rest.Format("  %lu:%02lu left", left / 60, left % 60);
    return std::string(line.CStr()) + rest.CStr();
}

void Progress::Show() {
    const size_t done = m_tiles.DoneCount(), tenth = done * 10 / m_tiles.Count();
    ZvLock lock(m_lock.Get());
    if (m_terminal) {
        std::fprintf(stderr, "\r%s\x1b[K", Line(done).c_str());
        m_open = true;
    } else if (tenth != m_tenth) {
        m_tenth = tenth;
        std::fprintf(stderr, "%s\n", Line(done).c_str());
    }
}

void Progress::Note(const std::string& text) {
    ZvLogPrintf("%9.3f %s\n", Seconds(), text.c_str());
    ZvLock lock(m_lock.Get());
    std::fprintf(stderr, m_open ? "\r\x1b[K%s\n" : "%s\n", text.c_str());
    m_open = false;
}

void Progress::End() {
    ZvLock lock(m_lock.Get());
    if (m_open) std::fputc('\n', stderr);
    m_open = false;
}

}
