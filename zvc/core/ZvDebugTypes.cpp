// Compiled with full debug information, whatever the library's own build says, and nothing else is in it: the layouts of the
// objects, which a debugger's printers need. A compiler tells of a class with virtual operations only where the class's table
// of them stands, and that is in the library.

#include "zvc/zvc.h"

#include <tuple>

#include "zvc/values/ZvElements.inc"
#define ZV_KNOWN_BOXES(...) ZvPrimitive<__VA_ARGS__>*, ZvPrimArray<__VA_ARGS__>*, ZvSharePrimArray<__VA_ARGS__>*,
#define ZV_KNOWN_VECTOR(...) ZvVector<__VA_ARGS__>*,

namespace {

[[gnu::used]] std::tuple<
    ZV_ELEMENTS_PLAIN(ZV_KNOWN_BOXES) ZV_ELEMENTS_VECTOR(ZV_KNOWN_VECTOR)
    ZvPrimitive<ZvObject$>*, ZvPrimitive<ZvObject*>*, ZvPrimitive<ZvInterface$>*, ZvPrimitive<ZvInterface*>*,
    ZvPrimArray<ZvObject$>*, ZvPrimArray<ZvObject*>*,
    ZvString*, ZvType*, ZvArrayList*, ZvDictionary*, ZvHashSet*, ZvQueue*, ZvStack*, ZvPair*, ZvDictionaryEntry*,
    ZvSerializationInfo*, ZvEnum*, ZvData*, ZvDateTime*, ZvEventArgs*, ZvVoid*, zvc::detail::HashTable::Node*> s_known;

}
