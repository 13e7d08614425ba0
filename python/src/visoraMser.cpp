// Stable regions: the handle is an object in Python, with memory for the images that it is made for.
#include <pybind11/numpy.h>
#include <visora/mser.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "visoraCaller.h"
#include "visoraHandles.h"

namespace py = pybind11;

namespace visora::python
{

namespace
{

struct Release
{
    void operator()(vsrMser* mser) const { vsrMserRelease(mser); }
};

// Room for the regions of one kind.
struct Regions
{
    std::vector<vsrMserRegion> regions;
    std::vector<vsrMserTrait> traits;
    std::vector<uint8_t> bright;
    std::vector<uint32_t> pixels;
    uint32_t numRegions = 0;
    uint32_t numPixels = 0;

    void resize(size_t most, size_t mostPixels)
    {
        regions.resize(most);
        traits.resize(most);
        bright.resize(most);
        pixels.resize(2 * mostPixels);
    }
    uint32_t most() const { return static_cast<uint32_t>(regions.size()); }
    uint32_t mostPixels() const { return static_cast<uint32_t>(pixels.size() / 2); }
    // A list ends before the first region that does not fit.
    bool mayBeCut(uint32_t largest) const { return numRegions == most() || mostPixels() - numPixels < largest; }
};

template <class T>
py::array records(const char* name, const std::vector<T>& list, uint32_t count)
{
    const py::object type = py::module_::import("visora._visora").attr(name).attr("dtype");
    py::array made(py::dtype::from_args(type), std::vector<py::ssize_t>{count});
    std::memcpy(made.mutable_data(), list.data(), count * sizeof(T));
    return made;
}

py::array_t<uint32_t> coordinates(const Regions& found)
{
    py::array_t<uint32_t> made({static_cast<py::ssize_t>(found.numPixels), py::ssize_t{2}});
    std::memcpy(made.mutable_data(), found.pixels.data(), size_t{2} * found.numPixels * sizeof(uint32_t));
    return made;
}

py::array regionsOf(const Regions& found)
{
    return records("MserRegion", found.regions, found.numRegions);
}

class Mser
{
  public:
    Mser(uint32_t maxWidth, uint32_t maxHeight, uint32_t delta, uint32_t minArea, uint32_t maxArea, float maxVariation,
         float minDiversity)
    {
        const auto pixels = static_cast<uint32_t>(std::min(uint64_t{maxWidth} * maxHeight, uint64_t{0xffffffff}));
        largest_ = maxArea == 0 ? std::max(pixels / 4, minArea) : maxArea;
        vsrMser* mser = nullptr;
        chooseModeOnce();
        const vsrStatus status =
            vsrMserCreate(maxWidth, maxHeight, delta, minArea, largest_, maxVariation, minDiversity, &mser);
        refuse("Mser", status, "a size or a number is outside its range");
        mser_.reset(mser);
    }

    py::tuple detectDark(const py::array& src) const
    {
        return detectWith(vsrMserDetectDarku8, "Mser.detectDark", src, 1);
    }

    py::tuple detectRGB888(const py::array& src) const
    {
        return detectWith(vsrMserDetectRGB888u8, "Mser.detectRGB888", src, 3);
    }

    py::tuple detect(const py::array& src) const
    {
        const auto [found, none] =
            run("Mser.detect", src, 1,
                [this](const Image& image, Regions& list, Regions&)
                {
                    return vsrMserDetectu8(mser_.get(), image.data, image.width, image.height, 0, list.regions.data(),
                                           list.bright.data(), list.most(), &list.numRegions, list.pixels.data(),
                                           list.mostPixels(), &list.numPixels);
                });
        py::array_t<bool> bright(static_cast<py::ssize_t>(found.numRegions));
        std::copy_n(found.bright.data(), found.numRegions, bright.mutable_data());
        return py::make_tuple(regionsOf(found), bright, coordinates(found));
    }

