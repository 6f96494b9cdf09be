#pragma once

// How symbols leave a module. The library is built with hidden visibility: what is not marked ZV_API stays inside.

#if defined(_WIN32)
#if defined(ZVC_BUILDING)
#define ZV_API __declspec(dllexport)
#else
#define ZV_API __declspec(dllimport)
#endif
#define ZV_HIDDEN
#define ZV_EXPORT __declspec(dllexport)
#else
#define ZV_API __attribute__((visibility("default")))
#define ZV_HIDDEN __attribute__((visibility("hidden")))
#define ZV_EXPORT __attribute__((visibility("default")))
#endif
