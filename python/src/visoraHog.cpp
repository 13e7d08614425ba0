// Blocks of histograms of oriented gradients: an object in Python that knows their layout.
#include <pybind11/numpy.h>
#include <visora/descriptor.h>

#include <algorithm>
#include <memory>
#include <string>

#include "visoraCaller.h"
#include "visoraHandles.h"

namespace py = pybind11;

namespace visora::python
{

namespace
{

class Hog
{
  public:
    Hog(uint32_t cellSize, uint32_t blockCells, uint32_t blockStep, uint32_t bins, bool isSigned)
        : cellSize_(cellSize), blockCells_(blockCells), blockStep_(blockStep), bins_(bins)
    {
        chooseModeOnce();
        refuse("HOG", vsrHOGInit(cellSize, blockCells, blockStep, bins, isSigned, &handle_),
               "a number is outside its range");
    }
    ~Hog()
    {
        if (handle_ != 0)
        {
            vsrHOGDeInit(handle_);
        }
    }
    Hog(const Hog&) = delete;
    Hog& operator=(const Hog&) = delete;

    py::array_t<uint16_t> extract(const py::array& src) const
    {
        if (!src.dtype().is(py::dtype::of<uint8_t>()))
        {
            throw py::type_error("HOG.extract: src has to be an array of uint8");
        }
        const py::ssize_t side = py::ssize_t{cellSize_} * blockCells_;
        constexpr py::ssize_t kMost = 65535;
        if (src.ndim() != 2 || std::min(src.shape(0), src.shape(1)) < side ||
            std::max(src.shape(0), src.shape(1)) > kMost)
        {
            throw py::value_error("HOG.extract: src has to have the shape (rows, columns), both from " +
                                  std::to_string(side) + " to 65535");
        }
        const py::array_t<uint8_t, py::array::c_style> packed(src);
        const auto blocks = [this](py::ssize_t pixels) { return (pixels / cellSize_ - blockCells_) / blockStep_ + 1; };
        py::array_t<uint16_t> features(
            {blocks(src.shape(0)), blocks(src.shape(1)), py::ssize_t{blockCells_} * blockCells_ * bins_});
        const uint8_t* first = packed.data();
        uint16_t* feature = features.mutable_data();
        vsrStatus status = 0;
        {
            const py::gil_scoped_release released;
            status = vsrExtractHOGu16(first, static_cast<uint32_t>(src.shape(1)), static_cast<uint32_t>(src.shape(0)),
                                      0, handle_, feature, 0);
        }
        refuse("HOG.extract", status, "refused");
        return features;
    }

  private:
    uint64_t handle_ = 0;
    uint32_t cellSize_, blockCells_, blockStep_, bins_;
};

}  // namespace

void defineHog(py::module_& module)
{
    using namespace py::literals;
    py::class_<Hog>(module, "HOG", "Blocks of histograms of oriented gradients, of blockCells x blockCells cells.")
        .def(py::init<uint32_t, uint32_t, uint32_t, uint32_t, bool>(), py::kw_only(), "cellSize"_a = 8,
             "blockCells"_a = 2, "blockStep"_a = 1, "bins"_a = 9, "isSigned"_a = false)
        .def("extract", &Hog::extract, "src"_a,
             "The features of an image, uint16 of shape (rows of blocks, blocks in a row, features of a block); 32768 "
             "is "
             "1.");
}

}  // namespace visora::python
