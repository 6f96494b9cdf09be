#pragma once

#include "zvc/core/ZvDeclare.h"

struct ZvModuleState;

/// A dynamic library built on this one. Loading it runs its static initialisers, by which its classes enter the registry;
/// by its module record (the export "ExportModuleState", which ZV_MODULE makes) the system can name them. A library without
/// the export is a plug-in all the same, good only for GetSymbol.
///
/// A plug-in belongs to the system's table and is held by a plain pointer; it stays loaded until its module record ends or
/// the system shuts down. Objects of its classes must be gone by then: their code goes with the library. The table has no
/// lock: plug-ins are loaded on one thread at a time.
class ZV_API ZvPlugin : public ZvObject {
    ZV_DECLARE_CLASS(ZvPlugin)
    ZV_DECLARE_TABLES()
public:
    ZvString$ GetName();

    /// A symbol of the library; null when it has none of that name.
    void* GetSymbol(const char* symbol);

    /// A new object, count 0, of the class of that name in the plug-in, or else anywhere in the process. A null handle stands
    /// for the plug-in's own name. Null for an unknown class, one without a factory, or without that constructor. Only for
    /// a plug-in with a module record.
    ZvObject* Create(const ZvString$& typeName);
    ZvObject* Construct(const ZvString$& typeName, ZvArguments$& args);

    /// A new list of the plug-in's classes that derive from base; all of them for a null base.
    ZvArrayList$ EnumerateTypes(ZvType* base);

protected:
    /// Loads the library. Raises ZvPluginUnloadedException, with the path as its message, when that fails.
    explicit ZvPlugin(const char* path);
    ~ZvPlugin() override;

private:
    friend class ZvSystem;
    friend struct ZvSystemState;
    friend struct ZvModuleState;

    /// Deletes a plug-in: its types are released, term runs, the library goes.
    static void Close(ZvPlugin* plugin);
    /// Called by a module record that ends, from inside its library. False when the plug-in is in the middle of its deletion
    /// already; otherwise term runs if it has not yet, the object goes, and the library, whose code is running, stays.
    static bool Abandon(ZvPlugin* plugin);
    /// Runs when the process exits, ahead of the destructors of what the plug-ins brought: each that is in the table ends,
    /// while all that its term works on is alive.
    static void EndAll();

    /// Releases the types and runs term; once.
    void End();
    ZvType* FindType(const ZvString$& typeName);

    ZvString$ m_name;
    void* m_handle;
    ZvDictionary$ m_types;
    ZvModuleState* m_module = nullptr;
    bool m_ended = false;
    bool m_closing = false;              // the destructor is running
};
