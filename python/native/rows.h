// Matrices of features, [frames, width], to and from NumPy.
#pragma once

#include <string>

#include <pybind11/numpy.h>

#include "kivsr/speech/io/feature_matrix.h"
#include "native/samples.h"

namespace kivsr::python {

// An array that owns the rows.
inline py::array_t<float> rows_array(speech::FeatureMatrix&& rows) { return owned(std::move(rows.values), rows.width); }

// A copy of an array of two dimensions of floats, or integers, of any strides, with a row at least where some are
// wanted. Throws TypeError and ValueError that begin with the name, also for a value that is not finite. width: of
// which the rows must be; 0: any.
speech::FeatureMatrix rows_of(const py::handle& array, const std::string& name, int width = 0, bool some = true);

}  // namespace kivsr::python
