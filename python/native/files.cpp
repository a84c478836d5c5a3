// Files of audio and of features, read and written.
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>
#include <sndfile.h>

#include "kivsr/speech/front/feat_params.h"
#include "kivsr/speech/front/feature_file.h"
#include "kivsr/speech/front/utterance.h"
#include "kivsr/speech/io/audio_file.h"
#include "kivsr/speech/io/audio_writer.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/feature_reader.h"
#include "native/bindings.h"
#include "native/rows.h"

namespace kivsr::python {

namespace {

using std::filesystem::path;

constexpr float kUnit = 1.0F / 32768.0F;  // a power of two: nothing is lost

void scale_down(std::vector<float>& samples) {
  for (float& sample : samples) sample *= kUnit;
}

py::tuple read_audio(const path& file, int sample_rate, const speech::RawFormat& raw) {
  speech::Audio audio;
  {
    const py::gil_scoped_release released;
    audio = sample_rate > 0 ? speech::read_audio_at(file, sample_rate, raw) : speech::read_audio(file, raw);
    scale_down(audio.samples);
  }
  return py::make_tuple(owned(std::move(audio.samples)), audio.sample_rate);
}

py::tuple read_audio_channels(const path& file, const speech::RawFormat& raw) {
  speech::AudioChannels audio;
  std::vector<float> values;
  {
    const py::gil_scoped_release released;
    audio = speech::read_audio_channels(file, raw);
    values.reserve(audio.channels.size() * audio.channels.front().size());
    for (const auto& channel : audio.channels) values.insert(values.end(), channel.begin(), channel.end());
    scale_down(values);
  }
  const auto samples = static_cast<int>(audio.channels.front().size());
  return py::make_tuple(owned(std::move(values), samples), audio.sample_rate);
}

// One channel, block after block.
class AudioBlocks {
 public:
  AudioBlocks(const path& file, int sample_rate, const speech::RawFormat& raw)
      : reader_(file, sample_rate, raw), rate_(sample_rate > 0 ? sample_rate : reader_.file().sample_rate()) {}

  int sample_rate() const { return rate_; }
  py::array_t<float> next() {
    std::vector<float> samples;
    bool more = true;
    {
      const py::gil_scoped_release released;
      const std::lock_guard lock(mutex_);
      while (more && samples.empty()) more = reader_.read(samples);
      scale_down(samples);
    }
    if (samples.empty()) throw py::stop_iteration();
    return owned(std::move(samples));
  }

 private:
  std::mutex mutex_;
  speech::MonoReader reader_;
  int rate_;
};

int sample_format(const std::string& name) {
  if (name == "pcm16") return SF_FORMAT_PCM_16;
  if (name == "pcm24") return SF_FORMAT_PCM_24;
  if (name == "float") return SF_FORMAT_FLOAT;
  throw py::value_error("sample_format: '" + name + "' is none of pcm16, pcm24, float");
}

// channels: an array for each, of one length.
void write_audio(const path& file, const py::sequence& channels, int sample_rate, const std::string& format,
                 std::optional<double> scale) {
  speech::AudioChannels audio;
  audio.sample_rate = sample_rate;
  audio.sample_format = sample_format(format);
  for (const py::handle& channel : channels) {
    const Samples samples(channel, "y", scale);
    auto& values = audio.channels.emplace_back();
    values.reserve(samples.require_some().size());
    samples.each_block([&](std::span<const float> part) { values.insert(values.end(), part.begin(), part.end()); });
  }
  const py::gil_scoped_release released;
  speech::check_audio_name(file);
  speech::OutputFile output(file);
  speech::write_audio(output, file, audio);
  output.commit();
}

py::array_t<float> read_features(const path& file, int width) {
  if (width < 1) throw py::value_error("width: the values of a row, not " + std::to_string(width));
  speech::FeatureMatrix rows;
  {
    const py::gil_scoped_release released;
    rows = speech::read_feature_file(file, width);
  }
  return rows_array(std::move(rows));
}

void write_features(const path& file, const py::object& rows, const std::optional<speech::Recipe>& recipe) {
  const speech::FeatureFormat format = speech::feature_format(file);
  const speech::FeatureMatrix matrix = rows_of(rows, "rows", recipe ? recipe->width() : 0, false);
  const py::gil_scoped_release released;
  const speech::Recipe written = recipe ? *recipe : speech::Recipe::of_features(matrix.width);
  speech::OutputFile output(file);
  speech::write_features(output, format, matrix, written);
  output.commit();
}

py::array_t<float> load_features(const path& file, const speech::Recipe& recipe, const speech::RawFormat& raw) {
  speech::Utterance utterance;
  {
    const py::gil_scoped_release released;
    speech::FeatureChain chain(recipe);
    utterance = speech::load_utterance(file, chain, raw);
  }
  return rows_array(std::move(utterance.features));
}

int file_rate(const path& file, const speech::RawFormat& raw) {
  const py::gil_scoped_release released;
  return speech::is_feature_file(file) ? 0 : speech::AudioReader(file, raw).sample_rate();
}

speech::Recipe model_recipe(const path& file) { return speech::read_feat_params(file).recipe(file); }

}  // namespace

void add_files(py::module_& module) {
  py::class_<speech::RawFormat>(module, "RawFormat").def(py::init([](int sample_rate, bool big_endian) {
    return speech::RawFormat{sample_rate, big_endian};
  }));
  module.def("read_audio", read_audio, py::arg("file"), py::arg("sample_rate"), py::arg("raw"));
  module.def("read_audio_channels", read_audio_channels, py::arg("file"), py::arg("raw"));
  module.def("write_audio", write_audio, py::arg("file"), py::arg("channels"), py::arg("sample_rate"),
             py::arg("sample_format"), py::arg("scale"));
  module.def("read_features", read_features, py::arg("file"), py::arg("width"));
  module.def("write_features", write_features, py::arg("file"), py::arg("rows"), py::arg("recipe"));
  module.def("load_features", load_features, py::arg("file"), py::arg("recipe"), py::arg("raw"));
  module.def("file_rate", file_rate, py::arg("file"), py::arg("raw"));
  module.def("model_recipe", model_recipe, py::arg("file"));
  py::class_<AudioBlocks>(module, "AudioBlocks")
      .def(py::init<const path&, int, const speech::RawFormat&>(), py::arg("file"), py::arg("sample_rate"),
           py::arg("raw"))
      .def_property_readonly("sample_rate", &AudioBlocks::sample_rate)
      .def("__iter__", [](AudioBlocks& blocks) -> AudioBlocks& { return blocks; })
      .def("__next__", &AudioBlocks::next);
}

}  // namespace kivsr::python
