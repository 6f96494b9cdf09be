#include "zvc/imaging/ZvImage.h"

#include "zvc/core/ZvException.h"
#include "zvc/imaging/ZvPixels.h"
#include "zvc/imaging/ZvResample.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int MostChannels = 8;                           // that the passes have sums for

int Rows(int height) { return static_cast<int>(std::min<long long>(std::abs(static_cast<long long>(height)), INT32_MAX)); }

}

ZvImage$ ZvImage::Resize(int width, int height, const ZvFilter& filter) const {
    const auto signedHeight = m_height > 0 ? height : static_cast<int>(0u - static_cast<unsigned int>(height));
    ZvImage$ result = new ZvImage(width, signedHeight, m_channels, m_depth, m_sampleType, nullptr, 0, true);
    if (m_data == nullptr || width <= 0) return result;

    const int rows = Rows(height), sourceRows = Rows(m_height);
    const bool isResampled = (m_depth == 8 || m_depth == 16) && m_channels > 0 && m_channels <= MostChannels;
    if (width == m_width && rows == sourceRows) {
        // Whole rows, with what pads them, as far as both have room.
        const auto bytes = static_cast<size_t>(std::min(std::abs(m_linePitch), result->m_linePitch));
        for (int y = 0; y < rows; ++y) std::memcpy(result->GetLine(y), GetLine(y), bytes);
    } else if (isResampled) {
        const zvc::detail::SampleRows from{m_data, m_linePitch, m_width, sourceRows};
        const zvc::detail::SampleRows to{result->m_data, result->m_linePitch, width, rows};
        zvc::detail::Resample(from, to, m_channels, m_depth / 8, filter, zvc::detail::BestKernels());
    }
    return result;
}
