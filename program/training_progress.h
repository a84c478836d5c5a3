// Progress of the subcommands that train and adapt, and what they say of recordings that cannot be used.
#pragma once

#include <functional>
#include <optional>

#include "kivsr/speech/train/trainer.h"
#include "program/file_loop.h"
#include "program/progress.h"
#include "program/speech_names.h"

namespace kivsr::program {

using UtteranceLoader = std::function<TrainingUtterances(const FileListener& begin, const FaultListener& left_out)>;

// The share of so many utterances. Those that cannot be read are said, bad to hold them; one alone, or all of them, is
// a fault.
TrainingUtterances load_with_progress(std::size_t items, const TrainingShare& share, std::optional<BadFiles>& bad,
                                      const UtteranceLoader& load);

// What is wrong with the rows that a folder keeps, on standard error.
void say_of_kept_rows(const Fault& fault);

// Of a pass: with warnings a line on standard error names each utterance that cannot be used.
TrainingListener listener_of(Progress& progress, bool warnings);

}  // namespace kivsr::program
