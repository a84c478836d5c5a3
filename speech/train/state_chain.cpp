#include "kivsr/speech/train/state_chain.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

namespace {

class ChainBuilder {
 public:
  explicit ChainBuilder(const WordModel& model)
      : model_(model), silence_(model.silence()), half_(silence_ >= 0 ? std::log(0.5) : 0.0) {}

  StateChain build(std::span<const int> words) {
    for (const int unit : utterance_units(model_, words)) {
      add_unit(unit);
      if (unit != silence_) word_end_ = chain_.places() - 1;
    }
    const int last = chain_.places() - 1;
    chain_.end[static_cast<std::size_t>(last)] = leave(last);
    if (word_end_ >= 0 && word_end_ != last) chain_.end[static_cast<std::size_t>(word_end_)] = leave(word_end_) + half_;
    return std::move(chain_);
  }

 private:
  double leave(int place) const {
    const int state = chain_.states[static_cast<std::size_t>(place)];
    return std::log1p(-static_cast<double>(model_.states[static_cast<std::size_t>(state)].stay));
  }

  // Silence is taken or left at the end of the word before it.
  void add_unit(int index) {
    const WordUnit& unit = model_.units[static_cast<std::size_t>(index)];
    const int first = chain_.places();
    for (int i = 0; i < unit.states; ++i) {
      const int place = first + i;
      const double stay = static_cast<double>(model_.states[static_cast<std::size_t>(unit.first_state + i)].stay);
      chain_.begin.push_back(kLogNever);
      chain_.advance.push_back(place > 0 ? leave(place - 1) : kLogNever);
      chain_.end.push_back(kLogNever);
      chain_.stay.push_back(stay > 0.0 ? std::log(stay) : kLogNever);
      chain_.states.push_back(unit.first_state + i);
    }
    const auto entry = static_cast<std::size_t>(first);
    if (first == 0 || (!unit.filler && word_end_ < 0)) chain_.begin[entry] = half_;
    if (unit.filler && first > 0) chain_.advance[entry] += half_;
    if (!unit.filler && word_end_ >= 0 && word_end_ != first - 1) {
      chain_.jumps.push_back({word_end_, first, leave(word_end_) + half_});
    }
  }

  const WordModel& model_;
  int silence_;
  double half_;
  StateChain chain_;
  int word_end_ = -1;  // place of the last state of the last word
};

// The recursions over vectors of one value a place.
class Recursion {
 public:
  Recursion(const StateChain& chain, std::span<const double> emissions)
      : chain_(chain),
        emissions_(emissions),
        places_(chain.places()),
        frames_(static_cast<int>(emissions.size() / static_cast<std::size_t>(places_))),
        moved_(static_cast<std::size_t>(places_)) {}

  int frames() const { return frames_; }
  const double* emission(int frame) const { return emissions_.data() + offset(frame); }
  std::size_t offset(int frame) const { return static_cast<std::size_t>(frame) * static_cast<std::size_t>(places_); }

  // next[i] = log of the sum over the ways into place i from the values of the frame before.
  void forward(const double* previous, double* next) {
    std::copy_n(previous, places_, next);
    add(chain_.stay.data(), next, places_);
    if (places_ > 1) {
      std::copy_n(previous, places_ - 1, moved_.data());
      add(chain_.advance.data() + 1, moved_.data(), places_ - 1);
      log_add(moved_.data(), next + 1, places_ - 1);
    }
    for (const StateChain::Jump& jump : chain_.jumps) {
      const double way = previous[jump.from] + jump.weight;
      log_add(&way, next + jump.to, 1);
    }
  }

  // before[i] = log of the sum over the ways out of place i to the values of the frame after.
  void backward(const double* after, double* before) {
    std::copy_n(after, places_, before);
    add(chain_.stay.data(), before, places_);
    if (places_ > 1) {
      std::copy_n(after + 1, places_ - 1, moved_.data());
      add(chain_.advance.data() + 1, moved_.data(), places_ - 1);
      log_add(moved_.data(), before, places_ - 1);
    }
    for (const StateChain::Jump& jump : chain_.jumps) {
      const double way = after[jump.to] + jump.weight;
      log_add(&way, before + jump.from, 1);
    }
  }

  // Takes the greatest value away from all, returns it.
  double normalise(double* values) const {
    double greatest = 0.0;
    call<kivsMax_64f>(values, places_, &greatest);
    for (int i = 0; i < places_; ++i) values[i] -= greatest;
    return greatest;
  }

  double log_sum(const double* values) const {
    double sum = 0.0;
    call<kivsLogSum_64f>(values, &sum, places_);
    return sum;
  }

  static void add(const double* terms, double* values, int count) { call<kivsAdd_64f_I>(terms, values, count); }

 private:
  static void log_add(const double* terms, double* values, int count) {
    call<kivsLogAdd_64f>(terms, values, count, kivLogAddHintAc);
  }

