// Split vector quantisation: codebooks trained from rows, rows to packed bits and back.
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/quantise/quantised_stream.h"
#include "kivsr/speech/quantise/split_codebook.h"
#include "native/bindings.h"
#include "native/rows.h"

// It holds objects that cannot be copied, which its own type does not show.
template <>
struct pybind11::detail::is_copy_constructible<kivsr::speech::SplitCodebook> : std::false_type {};

namespace kivsr::python {

namespace {

using speech::FeatureMatrix;
using speech::SplitCodebook;
using Bytes = py::array_t<std::uint8_t, py::array::c_style>;

std::vector<float> distance_weights(const py::object& weights, const FeatureMatrix& rows) {
  if (weights.is_none()) return std::vector<float>(static_cast<std::size_t>(rows.width), 1.0F);
  if (py::isinstance<py::str>(weights)) {
    if (weights.cast<std::string>() == "variance") return speech::inverse_variances(rows);
    throw py::value_error("weights: neither None, \"variance\" nor a number for each column");
  }
  const py::array given = number_array(weights, "weights", true);
  if (given.ndim() != 1 || given.shape(0) != rows.width) {
    throw py::value_error("weights: a number for each of the " + std::to_string(rows.width) + " columns is wanted");
  }
  std::vector<float> values = rows_of(given.attr("reshape")(1, -1), "weights").values;
  for (const float value : values) {
    if (value < 0.0F) throw py::value_error("weights: negative");
  }
  return values;
}

// The text names the command's option.
speech::Split split_of(const std::string& text, int width) {
  if (text.empty()) return speech::default_split(width);
  try {
    return speech::parse_split(text, width);
  } catch (const speech::Fault& fault) {
    const std::string what = fault.what();
    throw speech::Fault(what.starts_with("--") ? what.substr(2) : what);
  }
}

SplitCodebook train(const py::object& array, const std::string& split, const py::object& weights,
                    const std::string& rule, const speech::Recipe& recipe) {
  const FeatureMatrix rows = rows_of(array, "rows", recipe.width());
  const auto known = speech::find_codebook_rule(rule);
  if (!known) throw py::value_error("rule: '" + rule + "' is none of widest, largest, k-means");
  const std::vector<float> distance = distance_weights(weights, rows);
  const py::gil_scoped_release released;
  const speech::Split groups = split_of(split, rows.width);
  std::vector<speech::GroupCodebook> books;
  for (const speech::SplitGroup& group : groups) {
    books.push_back(speech::train_group(rows, group, distance, *known));
  }
  return {recipe, std::move(books)};
}

Bytes encode(const SplitCodebook& book, const py::object& array) {
  const FeatureMatrix rows = rows_of(array, "rows", book.width(), false);
  std::vector<std::uint8_t> bits;
  {
    const py::gil_scoped_release released;
    bits = book.encode(rows);
  }
  return Bytes(static_cast<py::ssize_t>(bits.size()), bits.data());
}

std::vector<std::uint8_t> bytes_of(const py::object& bits) {
  const py::array array = py::array::ensure(bits);
  if (!array || array.dtype().kind() != 'u' || array.itemsize() != 1 || array.ndim() != 1) {
    PyErr_Clear();
    throw py::type_error("bits: an array of bytes (uint8) of one dimension is wanted");
  }
  const Bytes packed = Bytes::ensure(array);
  return {packed.data(), packed.data() + packed.size()};
}

py::array_t<float> decode(const SplitCodebook& book, const py::object& array, int frames) {
  const std::vector<std::uint8_t> bits = bytes_of(array);
  if (frames < 0) throw py::value_error("frames: negative");
  if (SplitCodebook::encoded_bytes(frames, book.row_bits()) != static_cast<std::int64_t>(bits.size())) {
    throw py::value_error("bits: " + std::to_string(bits.size()) + " bytes, " + std::to_string(frames) +
                          " frames are " + std::to_string(SplitCodebook::encoded_bytes(frames, book.row_bits())));
  }
  FeatureMatrix rows;
  {
    const py::gil_scoped_release released;
    rows = book.decode(bits, frames, "bits");
  }
  rows.width = book.width();
  return rows_array(std::move(rows));
}

void write_stream(const SplitCodebook& book, const std::filesystem::path& file, const py::object& bits, int frames) {
  const speech::QuantisedStream stream{frames, bytes_of(bits)};
  if (SplitCodebook::encoded_bytes(frames, book.row_bits()) != static_cast<std::int64_t>(stream.bits.size())) {
    throw py::value_error("bits: not those of " + std::to_string(frames) + " frames");
  }
  const py::gil_scoped_release released;
  speech::OutputFile output(file);
  speech::write_quantised(output, stream, book);
  output.commit();
}

py::tuple read_stream(const SplitCodebook& book, const std::filesystem::path& file) {
  const speech::QuantisedStream stream = speech::read_quantised(file, book);
  return py::make_tuple(Bytes(static_cast<py::ssize_t>(stream.bits.size()), stream.bits.data()), stream.frames);
}

void write_book(const SplitCodebook& book, const std::filesystem::path& file) {
  const py::gil_scoped_release released;
  speech::OutputFile output(file);
  book.write(output);
  output.commit();
}

// (columns, codewords [count, columns]) of each group.
py::list groups(const SplitCodebook& book) {
  py::list result;
  for (const speech::GroupCodebook& group : book.groups()) {
    result.append(py::make_tuple(group.group.columns, owned(std::vector<float>(group.codewords), group.width())));
  }
  return result;
}

}  // namespace

void add_codebooks(py::module_& module) {
  module.def("train_codebook", train, py::arg("rows"), py::arg("split"), py::arg("weights"), py::arg("rule"),
             py::arg("recipe"));
  py::class_<SplitCodebook>(module, "Codebook")
      .def_static("read", SplitCodebook::read, py::arg("file"))
      .def("write", write_book, py::arg("file"))
      .def("encode", encode, py::arg("rows"))
      .def("decode", decode, py::arg("bits"), py::arg("frames"))
      .def("write_stream", write_stream, py::arg("file"), py::arg("bits"), py::arg("frames"))
      .def("read_stream", read_stream, py::arg("file"))
      .def_property_readonly("groups", groups)
      .def_property_readonly("recipe", &SplitCodebook::recipe)
      .def_property_readonly("width", &SplitCodebook::width)
      .def_property_readonly("row_bits", &SplitCodebook::row_bits)
      .def_property_readonly("bits_per_second", &SplitCodebook::bits_per_second);
}

}  // namespace kivsr::python
