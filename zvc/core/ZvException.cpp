#include "zvc/core/ZvException.h"

#include "zvc/values/ZvString.h"

ZV_DEFINE_CLASS(ZvException, (ZvObject))

ZvException::ZvException() = default;
ZvException::ZvException(const char* message) : m_message(new ZvString(message)) {}
ZvException::ZvException(const ZvString$& message) : m_message(message) {}
ZvException::ZvException(const ZvException& other) : ZvObject(other), m_message(other.m_message) {}
ZvException::~ZvException() { m_message = nullptr; }
ZvString$ ZvException::What() { return m_message; }

#define ZV_DEFINE_EXCEPTION(X)                                \
    ZV_DEFINE_CLASS(X, (ZvException))                         \
    X::X(const char* message) : ZvException(message) {}       \
    X::X(const X& other) = default;                           \
    X::~X() = default;

ZV_DEFINE_EXCEPTION(ZvBadCastException)
ZV_DEFINE_EXCEPTION(ZvBadAllocException)
ZV_DEFINE_EXCEPTION(ZvPluginUnloadedException)
