#pragma once

#include "zvc/core/ZvDeclare.h"

/// Root of all exceptions. Exceptions are thrown by value and caught by reference; the thrown object is not on the
/// heap and has count 0, so that it must never come into a handle.
class ZV_API ZvException : public ZvObject {
    ZV_DECLARE_CLASS(ZvException)
public:
    ZvException();                                   ///< without a message
    explicit ZvException(const char* message);       ///< with a new string
    ZvException(const ZvException& other);           ///< shares the message string
    ~ZvException() override;

    /// The message; a null handle when there is none.
    virtual ZvString$ What();

protected:
    explicit ZvException(const ZvString$& message);
    ZvString$ m_message;
};

/// Raised by no operation of the library; for users of the handles.
class ZV_API ZvBadCastException : public ZvException {
    ZV_DECLARE_CLASS(ZvBadCastException)
public:
    explicit ZvBadCastException(const char* message);
    ZvBadCastException(const ZvBadCastException& other);
    ~ZvBadCastException() override;
};

/// Memory is exhausted: raised by ZvSystem::Malloc and AlignedMalloc.
class ZV_API ZvBadAllocException : public ZvException {
    ZV_DECLARE_CLASS(ZvBadAllocException)
public:
    explicit ZvBadAllocException(const char* message);
    ZvBadAllocException(const ZvBadAllocException& other);
    ~ZvBadAllocException() override;
};

/// A plug-in's library cannot be loaded; the message is its path.
class ZV_API ZvPluginUnloadedException : public ZvException {
    ZV_DECLARE_CLASS(ZvPluginUnloadedException)
public:
    explicit ZvPluginUnloadedException(const char* message);
    ZvPluginUnloadedException(const ZvPluginUnloadedException& other);
    ~ZvPluginUnloadedException() override;
};
