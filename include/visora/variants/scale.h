/** @file Variants of the operations of scale.def, see visora/variants.h. */
#ifndef VISORA_VARIANTS_SCALE_H
#define VISORA_VARIANTS_SCALE_H

#include "visora/scale.h"

#define VISORA_LIST "visora/operations/scale.def"
#include "visora/variants/list.h"

#endif
