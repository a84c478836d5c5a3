// Speech to words, whole or as it comes.
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include "kivsr/speech/decode/mixture_scorer.h"
#include "kivsr/speech/decode/ngram_language.h"
#include "kivsr/speech/decode/search_network.h"
#include "kivsr/speech/decode/streaming_recogniser.h"
#include "kivsr/speech/decode/viterbi_search.h"
#include "kivsr/speech/front/feature_chain.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/models/ngram_mixture.h"
#include "kivsr/speech/models/packed_ngram_file.h"
#include "kivsr/speech/models/word_acoustic_model.h"
#include "kivsr/speech/models/word_classes.h"
#include "kivsr/speech/models/word_model_file.h"
#include "native/bindings.h"
#include "native/rows.h"

namespace kivsr::python {

namespace {

using std::filesystem::path;

// What may be said: words in any order, a grammar, or an n-gram model; all empty: the words of a word model.
struct Language {
  std::optional<std::vector<std::string>> words;
  std::string grammar;  // its text
  std::string rule;
  std::string ngram;
  std::string mixed_ngram;  // whose probabilities are added
  double ngram_share = 0.5;
  std::string classes;  // of words of the n-gram model

  speech::NgramMixture ngram_model() const {
    speech::NgramModel model = speech::read_ngram_model(ngram);
    if (mixed_ngram.empty()) return model;
    return {std::move(model), speech::read_ngram_model(mixed_ngram), ngram_share};
  }
  speech::WordClasses word_classes() const {
    return classes.empty() ? speech::WordClasses() : speech::WordClasses::read(classes);
  }
  bool given() const { return words.has_value() || !grammar.empty(); }
  speech::WordNetwork network() const {
    return words ? speech::word_loop(*words, "words")
                 : speech::grammar_network(speech::parse_grammar(grammar, "grammar"), rule);
  }
};

path dictionary_path(const std::string& given, const path& model) {
  const path file = given.empty() ? speech::find_model_dictionary(model) : path(given);
  if (file.empty()) throw speech::Fault("dictionary: the model " + model.string() + " has none beside it");
  return file;
}

// Beams that were asked for; the others follow from the model.
struct GivenBeams {
  std::optional<float> state;
  std::optional<float> phone;
  std::optional<float> word;

  speech::Beams of(const speech::AcousticModel& model) const {
    speech::Beams beams = speech::default_beams(model);
    beams.state = state.value_or(beams.state);
    beams.phone = phone.value_or(beams.phone);
    beams.word = word.value_or(beams.word);
    return beams;
  }
};

// A model and what may be said. They refer to each other: they stay where they are.
class Task {
 public:
  Task(const std::string& model, const Language& language, const std::string& dictionary,
       const speech::SearchWeights& weights) {
    if (speech::is_word_model_file(model)) {
      open_words(model, language, dictionary, weights);
    } else {
      open_phones(model, language, dictionary, weights);
    }
  }
  Task(const Task&) = delete;

  const speech::AcousticModel& model() const { return *model_; }
  const speech::SearchNetwork& network() const { return network_; }

  // (word, start, end, filler); start: of frame 0
  py::list words_list(const std::vector<speech::HypothesisWord>& words, double start = 0.0) const {
    const double seconds = model_->recipe.frame_seconds();
    py::list list;
    for (const speech::HypothesisWord& word : words) {
      const speech::SearchLabel& label = network_.labels[static_cast<std::size_t>(word.label)];
      list.append(py::make_tuple(label.word, start + word.first_frame * seconds,
                                 start + (word.last_frame + 1) * seconds, label.filler));
    }
    return list;
  }
  py::tuple result(const speech::Hypothesis& hypothesis, double start = 0.0) const {
    return py::make_tuple(words_list(hypothesis.words, start), hypothesis.score, hypothesis.complete);
  }

