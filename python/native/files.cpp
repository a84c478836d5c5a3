// Files of audio and of features, read and written.
#include <climits>
#include <filesystem>
#include <memory>
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
#include "kivsr/speech/io/kaldi_archive.h"
#include "kivsr/speech/io/kaldi_matrix.h"
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

speech::FeatureFormat format_of(const path& file, const std::optional<std::string>& name) {
  if (!name) return speech::feature_format(file);
  if (const auto format = speech::named_feature_format(*name)) return *format;
  throw py::value_error("format: '" + *name + "' is none of npy, htk, mfc, csv, opensmile, arff, mat");
}

void write_features(const path& file, const py::object& rows, const std::optional<speech::Recipe>& recipe,
                    const std::optional<std::string>& format_name, bool checksum) {
  const speech::FeatureFormat format = format_of(file, format_name);
  const speech::FeatureMatrix matrix = rows_of(rows, "rows", recipe ? recipe->width() : 0, false);
  const py::gil_scoped_release released;
  speech::FeatureLayout layout = speech::layout_of(recipe ? *recipe : speech::Recipe::of_features(matrix.width));
  layout.name = file.stem().string();
  if (checksum) layout.htk_kind |= speech::kHtkChecksum;
  speech::OutputFile output(file);
  speech::write_features(output, format, matrix, layout);
  output.commit();
}

speech::KaldiSpecifier specifier_of(const std::string& name) {
  if (const auto specifier = speech::kaldi_specifier(name)) return *specifier;
  throw py::value_error("archive: '" + name + "' is none of ark:FILE, scp:FILE, ark,scp:FILE,LIST, a .ark, a .scp");
}

// A matrix as it is kept, float or double; a vector of one dimension.
template <class Value>
py::array matrix_array(speech::KaldiMatrixReader& reader) {
  auto values = std::make_unique<std::vector<Value>>();
  {
    const py::gil_scoped_release released;
    while (reader.read(*values)) {
    }
  }
  const auto width = static_cast<py::ssize_t>(reader.width());
  const py::capsule owner(values.get(), [](void* held) { delete static_cast<std::vector<Value>*>(held); });
  const Value* const data = values.release()->data();
  if (reader.is_vector()) return py::array_t<Value>({width}, data, owner);
  return py::array_t<Value>({static_cast<py::ssize_t>(reader.height()), width}, data, owner);
}

py::object read_entry(const std::string& name) {
  if (!speech::is_feature_file(name)) return read_audio(name, 0, {});
  const auto place = speech::kaldi_place(name);
  if (!place || place->first_row >= 0 || place->first_column >= 0) return read_features(name, 13);
  speech::BinaryFile file(place->file);
  file.skip(place->byte, "what stands in front of the matrix");
  speech::KaldiMatrixReader reader(file);
  const bool wide =
      reader.type() == speech::KaldiType::kDoubleMatrix || reader.type() == speech::KaldiType::kDoubleVector;
  return wide ? matrix_array<double>(reader) : matrix_array<float>(reader);
}

std::vector<std::pair<std::string, std::string>> archive_places(const std::string& name) {
  const speech::KaldiSpecifier specifier = specifier_of(name);
  const py::gil_scoped_release released;
  std::vector<std::pair<std::string, std::string>> places;
  for (const auto& [key, place] : speech::archive_entries(specifier)) places.emplace_back(key, place);
  return places;
}

class ArchiveOutput {
 public:
  explicit ArchiveOutput(const std::string& name) : writer_(specifier_of(name)) {}
  void append(const std::string& key, const py::object& rows) {
    const auto array = py::array::ensure(rows);
    if (array && array.dtype().kind() == 'f' && array.dtype().itemsize() == 8 && array.ndim() == 2) {
      const auto packed = py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(array);
      if (!packed || packed.shape(1) < 1 || packed.shape(1) > INT_MAX)
        throw py::value_error(key + ": rows without values");
      writer_.append(key, std::span(packed.data(), static_cast<std::size_t>(packed.size())),
                     static_cast<int>(packed.shape(1)));
      return;
    }
    writer_.append(key, rows_of(rows, key, 0, false));
  }
  void commit() { writer_.commit(); }

 private:
  speech::ArchiveWriter writer_;
};

// The file behind the name of a place in it.
std::string file_of(const std::string& name) {
  const auto place = speech::kaldi_place(name);
  return place ? place->file.string() : name;
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
  module.def("write_features", write_features, py::arg("file"), py::arg("rows"), py::arg("recipe"), py::arg("format"),
             py::arg("checksum"));
  module.def("archive_places", archive_places, py::arg("archive"));
  module.def("read_entry", read_entry, py::arg("name"));
  module.def("file_of", file_of, py::arg("name"));
  py::class_<ArchiveOutput>(module, "ArchiveOutput")
      .def(py::init<const std::string&>(), py::arg("archive"))
      .def("append", &ArchiveOutput::append, py::arg("key"), py::arg("rows"))
      .def("commit", &ArchiveOutput::commit);
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
