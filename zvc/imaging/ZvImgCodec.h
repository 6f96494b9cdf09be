#pragma once

#include "zvc/core/ZvException.h"
#include "zvc/serialization/ZvStream.h"

class ZvImage;
class ZvImgCodec;
struct ZvCodecRegister;

ZV_DECLARE_HANDLE(ZvImgCodec, ZvObject$);

/// What a plug-in tells of one file format: a static object of the plug-in, entered in the registry by a static
/// ZvCodecRegister next to it. The texts are not copied.
struct ZV_API ZvCodecType {
    using CreateFunction = ZvImgCodec$ (*)(ZvStream$&);

    /// signatures is an array ended by a null entry; it must not be null itself. The link to the next type is left alone.
    ZvCodecType(const char* name, const char** signatures, const char* extensions, CreateFunction create, ZvCodecRegister* registrar);

    /// True when the bytes begin as one of the signatures does, or when there is no signature at all: such a type answers
    /// everything. signatureLength bytes count for every signature alike, so that of a shorter one its terminating zero and
    /// whatever lies behind it in memory are compared too: give all of them one length. False for null bytes.
    virtual bool CheckSignature(const char* bytes) const;

    /// True when the list has the extension behind one of its dots, whatever the case. An empty extension is in a list with
    /// a dot that no letter or digit follows.
    bool CheckExtension(const char* extension) const;

    const char* name;                  ///< for display
    const char** signatures;
    int signatureLength;               ///< of the longest signature, without its zero
    const char* extensions;            ///< each behind a dot, as in "*.jpg;*.jpeg"; may be null
    CreateFunction create;             ///< makes a codec on the stream; may be null, and then the type is passed over
    ZvCodecRegister* registrar;        ///< kept, and not looked at
    ZvCodecType* next;                 ///< the one registered before
};

/// Enters a type at the head of the registry, for good. A plug-in has one as a static object for each of its types.
struct ZV_API ZvCodecRegister {
    ZvCodecRegister(ZvCodecType* type);
};

/// A codec at work on one stream: reads or writes one image file. The library knows no file format itself; codecs come with
/// the plug-ins (files with the extension ".dli") that lie beside the program's executable.
///
/// They are loaded by the first GetDecoder or GetEncoder that finds any. Neither the registry nor that search has a lock:
/// the first use is one thread's alone. A plug-in whose types are registered must stay loaded.
class ZV_API ZvImgCodec : public ZvObject {
    ZV_DECLARE_CLASS(ZvImgCodec)
    ZV_DECLARE_TABLES()
public:
    explicit ZvImgCodec(ZvStream$& stream);
    ZvImgCodec(const ZvImgCodec& other);                 ///< shares the stream
    ZvImgCodec& operator=(const ZvImgCodec& other);      ///< shares the stream
    ~ZvImgCodec() override;

    /// The library never calls it: it keeps its place ahead of the two others, where plug-ins expect them.
    virtual void Reserved() = 0;

    /// Reads the stream from where it stands and fills the image, normally through ZvImage::Create. False for a file that it
    /// cannot read.
    virtual bool DecodeImage(ZvImage* image) = 0;

    /// Writes the image, with optionCount pairs of option name and value; the arrays are null when there are none. False when
    /// the format cannot hold the image, or the stream did not take it.
    virtual bool EncodeImage(const ZvImage* image, int optionCount, const char** names, const char** values) = 0;

    /// The held stream's operations.
    long long Read(void* buffer, long long count);
    long long Write(const void* buffer, long long count);
    void Flush();
    long long Tellp() const;
    long long Tellg() const;
    void Seekp(long long offset, ZvStream::SeekOrigin origin);
    void Seekg(long long offset, ZvStream::SeekOrigin origin);
    bool Fail() const;

    /// The codec for what the stream holds, by its first bytes alone: the extension is accepted and not looked at. The newest
    /// type that knows them makes the codec; null when none does. The stream stands where it stood. Raises
    /// ZvPluginUnloadedException when a plug-in beside the program cannot be loaded: once, and the plug-ins behind it in the
    /// order of names then stay unloaded.
    static ZvImgCodec$ GetDecoder(ZvStream$& stream, const char* extension);

    /// The codec for an extension (without dot, in any case), from the newest type that has it in its list; null when none
    /// does, and for a null extension. Raises as GetDecoder does.
    static ZvImgCodec$ GetEncoder(ZvStream$& stream, const char* extension);

    /// Does nothing: there to be called at close-down.
    static void Shutdown();

    static ZvCodecType* s_root;                ///< the newest registered type
    static int s_max_signature_length;         ///< of all types ever registered

protected:
    ZvStream$ m_stream;
};

/// For codecs to raise; the library itself raises none.
class ZV_API ZvCodecException : public ZvException {
    ZV_DECLARE_CLASS(ZvCodecException)
public:
    explicit ZvCodecException(const char* message);
    ZvCodecException(const ZvCodecException& other);
    ~ZvCodecException() override;
};
