#include "Tiles.h"

#include <algorithm>

namespace farm {

Tiles::Tiles(int width, int height, int edge) {
    for (int y = 0; y < height; y += edge)
        for (int x = 0; x < width; x += edge)
            m_waiting.push_back({x, y, std::min(edge, width - x), std::min(edge, height - y)});
    m_count = m_waiting.size();
}

bool Tiles::Take(Tile& tile) {
    ZvLock lock(m_lock.Get());
    while (m_waiting.empty() && m_done != m_count && !m_stopped) m_lock->Wait();
    if (m_waiting.empty() || m_stopped) return false;
    tile = m_waiting.front();
    m_waiting.pop_front();
    return true;
}

void Tiles::Done() {
    ZvLock lock(m_lock.Get());
    if (++m_done == m_count) m_lock->NotifyAll();
}

// To the front: whatever is late already holds up the end.
void Tiles::GiveBack(const Tile& tile) {
    ZvLock lock(m_lock.Get());
    m_waiting.push_front(tile);
    m_lock->NotifyAll();
}

void Tiles::Stop() {
    ZvLock lock(m_lock.Get());
    m_stopped = true;
    m_lock->NotifyAll();
}

size_t Tiles::DoneCount() const {
    ZvLock lock(m_lock.Get());
    return m_done;
}

}
