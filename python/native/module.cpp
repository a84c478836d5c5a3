// The native half of the package kivsr: the speech library and the C library linked into one extension, once for each
// set of instructions. What users call is in ../src/kivsr/*.py; __init__.py chooses the build.
#include <exception>
#include <string>

#include <pybind11/pybind11.h>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/fault.h"
#include "native/bindings.h"

namespace py = pybind11;

namespace {

// Classes of the package, which pickle finds there.
py::object make_exception(py::module_& module, const char* name, PyObject* base, const char* text) {
  const py::exception<void> exception(module, name, base);
  exception.attr("__module__") = "kivsr";
  exception.attr("__doc__") = text;
  return exception;
}

PyObject* fault_class = nullptr;  // alive as long as the module, which is never unloaded
PyObject* status_class = nullptr;

// An exception with the status as an attribute.
py::object status_error(const std::string& function, int status) {
  const std::string text = kivsr::Error(static_cast<KivStatus>(status), function).what();
  py::object error = py::reinterpret_borrow<py::object>(status_class)(text);
  error.attr("status") = status;
  error.attr("function") = function;
  return error;
}

void translate(std::exception_ptr thrown) {
  try {
    if (thrown) std::rethrow_exception(thrown);
  } catch (const kivsr::speech::Fault& fault) {
    PyErr_SetString(fault_class, fault.what());
  } catch (const kivsr::Error& error) {
    PyErr_SetObject(status_class, status_error(error.function(), error.status()).ptr());
  }
}

}  // namespace

PYBIND11_MODULE(_native, module) {
  fault_class = make_exception(module, "Fault", PyExc_ValueError,
                               "A file or a setting that cannot be used; the text says which and why.")
                    .release()
                    .ptr();
  status_class = make_exception(module, "StatusError", PyExc_RuntimeError,
                                "The C library refused a call, or there was no memory: `status` and `function`.")
                     .release()
                     .ptr();
  py::register_local_exception_translator(translate);
  module.def("status_error", status_error, py::arg("function"), py::arg("status"));
  kivsr::python::add_recipes(module);
  kivsr::python::add_front_end(module);
  kivsr::python::add_noise(module);
  kivsr::python::add_files(module);
  kivsr::python::add_mixtures(module);
  kivsr::python::add_codebooks(module);
  kivsr::python::add_recogniser(module);
}
