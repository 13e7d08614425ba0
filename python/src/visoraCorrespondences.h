/**
 * @file
 * Correspondences of points from Python: (from, to) or (from, to, indices).
 */
#ifndef VISORA_PYTHON_CORRESPONDENCES_H
#define VISORA_PYTHON_CORRESPONDENCES_H

#include <visora/geom.h>

#include <vector>

#include "visoraArrays.h"

namespace visora::python
{

class Correspondences
{
  public:
    Correspondences() = default;
    Correspondences(const Correspondences&) = delete;
    Correspondences& operator=(const Correspondences&) = delete;
    ~Correspondences();

    /** @return false with an exception */
    bool take(const char* function, const char* name, PyObject* argument);

    vsrCorrespondences* record() { return &record_; }

  private:
    bool takePoints(const char* function, const char* name, const char* part, PyObject* points, const float*& first,
                    uint32_t& stride, npy_intp& count);

    PyArrayObject* arrays_[3] = {};
    std::vector<uint16_t> all_;
    vsrCorrespondences record_ = {};
};

}  // namespace visora::python

#endif