 private:
  void open_words(const std::string& file, const Language& language, const std::string& dictionary,
                  const speech::SearchWeights& weights) {
    if (!language.ngram.empty()) throw speech::Fault("ngram: is for models of phones, " + file + " is one of words");
    speech::WordRecogniser words = speech::word_recogniser(speech::read_word_model(file), file);
    const speech::WordNetwork allowed = language.given() ? language.network() : speech::word_loop(words.words, file);
    model_ = std::make_unique<speech::AcousticModel>(std::move(words.acoustic));
    const auto vocabulary = allowed.vocabulary();
    const speech::Dictionary pronunciations =
        dictionary.empty() ? std::move(words.dictionary) : speech::Dictionary::read(dictionary, &vocabulary);
    network_ = speech::build_search_network(allowed, pronunciations, *model_, weights);
  }
  void open_phones(const std::string& name, const Language& language, const std::string& dictionary,
                   const speech::SearchWeights& weights) {
    if (language.given() != language.ngram.empty()) {
      throw speech::Fault("recognise: one of words, grammar and ngram is wanted for a model of phones");
    }
    model_ = std::make_unique<speech::AcousticModel>(speech::read_acoustic_model(speech::find_model_folder(name)));
    const path pronunciations = dictionary_path(dictionary, model_->folder);
    if (language.given()) {
      const speech::WordNetwork allowed = language.network();
      const auto vocabulary = allowed.vocabulary();
      network_ = speech::build_search_network(allowed, speech::Dictionary::read(pronunciations, &vocabulary), *model_,
                                              weights);
      return;
    }
    std::vector<std::string> unknown;
    network_ = speech::build_ngram_network(language.ngram_model(), language.word_classes(), pronunciations, *model_,
                                           weights, unknown);
  }

  std::unique_ptr<speech::AcousticModel> model_;
  speech::SearchNetwork network_;
};

// One utterance after the other.
class Recogniser {
 public:
  Recogniser(const std::string& model, const Language& language, const std::string& dictionary,
             const speech::SearchWeights& weights, const GivenBeams& beams, std::optional<double> scale)
      : scale_(scale) {
    const py::gil_scoped_release released;
    task_.emplace(model, language, dictionary, weights);
    scorer_ = speech::make_mixture_scorer(task_->model(), {});
    beams_ = beams.of(task_->model());
    start_again();
  }
  Recogniser(const Recogniser&) = delete;

  const speech::Recipe& recipe() const { return task_->model().recipe; }

  // Words that no more sound can change.
  py::list push(const py::object& block) {
    const Samples samples(block, "block", scale_);
    std::vector<speech::HypothesisWord> words;
    run([&] {
      begun_ = true;
      samples.each_checked_block([&](std::span<const float> part) { chain_->push(part, follow()); });
      words = search_->take_settled();
    });
    return task_->words_list(words);
  }
  py::tuple finish() {
    speech::Hypothesis hypothesis;
    run([&] { hypothesis = end(); });
    return task_->result(hypothesis);
  }
  py::tuple whole(const py::object& y, const std::string& name) {
    const Samples samples(y, name, scale_);
    samples.require_some();
    speech::Hypothesis hypothesis;
    run([&] {
      require_start();
      begun_ = true;
      samples.each_block([&](std::span<const float> part) { chain_->push(part, follow()); });
      hypothesis = end();
    });
    return task_->result(hypothesis);
  }
  // Rows of the model's recipe.
  py::tuple whole_rows(const py::object& array) {
    const speech::FeatureMatrix rows = rows_of(array, "rows", recipe().width());
    speech::Hypothesis hypothesis;
    run([&] {
      require_start();
      begun_ = true;
      follow()(rows);
      hypothesis = search_->finish();
      begun_ = false;
    });
    return task_->result(hypothesis);
  }

