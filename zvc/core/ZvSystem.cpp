#include "zvc/core/ZvSystem.h"

#include "zvc/core/ZvException.h"
#include "zvc/core/ZvModuleState.h"
#include "zvc/core/ZvSystemState.h"
#include "zvc/platform/Clock.h"
#include "zvc/platform/TypeName.h"
#include "zvc/values/ZvPrimitive.h"
#include "zvc/values/ZvString.h"

#include <cstdlib>

namespace {

// Exhausted memory leaves none to make an exception's message of, so it stands ready from the start.
ZvBadAllocException s_badAlloc("bad alloc");
// Made and released, never thrown: programs count the strings and serials of a started library.
ZvBadAllocException s_badMemory("bad memory");

void* Checked(void* block) {
    if (block == nullptr) throw ZvBadAllocException(s_badAlloc);
    return block;
}

}

void* ZvSystem::Malloc(size_t size) { return Checked(std::malloc(size)); }

void* ZvSystem::Realloc(void* block, size_t size) { return Checked(std::realloc(block, size)); }

void ZvSystem::Free(void* block) { std::free(block); }

void* ZvSystem::AlignedMalloc(size_t size, size_t alignment) {
    if (alignment < sizeof(void*)) alignment = sizeof(void*);
    const size_t rounded = (size + alignment - 1) & ~(alignment - 1);
    return Checked(rounded < size ? nullptr : std::aligned_alloc(alignment, rounded));
}

void ZvSystem::AlignedFree(void* block) { std::free(block); }

ZvType* ZvSystem::FindType(const char* name) { return FindType(ZvString$(new ZvString(name))); }

ZvType* ZvSystem::FindType(const ZvString$& name) {
    const auto& types = ZvSystemState::Get().types;
    auto found = types.find(name);
    return found == types.end() ? nullptr : found->second;
}

ZvType* ZvSystem::FindType(const std::type_info& info, unsigned int classSpec) {
    // An array and the shared array derived from it answer alike: the base is the one, wherever the table keeps them.
    ZvType* first = nullptr;
    for (const auto& [name, type] : ZvSystemState::Get().types)
        if (type->TypeID() == info && type->GetClassSpec() == classSpec && (first == nullptr || first->IsDerivedFrom(type)))
            first = type;
    if (first != nullptr) return first;
    // Every handle class is stored as a reference to an object. The test is on the name as it stands in the source.
    if (zvc::platform::TypeNameIsHandle(info)) return &ZvPrimitive<ZvObject$>::s_type;
    return nullptr;
}

void ZvSystem::RegistType(ZvType* type) { ZvSystemState::Get().types.insert_or_assign(type->GetName(), type); }

void ZvSystem::UnregistType(ZvType* type) { ZvSystemState::Get().types.erase(type->GetName()); }

ZvModuleState* ZvSystem::FindModule(const char* name) {
    const auto& state = ZvSystemState::Get();
    if (state.closing) return nullptr;           // nothing starts to load late
    auto found = state.modules.find(ZvString$(new ZvString(name)));
    return found == state.modules.end() ? nullptr : found->second;
}

void ZvSystem::RegistModule(ZvModuleState* module) {
    ZvSystemState::Get().modules.insert_or_assign(ZvString$(new ZvString(module->name)), module);
}

void ZvSystem::UnregistModule(ZvModuleState* module) {
    ZvSystemState::Get().modules.erase(ZvString$(new ZvString(module->name)));
}

void ZvSystem::SetDllPath(const char*) {}

unsigned int ZvSystem::GetNumberOfProcessor() { return ZvSystemState::Get().processors; }

unsigned long long ZvSystem::RealTimeNow() { return zvc::platform::ClockTicks(); }

unsigned long long ZvSystem::RealTimeFrequency() { return ZvSystemState::Get().frequency; }

ZvString$ $L(const char* text) {
    auto& interned = ZvSystemState::Get().interned;
    const std::string_view key(text);
    auto found = interned.find(key);
    if (found == interned.end()) found = interned.emplace(key, ZvString$(new ZvString(text))).first;
    return found->second;
}
