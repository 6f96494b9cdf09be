// A library without a module record. It is linked to one that has an export of that name, which is not its own.

#include <zvc/zvc.h>

extern "C" ZV_EXPORT int plug_plain_answer();
extern "C" ZV_EXPORT int plug_plain_answer() { return ZvString("forty-two").GetLength() == 9 ? 42 : 0; }
