#include "native/samples.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>

namespace kivsr::python {

namespace {

std::string text_of(const py::handle& object) { return py::str(object); }

// Strided, and not always aligned. Returns whether all values are finite floats.
template <class T>
bool convert(const char* source, std::ptrdiff_t stride, double scale, std::span<float> block) {
  bool finite = true;
  const auto factor = static_cast<std::conditional_t<std::is_same_v<T, double>, double, float>>(scale);
  for (std::size_t i = 0; i < block.size(); ++i) {
    T value;
    std::memcpy(&value, source + static_cast<std::ptrdiff_t>(i) * stride, sizeof value);
    block[i] = static_cast<float>(static_cast<decltype(factor)>(value) * factor);
    finite &= std::abs(block[i]) <= std::numeric_limits<float>::max();
  }
  return finite;
}

// The same without strides, which the compiler turns into vectors.
template <class T>
bool convert_packed(const char* source, double scale, std::span<float> block) {
  return convert<T>(source, sizeof(T), scale, block);
}

}  // namespace

py::array number_array(const py::handle& object, const std::string& name, bool any_integer) {
  py::array array = py::array::ensure(object);
  if (!array) {
    PyErr_Clear();
    throw py::type_error(name + ": not an array of numbers but " + text_of(py::type::handle_of(object)));
  }
  const py::dtype type = array.dtype();
  const bool native = type.attr("isnative").cast<bool>();
  const bool direct = (type.kind() == 'i' && type.itemsize() == 2) ||
                      (type.kind() == 'f' && (type.itemsize() == 4 || type.itemsize() == 8));
  if (direct) return native ? array : array.attr("astype")(type.attr("newbyteorder")("=")).cast<py::array>();
  const bool integer = type.kind() == 'i' || type.kind() == 'u';
  if (type.kind() == 'f' || (integer && any_integer)) return array.attr("astype")("float64").cast<py::array>();
  throw py::type_error(name + ": dtype " + text_of(type) + " is neither int16 nor float" +
                       (integer ? " (of other integers say what is full scale: scale=)" : ""));
}

Samples::Samples(const py::handle& object, std::string name, std::optional<double> scale)
    : array_(number_array(object, name, scale.has_value())), name_(std::move(name)) {
  if (array_.ndim() != 1) {
    throw py::value_error(name_ + ": one dimension is wanted, the shape is " + text_of(array_.attr("shape")));
  }
  if (scale && !std::isfinite(*scale)) throw py::value_error("scale: not a finite number");
  if (scale && *scale == 0.0) throw py::value_error("scale: 0");
  const py::dtype type = array_.dtype();
  type_ = type.kind() == 'i' ? SampleType::kInt16 : type.itemsize() == 4 ? SampleType::kFloat32 : SampleType::kFloat64;
  data_ = static_cast<const char*>(array_.data());
  stride_ = array_.strides(0);
  size_ = static_cast<std::size_t>(array_.shape(0));
  scale_ = scale.value_or(type_ == SampleType::kInt16 ? 1.0 : kFullScale);
}

const Samples& Samples::require_some() const {
  if (size_ == 0) throw py::value_error(name_ + ": no samples");
  return *this;
}

void Samples::require_finite() const {
  if (type_ != SampleType::kInt16) each_block([](std::span<const float>) {});
}

void Samples::read(std::size_t first, std::span<float> block) const {
  const char* const source = data_ + static_cast<std::ptrdiff_t>(first) * stride_;
  const auto with = [&]<class T>(T) {
    return stride_ == sizeof(T) ? convert_packed<T>(source, scale_, block) : convert<T>(source, stride_, scale_, block);
  };
  const bool finite = type_ == SampleType::kInt16     ? with(std::int16_t{})
                      : type_ == SampleType::kFloat32 ? with(float{})
                                                      : with(double{});
  if (finite) return;
  for (std::size_t i = 0; i < block.size(); ++i) {
    if (std::isfinite(block[i])) continue;
    throw std::invalid_argument(name_ + ": sample " + std::to_string(first + i) + " is not a finite number" +
                                (std::isinf(block[i]) ? " in units of a 16-bit integer" : ""));
  }
}

namespace {

py::array_t<float> owned(std::vector<float>&& values, std::vector<py::ssize_t> shape) {
  auto kept = std::make_unique<std::vector<float>>(std::move(values));
  float* const data = kept->data();
  const py::capsule owner(kept.get(), [](void* vector) { delete static_cast<std::vector<float>*>(vector); });
  kept.release();
  return py::array_t<float>(std::move(shape), data, owner);
}

}  // namespace

py::array_t<float> owned(std::vector<float>&& values) {
  const auto size = static_cast<py::ssize_t>(values.size());
  return owned(std::move(values), std::vector<py::ssize_t>{size});
}

py::array_t<float> owned(std::vector<float>&& values, int width) {
  const py::ssize_t height = width > 0 ? static_cast<py::ssize_t>(values.size()) / width : 0;
  return owned(std::move(values), std::vector<py::ssize_t>{height, width});
}

py::array like(SampleType type, double scale, std::vector<float>&& values) {
  const double factor = 1.0 / scale;
  if (type != SampleType::kInt16) {
    for (float& value : values) value = static_cast<float>(value * factor);
    return owned(std::move(values));
  }
  py::array_t<std::int16_t> result(static_cast<py::ssize_t>(values.size()));
  std::int16_t* const data = result.mutable_data();
  for (std::size_t i = 0; i < values.size(); ++i) {
    data[i] = static_cast<std::int16_t>(std::lrint(std::clamp(values[i] * factor, -32768.0, 32767.0)));
  }
  return result;
}

}  // namespace kivsr::python
