// A library whose export gives no module record.

#include <zvc/zvc.h>

extern "C" ZV_EXPORT ZvModuleState* ExportModuleState();
extern "C" ZV_EXPORT ZvModuleState* ExportModuleState() { return nullptr; }
