// Operation modes around a restart of the DSP.
#ifndef VISORA_COMMON_MODES_H
#define VISORA_COMMON_MODES_H

#include "visora/types.h"

namespace visora
{

/** Leaves all calls to the CPU, until returnToMode, and what the program set up itself as it is. */
void withdrawToCpu();

/** Applies the mode that the program asked for last, by the setter that it asked. @return the setter's result */
vsrStatus returnToMode();

}  // namespace visora

#endif
