#include "program/report_text.h"

#include <cstdarg>
#include <cstdio>

#include "kivsr/speech/io/output_file.h"
#include "program/speech_names.h"

namespace kivsr::program {

std::string formatted(const char* format, ...) {
  char line[256];
  std::va_list values;
  va_start(values, format);
  std::vsnprintf(line, sizeof line, format, values);
  va_end(values);
  return line;
}

std::string counted(std::int64_t count, const char* one) {
  return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}

std::string joined(const std::vector<std::string>& words, std::string_view between) {
  std::string text;
  for (const std::string& word : words) {
    if (&word != &words.front()) text += between;
    text += word;
  }
  return text;
}

std::string in_quotes(const std::string& text) {
  std::string quoted = "\"";
  for (const char character : text) quoted += character == '"' ? std::string("\"\"") : std::string(1, character);
  return quoted + '"';
}

std::string comma_field(const std::string& text) {
  return text.find_first_of(",\"\n\r") == std::string::npos ? text : in_quotes(text);
}

void write_report(const std::string& file, std::string_view text) {
  if (file.empty()) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    return;
  }
  OutputFile output(file);
  output.write(text);
  output.commit();
}

}  // namespace kivsr::program
