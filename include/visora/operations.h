/**
 * @file
 * All operations, and nothing of the machinery behind them: enough, with visora/runtime.h for the operation mode, for a
 * program that only calls the library.
 */
#ifndef VISORA_OPERATIONS_H
#define VISORA_OPERATIONS_H

#include "visora/background.h"
#include "visora/camera.h"
#include "visora/cluster.h"
#include "visora/color.h"
#include "visora/corner.h"
#include "visora/correlate.h"
#include "visora/depth.h"
#include "visora/descriptor.h"
#include "visora/detect.h"
#include "visora/difference.h"
#include "visora/dot.h"
#include "visora/draw.h"
#include "visora/edge.h"
#include "visora/edge_smooth.h"
#include "visora/element.h"
#include "visora/filter.h"
#include "visora/geom.h"
#include "visora/gradient.h"
#include "visora/hamming.h"
#include "visora/histogram.h"
#include "visora/integral.h"
#include "visora/match.h"
#include "visora/matrix.h"
#include "visora/moments.h"
#include "visora/morphology.h"
#include "visora/motion.h"
#include "visora/mser.h"
#include "visora/pattern.h"
#include "visora/points.h"
#include "visora/pyramid.h"
#include "visora/reduce.h"
#include "visora/region.h"
#include "visora/scale.h"
#include "visora/set.h"
#include "visora/shape.h"
#include "visora/statistics.h"
#include "visora/threshold.h"
#include "visora/track.h"
#include "visora/transform.h"
#include "visora/warp.h"
#include "visora/wavelet.h"

#endif
