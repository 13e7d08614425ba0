/**
 * @file
 * One call from Python, step by step.
 */
#ifndef VISORA_PYTHON_CALL_H
#define VISORA_PYTHON_CALL_H

#include <array>
#include <span>
#include <vector>

#include "visoraArrays.h"
#include "visoraCaller.h"
#include "visoraCorrespondences.h"

namespace visora::python
{

/** One call from its arguments to its results. */
class Call
{
  public:
    explicit Call(const Function& function) : function_(function), parameters_(function.parameters) {}

    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    PyObject* run(PyObject* const* arguments, Py_ssize_t count, PyObject* keywords);

  private:
    const char* name(size_t i) const { return parameters_[i].name; }
    PyObject* argument(size_t i) const;
    int64_t evaluate(const Expression& expression) const;

    // ---- Arguments to parameters ----

    bool bind(PyObject* const* arguments, Py_ssize_t count, PyObject* keywords);
    bool takeNumbers();
    bool isBuffer(size_t i) const;
    bool takeBuffer(size_t i, PyObject* given);
    void infer(const Expression& expression, int64_t size);
    bool takeInputs();
    bool takeRecord(size_t i, PyObject* given);
    char* structure(const Record& record);
    bool takeOutputs();

    // ---- Sizes ----

    bool takeSizes();
    bool meetsRequirements() const;
    bool computeValues();
    bool fitBuffers();
    bool fitImage(const Parameter& parameter, Buffer& buffer);
    bool fitList(size_t i, Buffer& buffer);

    // ---- Values for the C function ----

    bool placeBuffers();
    bool shareStrides();
    bool isOf(size_t image, size_t stride) const;
    bool areApart() const;

    // ---- The call and its results ----

    bool perform();
    bool refuse(int64_t status) const;
    PyObject* result();
    bool isReturned(size_t i) const;
    PyObject* resultOf(size_t i);

    const Function& function_;
    const std::span<const Parameter> parameters_;
    std::array<PyObject*, kMaxParameters> arguments_{};
    std::array<Value, kMaxParameters> values_{};
    std::array<int64_t, kMaxParameters> entries_{};
    std::array<bool, kMaxParameters> known_{};
    std::array<bool, kMaxParameters> wanted_{};
    std::array<double, kMaxParameters> results_{};
    std::array<Buffer, kMaxParameters> buffers_;
    std::vector<std::vector<double>> structures_;
    Correspondences correspondences_;
};

}  // namespace visora::python

#endif
