/**
 * @file
 * What images hold: regions, contours, distances, stable regions, edges, lines, peaks; and drawing it.
 */
#ifndef VISORA_SHAPE_H
#define VISORA_SHAPE_H

#include "visora/detect.h"
#include "visora/draw.h"
#include "visora/mser.h"
#include "visora/points.h"
#include "visora/region.h"

#endif
