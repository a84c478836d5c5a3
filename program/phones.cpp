// kivsr phones: audio or feature files to phones, without words.
#include <memory>

#include "program/command.h"
#include "program/numbers.h"
#include "program/raw_options.h"
#include "program/recognise_command.h"
#include "program/subcommands.h"
#include "program/transcript_format.h"

namespace kivsr::program {

void add_phones(Command program) {
  const Command command = program.add_subcommand("phones", "Recognise the phones of audio files, without words");
  const auto options = std::make_shared<RecogniseCommand>();
  options->phone_loop = true;
  options->weights = {
      .given = {.language_weight = 4.0F, .insertion_penalty = -2.0F}, .has_penalty = true, .has_cost = true};
  options->beams = {
      .given = {.state = 60.0F, .phone = 50.0F, .word = 40.0F}, .has_state = true, .has_phone = true, .has_word = true};
  add_file_options(
      command, options->files, Outputs::kShared,
      "WAV, FLAC, ... or .raw (16-bit, one channel); or cepstra of the model's front end: .npy, .htk, .mfc "
      "or .csv",
      "File to write (default: standard output)");
  add_acoustic_options(command, options->acoustic);
  command.add_option("--lm", options->ngram_file,
                     "n-gram model of phones: ARPA text or packed (default: any phone may follow any other)");
  command.add_option("--reference", options->reference_file,
                     "Phones that were said, lines \"phones (utterance-id)\", to count errors");
  command.add_flag("--alignment", options->alignment, "Print start and end of each phone in seconds");
  add_format_option(command, options->format);
  add_result_options(command, options->results);
  add_number(command, "--language-weight", options->weights.given.language_weight, 0, 1000,
             "Factor of the log weights of phones");
  add_number(command, "--insertion-penalty", options->weights.given.insertion_penalty, -10000, 10000,
             "Added to the log score for each phone");
  add_search_options(command, options->weights.given, options->beams.given, options->acoustic);
  add_raw_options(command, options->raw);
  command.callback([options] { options->run(); });
}

}  // namespace kivsr::program
