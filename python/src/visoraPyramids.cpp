// Pyramids are lists of arrays in Python, level 0 first, and points tracked through them are arrays of float32 pairs.
#include "visoraPyramids.h"

#include <pybind11/numpy.h>
#include <visora/memory.h>
#include <visora/pyramid.h>
#include <visora/track.h>

#include <string>
#include <vector>

#include "visoraCaller.h"

namespace py = pybind11;

namespace visora::python
{

namespace
{

template <class T>
using Image = py::array_t<T, 0>;

template <class T>
const char* typeName()
{
    return std::is_same_v<T, float>     ? "float32"
           : std::is_same_v<T, int16_t> ? "int16"
           : std::is_same_v<T, int8_t>  ? "int8"
                                        : "uint8";
}

// Rows of adjacent elements, one behind the other. What is not is refused: a copy would not be the caller's level.
template <class T>
void checkImage(const char* function, const std::string& name, const py::array& image)
{
    const std::string start = std::string(function) + ": " + name;
    if (!image.dtype().is(py::dtype::of<T>()))
    {
        throw py::type_error(start + " has to be an array of " + typeName<T>());
    }
    if (image.ndim() != 2 || image.shape(0) == 0 || image.shape(1) == 0)
    {
        throw py::value_error(start + " has to have rows and columns");
    }
    constexpr py::ssize_t kLargest = 0xffffffff;
    const auto row = image.shape(1) * static_cast<py::ssize_t>(sizeof(T));
    if (image.shape(0) > kLargest || row > kLargest || image.strides(0) > kLargest)
    {
        throw py::value_error(start + " is too large");
    }
    if (image.strides(1) != static_cast<py::ssize_t>(sizeof(T)) || (image.shape(0) > 1 && image.strides(0) < row))
    {
        throw py::value_error(start + " has to have rows of adjacent pixels, one behind the other");
    }
}

uint32_t strideOf(const py::array& image)
{
    return static_cast<uint32_t>(image.shape(0) > 1 ? image.strides(0) : image.shape(1) * image.itemsize());
}

void refuseUnless(bool condition, const char* function, const std::string& text)
{
    if (!condition)
    {
        throw py::value_error(std::string(function) + ": " + text);
    }
}

/** The levels of a pyramid in the library's records. */
template <class T>
std::vector<vsrPyramidLevel_v2> levelsOf(const char* function, const std::string& name, const py::sequence& pyramid,
                                         std::vector<py::array>& keep)
{
    std::vector<vsrPyramidLevel_v2> levels;
    refuseUnless(pyramid.size() > 0 && pyramid.size() < 32, function, name + " has to have 1 to 31 levels");
    for (size_t i = 0; i < pyramid.size(); ++i)
    {
        const std::string level = name + "[" + std::to_string(i) + "]";
        const py::object item = pyramid[i];
        if (!py::isinstance<py::array>(item))
        {
            throw py::type_error(std::string(function) + ": " + level + " has to be an array of " + typeName<T>());
        }
        const auto image = py::reinterpret_borrow<py::array>(item);
        checkImage<T>(function, level, image);
        levels.push_back({const_cast<void*>(image.data()), static_cast<uint32_t>(image.shape(1)),
                          static_cast<uint32_t>(image.shape(0)), strideOf(image)});
        keep.push_back(image);
    }
    return levels;
}

template <class T>
py::array zeros(uint32_t height, uint32_t width)
{
    py::array_t<T> image({static_cast<py::ssize_t>(height), static_cast<py::ssize_t>(width)});
    std::fill_n(image.mutable_data(), image.size(), T{});
    return image;
}

void check(const char* function, uint32_t status)
{
    if (status == VISORA_ENOMEM)
    {
        throw std::bad_alloc();
    }
    refuseUnless(status == 0, function, "refused");
}

// ---- Pyramids ----

template <class T, auto kCreate>
py::list create(const char* name, const py::array& base, uint32_t numLevels)
{
    checkImage<T>(name, "base", base);
    const auto width = static_cast<uint32_t>(base.shape(1));
    const auto height = static_cast<uint32_t>(base.shape(0));
    // The library ends the process where this does not hold.
    refuseUnless(numLevels > 0 && numLevels < 32, name, "numLevels has to be from 1 to 31");
    refuseUnless(((width | height) & ((1u << (numLevels - 1)) - 1)) == 0, name,
                 "base has to have sides that are multiples of 2^(numLevels - 1)");
    py::list images;
    std::vector<vsrPyramidLevel_v2> levels(numLevels);
    images.append(base);
    for (uint32_t i = 1; i < numLevels; ++i)
    {
        py::array level = zeros<T>(height >> i, width >> i);
        levels[i].ptr = level.mutable_data();
        images.append(std::move(level));
    }
    const auto* pixels = static_cast<const T*>(base.data());
    const uint32_t stride = strideOf(base);
    chooseModeOnce();
    uint32_t status = 0;
    {
        const py::gil_scoped_release released;
        status = kCreate(pixels, width, height, stride, numLevels, levels.data());
    }
    check(name, status);
    return images;
}

py::list createOfAnySize(const py::array& src, uint32_t numLevels, bool scaleBy2)
{
    const char* const name = "pyramidCreateu8_v3";
    checkImage<uint8_t>(name, "src", src);
    refuseUnless(numLevels > 0 && numLevels < 128, name, "numLevels has to be from 1 to 127");
    const auto width = static_cast<uint32_t>(src.shape(1));
    const auto height = static_cast<uint32_t>(src.shape(0));
    const uint32_t stride = strideOf(src);
    std::vector<vsrPyramidLevel_v2> levels(numLevels);
    chooseModeOnce();
    // For the sizes; the library's buffers become NumPy's.
    check(name, vsrPyramidAllocate_v3(levels.data(), width, height, stride, 1, 1, numLevels, scaleBy2 ? 1 : 0, 0));
    py::list images;
    images.append(src);
    for (uint32_t i = 1; i < numLevels; ++i)
    {
        const vsrPyramidLevel_v2& level = levels[i];
        images.append(py::array_t<uint8_t>({level.height, level.width}, {level.stride, 1u},
                                           static_cast<const uint8_t*>(level.ptr),
                                           py::capsule(level.ptr, [](void* memory) { vsrMemFree(memory); })));
    }
    const auto* pixels = static_cast<const uint8_t*>(src.data());
    uint32_t status = 0;
    {
        const py::gil_scoped_release released;
        status = vsrPyramidCreateu8_v3(pixels, width, height, stride, numLevels, scaleBy2 ? 1 : 0, levels.data());
    }
    check(name, status);
    return images;
}

template <class T, auto kCreate>
py::tuple gradients(const char* name, const py::sequence& pyramid)
{
    std::vector<py::array> keep;
    std::vector<vsrPyramidLevel> image;
    for (const vsrPyramidLevel_v2& level : levelsOf<uint8_t>(name, "imgPyr", pyramid, keep))
    {
        const size_t i = image.size();
        refuseUnless(level.stride == level.width, name,
                     "imgPyr[" + std::to_string(i) + "] has to be in one piece (C-contiguous)");
        refuseUnless(i == 0 || (level.width == image[0].width >> i && level.height == image[0].height >> i), name,
                     "imgPyr has to have levels half as large as the one before, rounded down");
        image.push_back({level.ptr, level.width, level.height});
    }
    py::list dx;
    py::list dy;
    std::vector<vsrPyramidLevel> dxLevels;
    std::vector<vsrPyramidLevel> dyLevels;
    for (const vsrPyramidLevel& level : image)
    {
        for (auto [list, levels] : {std::pair(&dx, &dxLevels), std::pair(&dy, &dyLevels)})
        {
            py::array plane = zeros<T>(level.height, level.width);
            levels->push_back({plane.mutable_data(), level.width, level.height});
            list->append(std::move(plane));
        }
    }
    chooseModeOnce();
    uint32_t status = 0;
    {
        const py::gil_scoped_release released;
        status = kCreate(image.data(), dxLevels.data(), dyLevels.data(), static_cast<uint32_t>(image.size()));
    }
    check(name, status);
    return py::make_tuple(dx, dy);
}

// ---- Tracks ----

template <class T>
struct Tracked
{
    std::vector<py::array> keep;
    std::vector<vsrPyramidLevel_v2> first, second;
    py::array_t<float> points, found;
    py::array_t<int32_t> status;
};

template <class T>
void prepare(Tracked<T>& tracked, const char* name, const py::sequence& src1Pyr, const py::sequence& src2Pyr,
             const py::array& featureXY, const py::object& start, int32_t windowWidth, int32_t windowHeight)
{
    tracked.first = levelsOf<T>(name, "src1Pyr", src1Pyr, tracked.keep);
    tracked.second = levelsOf<T>(name, "src2Pyr", src2Pyr, tracked.keep);
    refuseUnless(tracked.first.size() == tracked.second.size(), name,
                 "src1Pyr and src2Pyr have to have equally many levels");
    for (size_t i = 0; i < tracked.first.size(); ++i)
    {
        const vsrPyramidLevel_v2& a = tracked.first[i];
        const vsrPyramidLevel_v2& b = tracked.second[i];
        // The library takes the strides of the first pyramid for both.
        refuseUnless(a.width == b.width && a.height == b.height && a.stride == b.stride, name,
                     "src1Pyr[" + std::to_string(i) + "] and src2Pyr[" + std::to_string(i) +
                         "] have to have the same size and row stride");
        refuseUnless(i == 0 || (a.width == tracked.first[0].width >> i && a.height == tracked.first[0].height >> i),
                     name, "src1Pyr has to have levels half as large as the one before, rounded down");
    }
    for (const auto& [side, text] : {std::pair(windowWidth, "windowWidth"), std::pair(windowHeight, "windowHeight")})
    {
        refuseUnless(side >= 5 && side % 2 == 1 && side <= 1023, name,
                     std::string(text) + " has to be odd, from 5 to 1023");
    }
    if (!featureXY.dtype().is(py::dtype::of<float>()))
    {
        throw py::type_error(std::string(name) + ": featureXY has to be an array of float32");
    }
    refuseUnless(featureXY.ndim() == 2 && featureXY.shape(1) == 2 && featureXY.shape(0) < (1 << 30), name,
                 "featureXY has to have the shape (n, 2)");
    tracked.points = py::array_t<float, py::array::c_style | py::array::forcecast>(featureXY);
    tracked.found = py::array_t<float>({featureXY.shape(0), py::ssize_t{2}});
    const py::array_t<float, py::array::c_style | py::array::forcecast> guess(start.is_none() ? featureXY : start);
    refuseUnless(guess.ndim() == 2 && guess.shape(0) == featureXY.shape(0) && guess.shape(1) == 2, name,
                 "featureXY_out has to have the shape of featureXY");
    std::copy_n(guess.data(), guess.size(), tracked.found.mutable_data());
    tracked.status = py::array_t<int32_t>(featureXY.shape(0));
    std::fill_n(tracked.status.mutable_data(), tracked.status.size(), 0);
    chooseModeOnce();
}

template <class T, class Function>
py::tuple track(Tracked<T>& tracked, const char* name, const Function& function)
{
    const float* points = tracked.points.data();
    float* found = tracked.found.mutable_data();
    int32_t* status = tracked.status.mutable_data();
    const auto count = static_cast<int32_t>(tracked.points.shape(0));
    uint32_t result = 0;
    {
        const py::gil_scoped_release released;
        result = function(static_cast<const T*>(tracked.first[0].ptr), static_cast<const T*>(tracked.second[0].ptr),
                          points, found, status, count, static_cast<int32_t>(tracked.first.size()));
    }
    check(name, result);
    return py::make_tuple(tracked.found, tracked.status);
}

template <class T, auto kTrack>
auto strided(const char* name)
{
    return [name](const py::sequence& src1Pyr, const py::sequence& src2Pyr, const py::array& featureXY,
                  int32_t windowWidth, int32_t windowHeight, int32_t maxIterations)
    {
        Tracked<T> t;
        prepare(t, name, src1Pyr, src2Pyr, featureXY, py::none(), windowWidth, windowHeight);
        return track(t, name,
                     [&](const T* src1, const T* src2, const float* points, float* found, int32_t* status,
                         int32_t count, int32_t levels)
                     {
                         return kTrack(src1, src2, t.first[0].width, t.first[0].height, t.first[0].stride,
                                       t.first.data(), t.second.data(), points, found, status, count, windowWidth,
                                       windowHeight, maxIterations, levels);
                     });
    };
}

py::tuple trackWithCriteria(const py::sequence& src1Pyr, const py::sequence& src2Pyr, const py::array& featureXY,
                            int32_t windowWidth, int32_t windowHeight, int32_t maxIterations, int32_t criteriaType,
                            float epsilon, const py::object& featureXY_out)
{
    const char* const name = "trackLKOpticalFlowu8_v3";
    Tracked<uint8_t> t;
    prepare(t, name, src1Pyr, src2Pyr, featureXY, featureXY_out, windowWidth, windowHeight);
    return track(t, name,
                 [&](const uint8_t* src1, const uint8_t* src2, const float* points, float* found, int32_t* status,
                     int32_t count, int32_t levels)
                 {
                     return vsrTrackLKOpticalFlowu8_v3(src1, src2, t.first[0].width, t.first[0].height,
                                                       t.first[0].stride, t.first.data(), t.second.data(), points,
                                                       found, status, count, windowWidth, windowHeight, maxIterations,
                                                       levels, criteriaType, epsilon, featureXY_out.is_none() ? 0 : 1);
                 });
}

constexpr const char* kCreateText =
    "A pyramid of `numLevels` images, a list: `base` itself, then each half as wide and high as the one before, "
    "smoothed\n"
    "with the 5x5 Gaussian. The sides of `base` are multiples of 2^(numLevels - 1).";
constexpr const char* kGradientText =
    "The horizontal and vertical 3x3 Sobel gradients of every level of a uint8 pyramid, two lists of planes.";
constexpr const char* kTrackText =
    "Follows points from one image to another through their pyramids (Lucas-Kanade).\n\n"
    "src1Pyr, src2Pyr : the images' pyramids, lists of arrays of the same sizes, level 0 first\n"
    "featureXY : float32 array of shape (n, 2), positions (x, y) in the first image\n"
    "windowWidth, windowHeight : odd, at least 5\n\n"
    "Returns the positions in the second image and a status for each: 1 found, -2 flat, -4 outside.";

}  // namespace

void definePyramids(py::module_& module)
{
    using namespace py::literals;
    const auto createBy = [&module]<class T, auto kCreate>(const char* name)
    {
        module.def(
            name,
            [name](const py::array& base, uint32_t numLevels) { return create<T, kCreate>(name, base, numLevels); },
            kCreateText, "base"_a, "numLevels"_a);
    };
    createBy.operator()<uint8_t, vsrPyramidCreateu8_v2>("pyramidCreateu8");
    createBy.operator()<uint8_t, vsrPyramidCreateu8_v2>("pyramidCreateu8_v2");
    createBy.operator()<float, vsrPyramidCreatef32_v2>("pyramidCreatef32");
    createBy.operator()<float, vsrPyramidCreatef32_v2>("pyramidCreatef32_v2");
    module.def(
        "pyramidCreateu8_v3", createOfAnySize,
        "A pyramid of an image of any size, a list: `src` itself, then each a half of the one before, rounded up,\n"
        "or with `scaleBy2` quarter octaves.",
        "src"_a, "numLevels"_a, "scaleBy2"_a = false);

    const auto gradientsBy = [&module]<class T, auto kCreate>(const char* name)
    {
        module.def(
            name, [name](const py::sequence& imgPyr) { return gradients<T, kCreate>(name, imgPyr); }, kGradientText,
            "imgPyr"_a);
    };
    gradientsBy.operator()<int16_t, vsrPyramidSobelGradientCreatei16>("pyramidSobelGradientCreatei16");
    gradientsBy.operator()<int8_t, vsrPyramidSobelGradientCreatei8>("pyramidSobelGradientCreatei8");
    gradientsBy.operator()<float, vsrPyramidSobelGradientCreatef32>("pyramidSobelGradientCreatef32");

    const auto trackBy = [&module]<class T, auto kTrack>(const char* name)
    {
        module.def(name, strided<T, kTrack>(name), kTrackText, "src1Pyr"_a, "src2Pyr"_a, "featureXY"_a,
                   "windowWidth"_a = 21, "windowHeight"_a = 21, "maxIterations"_a = 20);
    };
    trackBy.operator()<uint8_t, vsrTrackLKOpticalFlowu8_v2>("trackLKOpticalFlowu8");
    trackBy.operator()<uint8_t, vsrTrackLKOpticalFlowu8_v2>("trackLKOpticalFlowu8_v2");
    trackBy.operator()<float, vsrTrackLKOpticalFlowf32>("trackLKOpticalFlowf32");
    module.def(
        "trackLKOpticalFlowu8_v3", trackWithCriteria,
        (std::string(kTrackText) +
         "\n\ncriteriaType, epsilon : what ends the refinement, TRACK_UNTIL_...\nfeatureXY_out : where the search "
         "starts, not featureXY")
            .c_str(),
        "src1Pyr"_a, "src2Pyr"_a, "featureXY"_a, "windowWidth"_a = 21, "windowHeight"_a = 21, "maxIterations"_a = 20,
        "criteriaType"_a = static_cast<int32_t>(VISORA_TRACK_UNTIL_BOTH), "epsilon"_a = 0.0009F,
        "featureXY_out"_a = py::none());
}

}  // namespace visora::python
