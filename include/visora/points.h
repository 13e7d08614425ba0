/**
 * @file
 * Sets of points: hulls, boxes, circles, lines and ellipses about or through them, polygons.
 *
 * Common to all: points are pairs x, y one after another, finite, at least one. Everything is computed in double
 * precision and rounded to floats once, with sums in a fixed order, so results are the same bits on every processor.
 * Results: 0; VISORA_EBADPARAM, with nothing written, for a null pointer (unless it may be null), no point, a list or
 * parameter that is not finite or outside its range, or a result that begins where another list of the call does;
 * VISORA_ENOMEM, with nothing written, without scratch memory.
 */
#ifndef VISORA_POINTS_H
#define VISORA_POINTS_H

#include "visora/camera.h"
#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/**
 * Convex hull (A. Andrew, 1979): the corners, without points on the edges between them, from the one with the least x
 * (of several the least y) counter-clockwise with y pointing up. Time is that of sorting the points;
 * 24 bytes of scratch memory for each.
 * @param hull     room for numPoints points; this or `indices` may be null
 * @param indices  room for numPoints; the corners' numbers, the lowest of equal points
 * @param count    how many corners there are
 */
VSR_API vsrStatus vsrConvexHullf32(const float* points, uint32_t numPoints, float* hull, uint32_t* indices,
                                   uint32_t* count);

/**
 * The rectangle of least area about the points; one of its sides is on an edge of the hull. Angles are from 0 to below
 * 90 but for rounding. Time is that of the hull and in proportion to the square of its corners.
 */
VSR_API vsrStatus vsrMinAreaRectf32(const float* points, uint32_t numPoints, vsrRotatedBox* box);

/**
 * The smallest circle about the points (E. Welzl, 1991), by incremental construction over the hull's corners in a fixed
 * random order: time is that of the hull and in proportion to the corners' number for nearly all sets, in that of their
 * number to the third power at most.
 * @param circle  3 floats: centre and radius
 */
VSR_API vsrStatus vsrMinEnclosingCirclef32(const float* points, uint32_t numPoints, float* circle);

/**
 * The line that is nearest to the points in the sense of the loss: least squares of their distances, for other losses
 * followed by ten reweighted rounds. Linear time; 48 bytes of scratch memory a point.
 * @param scale  of the loss, above 0
 * @param line   4 floats: a point on it and its direction, of length 1
 */
VSR_API vsrStatus vsrFitLinef32(const float* points, uint32_t numPoints, vsrLossType loss, float scale, float* line);

/**
 * The ellipse of least algebraic distance from the points (R. Halir and J. Flusser, 1998). Linear time; 48 bytes of
 * scratch memory a point.
 * @return VISORA_EFAIL, with zeros, for fewer than 5 points or when they determine no ellipse
 */
VSR_API vsrStatus vsrFitEllipsef32(const float* points, uint32_t numPoints, vsrEllipse* ellipse);

/**
 * Whether points are in a polygon by the even-odd rule: 1 inside, 0 on an edge, -1 outside. Takes time in proportion to
 * the points times the vertices, and no scratch memory.
 * @param polygon    2 numVertices floats, closed from the last to the first; 1 and 2 vertices are allowed
 * @param where      numPoints results
 * @param distances  numPoints floats: distance from the nearest edge, negative outside; may be null
 */
VSR_API vsrStatus vsrPolygonContainsf32(const float* polygon, uint32_t numVertices, const float* points,
                                        uint32_t numPoints, int8_t* where, float* distances);

/**
 * Drops the vertices of a chain that are within epsilon of the simpler one (D. Douglas and T. Peucker, 1973). A closed
 * chain is cut at the vertex farthest from vertex 0 and at that farthest from it; when those are equal it is that
 * vertex alone. Time is at most in proportion to the square of the vertices; up to 49 bytes of scratch memory for each.
 * @param epsilon  at least 0
 * @param dst      room for numPoints points; this or `indices` may be null
 * @param indices  room for numPoints; the numbers of what is left, ascending
 * @param count    how many are left
 */
VSR_API vsrStatus vsrPolygonSimplifyf32(const float* points, uint32_t numPoints, float epsilon, uint32_t closed,
                                        float* dst, uint32_t* indices, uint32_t* count);

VSR_END_DECLARATIONS

#endif
