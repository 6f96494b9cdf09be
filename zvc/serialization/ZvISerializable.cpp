#include "zvc/serialization/ZvISerializable.h"

ZV_DEFINE_INTERFACE(ZvISerializable, (ZvInterface))

ZvISerializable::~ZvISerializable() = default;
