#pragma once

#include "zvc/core/ZvException.h"

/// How coding fails: the one exception of the coders. The library's own raisers leave the message empty; the fields say
/// everything.
class ZV_API ZvCoderException : public ZvException {
    ZV_DECLARE_CLASS(ZvCoderException)
public:
    /// Plain numbers, not flags.
    enum Causes : int {
        StreamFailed = 1,            ///< the stream reported a failure; no field list for a field-driven type
        NotWritable = 2,             ///< the stream cannot be written; from the reader of raw blocks, that it cannot be read
        NotReadable = 4,             ///< the stream cannot be read; from writers of 64-bit integers and floats, that it cannot be written
        UnknownReference = 5,        ///< a back reference to an id that is not there
        TypeUnavailable = 6,         ///< no type, no module, or an object cannot be built
        BadTag = 8                   ///< a tag that the operation does not accept
    };

    ZvCoderException(Causes cause, const char* file, const char* function, unsigned int line, const char* message);
    ZvCoderException(const ZvCoderException& other);
    ~ZvCoderException() override;
    ZvObject* Clone() const override;

    Causes cause;
    const char* file;                ///< a static string: the source of the raiser
    const char* function;            ///< a static string: the raiser
    unsigned int line;
};
