// The native half of the package kivsr: the speech library and the C library linked into one extension, once for each
// set of instructions. What users call is in ../kivsr/*.py; __init__.py chooses the build.
#include <pybind11/pybind11.h>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/fault.h"
#include "native/bindings.h"

namespace py = pybind11;

namespace {

// Seen, and pickled, as classes of the package.
template <class Exception>
void add_exception(py::module_& module, const char* name, PyObject* base, const char* text) {
  auto& exception = py::register_local_exception<Exception>(module, name, base);
  exception.attr("__module__") = "kivsr";
  exception.attr("__doc__") = text;
}

}  // namespace

PYBIND11_MODULE(_native, module) {
  add_exception<kivsr::speech::Fault>(module, "Fault", PyExc_ValueError,
                                      "A file or a setting that cannot be used; the text says which and why.");
  add_exception<kivsr::Error>(module, "StatusError", PyExc_RuntimeError,
                              "A function of the C library refused a call, or there was no memory.");
  kivsr::python::add_recipes(module);
  kivsr::python::add_front_end(module);
  kivsr::python::add_noise(module);
  kivsr::python::add_files(module);
  kivsr::python::add_mixtures(module);
  kivsr::python::add_codebooks(module);
  // kivsr::python::add_recogniser(module);
}
