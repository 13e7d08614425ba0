// How to call the operations on depth images, clouds and pairs of views.
#include <algorithm>
#include <limits>

#include "support/operations.h"
#include "visora/variants/geom.h"

namespace visora::test
{

namespace
{

template <class T>
uint32_t rowBytes(uint32_t elements)
{
    return static_cast<uint32_t>(elements * sizeof(T));
}

// A number from low to high.
float between(Random& random, double low, double high)
{
    return static_cast<float>(low + (high - low) * static_cast<double>(random.between(0, 1 << 20)) / (1 << 20));
}

std::vector<float> cameraFor(Arguments& a, double width, double height)
{
    Random& random = a.random();
    const float focal = between(random, 0.5 * width, 1.5 * width);
    return {
        focal, 0, static_cast<float>(width / 2), 0, random.oneIn(4) ? -focal : focal, static_cast<float>(height / 2), 0,
        0,     1};
}

// Nearly none, so that most points stay in view.
std::vector<float> rotationFor(Arguments& a)
{
    std::vector<float> rotation = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    for (float& element : rotation)
    {
        element += between(a.random(), -0.02, 0.02);
    }
    return rotation;
}

struct Depths
{
    explicit Depths(Arguments& a)
        : width(a.shape().width), height(a.shape().height), stride(a.srcStride(rowBytes<uint16_t>(width), 2))
    {
        // Holes of different shares.
        const uint32_t share = a.choose(1, 20, 20);
        data = a.made<uint16_t>(
            width, height, stride,
            [&]
            {
                return static_cast<uint16_t>(
                    a.random().oneIn(share) ? 0 : 1000 + a.random().between(0, a.random().oneIn(9) ? 64000 : 300));
            });
    }

    uint32_t width, height, stride;
    const uint16_t* data = nullptr;
};

// A surface 1 away, with some holes and NaN.
const float* cloud(Arguments& a, uint32_t width, uint32_t height, uint32_t stride)
{
    size_t i = 0;
    float z = 1;
    const bool hasSpecials = !a.shape().typical && a.random().oneIn(2);
    return a.made<float>(3 * width, height, stride,
                         [&]
                         {
                             const size_t pixel = i / 3 % width;
                             const size_t row = i / 3 / width;
                             const size_t part = i++ % 3;
                             if (part == 0)
                             {
                                 z = hasSpecials && a.random().oneIn(10) ? 0 : between(a.random(), 1, 1.02);
                             }
                             if (hasSpecials && a.random().oneIn(50))
                             {
                                 return std::numeric_limits<float>::quiet_NaN();
                             }
                             const double across = part == 0 ? static_cast<double>(pixel) / width - 0.5
                                                             : (static_cast<double>(row) - 0.5 * height) / width;
                             return part == 2 ? z : static_cast<float>(across) * z;
                         });
}

void prepareCloud(Arguments& a)
{
    const Depths src(a);
    std::vector<float> camera = cameraFor(a, src.width, src.height);
    if (!a.shape().typical && a.random().oneIn(8))
    {
        camera[a.random().oneIn(2) ? 2 : 4] = std::numeric_limits<float>::quiet_NaN();
    }
    const uint32_t dstStride = a.dstStride(rowBytes<float>(3 * src.width), 4);
    a.call(vsrCloudFromDepthu16f32C, src.data, src.width, src.height, src.stride, a.given(camera), 0.001F,
           a.output<float>(3 * src.width, src.height, dstStride), dstStride);
}

void prepareNormals(Arguments& a)
{
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    const uint32_t stride = a.srcStride(rowBytes<float>(3 * width), 4);
    const uint32_t dstStride = a.dstStride(rowBytes<float>(3 * width), 4);
    const float* src = cloud(a, width, height, stride);
    a.call(vsrCloudNormalsf32C, src, width, height, stride, a.output<float>(3 * width, height, dstStride), dstStride);
}

void prepareHoles(Arguments& a)
{
    const Depths src(a);
    const uint32_t dstStride = a.dstStride(rowBytes<uint16_t>(src.width), 2);
    a.call(vsrDepthFillHolesu16C, src.data, src.width, src.height, src.stride, a.choose(1, 12, 5),
           a.output<uint16_t>(src.width, src.height, dstStride), dstStride);
}

void prepareRegister(Arguments& a)
{
    const Depths src(a);
    const uint32_t dstWidth = a.shape().typical ? src.width : src.width + 15;
    const uint32_t dstHeight = a.shape().typical ? src.height : src.height + 14;
    const uint32_t dstStride = a.dstStride(rowBytes<uint16_t>(dstWidth), 2);
    const float* from = a.given(cameraFor(a, src.width, src.height));
    const float* to = a.given(cameraFor(a, dstWidth, dstHeight));
    const float* rotation = a.given(rotationFor(a));
    const float* translation = a.given(std::vector<float>{30, -20, a.random().oneIn(4) ? -1100.0F : 5.0F});
    a.call(vsrDepthRegisteru16C, src.data, src.width, src.height, src.stride, from, to, rotation, translation,
           a.output<uint16_t>(dstWidth, dstHeight, dstStride), dstWidth, dstHeight, dstStride);
}

void prepareClosestPoints(Arguments& a)
{
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    const uint32_t refWidth = a.shape().typical ? width : width + 16;
    const uint32_t refHeight = a.shape().typical ? height : height + 14;
    const uint32_t stride = a.srcStride(rowBytes<float>(3 * width), 4);
    const uint32_t refStride = a.srcStride(rowBytes<float>(3 * refWidth), 4);
    const float* src = cloud(a, width, height, stride);
    const float* reference = cloud(a, refWidth, refHeight, refStride);
    const float* normals = cloud(a, refWidth, refHeight, refStride);
    const float* camera = a.given(cameraFor(a, refWidth, refHeight));
    const float* rotation = a.given(rotationFor(a));
    const float* translation = a.given(std::vector<float>{0.01F, 0.02F, -0.01F});
    auto* JTJ = a.output<float>(36, 1, 144);
    auto* JTe = a.output<float>(6, 1, 24);
    auto* squaredError = a.output<float>(1, 1, 4);
    a.call(vsrICPJacobianErrorSE3f32C, src, width, height, stride, reference, refWidth, refHeight, refStride, normals,
           refStride, camera, rotation, translation, 0.1F, JTJ, JTe, squaredError, a.output<uint32_t>(1, 1, 4));
}

// ---- Disparity ----

// Two views of one scene, the right one moved and noisy, or of two.
struct Views
{
    explicit Views(Arguments& a)
        : width(a.shape().width),
          height(a.shape().height),
          stride1(a.srcStride(width)),
          stride2(a.srcStride(width)),
          dstStride(a.dstStride(rowBytes<int16_t>(width), 2))
    {
        const uint32_t shift = a.choose(0, 20, 12);
        const uint32_t range = a.choose(1, 255, 255);
        Random first(a.random().next());
        Random second = first;
        const uint32_t noise = a.choose(0, 3, 1);
        const auto texture = [=](Random& random) { return static_cast<uint8_t>(random.between(0, range)); };
        std::vector<uint8_t> row;
        for (uint32_t i = 0; i < width + shift; ++i)
        {
            row.push_back(texture(first));
        }
        size_t i = 0;
        src1 = a.made<uint8_t>(width, height, stride1,
                               [&]() -> uint8_t
                               { return row[i++ % width] ^ static_cast<uint8_t>(second.between(0, noise)); });
        i = 0;
        src2 = a.made<uint8_t>(width, height, stride2,
                               [&]() -> uint8_t
                               { return row[i++ % width + shift] ^ static_cast<uint8_t>(second.between(0, noise)); });
        if (!a.shape().typical)
        {
            least = static_cast<int32_t>(a.random().between(0, 60)) - 40;
            count = a.random().oneIn(4) ? a.random().between(65, 140) : a.random().between(1, 64);
        }
    }

