#pragma once

namespace farm {

/// From now on Ctrl-C, and a request to end, are counted instead of ending the process.
void CatchInterrupts();

/// How many there were.
int Interrupts();

}