 private:
  speech::RowTaker follow() {
    return [this](const speech::FeatureMatrix& rows) {
      for (int frame = 0; frame < rows.height(); ++frame) search_->push(rows.row(frame));
    };
  }
  speech::Hypothesis end() {
    chain_->finish(follow());
    begun_ = false;
    return search_->finish();
  }
  void require_start() const {
    if (begun_) throw std::invalid_argument("y: an utterance has begun with push(), finish() ends it");
  }
  // Without the interpreter, the search to itself. A fault before the first sample is taken leaves all as it was;
  // behind it the utterance has ended.
  template <class Act>
  void run(Act&& act) {
    const py::gil_scoped_release released;
    const std::lock_guard lock(mutex_);
    const bool before = begun_;
    try {
      act();
    } catch (const std::invalid_argument&) {
      if (!before && begun_) start_again();
      throw;
    } catch (...) {
      start_again();
      throw;
    }
  }
  void start_again() {
    search_ = std::make_unique<speech::ViterbiSearch>(task_->network(), task_->model(), *scorer_, beams_);
    chain_.emplace(task_->model().recipe);
    begun_ = false;
  }

  std::optional<double> scale_;
  std::optional<Task> task_;
  std::unique_ptr<speech::Scorer> scorer_;
  std::unique_ptr<speech::ViterbiSearch> search_;
  speech::Beams beams_;
  std::optional<speech::FeatureChain> chain_;
  std::mutex mutex_;
  bool begun_ = false;
};

// The words of a signal while it comes.
class StreamingRecogniser {
 public:
  StreamingRecogniser(const std::string& model, const Language& language, const std::string& dictionary,
                      const speech::SearchWeights& weights, const GivenBeams& beams, std::optional<double> scale,
                      const speech::StreamingRules& rules)
      : scale_(scale) {
    const py::gil_scoped_release released;
    task_.emplace(model, language, dictionary, weights);
    recogniser_.emplace(task_->network(), task_->model(), speech::make_mixture_scorer(task_->model(), {}),
                        beams.of(task_->model()), task_->model().recipe, rules);
    recogniser_->on_final = [this](speech::FinalWords&& words) { finals_.push_back(std::move(words)); };
  }
  StreamingRecogniser(const StreamingRecogniser&) = delete;

  const speech::Recipe& recipe() const { return task_->model().recipe; }
  py::list push(const py::object& block) {
    const Samples samples(block, "block", scale_);
    return run([&] { samples.each_checked_block([&](std::span<const float> part) { recogniser_->push(part); }); });
  }
  py::list finish() {
    return run([&] { recogniser_->finish(); });
  }
  py::list partial() {
    std::vector<speech::HypothesisWord> words;
    double start = 0.0;
    {
      const py::gil_scoped_release released;
      const std::lock_guard lock(mutex_);
      words = recogniser_->partial();
      start = recogniser_->start();
    }
    return task_->words_list(words, start);
  }
  double heard() {
    const py::gil_scoped_release released;
    const std::lock_guard lock(mutex_);
    return recogniser_->heard();
  }
  void reset() {
    const py::gil_scoped_release released;
    const std::lock_guard lock(mutex_);
    recogniser_->reset();
  }

 private:
  // Without the interpreter; what became final. A fault behind the first sample ends the signal.
  template <class Act>
  py::list run(Act&& act) {
    std::vector<speech::FinalWords> finals;
    {
      const py::gil_scoped_release released;
      const std::lock_guard lock(mutex_);
      try {
        act();
      } catch (const std::invalid_argument&) {
        throw;
      } catch (...) {
        finals_.clear();
        recogniser_->reset();
        throw;
      }
      finals.swap(finals_);
    }
    py::list list;
    for (const speech::FinalWords& words : finals) list.append(task_->result(words.hypothesis, words.start));
    return list;
  }

