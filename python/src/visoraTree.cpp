// The tree of vectors, which is an object in Python: it is built once, searched often, by several threads at a time.
#include <pybind11/numpy.h>
#include <visora/cluster.h>

#include <memory>
#include <string>

#include "visoraCaller.h"
#include "visoraHandles.h"

namespace py = pybind11;

namespace visora::python
{

namespace
{

using Vectors = py::array_t<float, py::array::c_style>;

struct Release
{
    void operator()(vsrKDTree* tree) const { vsrKDTreeReleasef32(tree); }
};

void check(const char* function, const char* name, const py::array& vectors)
{
    const std::string start = std::string(function) + ": " + name;
    if (!vectors.dtype().is(py::dtype::of<float>()))
    {
        throw py::type_error(start + " has to be an array of float32");
    }
    constexpr py::ssize_t kMost = 0x3fffffff;
    if (vectors.ndim() != 2 || vectors.shape(1) == 0 || vectors.shape(0) > kMost || vectors.shape(1) > kMost)
    {
        throw py::value_error(start + " has to have the shape (vectors, elements)");
    }
}

class KDTree
{
  public:
    explicit KDTree(const py::array& src)
    {
        check("KDTree", "src", src);
        const Vectors vectors(src);
        length_ = vectors.shape(1);
        vsrKDTree* tree = nullptr;
        chooseModeOnce();
        refuse("KDTree",
               vsrKDTreeBuildf32(vectors.data(), static_cast<uint32_t>(length_),
                                 static_cast<uint32_t>(vectors.shape(0)), 0, &tree),
               "elements have to be finite and up to 2^60");
        tree_.reset(tree);
    }

    py::tuple search(const py::array& queries, uint32_t k, uint32_t maxLeaves) const
    {
        check("KDTree.search", "queries", queries);
        if (queries.shape(1) != length_)
        {
            throw py::value_error("KDTree.search: queries have to have " + std::to_string(length_) + " elements");
        }
        if (k == 0 || k > 0xffff)
        {
            throw py::value_error("KDTree.search: k has to be from 1 to 65535");
        }
        const Vectors vectors(queries);
        const auto count = vectors.shape(0);
        py::array_t<uint32_t> indices({count, static_cast<py::ssize_t>(k)});
        py::array_t<float> distances({count, static_cast<py::ssize_t>(k)});
        const float* first = vectors.data();
        uint32_t* index = indices.mutable_data();
        float* distance = distances.mutable_data();
        vsrStatus status = 0;
        {
            const py::gil_scoped_release released;
            status =
                vsrKDTreeSearchf32(tree_.get(), first, static_cast<uint32_t>(count), 0, k, maxLeaves, index, distance);
        }
        refuse("KDTree.search", status, "refused");
        return py::make_tuple(indices, distances);
    }

  private:
    std::unique_ptr<vsrKDTree, Release> tree_;
    py::ssize_t length_ = 0;
};

}  // namespace

void defineTree(py::module_& module)
{
    using namespace py::literals;
    py::class_<KDTree>(module, "KDTree", "A set of float32 vectors, an array of shape (vectors, elements), in a tree.")
        .def(py::init<const py::array&>(), "src"_a)
        .def(
            "search", &KDTree::search, "queries"_a, "k"_a = 1, "maxLeaves"_a = 0,
            "The k nearest vectors to each query: indices and squared distances, both of shape (queries, k), nearest "
            "first.\n"
            "Missing ones are 0xffffffff and infinity. maxLeaves: how many leaves to look at, 0 for the exact result.");
}

}  // namespace visora::python
