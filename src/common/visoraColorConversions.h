// The tables of colour conversions, for whatever has one line for each of them.
#ifndef VISORA_COMMON_COLOR_CONVERSIONS_H
#define VISORA_COMMON_COLOR_CONVERSIONS_H

/**
 * X(source, destination) for each vsrColor<source>To<destination>u8 between RGB formats: those that exchange red and
 * blue, which may be done in place, and the others.
 */
#define VSR_COLOR_EXCHANGES(X) \
    X(RGB565, BGR565)          \
    X(RGB888, BGR888)          \
    X(RGBA8888, BGRA8888)
#define VSR_COLOR_REPACKS(X) \
    X(RGB565, BGR888)        \
    X(RGB565, BGRA8888)      \
    X(RGB565, RGB888)        \
    X(RGB565, RGBA8888)      \
    X(RGB888, BGR565)        \
    X(RGB888, BGRA8888)      \
    X(RGB888, RGB565)        \
    X(RGB888, RGBA8888)      \
    X(RGBA8888, BGR565)      \
    X(RGBA8888, BGR888)      \
    X(RGBA8888, RGB565)      \
    X(RGBA8888, RGB888)

/** X(source) for each vsrColor<source>ToGrayu8. */
#define VSR_COLOR_GRAYS(X) \
    X(RGB565)              \
    X(RGB888)              \
    X(RGBA8888)

/** X(source, sampling, layout) for each vsrColor<source>ToYCbCr<sampling><layout>u8. */
#define VSR_COLOR_TO_YCBCR(X)          \
    VSR_COLOR_TO_YCBCR_FROM(X, RGB565) \
    VSR_COLOR_TO_YCBCR_FROM(X, RGB888) \
    VSR_COLOR_TO_YCBCR_FROM(X, RGBA8888)
#define VSR_COLOR_TO_YCBCR_FROM(X, source) \
    X(source, 420, Planar)                 \
    X(source, 420, PseudoPlanar)           \
    X(source, 422, Planar)                 \
    X(source, 422, PseudoPlanar)           \
    X(source, 444, Planar)                 \
    X(source, 444, PseudoPlanar)

/** X(source sampling, source layout, sampling, layout) for each vsrColorYCbCr<..>ToYCbCr<..>u8. */
#define VSR_COLOR_LAYOUTS(X)                 \
    VSR_COLOR_LAYOUTS_FROM(X, 420, 422, 444) \
    VSR_COLOR_LAYOUTS_FROM(X, 422, 420, 444) \
    VSR_COLOR_LAYOUTS_FROM(X, 444, 420, 422)
#define VSR_COLOR_LAYOUTS_FROM(X, from, first, second) \
    X(from, Planar, from, PseudoPlanar)                \
    X(from, PseudoPlanar, from, Planar)                \
    X(from, Planar, first, Planar)                     \
    X(from, Planar, first, PseudoPlanar)               \
    X(from, PseudoPlanar, first, Planar)               \
    X(from, PseudoPlanar, first, PseudoPlanar)         \
    X(from, Planar, second, Planar)                    \
    X(from, Planar, second, PseudoPlanar)              \
    X(from, PseudoPlanar, second, Planar)              \
    X(from, PseudoPlanar, second, PseudoPlanar)

#endif
