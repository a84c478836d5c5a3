// A matrix of Kaldi, or a part of one, as a file of features.
#include <algorithm>
#include <string>

#include "kivsr/speech/io/feature_source.h"
#include "kivsr/speech/io/kaldi_matrix.h"

namespace kivsr::speech {

namespace {

class MatrixSource : public FeatureSource {
 public:
  MatrixSource(BinaryFile content, const KaldiPlace& place)
      : FeatureSource(std::move(content), FeatureFormat::kKaldi), matrix_(behind(file_, place.byte)) {
    encoding = kaldi_type_name(matrix_.type());
    last_row_ = matrix_.height();
    last_column_ = matrix_.width();
    if (place.first_row >= 0) {
      // Lists of segments round their ends up: up to three rows more are as many as there are.
      constexpr std::int64_t kRowsBeyond = 3;
      require(place.first_row < matrix_.height() && place.last_row < matrix_.height() + kRowsBeyond, "rows",
              place.first_row, place.last_row, matrix_.height());
      matrix_.skip_rows(place.first_row);
      row_ = place.first_row;
      last_row_ = std::min(place.last_row + 1, matrix_.height());
    }
    if (place.first_column >= 0) {
      require(place.last_column < matrix_.width(), "columns", place.first_column, place.last_column, matrix_.width());
      first_column_ = place.first_column;
      last_column_ = place.last_column + 1;
    }
    layout.width = static_cast<int>(last_column_ - first_column_);
    if (layout.width == 0) file_.fail("byte " + std::to_string(place.byte) + ": a matrix without values");
  }

  void read(FeatureMatrix& rows) override {
    values_.clear();
    if (row_ >= last_row_ || !matrix_.read(values_)) return;
    const auto width = matrix_.width();
    for (auto row = values_.begin(); row < values_.end() && row_ < last_row_; row += width, ++row_) {
      rows.values.insert(rows.values.end(), row + first_column_, row + last_column_);
    }
  }

 private:
  static BinaryFile& behind(BinaryFile& file, std::int64_t byte) {
    file.skip(byte, "what stands in front of the matrix");
    return file;
  }

  void require(bool inside, const char* what, std::int64_t first, std::int64_t last, std::int64_t count) const {
    if (inside) return;
    file_.fail(std::string(what) + " " + std::to_string(first) + " to " + std::to_string(last) +
               " are wanted, there are " + std::to_string(count));
  }

  KaldiMatrixReader matrix_;
  std::int64_t row_ = 0;
  std::int64_t last_row_ = 0;  // the one behind it
  std::ptrdiff_t first_column_ = 0;
  std::ptrdiff_t last_column_ = 0;
  std::vector<float> values_;
};

}  // namespace

std::unique_ptr<FeatureSource> open_matrix(BinaryFile content, const KaldiPlace& place) {
  return std::make_unique<MatrixSource>(std::move(content), place);
}

}  // namespace kivsr::speech
