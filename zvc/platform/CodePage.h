#pragma once

#include "zvc/platform/Api.h"

#include <string>
#include <string_view>

namespace zvc::platform {

/// UTF-8 to UTF-16 and back. What is ill-formed becomes U+FFFD, one for each maximal ill-formed part.
ZV_API std::u16string Utf8ToUtf16(std::string_view text);
ZV_API std::string Utf16ToUtf8(std::u16string_view text);

/// The system's single-byte or multi-byte code page, as the environment names it, to UTF-16 and back. What the code page
/// does not have becomes "?", one for each UTF-16 unit. An environment that names none counts as UTF-8.
ZV_API std::u16string SystemToUtf16(std::string_view text);
ZV_API std::string Utf16ToSystem(std::u16string_view text);

}
