/**
 * @file
 * Rectangles, upright and turned.
 */
#ifndef VISORA_RECTANGLE_H
#define VISORA_RECTANGLE_H

#include "visora/types.h"

/** A rectangle of pixels. */
typedef struct vsrRectangle
{
    uint32_t x; /**< left column */
    uint32_t y; /**< top row */
    uint32_t width;
    uint32_t height;
} vsrRectangle;

/** A rectangle, or the box about an ellipse, in any direction. */
typedef struct vsrRotatedBox
{
    float cx; /**< centre, in pixels; (0, 0) is the centre of the top-left pixel */
    float cy;
    float width; /**< sides */
    float height;
    float angle; /**< of the width, degrees from +x toward +y */
} vsrRotatedBox;

#endif
