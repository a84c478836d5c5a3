// What decides how a training goes; kept in the model file, so that an interrupted training goes on with the same.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace kivsr::speech {

struct TrainingSettings {
  int states = 8;             // of each word
  int silence_states = 3;     // 0: no silence between words
  int components = 1;         // most Gaussians of a state
  int start_components = 1;   // of the first codebook
  int iterations = 6;         // passes for each number of components
  bool viterbi = false;       // best path instead of all paths
  bool random_start = false;  // the first means are random frames, not those of a trained codebook
  int seed = 1;               // of the random start
  double variance_floor = 1e-4;
  double variance_floor_share = 0.01;  // of the variance of all frames
  double variance_prior = 0.0;         // frames that the variance of all words counts in each component
  double weight_floor = 1e-5;          // of a mixture weight
  double least_occupation = 10.0;      // frames of a component
  double split_distance = 0.2;         // standard deviations
  double list_checksum = 0.0;

  // Number of passes over the data, and the number of components before pass number pass.
  int passes() const;
  int components_of_pass(int pass) const;
  // Throws Fault for values that make no sense.
  void validate() const;
};

// Calls visit(name, member) for every setting; names are those of the options of kivsr train.
template <class Settings, class Visit>
void visit_settings(Settings& settings, Visit visit) {
  visit("states", settings.states);
  visit("silence-states", settings.silence_states);
  visit("components", settings.components);
  visit("start-components", settings.start_components);
  visit("iterations", settings.iterations);
  visit("viterbi", settings.viterbi);
  visit("random-start", settings.random_start);
  visit("seed", settings.seed);
  visit("variance-floor", settings.variance_floor);
  visit("variance-floor-share", settings.variance_floor_share);
  visit("variance-prior", settings.variance_prior);
  visit("weight-floor", settings.weight_floor);
  visit("least-occupation", settings.least_occupation);
  visit("split-distance", settings.split_distance);
  visit("list-checksum", settings.list_checksum);
}

// To and from the record of a model. Reading throws Fault with the name of the model for what is not there.
void store_settings(const TrainingSettings& settings, int pass, std::map<std::string, std::string>& record);
TrainingSettings stored_settings(const std::map<std::string, std::string>& record, const std::string& model, int& pass);

}  // namespace kivsr::speech
