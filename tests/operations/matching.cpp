// How to call what compares vectors: Hamming distances and dot products, and the binary descriptors they are for.
#include <bit>
#include <limits>
#include <memory>

#include "support/sets.h"
#include "visora/variants/corner.h"

namespace visora::test
{
namespace
{

// ---- Hamming distances ----

template <auto kernel, uint32_t bytes>
void preparePairOfStrings(Arguments& a)
{
    const auto* src1 = a.input<uint8_t>(bytes, 1, bytes);
    const auto* src2 = a.input<uint8_t>(bytes, 1, bytes);
    a.call(kernel, src1, src2, outputs<uint32_t>(a, 1));
}

void prepareBytes(Arguments& a)
{
    const uint32_t length = a.random().oneIn(8) ? a.random().between(60000, 140000) : vectorLength(a, 4096);
    const auto* src1 = a.input<uint8_t>(length, 1, length);
    const auto* src2 = a.input<uint8_t>(length, 1, length);
    a.call(vsrHammingBytesu8C, src1, src2, length, outputs<uint32_t>(a, 1));
}

void prepareHammingOneToMany(Arguments& a)
{
    const uint32_t length = vectorLength(a, kTypicalBytes);
    const auto* query = a.input<uint8_t>(length, 1, length);
    const InputSet<uint8_t> set(a, length, anyCount(a));
    const std::vector<uint32_t> indices = anyIndices(a, anyCount(a), set.count);
    if (indices.empty() || a.shape().typical || a.random().oneIn(2))
    {
        a.call(vsrHammingOneToManyu8C, query, length, set.data, set.count, set.stride, nullptr, 0u,
               outputs<uint32_t>(a, set.count));
        return;
    }
    const auto count = static_cast<uint32_t>(indices.size());
    a.call(vsrHammingOneToManyu8C, query, length, set.data, set.count, set.stride, a.given(indices), count,
           outputs<uint32_t>(a, count));
}

// Some sets are larger than what is compared at a time, some vectors longer.
struct BytesToMatch
{
    explicit BytesToMatch(Arguments& a)
        : length(a.random().oneIn(12) && !a.shape().typical ? a.random().between(1900, 2200)
                                                            : vectorLength(a, kTypicalBytes)),
          queries(a, length, anyCount(a, 12)),
          set(a, length, anyCount(a, a.random().oneIn(8) ? 600 : 40))
    {
    }

