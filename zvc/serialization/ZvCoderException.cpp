#include "zvc/serialization/ZvCoderException.h"

ZV_DEFINE_CLASS(ZvCoderException, (ZvException))

ZvCoderException::ZvCoderException(Causes why, const char* inFile, const char* inFunction, unsigned int atLine,
                                   const char* message)
    : ZvException(message), cause(why), file(inFile), function(inFunction), line(atLine) {}

ZvCoderException::ZvCoderException(const ZvCoderException& other) = default;
ZvCoderException::~ZvCoderException() = default;
ZvObject* ZvCoderException::Clone() const { return new ZvCoderException(*this); }
