#pragma once

#include "zvc/platform/Api.h"

#include <typeinfo>

namespace zvc::platform {

/// True when the type's name, as it stands in the source, ends in a dollar sign or contains "ZvHandle".
ZV_API bool TypeNameIsHandle(const std::type_info& info);

}
