// Features: whole arrays, streams, many arrays on threads.
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <pybind11/stl.h>

#include "kivsr/speech/front/feature_chain.h"
#include "kivsr/speech/io/batch.h"
#include "native/bindings.h"
#include "native/recipes.h"
#include "native/rows.h"

namespace kivsr::python {

namespace {

using speech::FeatureChain;
using speech::FeatureMatrix;
using speech::Recipe;

void reserve_rows(const Recipe& recipe, std::size_t samples, FeatureMatrix& rows) {
  const std::size_t frames = samples / static_cast<std::size_t>(recipe.front_end.shift) + 2;
  rows.values.reserve(rows.values.size() + frames * static_cast<std::size_t>(recipe.width()));
}

// All rows of the samples, in a chain that stands at the start of an utterance.
FeatureMatrix run(FeatureChain& chain, const Samples& samples) {
  FeatureMatrix rows;
  reserve_rows(chain.recipe(), samples.size(), rows);
  samples.each_block([&](std::span<const float> block) { chain.push(block, rows); });
  chain.finish(rows);
  return rows;
}

// A chain that threads may share: calls come one after the other.
class SharedChain {
 public:
  SharedChain(const Recipe& recipe, std::optional<double> scale) : recipe_(recipe), scale_(scale) {
    chain_.emplace(recipe);
  }

  const Recipe& recipe() const { return recipe_; }
  std::optional<double> scale() const { return scale_; }

  py::array_t<float> push(const py::object& block) {
    const Samples samples(block, "block", scale_);
    return locked([&](FeatureMatrix& rows) {
      reserve_rows(recipe_, samples.size(), rows);
      samples.each_checked_block([&](std::span<const float> part) {
        begun_ = true;
        chain_->push(part, rows);
      });
    });
  }
  py::array_t<float> push_rows(const py::object& block) {
    const FeatureMatrix input = rows_of(block, "rows", recipe_.file_width(), false);
    return locked([&](FeatureMatrix& rows) {
      begun_ = true;
      chain_->push_rows(input, rows);
    });
  }
  py::array_t<float> finish() {
    return locked([&](FeatureMatrix& rows) {
      chain_->finish(rows);
      begun_ = false;
    });
  }
  py::array_t<float> whole(const py::object& y) {
    const Samples samples(y, "y", scale_);
    samples.require_some();
    return locked([&](FeatureMatrix& rows) {
      require_start();
      begun_ = true;
      rows = run(*chain_, samples);
      begun_ = false;
    });
  }
  py::array_t<float> whole_rows(const py::object& block) {
    const FeatureMatrix input = rows_of(block, "rows", recipe_.file_width());
    return locked([&](FeatureMatrix& rows) {
      require_start();
      rows = chain_->run_rows(input);
    });
  }
  // What was pushed since the last finish counts no more.
  void reset() {
    const py::gil_scoped_release released;
    const std::lock_guard lock(mutex_);
    start_again();
  }

 private:
  // act(rows) without the interpreter, the chain to itself; a fault leaves it at the start of an utterance unless
  // nothing was pushed.
  template <class Act>
  py::array_t<float> locked(Act&& act) {
    FeatureMatrix rows;
    rows.width = recipe_.width();
    {
      const py::gil_scoped_release released;
      const std::lock_guard lock(mutex_);
      pushed_before_ = begun_;
      try {
        act(rows);
      } catch (const std::invalid_argument&) {
        if (begun_ != pushed_before_) start_again();
        throw;
      } catch (...) {
        start_again();
        throw;
      }
    }
    rows.width = recipe_.width();
    return rows_array(std::move(rows));
  }
  void require_start() const {
    if (begun_) throw std::invalid_argument("y: an utterance has begun with push(), finish() or reset() ends it");
  }
  void start_again() {
    chain_.emplace(recipe_);
    begun_ = false;
  }

  Recipe recipe_;
  std::optional<double> scale_;
  std::optional<FeatureChain> chain_;
  std::mutex mutex_;
  bool begun_ = false;  // something was pushed since the last finish
  bool pushed_before_ = false;
};

py::array_t<float> features(const py::object& y, const Recipe& recipe, std::optional<double> scale) {
  const Samples samples(y, "y", scale);
  samples.require_some();
  FeatureMatrix rows;
  {
    const py::gil_scoped_release released;
    FeatureChain chain(recipe);
    rows = run(chain, samples);
  }
  rows.width = recipe.width();
  return rows_array(std::move(rows));
}

py::list features_batch(const py::sequence& batch, const Recipe& recipe, std::optional<double> scale, int jobs) {
  std::vector<Samples> all;
  for (std::size_t i = 0; i < batch.size(); ++i) {
    all.emplace_back(py::object(batch[i]), "y[" + std::to_string(i) + "]", scale).require_some();
  }
  if (jobs < 0) throw py::value_error("jobs: not negative, 0 for one a processor");
  const std::size_t threads = speech::batch_threads(jobs, all.size());
  std::vector<FeatureMatrix> rows(all.size());
  {
    const py::gil_scoped_release released;
    std::vector<std::optional<FeatureChain>> chains(threads);
    speech::run_batch(all.size(), threads, [&](std::size_t worker, std::size_t item) {
      if (!chains[worker]) chains[worker].emplace(recipe);
      rows[item] = run(*chains[worker], all[item]);
    });
  }
  py::list results;
  for (FeatureMatrix& matrix : rows) {
    matrix.width = recipe.width();
    results.append(rows_array(std::move(matrix)));
  }
  return results;
}

}  // namespace

void add_front_end(py::module_& module) {
  module.def("features", features, py::arg("y"), py::arg("recipe"), py::arg("scale"));
  module.def("features_batch", features_batch, py::arg("y"), py::arg("recipe"), py::arg("scale"), py::arg("jobs"));
  py::class_<SharedChain>(module, "FrontEnd")
      .def(py::init<const Recipe&, std::optional<double>>(), py::arg("recipe"), py::arg("scale"))
      .def_property_readonly("recipe", &SharedChain::recipe)
      .def_property_readonly("scale", &SharedChain::scale)
      .def("push", &SharedChain::push, py::arg("block"))
      .def("push_rows", &SharedChain::push_rows, py::arg("rows"))
      .def("finish", &SharedChain::finish)
      .def("whole", &SharedChain::whole, py::arg("y"))
      .def("whole_rows", &SharedChain::whole_rows, py::arg("rows"))
      .def("reset", &SharedChain::reset);
}

}  // namespace kivsr::python
