// What the mode setters need of the function manager beside its public functions.
#ifndef VISORA_COMMON_FUNCTION_MANAGER_H
#define VISORA_COMMON_FUNCTION_MANAGER_H

#include "visora/dispatch.h"

namespace visora
{

/** Describes the whole of the library's tables. */
extern VSR_FUNC_MANAGER wholeTables;

/** Kind of the DSP domain in use, none when `defaultDSP` names no domain. */
constexpr VSR_IMPL kNoKind = VSR_KIND_COUNT;
VSR_IMPL kindOfDefaultDomain();

}  // namespace visora

#endif