    py::tuple split(const py::array& src) const
    {
        const auto [dark, bright] =
            run("Mser.split", src, 1,
                [this](const Image& image, Regions& first, Regions& second)
                {
                    return vsrMserSplitExtu8(
                        mser_.get(), image.data, image.width, image.height, 0, first.regions.data(),
                        first.traits.data(), first.most(), &first.numRegions, first.pixels.data(), first.mostPixels(),
                        &first.numPixels, second.regions.data(), second.traits.data(), second.most(),
                        &second.numRegions, second.pixels.data(), second.mostPixels(), &second.numPixels);
                });
        const auto all = [](const Regions& list) {
            return py::make_tuple(regionsOf(list), records("MserTrait", list.traits, list.numRegions),
                                  coordinates(list));
        };
        return py::make_tuple(all(dark), all(bright));
    }

  private:
    struct Image
    {
        const uint8_t* data;
        uint32_t width, height;
    };

    py::tuple detectWith(decltype(vsrMserDetectDarku8)* detect, const char* name, const py::array& src,
                         py::ssize_t channels) const
    {
        const auto [found, none] = run(name, src, channels,
                                       [this, detect](const Image& image, Regions& list, Regions&)
                                       {
                                           return detect(mser_.get(), image.data, image.width, image.height, 0,
                                                         list.regions.data(), list.most(), &list.numRegions,
                                                         list.pixels.data(), list.mostPixels(), &list.numPixels);
                                       });
        return py::make_tuple(regionsOf(found), coordinates(found));
    }

    template <class Detect>
    std::pair<Regions, Regions> run(const char* function, const py::array& src, py::ssize_t channels,
                                    const Detect& detect) const
    {
        if (!src.dtype().is(py::dtype::of<uint8_t>()))
        {
            throw py::type_error(std::string(function) + ": src has to be an array of uint8");
        }
        if (channels == 1 ? src.ndim() != 2 : src.ndim() != 3 || src.shape(2) != channels)
        {
            throw py::value_error(std::string(function) + ": src has to have the shape (rows, columns" +
                                  (channels == 1 ? ")" : ", 3)"));
        }
        constexpr py::ssize_t kMost = 65535;
        const py::array_t<uint8_t, py::array::c_style> packed(src);
        const Image image{packed.data(), static_cast<uint32_t>(std::min(src.shape(1), kMost + 1)),
                          static_cast<uint32_t>(std::min(src.shape(0), kMost + 1))};
        std::pair<Regions, Regions> found;
        vsrStatus status = 0;
        {
            const py::gil_scoped_release released;
            const std::lock_guard lock(inUse_);
            size_t most = 1024;
            size_t pixels = std::max(size_t{image.width} * image.height, size_t{largest_});
            do
            {
                found.first.resize(most, pixels);
                found.second.resize(most, pixels);
                status = detect(image, found.first, found.second);
                most *= 4;
                pixels *= 2;
            } while (status == VISORA_SUCCESS && pixels <= 0xffffffff &&
                     (found.first.mayBeCut(largest_) || found.second.mayBeCut(largest_)));
        }
        refuse(function, status, "src is larger than the images that this is for, or empty");
        return found;
    }

    std::unique_ptr<vsrMser, Release> mser_;
    mutable std::mutex inUse_;
    uint32_t largest_ = 0;
};

}  // namespace

void defineMser(py::module_& module)
{
    using namespace py::literals;
    py::class_<Mser>(module, "Mser",
                     "Maximally stable extremal regions of uint8 images of up to maxHeight rows and maxWidth columns.\n"
                     "maxArea 0 is a quarter of such an image. Regions are arrays of MserRegion, of which firstPixel\n"
                     "and numPixels tell the rows of the pixels, an array of (x, y), that are theirs.")
        .def(py::init<uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, float, float>(), "maxWidth"_a, "maxHeight"_a,
             py::kw_only(), "delta"_a = 5, "minArea"_a = 30, "maxArea"_a = 0, "maxVariation"_a = 0.25F,
             "minDiversity"_a = 0.2F)
        .def("detectDark", &Mser::detectDark, "src"_a, "Dark regions: (regions, pixels).")
        .def("detectRGB888", &Mser::detectRGB888, "src"_a, "Regions of a colour image: (regions, pixels).")
        .def("detect", &Mser::detect, "src"_a, "Dark and bright regions: (regions, which are bright, pixels).")
        .def("split", &Mser::split, "src"_a,
             "Dark and bright regions with arrays of MserTrait: ((regions, traits, pixels), (regions, traits, "
             "pixels)).");
}

}  // namespace visora::python
