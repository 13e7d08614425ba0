/** @file Variants of the operations of statistics.def, see visora/variants.h. */
#ifndef VISORA_VARIANTS_STATISTICS_H
#define VISORA_VARIANTS_STATISTICS_H

#include "visora/gradient.h"

#define VISORA_LIST "visora/operations/statistics.def"
#include "visora/variants/list.h"

#endif
