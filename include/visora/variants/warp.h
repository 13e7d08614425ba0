/** @file Variants of the operations of warp.def, see visora/variants.h. */
#ifndef VISORA_VARIANTS_WARP_H
#define VISORA_VARIANTS_WARP_H

#include "visora/warp.h"

#define VISORA_LIST "visora/operations/warp.def"
#include "visora/variants/list.h"

#endif
