#include "program/raw_options.h"

#include <CLI/CLI.hpp>

namespace kivsr::program {

void add_raw_options(CLI::App& command, RawFormat& raw) {
  command.add_option("--raw-rate", raw.sample_rate, "Sampling rate of audio without a header, Hz")
      ->check(CLI::PositiveNumber);
  command.add_flag("--raw-big-endian", raw.big_endian, "Audio without a header has the high byte first");
}

}  // namespace kivsr::program
