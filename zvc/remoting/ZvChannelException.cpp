#include "zvc/remoting/ZvChannelException.h"

#include "zvc/values/ZvString.h"

ZV_DEFINE_CLASS(ZvChannelException, (ZvException))

ZvChannelException::ZvChannelException(const char* message) : ZvException(message) {}
ZvChannelException::ZvChannelException(const ZvChannelException& other) = default;
ZvChannelException::~ZvChannelException() = default;

ZvChannelException& ZvChannelException::operator=(const ZvChannelException& other) {
    m_message = other.m_message;
    return *this;
}
