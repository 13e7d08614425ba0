/** @file Variants of the operations of arithmetic.def, see visora/variants.h. */
#ifndef VISORA_VARIANTS_ARITHMETIC_H
#define VISORA_VARIANTS_ARITHMETIC_H

#include "visora/element.h"
#include "visora/reduce.h"

#define VISORA_LIST "visora/operations/arithmetic.def"
#include "visora/variants/list.h"

#endif
