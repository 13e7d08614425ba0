/** @file Variants of the operations of color.def, see visora/variants.h. */
#ifndef VISORA_VARIANTS_COLOR_H
#define VISORA_VARIANTS_COLOR_H

#include "visora/color.h"

#define VISORA_LIST "visora/operations/color.def"
#include "visora/variants/list.h"

#endif
