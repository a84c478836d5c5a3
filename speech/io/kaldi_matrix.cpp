#include "kivsr/speech/io/kaldi_matrix.h"

#include <algorithm>
#include <array>
#include <bit>
#include <climits>

#include "kivsr/speech/io/byte_order.h"
#include "kivsr/speech/io/little_endian.h"
#include "kivsr/speech/io/number_text.h"

namespace kivsr::speech {

namespace {

constexpr std::int64_t kBlockValues = 16384;  // that are read at a time, in whole rows
constexpr std::uint8_t kSizeOfInt = 4;        // stands before each number of rows, columns, values

constexpr std::array<const char*, 9> kNames{"FM", "DM", "FV", "DV", "CM", "CM2", "CM3", "text matrix", "text vector"};

float float_of(std::span<const std::uint8_t> bytes) {
  return std::bit_cast<float>(static_cast<std::uint32_t>(bits_of(bytes.first(4))));
}

// A byte of a compressed column: straight pieces between its least value, quartiles and largest value.
float value_of(const std::array<float, 4>& percentiles, std::uint8_t byte) {
  const auto [least, first, third, largest] = percentiles;
  if (byte <= 64) return least + (first - least) * static_cast<float>(byte) * (1.0F / 64.0F);
  if (byte <= 192) return first + (third - first) * static_cast<float>(byte - 64) * (1.0F / 128.0F);
  return third + (largest - third) * static_cast<float>(byte - 192) * (1.0F / 63.0F);
}

bool is_space(char character) { return character == ' ' || character == '\t' || character == '\r'; }

}  // namespace

const char* kaldi_type_name(KaldiType type) { return kNames[static_cast<std::size_t>(type)]; }

bool KaldiMatrixReader::is_vector() const {
  return type_ == KaldiType::kFloatVector || type_ == KaldiType::kDoubleVector || type_ == KaldiType::kTextVector;
}

KaldiMatrixReader::KaldiMatrixReader(BinaryFile& file) : file_(&file) {
  const auto mark = file.peek(2);
  if (mark.size() < 2 || mark[0] != '\0' || mark[1] != 'B') {
    open_text();
    return;
  }
  file.skip(2, "the mark of binary data");
  const auto ahead = file.peek(4);
  const std::string word(ahead.begin(), std::find(ahead.begin(), ahead.end(), std::uint8_t{' '}));
  const auto named = std::find(kNames.begin(), kNames.begin() + 7, word);
  if (word.size() == ahead.size() || named == kNames.begin() + 7) {
    file.fail("byte " + std::to_string(file.position()) + ": no matrix or vector of floats");
  }
  file.skip(static_cast<std::int64_t>(word.size()) + 1, "the type");
  type_ = static_cast<KaldiType>(named - kNames.begin());
  word[0] == 'C' ? open_compressed() : open_packed();
}

void KaldiMatrixReader::open_packed() {
  value_bytes_ = type_ == KaldiType::kFloatMatrix || type_ == KaldiType::kFloatVector ? 4 : 8;
  const auto count = [&](const char* what) {
    if (file_->read_bytes(1, what)[0] != kSizeOfInt) file_->fail(std::string(what) + " is not an integer of 4 bytes");
    return file_->read_count(what);
  };
  const int first = count(is_vector() ? "the number of values" : "the number of rows");
  width_ = is_vector() ? first : count("the number of columns");
  height_ = is_vector() ? (first > 0 ? 1 : 0) : first;
  if (width_ == 0 && height_ > 0) file_->fail("a matrix has rows without values");
  if (width_ > 0 && height_ > INT_MAX / width_) file_->fail("too many values");
  file_->require(height_ * width_ * value_bytes_, "the values");
}

void KaldiMatrixReader::open_compressed() {
  const auto header = file_->read_bytes(8, "the range");
  least_ = float_of(header);
  const float range = float_of(header.subspan(4));
  height_ = file_->read_count("the number of rows");
  width_ = file_->read_count("the number of columns");
  if (width_ == 0 && height_ > 0) file_->fail("a matrix has rows without values");
  if (width_ > 0 && height_ > INT_MAX / width_) file_->fail("too many values");
  if (type_ == KaldiType::kCompressed) return read_columns(least_, range);
  value_bytes_ = type_ == KaldiType::kCompressed16 ? 2 : 1;
  step_ = range * (type_ == KaldiType::kCompressed16 ? 1.0F / 65535.0F : 1.0F / 255.0F);
  file_->require(height_ * width_ * value_bytes_, "the values");
}

void KaldiMatrixReader::read_columns(float least, float range) {
  constexpr std::int64_t kColumnHeader = 8;
  if (height_ == 0) return;
  file_->require(width_ * (kColumnHeader + height_), "the values");
  std::vector<std::array<float, 4>> percentiles(static_cast<std::size_t>(width_));
  for (auto& column : percentiles) {
    for (float& value : column) {
      value = least + range * 1.52590218966964e-05F * static_cast<float>(file_->read_half_word("the percentiles"));
    }
  }
  const auto width = static_cast<std::size_t>(width_);
  held_floats_.resize(static_cast<std::size_t>(height_) * width);
  for (std::size_t column = 0; column < width; ++column) {
    const auto bytes = file_->read_bytes(height_, "the values");
    for (std::size_t row = 0; row < bytes.size(); ++row) {
      held_floats_[row * width + column] = value_of(percentiles[column], bytes[row]);
    }
  }
}

// "[", numbers in lines or between semicolons, "]". Without the end of a line behind the bracket it is a vector.
void KaldiMatrixReader::open_text() {
  const std::int64_t place = file_->position();
  const auto bad = [&](const std::string& what) {
    file_->fail("the matrix at byte " + std::to_string(place) + " " + what);
  };
  while (true) {
    const auto next = file_->peek(1);
    const char character = next.empty() ? '\0' : static_cast<char>(next[0]);
    if (!is_space(character) && character != '[') bad("does not begin with [");
    file_->skip(1, "a space");
    if (character == '[') break;
  }
  const std::string text = file_->read_until(']', "a matrix");
  if (!file_->peek(1).empty() && file_->peek(1)[0] == '\r') file_->skip(1, "the end of the line");
  if (!file_->peek(1).empty() && file_->peek(1)[0] == '\n') file_->skip(1, "the end of the line");
  type_ = text.find_first_of("\n;") == std::string::npos ? KaldiType::kTextVector : KaldiType::kTextMatrix;
  std::size_t row_start = 0;
  for (std::size_t at = 0; at <= text.size();) {
    if (at == text.size() || text[at] == '\n' || text[at] == ';') {
      const std::size_t values = held_.size() - row_start;
      if (values > INT_MAX || (width_ > 0 && values > 0 && values != static_cast<std::size_t>(width_))) {
        bad("has rows of " + std::to_string(width_) + " and of " + std::to_string(values) + " values");
      }
      if (values > 0) width_ = static_cast<int>(values), ++height_;
      row_start = held_.size();
      ++at;
    } else if (is_space(text[at])) {
      ++at;
    } else {
      const std::size_t end = std::min(text.find_first_of(" \t\r\n;", at), text.size());
      const std::string_view number = std::string_view(text).substr(at, end - at);
      if (!read_any_number(number, held_.emplace_back())) bad("holds '" + std::string(number.substr(0, 40)) + "'");
      at = end;
    }
  }
  if (height_ > 0 && height_ > INT_MAX / width_) bad("has too many values");
}

template <class Value>
bool KaldiMatrixReader::read_rows(std::vector<Value>& values) {
  if (done_ >= height_) return false;
  const std::int64_t rows = std::min(height_ - done_, std::max<std::int64_t>(kBlockValues / width_, 1));
  const auto first = static_cast<std::size_t>(done_ * width_);
  const auto count = static_cast<std::size_t>(rows * width_);
  done_ += rows;
  const auto take = [&](const auto& held) {
    for (std::size_t i = first; i < first + count; ++i) values.push_back(static_cast<Value>(held[i]));
    return true;
  };
  if (!held_floats_.empty()) return take(held_floats_);
  if (!held_.empty()) return take(held_);
  const auto size = static_cast<std::size_t>(value_bytes_);
  const auto bytes = file_->read_bytes(static_cast<std::int64_t>(count * size), "the values");
  for (std::size_t at = 0; at < bytes.size(); at += size) {
    const std::uint64_t bits = bits_of(bytes.subspan(at, size));
    if (size == 8) {
      values.push_back(static_cast<Value>(std::bit_cast<double>(bits)));
    } else if (size == 4) {
      values.push_back(static_cast<Value>(std::bit_cast<float>(static_cast<std::uint32_t>(bits))));
    } else {
      values.push_back(static_cast<Value>(least_ + step_ * static_cast<float>(bits)));
    }
  }
  return true;
}

void KaldiMatrixReader::skip_rows(std::int64_t rows) {
  rows = std::min(rows, height_ - done_);
  done_ += rows;
  if (held_.empty() && held_floats_.empty()) file_->skip(rows * width_ * value_bytes_, "the values");
}

template bool KaldiMatrixReader::read_rows(std::vector<float>& values);
template bool KaldiMatrixReader::read_rows(std::vector<double>& values);

template <class T>
std::string kaldi_bytes(std::span<const T> values, int width, bool text) {
  const std::size_t height = width > 0 ? values.size() / static_cast<std::size_t>(width) : 0;
  if (text) {
    std::string lines = " [";
    for (std::size_t i = 0; i < values.size(); ++i) {
      lines += i % static_cast<std::size_t>(width) == 0 ? "\n  " : " ";
      lines += exact_text(values[i]);
    }
    return lines + " ]\n";
  }
  LittleEndianBytes bytes;
  bytes.put_text(std::string_view(sizeof(T) == 4 ? "\0BFM " : "\0BDM ", 5));
  for (const std::size_t size : {height, height > 0 ? static_cast<std::size_t>(width) : 0}) {
    bytes.put_8(kSizeOfInt);
    bytes.put_32(static_cast<std::uint32_t>(size));
  }
  for (const T value : values) {
    if constexpr (sizeof(T) == 4) {
      bytes.put_float(value);
    } else {
      bytes.put_double(value);
    }
  }
  return std::string(bytes.text());
}

template std::string kaldi_bytes(std::span<const float> values, int width, bool text);
template std::string kaldi_bytes(std::span<const double> values, int width, bool text);

}  // namespace kivsr::speech
