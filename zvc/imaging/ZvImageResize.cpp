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
    const int rows = Rows(height), sourceRows = Rows(m_height);
    const bool isCopied = width == m_width && rows == sourceRows;
    const bool isResampled = (m_depth == 8 || m_depth == 16) && m_channels > 0 && m_channels <= MostChannels;
    const bool isWritten = m_data != nullptr && width > 0 && (isCopied || isResampled);

    ZvImage$ result = new ZvImage;
    result->StoreLayout(width, signedHeight, m_channels, m_depth, m_sampleType);
    result->CalcRealize();
    result->OwnBlock(!isWritten);
    if (!isWritten) return result;
    const int pitch = result->m_linePitch;
    const int taken = isCopied ? std::min(std::abs(m_linePitch), pitch) : width * m_channels * (m_depth / 8);
    if (isCopied) {
        // Whole rows, with what pads them, as far as both have room.
        for (int y = 0; y < rows; ++y) std::memcpy(result->GetLine(y), GetLine(y), static_cast<size_t>(taken));
    } else {
        const zvc::detail::SampleRows from{m_data, m_linePitch, m_width, sourceRows};
        const zvc::detail::SampleRows to{result->m_data, pitch, width, rows};
        zvc::detail::Resample(from, to, m_channels, m_depth / 8, filter, zvc::detail::BestKernels());
    }
    if (taken < pitch)
        for (int y = 0; y < rows; ++y) std::memset(result->GetLine(y) + taken, 0, static_cast<size_t>(pitch - taken));
    return result;
}