  const StateChain& chain_;
  std::span<const double> emissions_;
  int places_;
  int frames_;
  std::vector<double> moved_;
};

Occupation baum_welch(const StateChain& chain, std::span<const double> emissions) {
  Recursion recursion(chain, emissions);
  const int places = chain.places();
  const auto row = static_cast<std::size_t>(places);
  const int frames = recursion.frames();
  Occupation result;
  result.shares.resize(emissions.size());
  result.stay_count.assign(row, 0.0);

  // forward variables, each frame relative to its greatest; from the last frame on they become the shares
  std::vector<double> offsets(static_cast<std::size_t>(frames));
  double offset = 0.0;
  for (int t = 0; t < frames; ++t) {
    double* const alpha = result.shares.data() + recursion.offset(t);
    if (t == 0) {
      std::copy(chain.begin.begin(), chain.begin.end(), alpha);
    } else {
      recursion.forward(alpha - row, alpha);
    }
    Recursion::add(recursion.emission(t), alpha, places);
    offset += recursion.normalise(alpha);
    offsets[static_cast<std::size_t>(t)] = offset;
  }
  std::vector<double> beta(chain.end);
  std::vector<double> joint(row);
  std::vector<double> earlier(row);
  double beta_offset = 0.0;
  for (int t = frames - 1; t >= 0; --t) {
    double* const alpha = result.shares.data() + recursion.offset(t);
    std::copy(beta.begin(), beta.end(), joint.begin());
    Recursion::add(alpha, joint.data(), places);
    const double total = recursion.log_sum(joint.data());
    if (!(total > kLogNever / 2)) return {};
    if (t == frames - 1) result.log_likelihood = total + offset;
    for (std::size_t i = 0; i < row; ++i) alpha[i] = std::exp(joint[i] - total);
    if (t == 0) break;
    // what the frame before has to come: this frame and all after it
    Recursion::add(recursion.emission(t), beta.data(), places);
    const double* const previous = alpha - row;
    const double all = result.log_likelihood - offsets[static_cast<std::size_t>(t) - 1] - beta_offset;
    for (std::size_t i = 0; i < row; ++i) result.stay_count[i] += std::exp(previous[i] + chain.stay[i] + beta[i] - all);
    recursion.backward(beta.data(), earlier.data());
    beta_offset += recursion.normalise(earlier.data());
    beta.swap(earlier);
  }
  result.possible = true;
  return result;
}

Occupation viterbi(const StateChain& chain, std::span<const double> emissions) {
  const Recursion recursion(chain, emissions);
  const auto places = static_cast<std::size_t>(chain.places());
  const int frames = recursion.frames();
  std::vector<int> jump_from(places, -1);
  std::vector<double> jump_weight(places, kLogNever);
  for (const StateChain::Jump& jump : chain.jumps) {
    jump_from[static_cast<std::size_t>(jump.to)] = jump.from;
    jump_weight[static_cast<std::size_t>(jump.to)] = jump.weight;
  }
  std::vector<int> came_from(emissions.size());
  std::vector<double> score(chain.begin);
  Recursion::add(recursion.emission(0), score.data(), chain.places());
  for (int t = 1; t < frames; ++t) {
    int* const from = came_from.data() + recursion.offset(t);
    for (std::size_t i = places; i-- > 0;) {  // from the last on: the earlier ones still hold the frame before
      double best = score[i] + chain.stay[i];
      from[i] = static_cast<int>(i);
      const auto try_way = [&](int place, double weight) {
        const double value = score[static_cast<std::size_t>(place)] + weight;
        if (!(value > best)) return;
        best = value;
        from[i] = place;
      };
      if (i > 0) try_way(static_cast<int>(i) - 1, chain.advance[i]);
      if (jump_from[i] >= 0) try_way(jump_from[i], jump_weight[i]);
      score[i] = best;
    }
    Recursion::add(recursion.emission(t), score.data(), chain.places());
  }
  Recursion::add(chain.end.data(), score.data(), chain.places());
  const auto last = std::max_element(score.begin(), score.end());

  Occupation result;
  result.log_likelihood = *last;
  result.shares.assign(emissions.size(), 0.0);
  result.stay_count.assign(places, 0.0);
  auto place = static_cast<std::size_t>(last - score.begin());
  result.possible = chain.end[place] > kLogNever;
  for (int t = frames - 1; t >= 0; --t) {
    result.shares[recursion.offset(t) + place] = 1.0;
    if (t == 0) break;
    const auto before = static_cast<std::size_t>(came_from[recursion.offset(t) + place]);
    if (before == place) result.stay_count[place] += 1.0;
    place = before;
  }
  result.possible = result.possible && chain.begin[place] > kLogNever;
  return result;
}

}  // namespace

std::vector<int> utterance_units(const WordModel& model, std::span<const int> words) {
  if (model.plain_mixture) return {0};
  const int silence = model.silence();
  std::vector<int> units;
  const auto add_silence = [&] {
    if (silence >= 0) units.push_back(silence);
  };
  add_silence();
  for (const int word : words) {
    units.push_back(word);
    add_silence();
  }
  return units;
}

StateChain utterance_chain(const WordModel& model, std::span<const int> words) {
  if (!model.plain_mixture) return ChainBuilder(model).build(words);
  StateChain chain;
  chain.states = {0};
  chain.begin = chain.stay = chain.end = {0.0};
  chain.advance = {kLogNever};
  return chain;
}

int shortest_path(const WordModel& model, std::span<const int> words) {
  int frames = 0;
  for (const int word : words) frames += model.units[static_cast<std::size_t>(word)].states;
  return std::max(frames, 1);
}

std::size_t Occupation::place(int frame) const {
  const auto row = shares.begin() + static_cast<std::ptrdiff_t>(static_cast<std::size_t>(frame) * stay_count.size());
  return static_cast<std::size_t>(std::max_element(row, row + static_cast<std::ptrdiff_t>(stay_count.size())) - row);
}

Occupation occupy(const StateChain& chain, std::span<const double> emissions, AlignmentMethod method) {
  return method == AlignmentMethod::kViterbi ? viterbi(chain, emissions) : baum_welch(chain, emissions);
}

}  // namespace kivsr::speech
