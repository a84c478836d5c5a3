// What each file of this folder adds to the module.
#pragma once

#include <pybind11/pybind11.h>

namespace kivsr::python {

void add_recipes(pybind11::module_& module);
void add_front_end(pybind11::module_& module);
void add_noise(pybind11::module_& module);
void add_files(pybind11::module_& module);
void add_mixtures(pybind11::module_& module);
void add_codebooks(pybind11::module_& module);
void add_recogniser(pybind11::module_& module);

}  // namespace kivsr::python
