#pragma once

#include "Tiles.h"

namespace farm {

using Colours$ = ZvHandle<ZvPrimArray<zvcolor>, ZvArrayValue$>;
using SharedColours$ = ZvHandle<ZvSharePrimArray<zvcolor>, ZvArrayValue$>;

/// The picture while it comes about: its colours, row by row from the top, in memory that the workers of this machine write
/// to. Black where nothing has come yet.
class Picture {
public:
    /// Raises ZvSharedMemoryException.
    Picture(int width, int height);

    /// The memory and, behind the last pixel, a mark by which a worker knows that it is really this one.
    const SharedColours$& Shared() const { return m_colours; }
    float Mark() const { return m_mark; }

    /// Puts the colours of a tile in their place. False when they are not as many as it has. Any thread, for different tiles.
    bool Put(const Tile& tile, const Colours$& colours);

    /// The picture as a screen shows it: three channels of 8 bits.
    ZvImage$ Develop() const;

    /// The bare colours, in memory of this process.
    ZvObject$ Colours() const;

private:
    const int m_width, m_height;
    const float m_mark;
    const SharedColours$ m_colours;
};

}
