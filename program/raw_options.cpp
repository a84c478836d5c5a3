#include "program/raw_options.h"

#include <algorithm>
#include <cstdio>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/feature_format.h"
#include "program/numbers.h"

namespace kivsr::program {

void add_raw_options(CLI::App& command, RawFormat& raw) {
  add_number(command, "--raw-rate", raw.sample_rate, 100, 1'000'000, "Sampling rate of audio without a header, Hz");
  command.add_flag("--raw-big-endian", raw.big_endian, "Audio without a header has the high byte first");
  command.add_flag("--raw-order-known", raw.order_is_known,
                   "Take audio without a header as it is, even where its bytes look swapped");
}

void say_unused_raw_options(const RawFormat& raw, const std::vector<std::string>& files) {
  if (raw.sample_rate == 0 && !raw.big_endian && !raw.order_is_known) return;
  const auto is_headerless = [&](const std::string& file) {
    try {
      return !is_feature_file(file) && AudioReader(file, raw).is_headerless();
    } catch (const Fault&) {
      return true;  // says itself what is wrong
    }
  };
  if (std::any_of(files.begin(), files.end(), is_headerless)) return;
  std::fprintf(stderr, "kivsr: no audio without a header is given, the --raw options are not used\n");
}

}  // namespace kivsr::program
