#include "zvc/values/ZvEventArgs.h"

#include "zvc/core/ZvFieldMacros.h"
#include "zvc/core/ZvMethodMacros.h"

ZV_DEFINE_CLASS(ZvEventArgs, (ZvObject), ZV_TABLES)
ZV_FIELDS(ZvEventArgs)
ZV_METHODS(ZvEventArgs)
ZV_CONSTRUCTORS(ZvEventArgs)

ZvEventArgs::ZvEventArgs() = default;
ZvEventArgs::ZvEventArgs(const ZvEventArgs& other) = default;
ZvEventArgs::~ZvEventArgs() = default;
