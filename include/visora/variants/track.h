/** @file Variants of the operations of track.def, see visora/variants.h. */
#ifndef VISORA_VARIANTS_TRACK_H
#define VISORA_VARIANTS_TRACK_H

#include "visora/histogram.h"
#include "visora/track.h"

#define VISORA_LIST "visora/operations/track.def"
#include "visora/variants/list.h"

#endif
