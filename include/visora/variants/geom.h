/** @file Variants of the operations of geom.def, see visora/variants.h. */
#ifndef VISORA_VARIANTS_GEOM_H
#define VISORA_VARIANTS_GEOM_H

#include "visora/geom.h"

#define VISORA_LIST "visora/operations/geom.def"
#include "visora/variants/list.h"

#endif
