// kivsr train --dict: models of phones.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "kivsr/speech/front/recipe.h"
#include "kivsr/speech/train/phone_trainer.h"
#include "program/command.h"
#include "program/file_loop.h"
#include "program/speech_names.h"

namespace kivsr::program {

// What the command line says about phones.
struct PhoneOptions {
  std::string dictionary;  // empty: no phones
  std::string fillers;
  std::string questions;
  PhoneTrainingSettings settings;
  std::vector<Option> options;
  // Says of each setting given on the command line whether it is the stored one.
  std::vector<std::function<void(const PhoneTrainingSettings& stored, const std::string& model)>> comparisons;

  void add_to(Command command);
};

// What it says about the training as a whole.
struct PhoneTrainingRun {
  std::vector<TrainingItem> items;
  std::string list;    // their file
  std::string folder;  // of the model
  Recipe recipe;
  RowSource source;
  bool resume = false;
  int most_passes = -1;
  int jobs = 1;
  TrainingShare share;                 // of the list
  std::string statistics_file;         // only add up the part for the next pass, into this file
  std::vector<std::string> sum_files;  // only finish the pass with these
  std::function<void(const TrainingSettings& stored)> compare;
};

// "30 files, 3100 frames of 39 values".
std::string amount_text(const TrainingUtterances& utterances, int dimension);

void train_phones(const PhoneTrainingRun& run, const PhoneOptions& options);

}  // namespace kivsr::program
