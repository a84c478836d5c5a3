#include "kivsr/speech/train/phone_questions.h"

#include <limits>
#include <set>

#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/text_parts.h"
#include "kivsr/speech/train/gaussian_pool.h"

namespace kivsr::speech {

namespace {

struct Cluster {
  PhoneSet phones;
  GaussianPool pool;
  double log_likelihood;
};

double loss(const Cluster& a, const Cluster& b) {
  GaussianPool both = a.pool;
  both.add(b.pool);
  return a.log_likelihood + b.log_likelihood - both.log_likelihood();
}

// Merges until one is left; every set on the way is a question. costs[i][j], j < i, of merging.
void merge_all(std::vector<Cluster> clusters, std::set<PhoneSet>& sets) {
  std::vector<std::vector<double>> costs(clusters.size());
  for (std::size_t i = 0; i < clusters.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) costs[i].push_back(loss(clusters[i], clusters[j]));
  }
  while (clusters.size() > 2) {
    std::size_t a = 1;
    std::size_t b = 0;
    for (std::size_t i = 1; i < clusters.size(); ++i) {
      for (std::size_t j = 0; j < i; ++j) {
        if (costs[i][j] < costs[a][b]) a = i, b = j;
      }
    }
    Cluster& into = clusters[b];
    for (std::size_t i = 0; i < into.phones.size(); ++i) into.phones[i] |= clusters[a].phones[i];
    into.pool.add(clusters[a].pool);
    into.log_likelihood = into.pool.log_likelihood();
    sets.insert(into.phones);
    clusters.erase(clusters.begin() + static_cast<std::ptrdiff_t>(a));
    costs.erase(costs.begin() + static_cast<std::ptrdiff_t>(a));
    for (std::size_t i = a; i < costs.size(); ++i) costs[i].erase(costs[i].begin() + static_cast<std::ptrdiff_t>(a));
    for (std::size_t j = 0; j < b; ++j) costs[b][j] = loss(clusters[b], clusters[j]);
    for (std::size_t i = b + 1; i < clusters.size(); ++i) costs[i][b] = loss(clusters[i], clusters[b]);
  }
}

}  // namespace

std::vector<PhoneSet> read_phone_sets(const std::filesystem::path& file, const ModelDefinition& definition) {
  const std::string text = read_text_file(file);
  std::set<PhoneSet> sets;
  int number = 0;
  std::string_view lines = text;
  for (std::string_view line; take_line(lines, line);) {
    ++number;
    std::string_view fields = line.substr(0, line.find('#'));
    std::string_view name;
    take_word(fields, name);
    PhoneSet set(definition.phones.size(), 0);
    bool any = false;
    for (std::string_view phone; take_word(fields, phone); any = true) {
      const int index = definition.phone_index(phone);
      if (index < 0) {
        throw Fault(file.string() + ":" + std::to_string(number) + ": no phone \"" + std::string(phone) +
                    "\" is trained");
      }
      set[static_cast<std::size_t>(index)] = 1;
    }
    if (any) sets.insert(std::move(set));
  }
  if (sets.empty()) throw Fault(file.string() + ": holds no sets of phones");
  return {sets.begin(), sets.end()};
}

std::vector<PhoneSet> make_phone_sets(const PhoneModel& model) {
  const std::size_t phones = model.definition.phones.size();
  const auto dimension = static_cast<std::size_t>(model.dimension());
  std::set<PhoneSet> sets;
  for (int place = 0; place < model.definition.states_per_phone; ++place) {
    std::vector<Cluster> clusters;
    for (std::size_t phone = 0; phone < phones; ++phone) {
      PhoneSet alone(phones, 0);
      alone[phone] = 1;
      sets.insert(alone);
      const PhoneDefinition& known = model.definition.phones[phone];
      const MixtureState& state = model.states[static_cast<std::size_t>(known.states[static_cast<std::size_t>(place)])];
      if (known.filler || !(state.occupation > 0.0F)) continue;
      const std::vector<double> mean(state.means.begin(), state.means.begin() + static_cast<std::ptrdiff_t>(dimension));
      const std::vector<double> variance(state.variances.begin(),
                                         state.variances.begin() + static_cast<std::ptrdiff_t>(dimension));
      GaussianPool pool(mean, variance, static_cast<double>(state.occupation));
      const double log_likelihood = pool.log_likelihood();
      clusters.push_back({std::move(alone), std::move(pool), log_likelihood});
    }
    merge_all(std::move(clusters), sets);
  }
  return {sets.begin(), sets.end()};
}

std::vector<Question> make_questions(const std::vector<PhoneSet>& sets) {
  std::vector<Question> questions;
  for (const PhoneSet& set : sets) {
    questions.push_back(Question::about_left(set));
    questions.push_back(Question::about_right(set));
  }
  // internal, begin, end, single
  for (const std::vector<char>& positions :
       {std::vector<char>{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}, {0, 1, 0, 1}, {0, 0, 1, 1}}) {
    questions.push_back(Question::about_position(positions));
  }
  return questions;
}

}  // namespace kivsr::speech
