#pragma once

#include <zvc/zvc.h>

#include <deque>

namespace farm {

struct Tile {
    int x, y, width, height;
};

/// The work that is left. Any thread.
class Tiles {
public:
    /// Divides the picture into squares of so many pixels, smaller ones at the edges.
    Tiles(int width, int height, int edge);

    /// The next tile. Waits while there is none but one under way may yet come back. False when all are done, or no more are
    /// to be begun.
    bool Take(Tile& tile);
    void Done();                            ///< one that was taken is in the picture
    void GiveBack(const Tile& tile);        ///< one that was taken is not
    void Stop();                            ///< no more are to be begun

    size_t Count() const { return m_count; }
    size_t DoneCount() const;

private:
    ZvObject$ m_lock = new ZvObject;        // of everything below
    std::deque<Tile> m_waiting;
    size_t m_count = 0, m_done = 0;
    bool m_stopped = false;
};

}