  std::optional<double> scale_;
  std::optional<Task> task_;
  std::optional<speech::StreamingRecogniser> recogniser_;
  std::vector<speech::FinalWords> finals_;
  std::mutex mutex_;
};

// What the dictionary of numbers says. A penalty that is given holds in loops too.
struct Numbers {
  explicit Numbers(const py::dict& numbers) {
    if (numbers.contains("insertion_penalty")) weights.word_cost = 0.0F;
    const auto set = [&](const char* name, auto& member) {
      if (numbers.contains(name)) member = static_cast<float>(numbers[name].cast<double>());
    };
    set("language_weight", weights.language_weight);
    set("insertion_penalty", weights.insertion_penalty);
    set("word_cost", weights.word_cost);
    set("silence_penalty", weights.silence_penalty);
    set("noise_penalty", weights.noise_penalty);
    set("beam", beams.state);
    set("phone_beam", beams.phone);
    set("word_beam", beams.word);
  }

  speech::SearchWeights weights = speech::kWordWeights;
  GivenBeams beams;
};

// Model, second model, share of the first, classes of words.
using Ngram = std::tuple<std::string, std::string, double, std::string>;

Language language_of(const std::optional<std::vector<std::string>>& words, const std::string& grammar,
                     const std::string& rule, const Ngram& ngram) {
  const auto& [file, mixed, share, classes] = ngram;
  return {words, grammar, rule, file, mixed, share, classes};
}

std::unique_ptr<Recogniser> make(const std::string& model, const std::optional<std::vector<std::string>>& words,
                                 const std::string& grammar, const std::string& rule, const Ngram& ngram,
                                 const std::string& dictionary, const py::dict& numbers, std::optional<double> scale) {
  const Numbers given(numbers);
  return std::make_unique<Recogniser>(model, language_of(words, grammar, rule, ngram), dictionary, given.weights,
                                      given.beams, scale);
}

std::unique_ptr<StreamingRecogniser> make_streaming(const std::string& model,
                                                    const std::optional<std::vector<std::string>>& words,
                                                    const std::string& grammar, const std::string& rule,
                                                    const Ngram& ngram, const std::string& dictionary,
                                                    const py::dict& numbers, std::optional<double> scale, double pause,
                                                    double longest_pause, double longest) {
  const Numbers given(numbers);
  const speech::StreamingRules rules{.pause = pause, .longest_pause = longest_pause, .longest = longest};
  return std::make_unique<StreamingRecogniser>(model, language_of(words, grammar, rule, ngram), dictionary,
                                               given.weights, given.beams, scale, rules);
}

}  // namespace

void add_recogniser(py::module_& module) {
  py::class_<Recogniser>(module, "Recogniser")
      .def(py::init(&make), py::arg("model"), py::arg("words"), py::arg("grammar"), py::arg("rule"), py::arg("ngram"),
           py::arg("dictionary"), py::arg("numbers"), py::arg("scale"))
      .def_property_readonly("recipe", &Recogniser::recipe)
      .def("push", &Recogniser::push, py::arg("block"))
      .def("finish", &Recogniser::finish)
      .def("whole", &Recogniser::whole, py::arg("y"), py::arg("name") = "y")
      .def("whole_rows", &Recogniser::whole_rows, py::arg("rows"));
  py::class_<StreamingRecogniser>(module, "StreamingRecogniser")
      .def(py::init(&make_streaming), py::arg("model"), py::arg("words"), py::arg("grammar"), py::arg("rule"),
           py::arg("ngram"), py::arg("dictionary"), py::arg("numbers"), py::arg("scale"), py::arg("pause"),
           py::arg("longest_pause"), py::arg("longest"))
      .def_property_readonly("recipe", &StreamingRecogniser::recipe)
      .def_property_readonly("heard", &StreamingRecogniser::heard)
      .def("push", &StreamingRecogniser::push, py::arg("block"))
      .def("finish", &StreamingRecogniser::finish)
      .def("partial", &StreamingRecogniser::partial)
      .def("reset", &StreamingRecogniser::reset);
}

}  // namespace kivsr::python
