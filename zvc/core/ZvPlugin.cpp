#include "zvc/core/ZvPlugin.h"

#include "zvc/core/ZvException.h"
#include "zvc/core/ZvFieldMacros.h"
#include "zvc/core/ZvMethodMacros.h"
#include "zvc/core/ZvSystem.h"
#include "zvc/core/ZvSystemState.h"
#include "zvc/platform/Module.h"
#include "zvc/values/ZvArrayList.h"
#include "zvc/values/ZvDictionary.h"

#include <cstdlib>
#include <string>
#include <vector>

ZV_DEFINE_CLASS(ZvPlugin, (ZvObject), ZV_TABLES)
ZV_FIELDS(ZvPlugin)
ZV_METHODS(ZvPlugin)
ZV_CONSTRUCTORS(ZvPlugin)

namespace {

// Behind the last separator, of either kind, and before the first dot of that.
std::string NameFromPath(const std::string& path) {
    const size_t separator = path.find_last_of("/\\");
    const std::string file = separator == std::string::npos ? path : path.substr(separator + 1);
    return file.substr(0, file.find('.'));
}

}

ZvPlugin::ZvPlugin(const char* path) : m_handle(zvc::platform::LoadModule(path)) {
    if (m_handle == nullptr) throw ZvPluginUnloadedException(path);
    using Export = ZvModuleState* (*)();
    const auto exported = reinterpret_cast<Export>(zvc::platform::ModuleSymbol(m_handle, "ExportModuleState"));
    if (exported != nullptr) {
        m_types = new ZvDictionary;
        m_module = exported();
    }
    if (m_module == nullptr) {
        m_name = new ZvString(NameFromPath(path).c_str());
        return;
    }
    m_name = $L(m_module->name);
    for (ZvType* t = m_module->types; t != nullptr; t = t->NextInModule()) m_types->operator[](t->GetName()) = ZvObject$(t);
    // Should init throw, the library stays mapped: the exception's own code may lie in it.
    if (m_module->init != nullptr) m_module->init();
    // Registered behind the destructors of the plug-in's statics, and so run ahead of them.
    std::atexit(&EndAll);
}

ZvPlugin::~ZvPlugin() {
    if (m_handle != nullptr) {
        m_closing = true;                            // the module record, which ends in FreeModule, finds us in the table
        End();
        zvc::platform::FreeModule(m_handle);
    }
    m_name = ZvString$();
}

void ZvPlugin::End() {
    if (m_ended) return;
    m_ended = true;
    m_types = ZvDictionary$();
    if (m_module != nullptr && m_module->term != nullptr) m_module->term();
}

void ZvPlugin::EndAll() {
    std::vector<ZvPlugin*> plugins;                  // a copy: a term may load what it needs
    for (const auto& [name, plugin] : ZvSystemState::Get().plugins) plugins.push_back(plugin);
    for (ZvPlugin* plugin : plugins) plugin->End();
}

void ZvPlugin::Close(ZvPlugin* plugin) { delete plugin; }

bool ZvPlugin::Abandon(ZvPlugin* plugin) {
    if (plugin->m_closing) return false;
    plugin->m_closing = true;
    plugin->End();
    plugin->m_handle = nullptr;
    delete plugin;
    return true;
}

ZvString$ ZvPlugin::GetName() { return m_name; }
void* ZvPlugin::GetSymbol(const char* symbol) { return zvc::platform::ModuleSymbol(m_handle, symbol); }

ZvType* ZvPlugin::FindType(const ZvString$& typeName) {
    const ZvString$& key = typeName ? typeName : m_name;
    if (m_types)
        if (const ZvType$ type = m_types->Find(key)) return type.Get();
    return ZvSystem::FindType(key);
}

ZvObject* ZvPlugin::Create(const ZvString$& typeName) {
    ZvType* type = FindType(typeName);
    return type != nullptr ? type->CreateObject() : nullptr;
}

ZvObject* ZvPlugin::Construct(const ZvString$& typeName, ZvArguments$& args) {
    ZvType* type = FindType(typeName);
    return type != nullptr ? type->Construct(args) : nullptr;
}

ZvArrayList$ ZvPlugin::EnumerateTypes(ZvType* base) {
    ZvArrayList$ found = new ZvArrayList;
    if (!m_types) return found;
    const ZvICollection$ values = m_types->Values();
    ZvIEnumerator$ e = values->GetEnumerator();
    while (e->HasNext()) {
        const ZvType$ type = e->Next();
        if (base == nullptr || type->CalcOffset(base) != ZvNoOffset) found->Add(type);
    }
    return found;
}

ZvPlugin* ZvSystem::LoadPlugin(const ZvString$& name) {
    auto& plugins = ZvSystemState::Get().plugins;
    if (const auto found = plugins.find(name); found != plugins.end()) return found->second;
    auto* plugin = new ZvPlugin(name ? name->CStr() : "");
    // A plug-in loaded by its path stands under its module's name; one that is there already keeps its place.
    plugins.emplace(plugin->m_name, plugin);
    return plugin;
}

namespace {

// Before the first dot stands the plug-in, behind it the class; without a dot one word is both. Null is no plug-in's name.
void Divide(const ZvString$& name, ZvString$& plugin, ZvString$& type) {
    if (!name) return;
    const size_t dot = name->Find('.');
    plugin = dot != ~size_t(0) ? name->Substr(0, dot) : name;
    type = dot != ~size_t(0) ? name->Substr(dot + 1, ~size_t(0)) : name;
}

}

ZvObject* ZvSystem::New(const ZvString$& name) {
    ZvString$ plugin, type;
    Divide(name, plugin, type);
    ZvPlugin* loaded = LoadPlugin(plugin);
    return loaded != nullptr ? loaded->Create(type) : nullptr;
}

ZvObject* ZvSystem::New(const ZvString$& name, ZvArguments$ args) {
    ZvString$ plugin, type;
    Divide(name, plugin, type);
    ZvPlugin* loaded = LoadPlugin(plugin);
    return loaded != nullptr ? loaded->Construct(type, args) : nullptr;
}
