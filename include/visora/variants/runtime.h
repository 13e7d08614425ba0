/** @file Variants of the operations of runtime.def, see visora/variants.h. */
#ifndef VISORA_VARIANTS_RUNTIME_H
#define VISORA_VARIANTS_RUNTIME_H

#include "visora/offload.h"
#include "visora/shared_memory.h"

#define VISORA_LIST "visora/operations/runtime.def"
#include "visora/variants/list.h"

#endif
