// Tables of features as text: with commas, with semicolons as openSMILE writes them, and ARFF.
#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kivsr/speech/io/feature_source.h"
#include "kivsr/speech/io/number_text.h"

namespace kivsr::speech {

namespace {

constexpr int kRows = 1024;  // that are read at a time

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = std::min(text.find_first_not_of(" \t\r"), text.size());
  return text.substr(begin, std::min(text.find_last_not_of(" \t\r"), text.size() - 1) + 1 - begin);
}

// Quotation marks of either kind hold separators; they stay.
std::vector<std::string> fields_of(const std::string& line, char separator) {
  std::vector<std::string> fields;
  std::size_t begin = 0;
  char quote = '\0';
  for (std::size_t at = 0; at < line.size(); ++at) {
    if (quote != '\0') {
      if (line[at] == quote) quote = '\0';
    } else if (line[at] == '\'' || line[at] == '"') {
      quote = line[at];
    } else if (line[at] == separator) {
      fields.emplace_back(trimmed(std::string_view(line).substr(begin, at - begin)));
      begin = at + 1;
    }
  }
  fields.emplace_back(trimmed(std::string_view(line).substr(begin)));
  return fields;
}

std::string unquoted(const std::string& text) {
  const bool quoted = text.size() > 1 && (text[0] == '\'' || text[0] == '"') && text.back() == text[0];
  return quoted ? text.substr(1, text.size() - 2) : text;
}

std::string lower(std::string text) {
  for (char& character : text)
    character = static_cast<char>(character >= 'A' && character <= 'Z' ? character + 32 : character);
  return text;
}

enum class Column { kOther, kTime, kName, kValue };

class TableSource : public FeatureSource {
 public:
  using FeatureSource::FeatureSource;

  void open_table() {
    encoding = "text";
    const std::string line = file_.read_line("the names of the columns");
    separator_ = line.find(';') == std::string::npos ? ',' : ';';
    const auto names = fields_of(line, separator_);
    const bool smile = separator_ == ';';
    if (smile) format = FeatureFormat::kOpenSmile;
    for (const std::string& name : names) add_column(unquoted(name), true);
    const bool timed =
        columns_[0] == Column::kTime || (smile && std::count(columns_.begin(), columns_.end(), Column::kTime) == 1);
    if (!timed || layout.width == 0) {
      file_.fail(smile ? "the first line does not name the columns: name;frameTime, then those of the features"
                       : "the first line does not name the columns: time_s, then those of the features");
    }
    find_frame_seconds();
  }

  void open_arff() {
    encoding = "text";
    for (line_ = 1;; ++line_) {
      const std::string line(trimmed(file_.read_line("the header")));
      const std::string word = lower(line.substr(0, line.find_first_of(" \t")));
      if (word == "@data") break;
      if (word == "@attribute") add_attribute(line.substr(word.size()));
      if (!line.empty() && line[0] != '%' && word != "@attribute" && word != "@relation") {
        file_.fail("line " + std::to_string(line_) + " does not belong into a header");
      }
    }
    if (layout.width == 0) file_.fail("no attribute is a number");
    find_frame_seconds();
  }

  void read(FeatureMatrix& rows) override {
    for (int row = 0; row < kRows && file_.position() < file_.size();) {
      ++line_;
      const std::string text = file_.read_line("line " + std::to_string(line_));
      if (is_remark(text)) continue;
      take_line(fields_of(text, separator_), rows.values);
      ++row;
    }
  }

 private:
  // Of ARFF: a line that is empty counts too.
  bool is_remark(const std::string& line) const {
    return format == FeatureFormat::kArff && (trimmed(line).empty() || trimmed(line)[0] == '%');
  }

  void add_column(const std::string& name, bool number) {
    Column column = number ? Column::kValue : Column::kOther;
    if (name == "time_s" || name == "frameTime") column = Column::kTime;
    if (name == "name" || name == "frameIndex") column = Column::kName;
    columns_.push_back(column);
    if (column != Column::kValue) return;
    layout.columns.push_back(name);
    ++layout.width;
  }

  // "NAME TYPE"; a name with spaces stands in quotation marks.
  void add_attribute(const std::string& text) {
    const std::string rest(trimmed(text));
    const bool quoted = !rest.empty() && (rest[0] == '\'' || rest[0] == '"');
    const std::size_t end = quoted ? rest.find(rest[0], 1) : rest.find_first_of(" \t");
    if (end == std::string::npos) file_.fail("line " + std::to_string(line_) + ": an attribute has no type");
    const std::string type = lower(std::string(trimmed(std::string_view(rest).substr(end + 1))));
    const std::string name = quoted ? rest.substr(1, end - 1) : rest.substr(0, end);
    add_column(name, type == "numeric" || type == "real" || type == "integer");
  }

  [[noreturn]] void fail_at_line(const std::string& what) const { file_.fail("line " + std::to_string(line_) + what); }

  double number_of(const std::string& field) const {
    float value = 0.0F;
    if (format == FeatureFormat::kArff && field == "?") return std::numeric_limits<double>::quiet_NaN();
    if (!read_any_number(field, value)) fail_at_line(": '" + field.substr(0, 40) + "' is not a number");
    return value;
  }

  void take_line(const std::vector<std::string>& fields, std::vector<float>& values) {
    if (fields.size() != columns_.size()) {
      fail_at_line(" has " + std::to_string(fields.size()) + " fields, the first " + std::to_string(columns_.size()));
    }
    for (std::size_t i = 0; i < fields.size(); ++i) {
      if (columns_[i] == Column::kValue) values.push_back(static_cast<float>(number_of(fields[i])));
    }
  }

  // The distance of the times of the first two rows, which stay unread.
  void find_frame_seconds() {
    const auto time = std::find(columns_.begin(), columns_.end(), Column::kTime);
    if (time == columns_.end()) return;
    const auto ahead = file_.peek(65536);
    const std::string text(ahead.begin(), ahead.end());
    double times[2] = {};
    std::size_t found = 0;
    for (std::size_t begin = 0, end = 0; found < 2; begin = end + 1) {
      end = text.find('\n', begin);
      if (end == std::string::npos) return;
      const std::string line = text.substr(begin, end - begin);
      if (is_remark(line)) continue;
      const auto fields = fields_of(line, separator_);
      if (fields.size() != columns_.size() ||
          !read_number(fields[static_cast<std::size_t>(time - columns_.begin())], times[found++])) {
        return;
      }
    }
    has_frame_seconds = times[1] > times[0];
    if (has_frame_seconds) layout.frame_seconds = times[1] - times[0];
  }

  std::vector<Column> columns_;
  char separator_ = ',';
  std::int64_t line_ = 1;  // the last that was read
};

}  // namespace

std::unique_ptr<FeatureSource> open_table(BinaryFile content) {
  auto source = std::make_unique<TableSource>(std::move(content), FeatureFormat::kCsv);
  source->open_table();
  return source;
}

std::unique_ptr<FeatureSource> open_arff(BinaryFile content) {
  auto source = std::make_unique<TableSource>(std::move(content), FeatureFormat::kArff);
  source->open_arff();
  return source;
}

}  // namespace kivsr::speech
