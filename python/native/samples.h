// NumPy arrays of samples as the speech library wants them: float, in units of a 16-bit integer, block by block. An
// array is read where it lies, whatever its type and strides: what is copied is a block at a time.
// Next: rows.h, matrices.
#pragma once

#include <algorithm>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

namespace kivsr::python {

namespace py = pybind11;

enum class SampleType { kInt16, kFloat32, kFloat64 };

inline constexpr double kFullScale = 32768.0;  // floats of -1 .. 1 become 16-bit integers

// A view; the array lives as long as it does. Reading needs no interpreter.
class Samples {
 public:
  static constexpr std::size_t kBlock = 4096;

  // Throws TypeError and ValueError that begin with the name: not an array of one dimension of int16 or floats.
  // scale: factor to units of a 16-bit integer; none: 1 for integers, 32768 for floats. Integers of other types need
  // one.
  Samples(const py::handle& array, std::string name, std::optional<double> scale = {});

  std::size_t size() const { return size_; }
  SampleType type() const { return type_; }
  double scale() const { return scale_; }
  // ValueError unless there are samples.
  const Samples& require_some() const;
  // Throws std::invalid_argument, which Python sees as ValueError, at a sample that is not finite.
  void require_finite() const;
  // take(block) for one block after the other, each of finite values.
  // A fault comes before the first block is taken.
  template <class Take>
  void each_checked_block(Take&& take) const {
    if (size_ > kBlock) require_finite();
    each_block(take);
  }
  template <class Take>
  void each_block(Take&& take) const {
    std::vector<float> block(std::min(kBlock, size_));
    for (std::size_t first = 0; first < size_; first += kBlock) {
      const std::span<float> part = std::span(block).first(std::min(kBlock, size_ - first));
      read(first, part);
      take(std::span<const float>(part));
    }
  }

 private:
  void read(std::size_t first, std::span<float> block) const;

  py::array array_;
  std::string name_;
  const char* data_ = nullptr;
  std::ptrdiff_t stride_ = 0;  // bytes
  std::size_t size_ = 0;
  SampleType type_ = SampleType::kFloat32;
  double scale_ = 1.0;
};

// An array of numbers whose bytes are in the machine's order and of int16, float32 or float64: the array itself where
// it is one. any_integer: integers of other types become float64.
py::array number_array(const py::handle& object, const std::string& name, bool any_integer);

// An array that owns the values of the vector, which are not copied. The second form has rows of that width.
py::array_t<float> owned(std::vector<float>&& values);
py::array_t<float> owned(std::vector<float>&& values, int width);

// Results in the type and the unit of the samples that they were made from: int16, rounded and clipped, or float32.
py::array like(SampleType type, double scale, std::vector<float>&& values);

}  // namespace kivsr::python
