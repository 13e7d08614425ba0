/** @file Variants of the operations of background.def, see visora/variants.h. */
#ifndef VISORA_VARIANTS_BACKGROUND_H
#define VISORA_VARIANTS_BACKGROUND_H

#include "visora/background.h"
#include "visora/difference.h"

#define VISORA_LIST "visora/operations/background.def"
#include "visora/variants/list.h"

#endif
