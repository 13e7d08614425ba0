/**
 * @file
 * What images hold: regions, contours, distances, edges, peaks.
 */
#ifndef VISORA_SHAPE_H
#define VISORA_SHAPE_H

#include "visora/detect.h"
#include "visora/region.h"

#endif
