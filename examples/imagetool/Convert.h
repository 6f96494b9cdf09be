#pragma once

#include <zvc/zvc.h>

namespace imagetool {

/// An image of packed colours, as the HDR codec reads them: four channels of 8 bits that are not RGB with alpha.
bool IsPacked(const ZvImage$& image);

/// Packed colours to RGB of 8 bits for a screen (gamma 2.2), brighter by so many stops; what is brighter than white is white.
ZvImage$ Develop(const ZvImage$& packed, double stops);

/// The other way: samples for a screen to packed colours of linear light. Alpha is lost.
ZvImage$ Pack(const ZvImage$& image);

/// Another number of channels (grey, grey with alpha, RGB, RGB with alpha) and another depth (8 or 16). Colours become grey by
/// their luminance; a new alpha is opaque.
ZvImage$ Convert(const ZvImage$& image, int channels, int depth);

/// Resampling stores sums as they are, cut off and wrapped round, which is no good for filters that overshoot. So the samples
/// go into the middle half of 16 bits first, and come back rounded and limited to their range.
ZvImage$ ToHeadroom(const ZvImage$& image);
ZvImage$ FromHeadroom(const ZvImage$& image, int depth);

}
