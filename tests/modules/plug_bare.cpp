// A module that brings no class.

#include <zvc/zvc.h>

ZV_MODULE("plug_bare", nullptr, nullptr)
