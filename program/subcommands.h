// One function a subcommand, each in the file of its name: adds the subcommand with its options to the program and sets
// its callback, which does the work when the command line was read. Faults are thrown and reported by main.
#pragma once

#include "program/command.h"
#include "program/speech_names.h"

namespace kivsr::program {

void add_adapt(Command program);
void add_align(Command program);
void add_enhance(Command program);
void add_features(Command program);
void add_help(Command program);
void add_info(Command program);
void add_phones(Command program);
void add_pitch(Command program);
void add_quantise(Command program);
void add_mix(Command program);
void add_recognise(Command program);
void add_score(Command program);
void add_selftest(Command program);
void add_show(Command program);
void add_spot(Command program);
void add_train(Command program);
void add_vad(Command program);

}  // namespace kivsr::program
