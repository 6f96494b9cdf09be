#pragma once

#include "zvc/serialization/ZvISerializable.h"
#include "zvc/values/ZvDictionary.h"
#include "zvc/values/ZvValue.h"

/// A bag of named values: what a ZvISerializable class is stored as. Names enumerate in the order of the hash table, as
/// the entries of a ZvDictionary do.
class ZV_API ZvSerializationInfo : public ZvObject {
    ZV_DECLARE_CLASS(ZvSerializationInfo)
    ZV_DECLARE_CREATE(ZvSerializationInfo)
public:
    ZvSerializationInfo();
    ZvSerializationInfo(const ZvSerializationInfo& other);          ///< entries copied, names and values shared
    ZvSerializationInfo& operator=(const ZvSerializationInfo& other);
    ~ZvSerializationInfo() override;

    /// Adds an entry. A name that is there already keeps its old value, and the new one is dropped.
    void SetValue(const ZvString$& name, const ZvValue$& value);

    /// The value under name; null when there is none.
    ZvValue$ GetValue(const ZvString$& name) const;

    /// The same names, and no value equal to its counterpart.
    bool operator==(const ZvSerializationInfo& other) const;

    bool Equals(const ZvObject* other) const override;
    ZvObject* Clone() const override;

    /// The count, then each name and value as objects.
    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    /// Adds to what is there, by the rule of SetValue.
    void Decode(ZvStream$& stream, ZvCoder* coder) override;

private:
    ZvDictionary m_values;
};
