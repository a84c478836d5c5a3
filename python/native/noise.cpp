// Signals to signals, and what there is in them: enhancement, resampling, voice activity, pitch.
#include <cmath>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <pybind11/stl.h>

#include "kivsr/speech/front/pitch_tracker.h"
#include "kivsr/speech/front/recipe.h"
#include "kivsr/speech/io/resampler.h"
#include "kivsr/speech/noise/enhancer.h"
#include "kivsr/speech/noise/speech_segments.h"
#include "native/bindings.h"
#include "native/rows.h"

namespace kivsr::python {

namespace {

using speech::Arithmetic;
using speech::PitchFrame;
using speech::PitchParameters;
using speech::SegmentRules;

constexpr int kDetectorRate = 8000;

// A process of samples, kept for blocks that may come from several threads, one after the other. Process: push and
// finish append to a vector of Result. Results take the type of the block that was pushed last.
template <class Process, class Result>
class SharedProcess {
 public:
  using Make = std::function<std::unique_ptr<Process>()>;
  explicit SharedProcess(Make make) : make_(std::move(make)), process_(make_()) {}

  std::vector<Result> push(const Samples& samples) {
    return locked([&](std::vector<Result>& results) {
      samples.each_checked_block([&](std::span<const float> block) { process_->push(block, results); });
    });
  }
  // Ends the signal; the next push begins another.
  std::vector<Result> finish() {
    return locked([&](std::vector<Result>& results) {
      process_->finish(results);
      process_ = make_();
    });
  }
  std::vector<Result> whole(const Samples& samples) {
    samples.require_some();
    std::vector<Result> results = push(samples);
    const std::vector<Result> rest = finish();
    results.insert(results.end(), rest.begin(), rest.end());
    return results;
  }

 private:
  template <class Act>
  std::vector<Result> locked(Act&& act) {
    std::vector<Result> results;
    const py::gil_scoped_release released;
    const std::lock_guard lock(mutex_);
    act(results);
    return results;
  }

  Make make_;
  std::unique_ptr<Process> process_;
  std::mutex mutex_;
};

// Signals in the type and the unit that they come in.
template <class Process>
class SignalProcess {
 public:
  SignalProcess(typename SharedProcess<Process, float>::Make make, std::optional<double> scale)
      : process_(std::move(make)), scale_(scale) {}

  py::array push(const py::object& block) { return result(Samples(block, "block", scale_), false); }
  py::array finish() { return like(type_, unit_, process_.finish()); }
  py::array whole(const py::object& y, const std::string& name) { return result(Samples(y, name, scale_), true); }

 private:
  py::array result(const Samples& samples, bool whole) {
    type_ = samples.type();
    unit_ = samples.scale();
    return like(type_, unit_, whole ? process_.whole(samples) : process_.push(samples));
  }

  SharedProcess<Process, float> process_;
  std::optional<double> scale_;
  SampleType type_ = SampleType::kFloat32;  // of the last block
  double unit_ = kFullScale;
};

class Enhancer : public SignalProcess<speech::Enhancer> {
 public:
  Enhancer(const std::string& method, int sample_rate, std::optional<double> scale)
      : SignalProcess([=] { return speech::make_enhancer(method, sample_rate); }, scale),
        delay_(speech::make_enhancer(method, sample_rate)->delay()) {}
  int delay() const { return delay_; }

 private:
  int delay_;
};

class Resampler : public SignalProcess<speech::Resampler> {
 public:
  Resampler(int from_rate, int to_rate, std::optional<double> scale)
      : SignalProcess([=] { return std::make_unique<speech::Resampler>(from_rate, to_rate); }, scale) {}
};

// Segments, and the decisions that they are made from, of a signal of any rate.
struct Segments {
  std::vector<speech::SpeechSegment> segments;
  std::vector<bool> frames;
};

class SegmentProcess {
 public:
  SegmentProcess(Arithmetic arithmetic, const SegmentRules& rules, int sample_rate) : segmenter_(arithmetic, rules) {
    if (sample_rate != kDetectorRate) resampler_.emplace(sample_rate, kDetectorRate);
    segmenter_.listener = [this](const std::vector<bool>& speech, std::span<const float>) {
      frames_.insert(frames_.end(), speech.begin(), speech.end());
    };
  }

