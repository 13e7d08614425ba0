/** @file Variants of the operations of filter.def, see visora/variants.h. */
#ifndef VISORA_VARIANTS_FILTER_H
#define VISORA_VARIANTS_FILTER_H

#include "visora/correlate.h"
#include "visora/edge.h"
#include "visora/edge_smooth.h"
#include "visora/filter.h"
#include "visora/gradient.h"
#include "visora/morphology.h"
#include "visora/pattern.h"
#include "visora/threshold.h"

#define VISORA_LIST "visora/operations/filter.def"
#include "visora/variants/list.h"

#endif
