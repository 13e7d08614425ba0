/** @file Variants of the operations of shape.def, see visora/variants.h. */
#ifndef VISORA_VARIANTS_SHAPE_H
#define VISORA_VARIANTS_SHAPE_H

#include "visora/shape.h"

#define VISORA_LIST "visora/operations/shape.def"
#include "visora/variants/list.h"

#endif
