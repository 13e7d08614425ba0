/** @file Variants of the operations of pyramid.def, see visora/variants.h. */
#ifndef VISORA_VARIANTS_PYRAMID_H
#define VISORA_VARIANTS_PYRAMID_H

#include "visora/pyramid.h"

#define VISORA_LIST "visora/operations/pyramid.def"
#include "visora/variants/list.h"

#endif
