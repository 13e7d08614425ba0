/** @file Variants of the operations of statistics.def, see visora/variants.h. */
#ifndef VISORA_VARIANTS_STATISTICS_H
#define VISORA_VARIANTS_STATISTICS_H

#include "visora/difference.h"
#include "visora/gradient.h"
#include "visora/histogram.h"
#include "visora/integral.h"
#include "visora/moments.h"
#include "visora/statistics.h"
#include "visora/transform.h"

#define VISORA_LIST "visora/operations/statistics.def"
#include "visora/variants/list.h"

#endif
