#pragma once

#include "Tiles.h"

#include <atomic>
#include <string>

namespace farm {

/// Tells on standard error how far the work is: in one line that changes, or on anything but a terminal in a line for each
/// tenth. Any thread.
class Progress {
public:
    explicit Progress(const Tiles& tiles);

    /// So many rays more.
    void Count(long long rays) { m_rays += rays; }
    long long Rays() const { return m_rays; }

    /// Shows how things stand now.
    void Show();
    /// A line of its own, which also goes to the log.
    void Note(const std::string& text);
    /// No more is to come.
    void End();

private:
    std::string Line(size_t done) const;

    const Tiles& m_tiles;
    const bool m_terminal;
    const double m_start;
    std::atomic<long long> m_rays{0};
    ZvObject$ m_lock = new ZvObject;        // of what follows, and of standard error
    size_t m_tenth = 0;                     // the last one that was told
    bool m_open = false;                    // the changing line stands there
};

}
