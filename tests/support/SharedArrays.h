#pragma once

// What the stress test of shared arrays and its many processes have in common.

#include <zvc/zvc.h>

#include <atomic>
#include <string>

namespace arrays {

using Array = ZvSharePrimArray<unsigned int>;
using Array$ = ZvHandle<Array, ZvArrayValue$>;

constexpr unsigned int Names = 5, Count = 3000;

/// What all processes count together, in an array that they share.
enum Tally : unsigned int { Made, Opened, Missed, Checked, NotZero, OtherBlock, Damaged };

inline ZvString$ TallyName(const std::string& base) { return new ZvString((base + "tally").c_str()); }

inline ZvString$ NameOf(const std::string& base, unsigned int i) {
    const std::string names[Names] = {base + "plain", base + "with/slash", base + "\xc3\xa9 and blanks", base + std::string(300, 'n'),
                                      "Local\\" + base};
    return new ZvString(names[i].c_str());
}

inline std::atomic_ref<unsigned int> At(const Array$& array, unsigned int i) { return std::atomic_ref<unsigned int>((*array)[i]); }

/// Opens by a name as a receiver does, out of a stream that holds count and name; null when there is none of that name.
inline Array$ Open(const ZvString$& name) {
    ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$> bytes = new ZvPrimArray<unsigned char>(1000, nullptr);
    ZvStream$ stream = new ZvMemoryStream(bytes);
    ZvBinaryCoder$ writer = new ZvBinaryCoder(new ZvStreamingContext(ZvStreamingContext::TrackObjects));
    ZvBinaryCoder$ reader = new ZvBinaryCoder(new ZvStreamingContext(ZvStreamingContext::TrackObjects));
    writer->Write(stream, Count);
    writer->Write(stream, static_cast<const ZvObject$&>(name));
    stream->Seekg(0, ZvStream::Begin);
    Array$ array = new Array;
    array->Decode(stream, reader.Get());
    return array->GetBaseAddress() == nullptr ? Array$() : array;
}

}
