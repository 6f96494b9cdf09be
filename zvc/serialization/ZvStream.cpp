#include "zvc/serialization/ZvStream.h"

#include <cstdint>
#include <cstring>

ZV_DEFINE_CLASS(ZvStream, (ZvObject))

ZvStream::ZvStream() = default;
ZvStream::ZvStream(const ZvStream& other) = default;
ZvStream::ZvStream(ZvStream&& other) : ZvObject(other) {}
ZvStream::~ZvStream() = default;

namespace {

template <class T>
void Put(ZvStream& stream, T value) {
    stream.Write(static_cast<const void*>(&value), static_cast<long long>(sizeof value));
}

// What does not come stays zero.
template <class T>
T Take(ZvStream& stream) {
    T value{};
    stream.Read(static_cast<void*>(&value), static_cast<long long>(sizeof value));
    return value;
}

}

void ZvStream::Write(unsigned long value) { Put(*this, static_cast<uint32_t>(value)); }
void ZvStream::Write(long value) { Put(*this, static_cast<int32_t>(value)); }
void ZvStream::Write(unsigned long long value) { Put(*this, value); }
void ZvStream::Write(long long value) { Put(*this, value); }
void ZvStream::Write(double value) { Put(*this, value); }
void ZvStream::Write(float value) { Put(*this, value); }
void ZvStream::Write(unsigned int value) { Put(*this, value); }
void ZvStream::Write(int value) { Put(*this, value); }
void ZvStream::Write(unsigned short value) { Put(*this, value); }
void ZvStream::Write(short value) { Put(*this, value); }
void ZvStream::Write(unsigned char value) { Put(*this, value); }
void ZvStream::Write(char value) { Put(*this, value); }
void ZvStream::Write(bool value) { Put(*this, static_cast<unsigned char>(value)); }

void ZvStream::Read(unsigned long& value) { value = Take<uint32_t>(*this); }
void ZvStream::Read(long& value) { value = Take<int32_t>(*this); }
void ZvStream::Read(unsigned long long& value) { value = Take<unsigned long long>(*this); }
void ZvStream::Read(long long& value) { value = Take<long long>(*this); }
void ZvStream::Read(double& value) { value = Take<double>(*this); }
void ZvStream::Read(float& value) { value = Take<float>(*this); }
void ZvStream::Read(unsigned int& value) { value = Take<unsigned int>(*this); }
void ZvStream::Read(int& value) { value = Take<int>(*this); }
void ZvStream::Read(unsigned short& value) { value = Take<unsigned short>(*this); }
void ZvStream::Read(short& value) { value = Take<short>(*this); }
void ZvStream::Read(unsigned char& value) { value = Take<unsigned char>(*this); }
void ZvStream::Read(char& value) { value = Take<char>(*this); }
void ZvStream::Read(bool& value) { value = Take<unsigned char>(*this) != 0; }
