#include "program/audio_names.h"

#include "kivsr/speech/io/byte_source.h"
#include "kivsr/speech/io/extension.h"
#include "program/command.h"
#include "program/speech_names.h"

namespace kivsr::program {

void add_audio_format(Command command, std::string& format) {
  command
      .add_option(
          "--format", format,
          "Of what is written to a folder or to standard output: wav, flac or raw (16-bit, one channel; default: "
          "that of the input or wav)")
      .one_of({"wav", "flac", "raw"});
}

std::string audio_extension(const std::string& input, const std::string& format) {
  if (!format.empty()) return "." + format;
  const std::string own = lower_extension(input);
  return own == ".flac" || own == ".raw" ? own : ".wav";
}

std::string audio_name(const std::string& output, const std::string& format) {
  return is_standard_stream(output) && !format.empty() ? "standard output." + format : output;
}

}  // namespace kivsr::program
