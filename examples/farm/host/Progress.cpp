#include "Progress.h"

#include "Time.h"

#include <zvc/platform/Pipe.h>

#include <cstdio>

namespace farm {

Progress::Progress(const Tiles& tiles) : m_tiles(tiles), m_terminal(zvc::platform::IsTerminal(zvc::platform::StandardStream::Error)), m_start(Seconds()) {}

std::string Progress::Line(size_t done) const {
    const double elapsed = Seconds() - m_start;
    const double left = done == 0 ? 0 : elapsed / static_cast<double>(done) * static_cast<double>(m_tiles.Count() - done);
    char line[160];
    int length = std::snprintf(line, sizeof line, "%3zu %%  %zu of %zu tiles  %.2f million rays a second", done * 100 / m_tiles.Count(), done,
                               m_tiles.Count(), elapsed > 0 ? static_cast<double>(m_rays) / elapsed / 1e6 : 0);
    const auto seconds = static_cast<unsigned long>(left + 0.5);
    if (done != 0) std::snprintf(line + length, sizeof line - static_cast<size_t>(length), "  %lu:%02lu left", seconds / 60, seconds % 60);
    return line;
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