  void push(std::span<const float> samples, std::vector<Segments>& results) {
    if (resampler_) resampler_->push(samples, narrow_);
    act(resampler_ ? std::span<const float>(narrow_) : samples, false, results);
  }
  void finish(std::vector<Segments>& results) {
    if (resampler_) resampler_->finish(narrow_);
    act(narrow_, true, results);
  }

 private:
  void act(std::span<const float> samples, bool end, std::vector<Segments>& results) {
    Segments found;
    segmenter_.push(samples, found.segments);
    if (end) segmenter_.finish(found.segments);
    narrow_.clear();
    found.frames = std::move(frames_);
    frames_.clear();
    results.push_back(std::move(found));
  }

  speech::SpeechSegmenter segmenter_;
  std::optional<speech::Resampler> resampler_;
  std::vector<float> narrow_;  // at the detector's rate
  std::vector<bool> frames_;
};

// Segments as [segments, 2] in seconds, and a decision each 10 ms.
py::tuple segments_tuple(const std::vector<Segments>& parts) {
  std::vector<double> times;
  std::vector<bool> frames;
  for (const Segments& part : parts) {
    for (const auto& segment : part.segments) times.insert(times.end(), {segment.start, segment.end});
    frames.insert(frames.end(), part.frames.begin(), part.frames.end());
  }
  py::array_t<double> segments({static_cast<py::ssize_t>(times.size() / 2), py::ssize_t{2}});
  std::copy(times.begin(), times.end(), segments.mutable_data());
  py::array_t<bool> decisions(static_cast<py::ssize_t>(frames.size()));
  std::copy(frames.begin(), frames.end(), decisions.mutable_data());
  return py::make_tuple(segments, decisions);
}

class VoiceDetector {
 public:
  VoiceDetector(int sample_rate, bool sixteen_bits, const SegmentRules& rules, std::optional<double> scale)
      : process_([=] {
          const Arithmetic form = sixteen_bits ? Arithmetic::kSixteenBits : Arithmetic::kSinglePrecision;
          return std::make_unique<SegmentProcess>(form, rules, sample_rate);
        }),
        scale_(scale) {}

  py::tuple push(const py::object& block) { return segments_tuple(process_.push(Samples(block, "block", scale_))); }
  py::tuple finish() { return segments_tuple(process_.finish()); }
  py::tuple whole(const py::object& y, const std::string& name) {
    return segments_tuple(process_.whole(Samples(y, name, scale_)));
  }

 private:
  SharedProcess<SegmentProcess, Segments> process_;
  std::optional<double> scale_;
};

// Frames of pitch, of a signal that is analysed at its own rate or, below 8 kHz, at 8 kHz.
class PitchProcess {
 public:
  PitchProcess(const PitchParameters& parameters, int sample_rate) : tracker_(parameters) {
    if (sample_rate != parameters.sample_rate) resampler_.emplace(sample_rate, parameters.sample_rate);
  }
  void push(std::span<const float> samples, std::vector<PitchFrame>& frames) {
    if (resampler_) resampler_->push(samples, resampled_);
    tracker_.push(resampler_ ? std::span<const float>(resampled_) : samples, frames);
    resampled_.clear();
  }
  void finish(std::vector<PitchFrame>& frames) {
    if (resampler_) resampler_->finish(resampled_);
    tracker_.push(resampled_, frames);
    resampled_.clear();
    tracker_.finish(frames);
  }