    uint32_t length;
    InputSet<uint8_t> queries;
    InputSet<uint8_t> set;
};

void prepareHammingMatrix(Arguments& a)
{
    const BytesToMatch m(a);
    const uint32_t stride = m.set.count == 0 ? 0 : a.dstStride(m.set.count * 4, 4);
    a.call(vsrHammingMatrixu8C, m.queries.data, m.length, m.queries.count, m.queries.stride, m.set.data, m.set.count,
           m.set.stride, a.output<uint32_t>(m.set.count, m.queries.count, stride), stride);
}

template <uint32_t mutual>
void prepareHammingNearest(Arguments& a)
{
    const BytesToMatch m(a);
    a.call(vsrHammingNearestu8C, m.queries.data, m.length, m.queries.count, m.queries.stride, m.set.data, m.set.count,
           m.set.stride, a.choose(0, 1, mutual), outputs<uint32_t>(a, m.queries.count),
           outputs<uint32_t>(a, m.queries.count));
}

void prepareHammingNearest2(Arguments& a)
{
    const BytesToMatch m(a);
    a.call(vsrHammingNearest2u8C, m.queries.data, m.length, m.queries.count, m.queries.stride, m.set.data, m.set.count,
           m.set.stride, outputs<uint32_t>(a, 2 * m.queries.count), outputs<uint32_t>(a, 2 * m.queries.count));
}

void prepareHammingWithin(Arguments& a)
{
    const BytesToMatch m(a);
    const uint32_t capacity = a.choose(1, 9, 10);
    const uint32_t distance = a.choose(m.length * 2, m.length * 5, 64);
    a.call(vsrHammingWithinu8C, m.queries.data, m.length, m.queries.count, m.queries.stride, m.set.data, m.set.count,
           m.set.stride, distance, outputs<uint32_t>(a, size_t{m.queries.count} * capacity), capacity,
           outputs<uint32_t>(a, m.queries.count));
}

const Register hammingDistances({
    {VISORA_OPERATION(vsrHammingBits256u8), ofSets(preparePairOfStrings<vsrHammingBits256u8C, 32>, {}), "", 1},
    {VISORA_OPERATION(vsrHammingBits512u8), ofSets(preparePairOfStrings<vsrHammingBits512u8C, 64>, {}), "", 1},
    {VISORA_OPERATION(vsrHammingBytesu8), ofSets(prepareBytes, {}), "", 1},
    {VISORA_OPERATION(vsrHammingOneToManyu8), ofSets(prepareHammingOneToMany, {3, 5, 6}), "", 0, true},
    {VISORA_OPERATION(vsrHammingMatrixu8), ofSets(prepareHammingMatrix, {2, 5}), "", 0, true},
    {VISORA_OPERATION(vsrHammingNearestu8), ofSets(prepareHammingNearest<0>, {2, 5}), "", 0, true},
    {VISORA_OPERATION(vsrHammingNearestu8), ofSets(prepareHammingNearest<1>, {2, 5}), "mutual", 0, true},
    {VISORA_OPERATION(vsrHammingNearest2u8), ofSets(prepareHammingNearest2, {2, 5}), "", 0, true},
    {VISORA_OPERATION(vsrHammingWithinu8), ofSets(prepareHammingWithin, {2, 5, 7}), "", 0, true},
});

// ---- Dot products ----

template <auto kernel, class T, class R>
void prepareProduct(Arguments& a)
{
    const uint32_t length = a.random().oneIn(8) ? a.random().between(200, 3000) : vectorLength(a);
    const auto* src1 = a.input<T>(length, 1, length * sizeof(T));
    const auto* src2 = a.input<T>(length, 1, length * sizeof(T));
    a.call(kernel, src1, src2, length, outputs<R>(a, 1));
}

template <auto kernel, class T, class R>
void prepareOneToMany(Arguments& a)
{
    const uint32_t length = vectorLength(a);
    const auto* query = a.input<T>(length, 1, length * sizeof(T));
    const InputSet<T> set(a, length, anyCount(a));
    a.call(kernel, query, length, set.data, set.count, set.stride, outputs<R>(a, set.count));
}

template <auto kernel, class T, class R>
void prepareIndexed(Arguments& a)
{
    const uint32_t length = vectorLength(a);
    const auto* query = a.input<T>(length, 1, length * sizeof(T));
    const InputSet<T> set(a, length, anyCount(a));
    const std::vector<uint32_t> indices = anyIndices(a, anyCount(a), set.count);
    const auto count = static_cast<uint32_t>(indices.size());
    a.call(kernel, query, length, set.data, set.count, set.stride, a.given(indices), count, outputs<R>(a, count));
}

template <auto kernel, class T, class R>
void prepareMatrix(Arguments& a)
{
    const uint32_t length = vectorLength(a);
    const InputSet<T> first(a, length, anyCount(a, 12));
    const InputSet<T> second(a, length, anyCount(a));
    const uint32_t stride =
        second.count == 0 ? 0 : a.dstStride(static_cast<uint32_t>(second.count * sizeof(R)), sizeof(R));
    a.call(kernel, first.data, length, first.count, first.stride, second.data, second.count, second.stride,
           a.output<R>(second.count, first.count, stride), stride);
}

template <auto kernel, class T, class R>
void prepareNearest(Arguments& a)
{
    const uint32_t length = vectorLength(a);
    const InputSet<T> queries(a, length, anyCount(a, 12));
    const InputSet<T> set(a, length, anyCount(a));
    a.call(kernel, queries.data, length, queries.count, queries.stride, set.data, set.count, set.stride,
           outputs<uint32_t>(a, queries.count), outputs<R>(a, queries.count));
}

template <auto kernel, class T>
void prepareCosines(Arguments& a)
{
    const uint32_t length = vectorLength(a);
    const auto* query = a.input<T>(length, 1, length);
    const InputSet<T> set(a, length, anyCount(a));
    a.call(kernel, query, length, set.data, set.count, set.stride, a.input<float>(set.count, 1, set.count * 4),
           outputs<float>(a, set.count));
}

template <auto kernel, uint32_t side>
void preparePatches(Arguments& a)
{
    const Shape& shape = a.shape();
    const uint32_t stride = a.srcStride(shape.width);
    const auto* src = a.input<uint8_t>(shape.width, shape.height, stride);
    const auto* patch = a.input<uint8_t>(side * side, 1, side * side);
    const uint32_t count = a.choose(0, 20, 1000);
    const auto* xy = a.given(anyPoints(a, count, shape.width, shape.height));
    a.call(kernel, src, shape.width, shape.height, stride, patch, xy, count, outputs<uint32_t>(a, count));
}

#define OF_SETS(operation, prepare, T, R, ...)                                                       \
    {                                                                                                \
        VISORA_OPERATION(operation), ofSets(prepare<operation##C, T, R>, {__VA_ARGS__}), "", 0, true \
    }

const Register dotProducts({
    {VISORA_OPERATION(vsrDotProductu8), ofSets(prepareProduct<vsrDotProductu8C, uint8_t, uint32_t>, {}), "", 1},
    {VISORA_OPERATION(vsrDotProducts8), ofSets(prepareProduct<vsrDotProducts8C, int8_t, int32_t>, {}), "", 1},
    {VISORA_OPERATION(vsrDotProductu16), ofSets(prepareProduct<vsrDotProductu16C, uint16_t, uint64_t>, {}), "", 1},
    {VISORA_OPERATION(vsrDotProducts16), ofSets(prepareProduct<vsrDotProducts16C, int16_t, int64_t>, {}), "", 1},
    {VISORA_OPERATION(vsrDotProductf32), ofSets(prepareProduct<vsrDotProductf32C, float, float>, {}), "", 1},
    OF_SETS(vsrDotOneToManyu8, prepareOneToMany, uint8_t, uint32_t, 3),
    OF_SETS(vsrDotOneToManys8, prepareOneToMany, int8_t, int32_t, 3),
    OF_SETS(vsrDotOneToManys16, prepareOneToMany, int16_t, int64_t, 3),
    OF_SETS(vsrDotOneToManyf32, prepareOneToMany, float, float, 3),
    OF_SETS(vsrDotNormedf32, prepareOneToMany, float, float, 3),
    OF_SETS(vsrDotIndexedu8, prepareIndexed, uint8_t, uint32_t, 3, 6),
    OF_SETS(vsrDotIndexeds8, prepareIndexed, int8_t, int32_t, 3, 6),
    OF_SETS(vsrDotIndexedf32, prepareIndexed, float, float, 3, 6),
    OF_SETS(vsrDotMatrixu8, prepareMatrix, uint8_t, uint32_t, 2, 5),
    OF_SETS(vsrDotMatrixs8, prepareMatrix, int8_t, int32_t, 2, 5),
    OF_SETS(vsrDotMatrixf32, prepareMatrix, float, float, 2, 5),
    OF_SETS(vsrDotNearestu8, prepareNearest, uint8_t, uint32_t, 2, 5),
    OF_SETS(vsrDotNearests8, prepareNearest, int8_t, int32_t, 2, 5),
    OF_SETS(vsrDotNearestf32, prepareNearest, float, float, 2, 5),
    {VISORA_OPERATION(vsrDotNormedu8), ofSets(prepareCosines<vsrDotNormedu8C, uint8_t>, {3}), "", 0, true},
    {VISORA_OPERATION(vsrDotNormeds8), ofSets(prepareCosines<vsrDotNormeds8C, int8_t>, {3}), "", 0, true},
    {VISORA_OPERATION(vsrDotPatch8x8u8), ofSets(preparePatches<vsrDotPatch8x8u8C, 8>, {6}), "", 1000},
    {VISORA_OPERATION(vsrDotPatch16x16u8), ofSets(preparePatches<vsrDotPatch16x16u8C, 16>, {6}), "", 1000},
});

// ---- Binary descriptors ----

template <bool turned>
void prepareBrief(Arguments& a, bool withAngles)
{
    const Shape& shape = a.shape();
    const uint32_t stride = a.srcStride(shape.width);
    const auto* src = a.input<uint8_t>(shape.width, shape.height, stride);
    const uint32_t count = a.choose(0, 20, 1000);
    const auto* xy = a.given(anyPoints(a, count, shape.width, shape.height));
    const uint32_t dstStride = a.dstStride(32);
    auto* dst = a.output<uint8_t>(32, count, dstStride);
    if constexpr (turned)
    {
        const auto* angles = a.made<float>(
            count, 1, count * 4,
            [&]
            {
                return a.random().oneIn(9) ? std::bit_cast<float>(static_cast<uint32_t>(a.random().next()))
                                           : static_cast<float>(a.random().between(0, 80000)) / 100 - 400;
            });
        a.call(vsrBriefDescribeRotatedu8C, src, shape.width, shape.height, stride, xy, count,
               withAngles ? angles : nullptr, dst, dstStride);
    }
    else
    {
        a.call(vsrBriefDescribeu8C, src, shape.width, shape.height, stride, xy, count, dst, dstStride);
    }
}

const Register binaryDescriptors({
    {VISORA_OPERATION(vsrBriefDescribeu8), ofSets([](Arguments& a) { prepareBrief<false>(a, false); }, {5}), "", 1000},
    {VISORA_OPERATION(vsrBriefDescribeRotatedu8),
     ofSets([](Arguments& a) { prepareBrief<true>(a, a.choose(0, 1, 1) == 1); }, {5, 6}), "", 1000},
    {VISORA_OPERATION(vsrBriefDescribeRotatedu8), ofSets([](Arguments& a) { prepareBrief<true>(a, false); }, {5, 6}),
     "centroid", 1000},
});

// ---- Clusters and the tree ----

template <auto kernel, class T, class Distance>
void prepareAssign(Arguments& a)
{
    const uint32_t length = vectorLength(a);
    const InputSet<T> vectors(a, length, anyCount(a));
    const InputSet<T> centres(a, length, a.choose(1, 40, 64));
    a.call(kernel, vectors.data, length, vectors.count, vectors.stride, centres.data, centres.count, centres.stride,
           outputs<uint16_t>(a, vectors.count), outputs<Distance>(a, vectors.count));
}

template <auto kernel, class T, class R>
void prepareUpdate(Arguments& a)
{
    const uint32_t length = vectorLength(a);
    const InputSet<T> vectors(a, length, anyCount(a));
    const uint32_t count = a.choose(1, 40, 64);
    // Centres are read and written; they come packed here.
    std::vector<T> centres(size_t{count} * length);
    for (T& element : centres)
    {
        element = static_cast<T>(a.random().between(0, 255));
    }
    const std::vector<uint16_t> indices = anyIndices<uint16_t>(a, vectors.count, count);
    a.call(kernel, vectors.data, length, vectors.count, vectors.stride, a.given(indices), a.updated(centres), count,
           static_cast<uint32_t>(length * sizeof(T)), outputs<R>(a, sizeof(T) == 1 ? count : 1));
}

void prepareHistogram(Arguments& a)
{
    const uint32_t bins = a.shape().typical ? 1000 : a.shape().width;
    const std::vector<uint16_t> codes = anyIndices<uint16_t>(a, anyCount(a), bins);
    const auto count = static_cast<uint32_t>(codes.size());
    const uint32_t norm = a.choose(VISORA_HISTOGRAM_L1, VISORA_HISTOGRAM_L2, VISORA_HISTOGRAM_L2);
    a.call(vsrCodeHistogramu16C, a.given(codes), count, bins, norm, outputs<float>(a, bins));
}

void prepareSearch(Arguments& a, uint32_t maxLeaves)
{
    const uint32_t length = vectorLength(a, 16);
    const uint32_t count = a.shape().typical ? 10000 : a.random().between(0, a.random().oneIn(4) ? 300 : 40);
    // Now and then of few values, so that distances are equal.
    const uint32_t values = a.random().oneIn(3) ? 2 : 1000;
    std::vector<float> vectors(size_t{count} * length + 1);
    for (float& element : vectors)
    {
        element = static_cast<float>(a.random().between(0, values));
    }
    vsrKDTree* tree = nullptr;
    vsrKDTreeBuildf32C(vectors.data(), length, count, length * 4, &tree);
    a.keep(std::shared_ptr<vsrKDTree>(tree, vsrKDTreeReleasef32));
    const uint32_t queries = a.random().oneIn(6) && !a.shape().typical ? 0 : a.choose(13, 20, a.shape().width);
    const uint32_t stride = a.srcStride(length * 4, 4);
    const auto* data = a.made<float>(length, queries, stride,
                                     [&]
                                     {
                                         return a.random().oneIn(2000) && !a.shape().typical
                                                    ? std::numeric_limits<float>::infinity()
                                                    : static_cast<float>(a.random().between(0, values));
                                     });
    const uint32_t k = a.choose(1, 9, 2);
    const size_t results = size_t{queries} * k;
    a.call(vsrKDTreeSearchf32C, static_cast<const vsrKDTree*>(tree), data, queries, stride, k, maxLeaves,
           outputs<uint32_t>(a, results), outputs<float>(a, results));
}

const Register clusters({
    OF_SETS(vsrClusterAssignf32, prepareAssign, float, float, 2),
    OF_SETS(vsrClusterAssignu8, prepareAssign, uint8_t, uint32_t, 2),
    OF_SETS(vsrClusterUpdatef32, prepareUpdate, float, float, 2, 6, 7),
    OF_SETS(vsrClusterUpdateu8, prepareUpdate, uint8_t, uint32_t, 2, 6, 7),
    {VISORA_OPERATION(vsrCodeHistogramu16), ofSets(prepareHistogram, {1}), "", 0, true},
    {VISORA_OPERATION(vsrKDTreeSearchf32), ofSets([](Arguments& a) { prepareSearch(a, a.choose(0, 5, 0)); }, {2, 5}),
     "exact", 0, true},
    {VISORA_OPERATION(vsrKDTreeSearchf32), ofSets([](Arguments& a) { prepareSearch(a, 8); }, {2, 5}), "8_leaves", 0,
     true},
});

// ---- Sorting ----

void prepareSort(Arguments& a)
{
    std::vector<float> scores(8);
    for (float& score : scores)
    {
        constexpr float kSpecial[] = {0.0f, -0.0f, std::numeric_limits<float>::infinity(),
                                      std::numeric_limits<float>::quiet_NaN(),
                                      -std::numeric_limits<float>::quiet_NaN()};
        score = a.random().oneIn(3) ? kSpecial[a.random().between(0, 4)] : static_cast<float>(a.random().between(0, 9));
    }
    std::vector<float> values(8);
    std::generate(values.begin(), values.end(),
                  [&] { return std::bit_cast<float>(static_cast<uint32_t>(a.random().next())); });
    a.call(vsrSort8Scoresf32C, a.updated(scores), a.updated(values));
}

const Register sorting({{VISORA_OPERATION(vsrSort8Scoresf32), ofSets(prepareSort, {}), "", 8}});

}  // namespace
}  // namespace visora::test
