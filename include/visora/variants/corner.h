/** @file Variants of the operations of corner.def, see visora/variants.h. */
#ifndef VISORA_VARIANTS_CORNER_H
#define VISORA_VARIANTS_CORNER_H

#include "visora/cluster.h"
#include "visora/corner.h"
#include "visora/descriptor.h"
#include "visora/dot.h"
#include "visora/element.h"
#include "visora/hamming.h"
#include "visora/match.h"
#include "visora/wavelet.h"

#define VISORA_LIST "visora/operations/corner.def"
#include "visora/variants/list.h"

#endif
