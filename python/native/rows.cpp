#include "native/rows.h"

#include <climits>
#include <cmath>

namespace kivsr::python {

speech::FeatureMatrix rows_of(const py::handle& object, const std::string& name, int width, bool some) {
  const py::array array = number_array(object, name, true);
  const auto shape = [&] { return std::string(py::str(array.attr("shape"))); };
  if (array.ndim() != 2) throw py::value_error(name + ": rows are wanted, [frames, width], the shape is " + shape());
  if (array.shape(1) < 1 || array.shape(0) > INT_MAX || array.shape(1) > INT_MAX) {
    throw py::value_error(name + ": the shape is " + shape());
  }
  if (some && array.shape(0) == 0) throw py::value_error(name + ": no rows");
  if (width > 0 && array.shape(1) != width) {
    throw py::value_error(name + ": rows of " + std::to_string(width) + " values are wanted, the shape is " + shape());
  }
  const auto packed = py::array_t<float, py::array::c_style | py::array::forcecast>::ensure(array);
  if (!packed) throw py::error_already_set();
  speech::FeatureMatrix rows;
  rows.width = static_cast<int>(array.shape(1));
  rows.values.assign(packed.data(), packed.data() + packed.size());
  for (std::size_t i = 0; i < rows.values.size(); ++i) {
    if (std::isfinite(rows.values[i])) continue;
    const auto columns = static_cast<std::size_t>(rows.width);
    throw py::value_error(name + ": the value at [" + std::to_string(i / columns) + ", " + std::to_string(i % columns) +
                          "] is not a finite number");
  }
  return rows;
}

}  // namespace kivsr::python
