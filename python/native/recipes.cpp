#include "native/recipes.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string_view>
#include <type_traits>
#include <vector>

#include <pybind11/stl.h>

#include "kivsr/speech/front/dependent_fields.h"
#include "kivsr/speech/front/presets.h"
#include "kivsr/speech/front/recipe_fields.h"
#include "kivsr/speech/io/fault.h"
#include "native/bindings.h"

namespace kivsr::python {

namespace py = pybind11;
using speech::Recipe;
using speech::RecipeField;

namespace {

std::string python_name(std::string_view name) {
  std::string text(name);
  std::replace(text.begin(), text.end(), '-', '_');
  return text;
}

std::string shown(const py::handle& value) { return py::repr(value); }

float number_of(const py::handle& value, const std::string& name) {
  const double number = PyFloat_AsDouble(value.ptr());
  if (PyErr_Occurred() != nullptr) {
    PyErr_Clear();
    throw py::type_error(name + ": " + shown(value) + " is not a number");
  }
  const auto single = static_cast<float>(number);
  if (!std::isfinite(single)) throw py::value_error(name + ": " + shown(value) + " is not a finite number");
  return single;
}

// Anything that is an index: Python's and NumPy's integers, not floats.
int integer_of(const py::handle& value, const std::string& name) {
  const auto index = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
  if (!index || PyBool_Check(value.ptr())) {
    PyErr_Clear();
    throw py::type_error(name + ": " + shown(value) + " is not a whole number");
  }
  int overflow = 0;
  const long number = PyLong_AsLongAndOverflow(index.ptr(), &overflow);
  if (overflow != 0 || number != static_cast<int>(number)) {
    throw py::value_error(name + ": " + shown(value) + " is out of range");
  }
  return static_cast<int>(number);
}

template <class Choice>
Choice choice_of(const py::handle& value, const std::string& name) {
  const auto names = names_of(Choice{});
  std::string known;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (py::isinstance<py::str>(value) && value.cast<std::string>() == names[i]) return static_cast<Choice>(i);
    known += (known.empty() ? "" : ", ") + std::string(names[i]);
  }
  throw py::value_error(name + ": " + shown(value) + " is none of " + known);
}

// None is "none" where the field knows it.
template <class Value>
void set_field(Value& field, const py::handle& value, const std::string& name) {
  if constexpr (std::is_same_v<Value, bool>) {
    const bool truth = PyBool_Check(value.ptr()) ||
                       std::string(py::str(py::type::handle_of(value).attr("__name__"))) == "bool_";  // of NumPy
    if (!truth) throw py::type_error(name + ": " + shown(value) + " is neither True nor False");
    field = PyObject_IsTrue(value.ptr()) == 1;
  } else if constexpr (std::is_same_v<Value, int>) {
    field = integer_of(value, name);
  } else if constexpr (std::is_same_v<Value, float>) {
    field = number_of(value, name);
  } else if constexpr (std::is_same_v<Value, std::optional<float>>) {
    field = value.is_none() ? Value{} : Value(number_of(value, name));
  } else if constexpr (std::is_same_v<Value, std::vector<float>>) {
    if (!py::isinstance<py::iterable>(value)) throw py::type_error(name + ": " + shown(value) + " is no sequence");
    field.clear();
    for (const py::handle& element : value) field.push_back(number_of(element, name));
  } else {
    field = choice_of<Value>(value.is_none() ? py::handle(py::str("none")) : value, name);
  }
}

template <class Value>
py::object field_object(const Value& value) {
  if constexpr (std::is_enum_v<Value>) {
    return py::str(field_text(value));
  } else {
    return py::cast(value);
  }
}

std::string options_text(const py::dict& options) {
  std::string text;
  for (const auto& [name, value] : options) {
    text += (text.empty() ? "" : ", ") + name.cast<std::string>() + "=" + shown(value);
  }
  return text;
}

void set_options(Recipe& recipe, const py::dict& options) {
  std::size_t used = 0;
  visit_fields(recipe, [&]<class Value>(const RecipeField& field, Value& value) {
    const std::string name = python_name(field.name);
    if (!options.contains(name.c_str())) return;
    set_field(value, options[name.c_str()], name);
    ++used;
  });
  if (used == options.size()) return;
  py::set known;
  visit_fields(recipe, [&](const RecipeField& field, auto&) { known.add(python_name(field.name)); });
  for (const auto& [name, value] : options) {
    if (!known.contains(name)) {
      throw py::type_error(name.cast<std::string>() + ": no field of a recipe (kivsr.Recipe.fields() lists them)");
    }
  }
}

// What the options say goes before what follows from it.
void fit(const Recipe& start, const py::dict& options, Recipe& recipe) {
  const auto given = [&](const std::string& field) { return options.contains(python_name(field).c_str()); };
  fit_dependent_fields(start, given, recipe);
}

void validate(const Recipe& recipe, const py::dict& options) {
  try {
    recipe.validate();
  } catch (const speech::Fault& fault) {
    const std::string given = options_text(options);
    if (given.empty()) throw;
    throw speech::Fault(given + ": " + fault.what());
  }
}

Recipe parse(const std::string& text) { return Recipe::parse(text, "recipe"); }

py::dict as_dict(const Recipe& recipe) {
  py::dict values;
  visit_fields(recipe, [&](const RecipeField& field, const auto& value) {
    values[python_name(field.name).c_str()] = field_object(value);
  });
  return values;
}

py::dict fields() {
  py::dict texts;
  visit_fields(static_cast<const Recipe&>(Recipe()), [&]<class Value>(const RecipeField& field, const Value&) {
    std::string text(field.help);
    if constexpr (std::is_enum_v<Value>) {
      std::string names;
      for (const auto& name : names_of(Value{})) names += (names.empty() ? ": " : ", ") + std::string(name);
      text += names;
    }
    texts[python_name(field.name).c_str()] = text;
  });
  return texts;
}

std::string representation(const Recipe& recipe) {
  const py::dict usual = as_dict(Recipe());
  std::string text;
  for (const auto& [name, value] : as_dict(recipe)) {
    if (value.equal(usual[name])) continue;
    text += (text.empty() ? "" : ", ") + name.cast<std::string>() + "=" + shown(value);
  }
  return "<kivsr.Recipe " + text + ">";
}

py::object field_of(const Recipe& recipe, const std::string& name) {
  py::object found;
  visit_fields(recipe, [&](const RecipeField& field, const auto& value) {
    if (python_name(field.name) == name) found = field_object(value);
  });
  if (!found) throw py::attribute_error("a recipe has no field '" + name + "'");
  return found;
}

}  // namespace

