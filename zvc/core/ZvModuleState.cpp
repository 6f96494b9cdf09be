#include "zvc/core/ZvModuleState.h"

#include "zvc/core/ZvPlugin.h"
#include "zvc/core/ZvSystem.h"
#include "zvc/core/ZvSystemState.h"
#include "zvc/core/ZvType.h"
#include "zvc/platform/Module.h"
#include "zvc/values/ZvString.h"

ZvModuleState::ZvModuleState(const char* moduleName, void (*initFunction)(), void (*termFunction)())
    : handle(zvc::platform::ModuleHandle(moduleName)), name(moduleName), init(initFunction), term(termFunction) {
    ZvSystem::RegistModule(this);
}

ZvModuleState::~ZvModuleState() {
    if (closed) return;
    closed = true;
    ZvSystem::UnregistModule(this);
    // At the end of the process a module's statics die with its plug-in still in the table. The plug-in object goes here;
    // the library, whose code is running, stays mapped.
    auto& plugins = ZvSystemState::Get().plugins;
    auto found = plugins.find(ZvString$(new ZvString(name)));
    if (found == plugins.end() || !ZvPlugin::Abandon(found->second)) return;
    plugins.erase(found);
}

void ZvModuleState::RegistType(ZvType* type) {
    type->m_nextInModule = types;
    types = type;
}
