#include "Picture.h"

#include <zvc/platform/Process.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

namespace farm {

namespace {

/// A value that no other picture has, and that a float holds whole.
float NewMark() { return 1 + static_cast<float>(std::random_device{}() & 0x7FFFFF); }

SharedColours$ NewColours(int width, int height, float mark) {
    ZvString$ name = new ZvString;
    name->Format("zvc-farm-%u-%.0f", zvc::platform::CurrentProcessId(), static_cast<double>(mark));
    const size_t pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
    SharedColours$ colours = new ZvSharePrimArray<zvcolor>(name, pixels + 1, nullptr);
    (*colours)[pixels] = zvcolor(mark);
    return colours;
}

/// What stands for a brightness in a file: IEC 61966-2-1.
unsigned char Encoded(float light) {
    const float v = std::clamp(light, 0.0f, 1.0f);
    const float shown = v <= 0.0031308f ? v * 12.92f : 1.055f * std::pow(v, 1 / 2.4f) - 0.055f;
    return static_cast<unsigned char>(shown * 255 + 0.5f);
}

}

Picture::Picture(int width, int height)
    : m_width(width), m_height(height), m_mark(NewMark()), m_colours(NewColours(width, height, m_mark)) {}

bool Picture::Put(const Tile& tile, const Colours$& colours) {
    const auto width = static_cast<size_t>(tile.width);
    if (!colours || colours->Count() != width * static_cast<size_t>(tile.height)) return false;
    for (int row = 0; row < tile.height; ++row) {
        const zvcolor* const from = &(*colours)[static_cast<size_t>(row) * width];
        const size_t to = static_cast<size_t>(tile.y + row) * static_cast<size_t>(m_width) + static_cast<size_t>(tile.x);
        std::copy(from, from + width, &(*m_colours)[to]);
    }
    return true;
}

ZvImage$ Picture::Develop() const {
    ZvImage$ image = new ZvImage(m_width, -m_height, 3, 8, 0, nullptr, 0, true);       // rows from the top
    size_t pixel = 0;
    for (int y = 0; y < m_height; ++y) {
        unsigned char* to = image->GetLine(y);
        for (int x = 0; x < m_width; ++x, ++pixel)
            for (int channel = 0; channel < 3; ++channel) *to++ = Encoded((*m_colours)[pixel][channel]);
    }
    return image;
}

ZvObject$ Picture::Colours() const { return new ZvPrimArray<zvcolor>(m_colours->Count() - 1, &(*m_colours)[0]); }

}
