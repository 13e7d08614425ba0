/**
 * @file
 * Vectors and the nearest of others: clusters and a tree. See visora/set.h for sets, lists, results and the order in
 * which floats are summed. Distances are squared Euclidean ones.
 */
#ifndef VISORA_CLUSTER_H
#define VISORA_CLUSTER_H

#include "visora/set.h"

VSR_BEGIN_DECLARATIONS

/* ---- Clusters ---- */

/**
 * The nearest centre to each f32 vector, of equally near ones that of the lowest index, and the distance. A NaN is
 * farther than any other distance; if all are, the index is 0 and the distance NaN.
 * @param numCentres  1 to 65536; another is refused
 */
VSR_API vsrStatus vsrClusterAssignf32(const float* src, uint32_t length, uint32_t numVectors, uint32_t srcStride,
                                      const float* centres, uint32_t numCentres, uint32_t centreStride,
                                      uint16_t* indices, float* distances);

/** As vsrClusterAssignf32 for u8 vectors, exact; a length above 66051 is refused. */
VSR_API vsrStatus vsrClusterAssignu8(const uint8_t* src, uint32_t length, uint32_t numVectors, uint32_t srcStride,
                                     const uint8_t* centres, uint32_t numCentres, uint32_t centreStride,
                                     uint16_t* indices, uint32_t* distances);

/**
 * Moves each centre to the mean of its f32 vectors, those with its index; sums are in double precision. A centre
 * without any stays.
 * @param indices   for each vector, below numCentres
 * @param centres   read and written; numCentres is 1 to 65536
 * @param maxShift  the greatest distance (not squared) that a centre moved, NaN if one is
 */
VSR_API vsrStatus vsrClusterUpdatef32(const float* src, uint32_t length, uint32_t numVectors, uint32_t srcStride,
                                      const uint16_t* indices, float* centres, uint32_t numCentres,
                                      uint32_t centreStride, float* maxShift);

/**
 * As vsrClusterUpdatef32 for u8 vectors; means are exact and rounded half up.
 * @param counts  how many vectors each centre has
 */
VSR_API vsrStatus vsrClusterUpdateu8(const uint8_t* src, uint32_t length, uint32_t numVectors, uint32_t srcStride,
                                     const uint16_t* indices, uint8_t* centres, uint32_t numCentres,
                                     uint32_t centreStride, uint32_t* counts);

/** To what a histogram is scaled. */
typedef uint32_t vsrHistogramNorm;
enum
{
    VISORA_HISTOGRAM_L1 = 1, /**< shares that add up to 1 */
    VISORA_HISTOGRAM_L2 = 2  /**< unit length */
};

/**
 * How often each code occurs, as a share of all or of the histogram's length. Without codes all bins are 0.
 * @param codes    numCodes codes below numBins
 * @param numBins  1 to 65536; another is refused, as is another norm
 */
VSR_API vsrStatus vsrCodeHistogramu16(const uint16_t* codes, uint32_t numCodes, uint32_t numBins, vsrHistogramNorm norm,
                                      float* histogram);

/* ---- KD-tree ---- */

/** A set of f32 vectors in a tree, for searches. */
typedef struct vsrKDTree vsrKDTree;

/**
 * Builds a tree (J. Friedman, J. Bentley, R. Finkel, ACM TOMS 3(3), 1977) over a copy of the vectors. Nodes of more
 * than 8 vectors are split at the median of the dimension in which they reach furthest. A set with an element that is
 * not finite or above 2^60 in size is refused.
 * @param tree  written on success only; to be released by vsrKDTreeReleasef32
 */
VSR_API vsrStatus vsrKDTreeBuildf32(const float* src, uint32_t length, uint32_t numVectors, uint32_t srcStride,
                                    vsrKDTree** tree);

/**
 * The k nearest vectors of a tree to each query, best bin first (J. Beis, D. Lowe, CVPR 1997; S. Arya, D. Mount, 1993).
 * Several threads may search one tree.
 * @param queries    vectors as long as the tree's; one with an element that is not finite or above 2^60 has no
 *                   neighbours
 * @param k          not 0
 * @param maxLeaves  leaves of up to 8 vectors to look at, for each query; 0: as many as it takes for the exact result
 * @param indices,distances  rows of k elements for each query, in rising order of distance and index; missing ones are
 *                           VISORA_NO_MATCH and infinity
 */
VSR_API vsrStatus vsrKDTreeSearchf32(const vsrKDTree* tree, const float* queries, uint32_t numQueries,
                                     uint32_t queryStride, uint32_t k, uint32_t maxLeaves, uint32_t* indices,
                                     float* distances);

/** Frees a tree; a null pointer is refused. */
VSR_API vsrStatus vsrKDTreeReleasef32(vsrKDTree* tree);

VSR_END_DECLARATIONS

#endif
