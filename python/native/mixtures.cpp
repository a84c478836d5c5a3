// Mixtures of diagonal Gaussians: trained from rows, scored, kept in files.
#include <cmath>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/models/word_model_file.h"
#include "kivsr/speech/train/mixture_evaluator.h"
#include "kivsr/speech/train/start_model.h"
#include "kivsr/speech/train/trainer.h"
#include "native/bindings.h"
#include "native/rows.h"

namespace kivsr::python {

namespace {

using speech::FeatureMatrix;
using speech::MixtureState;
using speech::WordModel;

// A model of one unit of one state, which does not change: threads may score with it at once.
class Mixture {
 public:
  explicit Mixture(WordModel model) : model_(std::move(model)), evaluator_(model_) {}
  Mixture(const Mixture&) = delete;

  const WordModel& model() const { return model_; }
  const MixtureState& state() const { return model_.states.front(); }
  int width() const { return model_.dimension(); }
  speech::MixtureLikelihoods evaluate(const FeatureMatrix& rows) const {
    return evaluator_.evaluate(0, rows, 0, rows.height());
  }

 private:
  WordModel model_;
  speech::MixtureEvaluator evaluator_;
};

py::array_t<double> score_samples(const Mixture& mixture, const py::object& array) {
  const FeatureMatrix rows = rows_of(array, "rows", mixture.width());
  speech::MixtureLikelihoods likelihoods;
  {
    const py::gil_scoped_release released;
    likelihoods = mixture.evaluate(rows);
  }
  return py::array_t<double>(static_cast<py::ssize_t>(likelihoods.mixture.size()), likelihoods.mixture.data());
}

// [frames, components]
py::array_t<double> shares(const Mixture& mixture, const py::object& array) {
  const FeatureMatrix rows = rows_of(array, "rows", mixture.width());
  speech::MixtureLikelihoods likelihoods;
  {
    const py::gil_scoped_release released;
    likelihoods = mixture.evaluate(rows);
    likelihoods.to_shares();
  }
  const py::ssize_t components = mixture.state().components();
  const py::array_t<double> by_component({components, py::ssize_t{rows.height()}}, likelihoods.components.data());
  return by_component.attr("T").attr("copy")().cast<py::array_t<double>>();
}

py::array_t<float> matrix_of(const std::vector<float>& values, int width) {
  return owned(std::vector<float>(values), width);
}

WordModel plain_model(const speech::Recipe& recipe, const speech::TrainingSettings& settings) {
  return speech::model_shape(recipe, {}, true, settings, nullptr);
}

std::unique_ptr<Mixture> train(const py::sequence& batch, const speech::Recipe& recipe,
                               const speech::TrainingSettings& settings, std::vector<double>& history) {
  std::vector<FeatureMatrix> matrices;
  for (std::size_t i = 0; i < batch.size(); ++i) {
    const std::string name = batch.size() == 1 ? "rows" : "rows[" + std::to_string(i) + "]";
    matrices.push_back(rows_of(py::object(batch[i]), name, recipe.width()));
  }
  const py::gil_scoped_release released;
  settings.validate();
  speech::TrainingUtterances utterances;
  for (const FeatureMatrix& matrix : matrices) {
    utterances.add("rows", {});
    utterances.append(matrix);
  }
  matrices.clear();
  WordModel model = plain_model(recipe, settings);
  speech::start_model(model, utterances, settings, nullptr);
  for (int pass = 0; pass < settings.passes(); ++pass) {
    speech::prepare_pass(model, settings, pass);
    const speech::Statistics sums = speech::collect(model, utterances, settings);
    history.push_back(sums.log_likelihood / sums.frames);
    speech::finish_pass(model, sums, settings, pass);
  }
  speech::store_settings(settings, settings.passes(), model.training);
  return std::make_unique<Mixture>(std::move(model));
}

py::tuple train_mixture(const py::sequence& batch, const speech::Recipe& recipe,
                        const speech::TrainingSettings& settings) {
  std::vector<double> history;
  auto mixture = train(batch, recipe, settings, history);
  return py::make_tuple(std::move(mixture), history);
}

// weights [components], means and variances [components, width].
std::unique_ptr<Mixture> mixture_of(const py::object& weights, const py::object& means, const py::object& variances) {
  const FeatureMatrix m = rows_of(means, "means");
  const FeatureMatrix v = rows_of(variances, "variances", m.width);
  const FeatureMatrix w = rows_of(weights.attr("reshape")(-1, 1), "weights", 1);
  if (v.height() != m.height()) throw py::value_error("variances: not of the shape of the means");
  if (w.height() != m.height()) throw py::value_error("weights: not one for each row of the means");
  double sum = 0.0;
  for (const float weight : w.values) {
    if (!(weight >= 0.0F)) throw py::value_error("weights: negative");
    sum += weight;
  }
  if (std::abs(sum - 1.0) > 1e-3) throw py::value_error("weights: their sum is not 1");
  for (const float variance : v.values) {
    if (!(variance > 0.0F)) throw py::value_error("variances: not above 0");
  }
  WordModel model = plain_model(speech::Recipe::of_features(m.width), {});
  MixtureState& state = model.states.front();
  state.weights = w.values;
  state.means = m.values;
  state.variances = v.values;
  model.variance_floor.assign(static_cast<std::size_t>(m.width), 0.0F);
  return std::make_unique<Mixture>(std::move(model));
}

std::unique_ptr<Mixture> read_mixture(const std::filesystem::path& file) {
  WordModel model = speech::read_word_model(file);
  if (!model.plain_mixture) throw speech::Fault(file.string() + ": is a model of words, not a mixture");
  return std::make_unique<Mixture>(std::move(model));
}

void set_settings(speech::TrainingSettings& settings, const py::dict& options) {
  speech::visit_settings(settings, [&]<class Value>(const char* name, Value& member) {
    std::string key(name);
    for (char& character : key) character = character == '-' ? '_' : character;
    if (!options.contains(key.c_str())) return;
    try {
      member = options[key.c_str()].template cast<Value>();
    } catch (const py::cast_error&) {
      throw py::type_error(key + ": " + std::string(py::repr(options[key.c_str()])) + " is of a wrong type");
    }
  });
}

}  // namespace

void add_mixtures(py::module_& module) {
  py::class_<speech::TrainingSettings>(module, "TrainingSettings").def(py::init([](const py::dict& options) {
    speech::TrainingSettings settings;
    set_settings(settings, options);
    return settings;
  }));
  module.def("train_mixture", train_mixture, py::arg("rows"), py::arg("recipe"), py::arg("settings"));
  py::class_<Mixture>(module, "Mixture")
      .def(py::init(&mixture_of), py::arg("weights"), py::arg("means"), py::arg("variances"))
      .def_static("read", read_mixture, py::arg("file"))
      .def(
          "write",
          [](const Mixture& mixture, const std::filesystem::path& file) {
            speech::write_word_model(file, mixture.model());
          },
          py::arg("file"))
      .def("score_samples", score_samples, py::arg("rows"))
      .def("shares", shares, py::arg("rows"))
      .def_property_readonly("recipe", [](const Mixture& mixture) { return mixture.model().recipe; })
      .def_property_readonly("width", &Mixture::width)
      .def_property_readonly("weights",
                             [](const Mixture& mixture) { return owned(std::vector<float>(mixture.state().weights)); })
      .def_property_readonly("means",
                             [](const Mixture& mixture) { return matrix_of(mixture.state().means, mixture.width()); })
      .def_property_readonly(
          "variances", [](const Mixture& mixture) { return matrix_of(mixture.state().variances, mixture.width()); });
}

}  // namespace kivsr::python
