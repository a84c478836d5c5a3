// The recipe of features: everything that decides the rows that come of an utterance, in the order in which the stages
// act. A recipe is a value: it is compared, printed, read back and stored in every model and codebook.
// Next: presets.h, recipes by name; feature_chain.h, which computes the rows; utterance.h, from a file to rows.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "kivsr/speech/front/front_end_parameters.h"

namespace kivsr::speech {

// Where the rows start from.
enum class Source {
  kAudio,    // samples, through the front end
  kFeatures  // rows that somebody else computed, of source_width values every 10 ms: for the stages behind the front
             // end
};

// Gains on the bands of the spectra that the filters see (noise_reduction.h).
enum class NoiseMethod {
  kNone,
  kMcraWiener,  // noise by MCRA, Wiener gains
  kMcraEmns,    // noise by MCRA, gains of the minimum mean-square error amplitude estimator
  kAuto         // kMcraWiener where the noise is heavy and steady; everything else, features too, stays as it is
};
struct NoiseReductionParameters {
  NoiseMethod method = NoiseMethod::kNone;
  float memory = 0.75F;            // share of the previous frame in the signal-to-noise ratio
  float floor = 0.1F;              // smallest gain
  float residual = 0.005F;         // share of the noise's power that stays, whatever the gain
  float first_seconds = 0.05F;     // whose mean power the noise estimate begins with
  float smoothing_seconds = 0.3F;  // the noise is averaged over so much on either side

  bool operator==(const NoiseReductionParameters&) const = default;
};

// Blind equalisation of c1, c2, ... (equalisation_stage.h), by where its bias starts in every utterance.
enum class Equalisation {
  kNone,
  kFromZero,
  kFromMean  // of the utterance: for models whose training took the mean out
};

enum class Normalisation {
  kNone,
  kMean,          // each column less its mean over the utterance
  kMeanVariance,  // and divided by its standard deviation; a column that does not vary becomes zeros
  kRunningMean,   // the same along with the utterance, with a memory of normalisation_frames
  kRunningMeanVariance
};

// First and second derivatives behind the statics.
enum class Dynamics {
  kNone,
  kWin1,         // over three frames
  kWin2,         // over five frames
  kRegression,   // over 2 W + 1 frames
  kAurora,       // over nine frames, of c1 .. c12 and a mean of c0 and log energy
  kDifferences,  // "1s_c_d_dd" of Sphinx: c(t+2) - c(t-2), and the difference of two such
  kStreams,      // "s2_4x" of Sphinx: the same in four streams, with c(t+4) - c(t-4) of all but the first column
  kSplice        // no derivatives: the statics of t - regression_window .. t + regression_window, one behind the other
};

struct Recipe {
  Recipe() = default;
  // The rows of the front end as they are.
  Recipe(const FrontEndParameters& parameters) : front_end(parameters) {}
  // Rows of features that are there already.
  static Recipe of_features(int width);

  Source source = Source::kAudio;
  int source_width = 13;  // of rows of features
  FrontEndParameters front_end;
  NoiseReductionParameters noise_reduction;

  Equalisation equalisation = Equalisation::kNone;
  std::vector<float> reference_cepstrum;  // c1, c2, ... without a channel; empty: zeros

  bool normalise_energy = false;        // log energy against its maximum; needs front_end.energy
  float silence_floor = 50.0F;          // decibels below the maximum
  float energy_scale = 0.1F;            // of the natural logarithm
  std::optional<float> energy_maximum;  // a known maximum; without it that of the utterance

  Normalisation normalisation = Normalisation::kNone;
  bool normalise_cepstra_only = false;  // all columns but the log energy
  int normalisation_frames = 300;

  Dynamics dynamics = Dynamics::kNone;
  int regression_window = 2;             // W
  int derivatives = 2;                   // how often: 1 .. 3; the third is a regression over five frames of the second
  bool drop_energy = false;              // the log energy itself, not its derivatives
  std::vector<float> feature_transform;  // [row][column]: what becomes of these columns; empty: they stay

  bool pitch = false;  // behind them f0, correlation and probability of voicing (pitch_tracker.h)
  float pitch_low_frequency = 60.0F;
  float pitch_high_frequency = 500.0F;

  bool speech_column = false;  // rows end with 1 where the frame holds speech, else 0; etsi-afe
  bool drop_frames = false;    // rows without speech are left out; etsi-afe

  bool operator==(const Recipe&) const = default;

  // Values of a row of the front end or of the source, of one as a file of such rows holds it (with its decision about
  // speech where that is wanted), of one without its derivatives, of one with them, of one that is transformed, and of
  // one as it comes out.
  int input_width() const;
  int file_width() const { return input_width() + (speech_column || drop_frames ? 1 : 0); }
  int static_width() const { return dynamics == Dynamics::kAurora ? 13 : input_width(); }
  int derived_width() const;
  int feature_width() const {
    return feature_transform.empty() ? derived_width() : static_cast<int>(feature_transform.size()) / derived_width();
  }
  int width() const { return feature_width() + (pitch ? 3 : 0) + (speech_column ? 1 : 0); }
  double frame_seconds() const { return front_end.frame_seconds(); }
  // "c0", "c1", ... or "mel1", ..., then "energy"; "x1", "x2", ... of a source of features; derivatives with "_d",
  // "_a" and "_t" behind the name, spliced ones with the frames from here ("c0_-1", "c0_0", "c0_1"); or "y1", "y2", ...
  // of a transform; then "f0", "correlation", "probability", and "vad" of the decision about speech.
  std::vector<std::string> column_names() const;
  // What in the recipe is defined over the whole utterance, for which its rows must wait; empty if nothing is.
  std::string needs_whole_utterance() const;
  // Throws Fault for values that contradict each other.
  void validate() const;

  // "kivsr-recipe 2" and a line "name = value" for every field; numbers give the same number again.
  std::string text() const;
  // The same with a comment before each line that says what it means.
  std::string explained_text() const;
  // Throws Fault, which names the origin and the line, for a field that is not known, missing or there twice, and for a
  // value that its field cannot have. A text of version 1 lacks the fields that came later: they are as it meant them.
  static Recipe parse(const std::string& text, const std::string& origin);
};

// A line for each field in which they differ: "name: value of a, not value of b".
std::vector<std::string> differences(const Recipe& a, const Recipe& b);

// Throws Fault that names what differs unless both are the same: "<what> was made with another recipe: ...".
void require_same(const Recipe& stored, const Recipe& given, const std::string& what);

}  // namespace kivsr::speech
