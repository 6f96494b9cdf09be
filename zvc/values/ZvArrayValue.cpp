#include "zvc/values/ZvArrayValue.h"

ZV_DEFINE_CLASS(ZvArrayValue, (ZvValue))

ZvArrayValue::~ZvArrayValue() = default;
