#pragma once

#include "zvc/core/ZvDeclare.h"
#include "zvc/imaging/zvcolor.h"
#include "zvc/serialization/ZvStream.h"
#include "zvc/values/CG.h"

class ZvChannel;

/// The vocabulary in which a class speaks to a stream: its Encode calls the Write overloads in one fixed order, and its
/// Decode the matching Read overloads in the same order. Nothing is framed around a class's own output, so that the pairing
/// alone keeps a stream readable. Failure is a ZvCoderException; nothing is rolled back.
///
/// The composite values are written here, element by element in storage order, through the overload of their element: a
/// coder cannot tell a vec3<float> from three floats.
///
/// A coder has no lock: one thread at a time. The order of the virtual operations is part of the interface.
class ZV_API ZvCoder : public ZvObject {
    ZV_DECLARE_CLASS(ZvCoder)
public:
    ZvCoder();
    ZvCoder(const ZvCoder& other);
    ZvCoder& operator=(const ZvCoder& other);
    ~ZvCoder() override;

    /// The channel whose coder this is. Not counted.
    virtual void SetChannel(ZvChannel* channel);

    virtual void Write(ZvStream$& stream, const zvcolor& value);
    virtual void Write(ZvStream$& stream, const CG::rotation<double>& value);
    virtual void Write(ZvStream$& stream, const CG::rotation<float>& value);
    virtual void Write(ZvStream$& stream, const CG::mat4<double>& value);
    virtual void Write(ZvStream$& stream, const CG::mat4<float>& value);
    virtual void Write(ZvStream$& stream, const CG::mat3<double>& value);
    virtual void Write(ZvStream$& stream, const CG::mat3<float>& value);
    virtual void Write(ZvStream$& stream, const CG::vec4<double>& value);
    virtual void Write(ZvStream$& stream, const CG::vec4<float>& value);
    virtual void Write(ZvStream$& stream, const CG::vec4<int>& value);
    virtual void Write(ZvStream$& stream, const CG::vec3<double>& value);
    virtual void Write(ZvStream$& stream, const CG::vec3<float>& value);
    virtual void Write(ZvStream$& stream, const CG::vec3<int>& value);
    virtual void Write(ZvStream$& stream, const CG::vec2<double>& value);
    virtual void Write(ZvStream$& stream, const CG::vec2<float>& value);
    virtual void Write(ZvStream$& stream, const CG::vec2<int>& value);

    virtual void Write(ZvStream$& stream, const ZvInterface* object) = 0;
    virtual void Write(ZvStream$& stream, const ZvInterface$& object) = 0;
    virtual void Write(ZvStream$& stream, const ZvObject* object) = 0;
    virtual void Write(ZvStream$& stream, const ZvObject$& object) = 0;
    virtual void Write(ZvStream$& stream, const ZvString& text) = 0;
    virtual void Write(ZvStream$& stream, unsigned int count, const double* values) = 0;
    virtual void Write(ZvStream$& stream, unsigned int count, const float* values) = 0;
    virtual void Write(ZvStream$& stream, double value) = 0;
    virtual void Write(ZvStream$& stream, float value) = 0;
    virtual void Write(ZvStream$& stream, unsigned long long value) = 0;
    virtual void Write(ZvStream$& stream, long long value) = 0;
    virtual void Write(ZvStream$& stream, unsigned int value) = 0;
    virtual void Write(ZvStream$& stream, int value) = 0;
    virtual void Write(ZvStream$& stream, unsigned short value) = 0;
    virtual void Write(ZvStream$& stream, short value) = 0;
    virtual void Write(ZvStream$& stream, unsigned char value) = 0;
    virtual void Write(ZvStream$& stream, char value) = 0;
    virtual void Write(ZvStream$& stream, bool value) = 0;
    virtual void Write(ZvStream$& stream, const void* data, unsigned long long size) = 0;

    virtual void Read(ZvStream$& stream, zvcolor& value);
    virtual void Read(ZvStream$& stream, CG::rotation<double>& value);
    virtual void Read(ZvStream$& stream, CG::rotation<float>& value);
    virtual void Read(ZvStream$& stream, CG::mat4<double>& value);
    virtual void Read(ZvStream$& stream, CG::mat4<float>& value);
    virtual void Read(ZvStream$& stream, CG::mat3<double>& value);
    virtual void Read(ZvStream$& stream, CG::mat3<float>& value);
    virtual void Read(ZvStream$& stream, CG::vec4<double>& value);
    virtual void Read(ZvStream$& stream, CG::vec4<float>& value);
    virtual void Read(ZvStream$& stream, CG::vec4<int>& value);
    virtual void Read(ZvStream$& stream, CG::vec3<double>& value);
    virtual void Read(ZvStream$& stream, CG::vec3<float>& value);
    virtual void Read(ZvStream$& stream, CG::vec3<int>& value);
    virtual void Read(ZvStream$& stream, CG::vec2<double>& value);
    virtual void Read(ZvStream$& stream, CG::vec2<float>& value);
    virtual void Read(ZvStream$& stream, CG::vec2<int>& value);

    virtual void Read(ZvStream$& stream, ZvInterface*& object) = 0;
    virtual void Read(ZvStream$& stream, ZvInterface$& object) = 0;
    virtual void Read(ZvStream$& stream, ZvObject*& object) = 0;
    virtual void Read(ZvStream$& stream, ZvObject$& object) = 0;
    virtual void Read(ZvStream$& stream, ZvString& text) = 0;
    virtual void Read(ZvStream$& stream, unsigned int count, double* values) = 0;
    virtual void Read(ZvStream$& stream, unsigned int count, float* values) = 0;
    virtual void Read(ZvStream$& stream, double& value) = 0;
    virtual void Read(ZvStream$& stream, float& value) = 0;
    virtual void Read(ZvStream$& stream, unsigned long long& value) = 0;
    virtual void Read(ZvStream$& stream, long long& value) = 0;
    virtual void Read(ZvStream$& stream, unsigned int& value) = 0;
    virtual void Read(ZvStream$& stream, int& value) = 0;
    virtual void Read(ZvStream$& stream, unsigned short& value) = 0;
    virtual void Read(ZvStream$& stream, short& value) = 0;
    virtual void Read(ZvStream$& stream, unsigned char& value) = 0;
    virtual void Read(ZvStream$& stream, char& value) = 0;
    virtual void Read(ZvStream$& stream, bool& value) = 0;
    virtual void Read(ZvStream$& stream, void* data, unsigned long long size) = 0;

    virtual void EncodeObject(ZvStream$& stream, ZvObject* object) = 0;
    virtual ZvObject* DecodeObject(ZvStream$& stream) = 0;

private:
    friend class ZvObject;

    /// The version of type's data in the stream that is being read. Classes ask by ZvObject::FindFileVersion.
    virtual unsigned int FindFileVersion(ZvType* type) = 0;

protected:
    ZvChannel* m_channel = nullptr;

private:
    unsigned int m_reserved = 0;         // carried along by copies
};
