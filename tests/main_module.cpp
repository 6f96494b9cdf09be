#include <zvc/zvc.h>

ZV_MODULE("App", nullptr, nullptr)
