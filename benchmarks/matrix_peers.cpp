// Peers of matrices from LAPACK and BLAS, by one thread.
#include "peers.h"

#ifdef VISORA_HAVE_OPENBLAS
#include <algorithm>
#include <random>

extern "C"
{
    // What the Fortran libraries export; matrices are column by column.
    void openblas_set_num_threads(int threads);
    void sgemm_(const char* turnA, const char* turnB, const int* rows, const int* columns, const int* inner,
                const float* factor, const float* A, const int* strideA, const float* B, const int* strideB,
                const float* oldFactor, float* C, const int* strideC);
    void sgesv_(const int* n, const int* sides, float* A, const int* stride, int* pivots, float* b, const int* strideB,
                int* result);
    void sgels_(const char* turn, const int* rows, const int* columns, const int* sides, float* A, const int* stride,
                float* b, const int* strideB, float* work, const int* size, int* result);
    void sgesdd_(const char* parts, const int* rows, const int* columns, float* A, const int* stride, float* w,
                 float* U, const int* strideU, float* Vt, const int* strideVt, float* work, const int* size,
                 int* places, int* result);
}

namespace visora::bench
{
namespace
{

using Work = std::function<void()>;
using Floats = std::vector<float>;

// OpenCV multiplies by it, too, where it is installed.
[[maybe_unused]] const bool isOnOneThread = []
{
    openblas_set_num_threads(1);
    return true;
}();

constexpr int kOne = 1;
constexpr int kLength = 128;  // elements of vectors whose products are asked for
constexpr int kFew = 16;      // columns of tall matrices

Floats randomFloats(int count)
{
    std::mt19937 generator(1);
    std::uniform_real_distribution<float> any(-300, 300);
    Floats list(static_cast<size_t>(count));
    std::generate(list.begin(), list.end(), [&] { return any(generator); });
    return list;
}

Work multiply(int width, int height)
{
    return [=, A = randomFloats(width * height), B = randomFloats(width * width),
            C = randomFloats(width * height)]() mutable
    {
        const float one = 1;
        const float none = 0;
        sgemm_("N", "N", &height, &width, &width, &one, A.data(), &height, B.data(), &width, &none, C.data(), &height);
    };
}

// Products of as many vectors as the shape is wide. What lies in columns there are our rows.
Work multiplyVectors(int width, int /*height*/)
{
    return [=, a = randomFloats(width * kLength), b = randomFloats(width * kLength),
            c = randomFloats(width * width)]() mutable
    {
        const float one = 1;
        const float none = 0;
        sgemm_("T", "N", &width, &width, &kLength, &one, b.data(), &kLength, a.data(), &kLength, &none, c.data(),
               &width);
    };
}

// These destroy the matrix and the right side, so that they are copied before, as ours does.
Work solveLU(int n, int /*height*/)
{
    return [=, A = randomFloats(n * n), b = randomFloats(n), copy = Floats(), x = Floats(),
            pivots = std::vector<int>(static_cast<size_t>(n))]() mutable
    {
        copy = A;
        x = b;
        int result = 0;
        sgesv_(&n, &kOne, copy.data(), &n, pivots.data(), x.data(), &n, &result);
    };
}

Work solveQR(int rows, int /*height*/)
{
    return [=, A = randomFloats(rows * kFew), b = randomFloats(rows), copy = Floats(), x = Floats(),
            work = Floats(64 * static_cast<size_t>(rows + kFew))]() mutable
    {
        copy = A;
        x = b;
        int result = 0;
        const int size = static_cast<int>(work.size());
        sgels_("N", &rows, &kFew, &kOne, copy.data(), &rows, x.data(), &rows, work.data(), &size, &result);
    };
}

Work decompose(int rows, int /*height*/)
{
    return [=, A = randomFloats(rows * kFew), copy = Floats(), w = Floats(kFew), U = randomFloats(rows * kFew),
            Vt = Floats(kFew * kFew), work = Floats(64 * static_cast<size_t>(rows + kFew)),
            places = std::vector<int>(8 * kFew)]() mutable
    {
        copy = A;
        int result = 0;
        const int size = static_cast<int>(work.size());
        sgesdd_("S", &rows, &kFew, copy.data(), &rows, w.data(), U.data(), &rows, Vt.data(), &kFew, work.data(), &size,
                places.data(), &result);
    };
}

const RegisterPeers openBlasMatrices({
    {"vsrDotMatrixf32", "", "OpenBLAS", multiplyVectors},
    {"vsrMatrixMultiplyf32", "", "OpenBLAS", multiply},
    {"vsrSolveLUf32", "", "OpenBLAS", solveLU},
    {"vsrSolveQRf32", "", "OpenBLAS", solveQR},
    {"vsrSVDf32", "", "OpenBLAS", decompose},
});

}  // namespace
}  // namespace visora::bench
#endif
