#include "kivsr/speech/decode/streaming_recogniser.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kivsr::speech {

namespace {

constexpr int kRecentFrames = 15;  // of a pause, in which the next word may have begun

}  // namespace

StreamingRecogniser::StreamingRecogniser(const SearchNetwork& network, const AcousticModel& model,
                                         std::unique_ptr<Scorer> scorer, const Beams& beams, const Recipe& recipe,
                                         const StreamingRules& rules)
    : network_(network),
      scorer_(std::move(scorer)),
      rules_(rules),
      normalisation_(recipe, model.static_mean, rules.mean_frames),
      chain_(rules.running_mean ? normalisation_.rest() : recipe),
      search_(network, model, *scorer_, beams),
      gate_(recipe.front_end.sample_rate, gate_rules()),
      rate_(recipe.front_end.sample_rate),
      frame_seconds_(recipe.frame_seconds()) {
  taker_ = [this](SpeechGate::Event event, std::span<const float> samples) { act(event, samples); };
  row_taker_ = [this](const FeatureMatrix& rows) { follow(rows); };
  follow_statics();
}

// Where no row comes before the gate shuts, nothing can hold it.
GateRules StreamingRecogniser::gate_rules() const {
  GateRules rules;
  rules.held = rules_.longest_pause;
  if (!recipe().needs_whole_utterance().empty()) rules.behind = rules.held;
  return rules;
}

void StreamingRecogniser::follow_statics() {
  if (rules_.running_mean) chain_.change_statics([this](FeatureMatrix& statics) { normalise(statics); });
}

// Where the model does not know its mean, what stood in front of the first speech does.
void StreamingRecogniser::normalise(FeatureMatrix& statics) {
  if (!normalisation_.has_begun()) normalisation_.begin(statics);
  normalisation_.apply(statics);
}

double StreamingRecogniser::start() const {
  return static_cast<double>(gate_.opened_at()) / rate_ + static_cast<double>(first_frame_) * frame_seconds_;
}

bool StreamingRecogniser::has_words(std::span<const HypothesisWord> words) const {
  return std::any_of(words.begin(), words.end(), [this](const HypothesisWord& word) {
    return !network_.labels[static_cast<std::size_t>(word.label)].filler;
  });
}

// From the half of the longest stretch on the pause that is needed shrinks, to nothing at its end.
bool StreamingRecogniser::ends_here(const BestPath& path, bool words) const {
  const double length = static_cast<double>(gate_frames_ - first_frame_) * frame_seconds_;
  if (length >= rules_.longest) return true;
  const double silence = path.silent_frames * frame_seconds_;
  if (!words) return false;
  const double needed = path.may_end ? rules_.pause : rules_.longest_pause;
  return silence >= needed * std::min(1.0, 2.0 - 2.0 * length / rules_.longest) && path.silent_frames > 0;
}

void StreamingRecogniser::tell_partial(const BestPath& path) {
  if (!on_partial) return;
  std::vector<int> labels;
  for (const HypothesisWord& word : path.words) {
    if (!network_.labels[static_cast<std::size_t>(word.label)].filler) labels.push_back(word.label);
  }
  if (labels == told_) return;
  told_ = std::move(labels);
  on_partial(path.words);
}

void StreamingRecogniser::push_row(std::span<const float> row) {
  search_.push(row);
  if (rules_.keep_rows) append_rows(row, rows_);
}

void StreamingRecogniser::follow(const FeatureMatrix& rows) {
  for (int frame = 0; frame < rows.height(); ++frame) {
    push_row(rows.row(frame));
    ++gate_frames_;
    append_rows(rows.row(frame), recent_);
    if (recent_.height() > kRecentFrames) {
      recent_.values.erase(recent_.values.begin(), recent_.values.begin() + recent_.width);
    }
    const BestPath path = search_.best_path();
    const bool words = has_words(path.words);
    if (ends_here(path, words)) {
      end();
      start_segment_with(path.silent_frames);
    } else if (!words && path.silent_frames * frame_seconds_ >= rules_.new_sentence) {
      search_.restart();
      start_segment_with(path.silent_frames);
    } else {
      tell_partial(path);
      gate_.hold(words && !path.may_end && !network_.language->goes_on());
    }
  }
}

void StreamingRecogniser::start_segment() {
  gate_.hold(false);
  first_frame_ = gate_frames_;
  told_.clear();
  rows_ = {recipe().width(), {}};
}

// With so many of the frames that were searched before, or as many as are there.
void StreamingRecogniser::start_segment_with(int frames) {
  start_segment();
  const int count = std::min(frames, recent_.height());
  first_frame_ -= count;
  for (int row = recent_.height() - count; row < recent_.height(); ++row) push_row(recent_.row(row));
}

// What stands in silence at either end was hardly said.
void StreamingRecogniser::drop_faint(FinalWords& words) const {
  std::vector<HypothesisWord>& all = words.hypothesis.words;
  const auto is_filler = [&](const HypothesisWord& word) {
    return network_.labels[static_cast<std::size_t>(word.label)].filler;
  };
  const auto was_said = [&](const HypothesisWord& word) {
    return !is_filler(word) && gate_.was_loud(words.start + word.first_frame * frame_seconds_,
                                              words.start + (word.last_frame + 1) * frame_seconds_);
  };
  const auto first = std::find_if(all.begin(), all.end(), was_said);
  if (first == all.end()) return all.clear();
  const auto behind = std::find_if(all.rbegin(), all.rend(), was_said).base();
  std::vector<HypothesisWord> kept;
  std::copy_if(all.begin(), first, std::back_inserter(kept), is_filler);
  kept.insert(kept.end(), first, behind);
  std::copy_if(behind, all.end(), std::back_inserter(kept), is_filler);
  all = std::move(kept);
}

void StreamingRecogniser::end() {
  FinalWords words;
  words.start = start();
  words.hypothesis = search_.pause();
  words.rows = std::move(rows_);
  drop_faint(words);
  if (on_final && has_words(words.hypothesis.words)) on_final(std::move(words));
}

void StreamingRecogniser::act(SpeechGate::Event event, std::span<const float> samples) {
  switch (event) {
    case SpeechGate::Event::kOpen:
      if (heard() - shut_at_ >= rules_.new_sentence) search_.restart();
      gate_frames_ = 0;
      recent_ = {recipe().width(), {}};
      return start_segment();
    case SpeechGate::Event::kSamples: return chain_.push(samples, row_taker_);
    case SpeechGate::Event::kShut:
      chain_.finish(row_taker_);
      end();
      shut_at_ = heard();
      return start_segment();
  }
}

void StreamingRecogniser::push(std::span<const float> samples) { gate_.push(samples, taker_); }

void StreamingRecogniser::finish() {
  gate_.finish(taker_);
  search_.restart();
  shut_at_ = 0.0;
}

void StreamingRecogniser::reset() {
  gate_ = SpeechGate(recipe().front_end.sample_rate, gate_rules());
  chain_ = FeatureChain(recipe());
  follow_statics();
  normalisation_.restart();
  search_.restart();
  shut_at_ = 0.0;
  gate_frames_ = 0;
  start_segment();
}

}  // namespace kivsr::speech
