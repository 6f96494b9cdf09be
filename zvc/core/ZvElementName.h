#pragma once

// How element types are spelled in the run-time names of template instances. The names travel in files, so that they are
// the same on every platform: scalars and classes as 64-bit Win32 compilers spell them. Internal; not for clients.

#include "zvc/imaging/zvcolor.h"
#include "zvc/values/CG.h"

#include <string>

class ZvInterface;
class ZvInterface$;
class ZvObject;
class ZvObject$;

namespace zvc::detail {

template <class T> inline constexpr const char* ElementName = nullptr;
template <> inline constexpr const char* ElementName<bool> = "bool";
template <> inline constexpr const char* ElementName<char> = "char";
template <> inline constexpr const char* ElementName<unsigned char> = "unsigned char";
template <> inline constexpr const char* ElementName<short> = "short";
template <> inline constexpr const char* ElementName<unsigned short> = "unsigned short";
template <> inline constexpr const char* ElementName<int> = "int";
template <> inline constexpr const char* ElementName<unsigned int> = "unsigned int";
template <> inline constexpr const char* ElementName<long long> = "__int64";
template <> inline constexpr const char* ElementName<unsigned long long> = "unsigned __int64";
template <> inline constexpr const char* ElementName<float> = "float";
template <> inline constexpr const char* ElementName<double> = "double";
template <> inline constexpr const char* ElementName<CG::vec2<int>> = "struct CG::vec2<int>";
template <> inline constexpr const char* ElementName<CG::vec2<float>> = "struct CG::vec2<float>";
template <> inline constexpr const char* ElementName<CG::vec2<double>> = "struct CG::vec2<double>";
template <> inline constexpr const char* ElementName<CG::vec3<int>> = "struct CG::vec3<int>";
template <> inline constexpr const char* ElementName<CG::vec3<float>> = "struct CG::vec3<float>";
template <> inline constexpr const char* ElementName<CG::vec3<double>> = "struct CG::vec3<double>";
template <> inline constexpr const char* ElementName<CG::vec4<int>> = "struct CG::vec4<int>";
template <> inline constexpr const char* ElementName<CG::vec4<float>> = "struct CG::vec4<float>";
template <> inline constexpr const char* ElementName<CG::vec4<double>> = "struct CG::vec4<double>";
template <> inline constexpr const char* ElementName<CG::mat3<float>> = "struct CG::mat3<float>";
template <> inline constexpr const char* ElementName<CG::mat3<double>> = "struct CG::mat3<double>";
template <> inline constexpr const char* ElementName<CG::mat4<float>> = "struct CG::mat4<float>";
template <> inline constexpr const char* ElementName<CG::mat4<double>> = "struct CG::mat4<double>";
template <> inline constexpr const char* ElementName<CG::rotation<float>> = "struct CG::rotation<float>";
template <> inline constexpr const char* ElementName<CG::rotation<double>> = "struct CG::rotation<double>";
template <> inline constexpr const char* ElementName<zvcolor> = "struct zvcolor";
template <> inline constexpr const char* ElementName<ZvObject$> = "class ZvObject$";
template <> inline constexpr const char* ElementName<ZvObject*> = "class ZvObject *";
template <> inline constexpr const char* ElementName<ZvInterface$> = "class ZvInterface$";
template <> inline constexpr const char* ElementName<ZvInterface*> = "class ZvInterface *";

/// What the descriptor of the instance family<T> is constructed with. The descriptor cuts the first "class " away, so
/// that it must stand in front of the family's name, and not within the brackets alone.
template <class T>
std::string InstanceName(const char* family) {
    static_assert(ElementName<T> != nullptr, "this element type has no name in files");
    std::string name = "class ";
    name.append(family).append("<").append(ElementName<T>);
    if (name.back() == '>') name += ' ';               // the old spelling of two closing brackets
    return name += '>';
}

}
