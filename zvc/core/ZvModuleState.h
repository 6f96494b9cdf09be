#pragma once

#include "zvc/platform/Api.h"

#include <cstdint>

class ZvType;

/// Record of one module (library, plug-in or program) that has reflected classes: one static instance per module,
/// which ZV_MODULE makes. name is not copied: it must live as long as the module.
///
/// The destructor works once: the module leaves the module table, and a plug-in object that still stands for it in the
/// plug-in table goes. It never frees the library that it lives in.
struct ZV_API ZvModuleState {
    ZvModuleState(const char* moduleName, void (*initFunction)(), void (*termFunction)());
    ~ZvModuleState();
    ZvModuleState(const ZvModuleState&) = delete;
    ZvModuleState& operator=(const ZvModuleState&) = delete;

    /// Links type at the head of the module's list.
    void RegistType(ZvType* type);

    void* handle = nullptr;          ///< the loader's handle of the module of that name, without a reference
    bool reservedFlag = false;
    bool closed = false;             ///< set when the destructor has run
    const char* name;
    uint32_t reserved = 0;
    void (*init)();                  ///< called after the load as a plug-in; may be null
    void (*term)();                  ///< called before the unload as a plug-in; may be null
    ZvType* types = nullptr;         ///< the module's descriptors, newest first
};

/// The record of the module that the calling code is part of. Each module defines its own with ZV_MODULE; a missing
/// one is a link error that names this function. It is hidden, so that no module takes another's.
ZV_HIDDEN ZvModuleState* ZvThisModule();

/// Stands once in a module's sources: its name (a literal), and the functions called after load and before unload. The
/// record comes up with the module's statics, ahead of its descriptors; a module without a class has one all the same.
#define ZV_MODULE(moduleName, initFunction, termFunction)                              \
    ZvModuleState* ZvThisModule() {                                                    \
        static ZvModuleState s_module(moduleName, initFunction, termFunction);         \
        return &s_module;                                                              \
    }                                                                                  \
    [[maybe_unused]] static ZvModuleState* const s_zvModuleFromStart = ZvThisModule(); \
    extern "C" ZV_EXPORT ZvModuleState* ExportModuleState();                           \
    extern "C" ZV_EXPORT ZvModuleState* ExportModuleState() { return ZvThisModule(); }
