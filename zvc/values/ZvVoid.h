#pragma once

#include "zvc/values/ZvValue.h"

/// The box without content: the result of a method that returns nothing.
class ZV_API ZvVoid : public ZvValue {
    ZV_DECLARE_CLASS(ZvVoid)
    ZV_DECLARE_CREATE(ZvVoid)
public:
    ZvVoid();
    ZvVoid(void*);
    ZvVoid(const ZvVoid& other);
    ~ZvVoid() override;

    unsigned long long Count() const override;                                   ///< 0
    bool SetValue(const void* source, ZvValueType type, int index) override;     ///< false
    bool GetValue(void* target, ZvValueType type, int index) const override;     ///< false

    virtual void SetValue(const void* source);                                   ///< nothing
    virtual bool SetValue(const ZvValue& value);                                 ///< false
    virtual void GetValue(void* target) const;                                   ///< nothing

    void Encode(ZvStream$& stream, ZvCoder* coder) const override;               ///< nothing
    void Decode(ZvStream$& stream, ZvCoder* coder) override;
    ZvObject* Clone() const override;
};
