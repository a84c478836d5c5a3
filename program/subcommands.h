// One function a subcommand, each in the file of its name: adds the subcommand with its options to the program and sets
// its callback, which does the work when the command line was read. Faults are thrown and reported by main.
#pragma once

#include "program/speech_names.h"

namespace CLI {
class App;
}

namespace kivsr::program {

void add_adapt(CLI::App& program);
void add_align(CLI::App& program);
void add_enhance(CLI::App& program);
void add_features(CLI::App& program);
void add_help(CLI::App& program);
void add_info(CLI::App& program);
void add_phones(CLI::App& program);
void add_pitch(CLI::App& program);
void add_quantise(CLI::App& program);
void add_mix(CLI::App& program);
void add_recognise(CLI::App& program);
void add_score(CLI::App& program);
void add_selftest(CLI::App& program);
void add_show(CLI::App& program);
void add_spot(CLI::App& program);
void add_train(CLI::App& program);
void add_vad(CLI::App& program);

}  // namespace kivsr::program
