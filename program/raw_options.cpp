#include "program/raw_options.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/feature_format.h"
#include "program/command.h"
#include "program/numbers.h"

namespace kivsr::program {

void add_raw_options(Command command, RawFormat& raw) {
  add_number(command, "--raw-rate", raw.sample_rate, 100, 1'000'000, "Sampling rate of audio without a header, Hz");
  const auto choose = [&raw](const std::string& word) {
    raw.big_endian = word == "big";
    raw.order_is_known = true;
  };
  command
      .add_option_function(
          "--raw-endian", choose,
          "Byte order of audio without a header, taken as it is (default: little, and bytes that look swapped are "
          "refused)")
      .one_of({"little", "big"});
}

void say_unused_raw_options(const RawFormat& raw, const std::vector<std::string>& files) {
  if (raw.sample_rate == 0 && !raw.order_is_known) return;
  const auto may_be_headerless = [&](const std::string& file) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error)) return true;  // a pipe is looked at once only
    try {
      return !is_feature_file(file) && AudioReader(file, raw).is_headerless();
    } catch (const Fault&) {
      return true;  // says itself what is wrong
    }
  };
  if (std::any_of(files.begin(), files.end(), may_be_headerless)) return;
  std::fprintf(stderr, "kivsr: no audio without a header is given, the --raw options are not used\n");
}

}  // namespace kivsr::program