Recipe make_recipe(const std::string& preset, int sample_rate, const py::dict& options) {
  const auto of_toolkit = sample_rate > 0 ? speech::preset_at(preset, sample_rate) : std::nullopt;
  const Recipe start = of_toolkit ? *of_toolkit : speech::preset(preset, std::max(sample_rate, 0));
  Recipe recipe = start;
  if (sample_rate > 0) recipe.front_end.sample_rate = sample_rate;
  set_options(recipe, options);
  fit(start, options, recipe);
  validate(recipe, options);
  return recipe;
}

Recipe with_options(const Recipe& recipe, const py::dict& options) {
  Recipe changed = recipe;
  set_options(changed, options);
  fit(recipe, options, changed);
  validate(changed, options);
  return changed;
}

void add_recipes(py::module_& module) {
  module.def("preset_names", speech::preset_names);
  py::class_<Recipe>(module, "Recipe")
      .def_static("_make", make_recipe)
      .def_static("of_features", Recipe::of_features, py::arg("width"), "Rows of features that are there already.")
      .def_static("parse", parse, py::arg("text"), "The recipe of a text as `text` gives it.")
      .def_static("fields", fields, "What each field means, by its name.")
      .def("_with", with_options)
      .def("__getattr__", field_of)
      .def("as_dict", as_dict, "All fields and their values.")
      .def(
          "differences", [](const Recipe& a, const Recipe& b) { return speech::differences(a, b); }, py::arg("other"),
          "A line for each field in which they differ.")
      .def_property_readonly("text", &Recipe::text, "A line `name = value` for every field.")
      .def_property_readonly("width", &Recipe::width, "Values of a row as it comes out.")
      .def_property_readonly("columns", &Recipe::column_names, "Names of the values of a row.")
      .def_property_readonly("frame_seconds", &Recipe::frame_seconds, "Time from row to row.")
      .def_property_readonly("needs_whole_utterance", &Recipe::needs_whole_utterance,
                             "What waits for the end of an utterance; empty if nothing does.")
      .def(
          "__eq__", [](const Recipe& a, const Recipe& b) { return a == b; }, py::is_operator())
      .def("__hash__", [](const Recipe& recipe) { return py::hash(py::str(recipe.text())); })
      .def("__repr__", representation)
      .def(py::pickle([](const Recipe& recipe) { return recipe.text(); },
                      [](const std::string& text) { return parse(text); }));
}

}  // namespace kivsr::python