    uint32_t width, height, stride1, stride2, dstStride;
    const uint8_t* src1;
    const uint8_t* src2;
    int32_t least = 0;
    uint32_t count = 64;
};

void prepareBlockMatch(Arguments& a)
{
    const Views views(a);
    // The reference looks at all of a block for each pixel.
    const uint32_t block = 2 * a.choose(0, views.width * views.height > 4096 ? 2 : 7, 4) + 1;
    const uint32_t texture = a.shape().typical || a.random().oneIn(2) ? 0 : a.random().between(0, 64 * block * block);
    a.call(vsrDisparityBlockMatchu8s16C, views.src1, views.width, views.height, views.stride1, views.src2,
           views.stride2, views.least, views.count, block, texture, a.choose(0, 1, 1) * a.choose(0, 99, 10),
           a.output<int16_t>(views.width, views.height, views.dstStride), views.dstStride);
}

void prepareSemiGlobal(Arguments& a)
{
    const Views views(a);
    const uint32_t penalty1 = a.choose(0, 20, 6);
    const uint32_t penalty2 = a.choose(penalty1, a.random().oneIn(4) ? 4000 : 100, 40);
    a.call(vsrDisparitySemiGlobalu8s16C, views.src1, views.width, views.height, views.stride1, views.src2,
           views.stride2, views.least, views.count, penalty1, penalty2, 4 * a.choose(1, 2, 2), a.choose(0, 60, 5),
           a.random().oneIn(4) ? 300U : a.choose(0, 5, 1),
           a.output<int16_t>(views.width, views.height, views.dstStride), views.dstStride);
}

const Register depths({
    {VISORA_OPERATION(vsrCloudFromDepthu16f32), prepareCloud},
    {VISORA_OPERATION(vsrCloudNormalsf32), prepareNormals},
    {VISORA_OPERATION(vsrDepthFillHolesu16), prepareHoles},
    {VISORA_OPERATION(vsrDepthRegisteru16), prepareRegister},
    {VISORA_OPERATION(vsrICPJacobianErrorSE3f32), prepareClosestPoints},
    {VISORA_OPERATION(vsrDisparityBlockMatchu8s16), prepareBlockMatch},
    {VISORA_OPERATION(vsrDisparitySemiGlobalu8s16), prepareSemiGlobal},
});

}  // namespace

}  // namespace visora::test