 private:
  speech::PitchTracker tracker_;
  std::optional<speech::Resampler> resampler_;
  std::vector<float> resampled_;
};

py::array_t<float> pitch_array(const std::vector<PitchFrame>& frames) {
  std::vector<float> values;
  values.reserve(3 * frames.size());
  for (const PitchFrame& frame : frames) {
    values.insert(values.end(), {frame.frequency, frame.correlation, frame.probability});
  }
  return owned(std::move(values), 3);
}

class PitchTracker {
 public:
  PitchTracker(const PitchParameters& given, int sample_rate, double shift, std::optional<double> scale)
      : process_([=] {
          PitchParameters parameters = given;
          parameters.sample_rate = std::max(sample_rate, 8000);
          const double samples = std::round(shift * parameters.sample_rate);
          if (!(samples >= 1.0 && samples <= speech::kLongestFrame)) {
            throw std::invalid_argument("shift: the seconds from frame to frame, not " + std::to_string(shift));
          }
          parameters.shift = static_cast<int>(samples);
          return std::make_unique<PitchProcess>(parameters, sample_rate);
        }),
        scale_(scale) {}

  py::array_t<float> push(const py::object& block) {
    return pitch_array(process_.push(Samples(block, "block", scale_)));
  }
  py::array_t<float> finish() { return pitch_array(process_.finish()); }
  py::array_t<float> whole(const py::object& y, const std::string& name) {
    return pitch_array(process_.whole(Samples(y, name, scale_)));
  }

 private:
  SharedProcess<PitchProcess, PitchFrame> process_;
  std::optional<double> scale_;
};

// The methods that all of them have.
template <class Stream>
py::class_<Stream> add_stream(py::module_& module, const char* name) {
  return py::class_<Stream>(module, name)
      .def("push", &Stream::push, py::arg("block"))
      .def("finish", &Stream::finish)
      .def("whole", &Stream::whole, py::arg("y"), py::arg("name") = "y");
}

void add_parameters(py::module_& module) {
  py::class_<SegmentRules>(module, "SegmentRules")
      .def(py::init<>())
      .def_readwrite("minimum_pause", &SegmentRules::minimum_pause)
      .def_readwrite("minimum_speech", &SegmentRules::minimum_speech)
      .def_readwrite("trim", &SegmentRules::trim)
      .def_readwrite("margin", &SegmentRules::margin);
  py::class_<PitchParameters>(module, "PitchParameters")
      .def(py::init<>())
      .def_readwrite("low_frequency", &PitchParameters::low_frequency)
      .def_readwrite("high_frequency", &PitchParameters::high_frequency)
      .def_readwrite("voicing_threshold", &PitchParameters::voicing_threshold)
      .def_readwrite("silence_threshold", &PitchParameters::silence_threshold)
      .def_readwrite("octave_cost", &PitchParameters::octave_cost)
      .def_readwrite("jump_cost", &PitchParameters::jump_cost)
      .def_readwrite("transition_cost", &PitchParameters::transition_cost);
}

}  // namespace

void add_noise(py::module_& module) {
  module.def("enhancement_methods", speech::enhancement_methods);
  add_parameters(module);
  using Scale = std::optional<double>;
  add_stream<Enhancer>(module, "Enhancer")
      .def(py::init<const std::string&, int, Scale>(), py::arg("method"), py::arg("sample_rate"), py::arg("scale"))
      .def_property_readonly("delay", &Enhancer::delay);
  add_stream<Resampler>(module, "Resampler")
      .def(py::init<int, int, Scale>(), py::arg("from_rate"), py::arg("to_rate"), py::arg("scale"));
  add_stream<VoiceDetector>(module, "VoiceDetector")
      .def(py::init<int, bool, const SegmentRules&, Scale>(), py::arg("sample_rate"), py::arg("sixteen_bits"),
           py::arg("rules"), py::arg("scale"));
  add_stream<PitchTracker>(module, "PitchTracker")
      .def(py::init<const PitchParameters&, int, double, Scale>(), py::arg("parameters"), py::arg("sample_rate"),
           py::arg("shift"), py::arg("scale"));
}

}  // namespace kivsr::python
