#include "kivsr/speech/io/feature_reader.h"

#include <climits>
#include <string>
#include <utility>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/feature_source.h"

namespace kivsr::speech {

namespace {

FeatureName to_read(const std::filesystem::path& file) {
  if (const auto name = feature_name(file)) return *name;
  if (!is_standard_stream(file)) return {file, feature_format(file)};
  throw Fault("standard input: does not begin as rows of features do; htk:- or mfc:- if it holds those");
}

std::unique_ptr<FeatureSource> opened(const std::filesystem::path& file, int mfc_width) {
  if (mfc_width < 1) throw Fault("rows of " + std::to_string(mfc_width) + " values cannot be read");
  const FeatureName name = to_read(file);
  const KaldiPlace place = kaldi_place(name.file).value_or(KaldiPlace{.file = name.file});
  BinaryFile content(place.file);
  switch (name.format) {
    case FeatureFormat::kNpy: return open_npy(std::move(content));
    case FeatureFormat::kHtk: return open_htk(std::move(content));
    case FeatureFormat::kMfc: return open_mfc(std::move(content), mfc_width);
    case FeatureFormat::kArff: return open_arff(std::move(content));
    case FeatureFormat::kKaldi: return open_matrix(std::move(content), place);
    case FeatureFormat::kCsv:
    case FeatureFormat::kOpenSmile: break;
  }
  return open_table(std::move(content));
}

}  // namespace

FeatureReader::FeatureReader(const std::filesystem::path& file, int mfc_width) : source_(opened(file, mfc_width)) {}
FeatureReader::~FeatureReader() = default;
FeatureReader::FeatureReader(FeatureReader&&) noexcept = default;
FeatureReader& FeatureReader::operator=(FeatureReader&&) noexcept = default;

FeatureFormat FeatureReader::format() const { return source_->format; }
const FeatureLayout& FeatureReader::layout() const { return source_->layout; }
std::string FeatureReader::encoding() const { return source_->encoding; }
bool FeatureReader::has_frame_seconds() const { return source_->has_frame_seconds; }

bool FeatureReader::read(FeatureMatrix& rows) {
  rows.width = width();
  const std::size_t before = rows.values.size();
  source_->read(rows);
  return rows.values.size() > before;
}

FeatureMatrix read_feature_file(const std::filesystem::path& file, int mfc_width) {
  FeatureReader reader(file, mfc_width);
  FeatureMatrix rows{reader.width(), {}};
  while (reader.read(rows)) {
    if (rows.values.size() > INT_MAX) throw Fault(file.string() + ": too many values");
  }
  return rows;
}

}  // namespace kivsr::speech
