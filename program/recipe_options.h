// Every field of a recipe as a command-line option, over a preset, a recipe in a file or a model's feat.params.
#pragma once

#include <deque>
#include <span>
#include <string>
#include <vector>

#include "kivsr/speech/front/recipe.h"
#include "kivsr/speech/io/audio_reader.h"
#include "program/command.h"
#include "program/speech_names.h"

namespace kivsr::program {

class RecipeOptions {
 public:
  // preset: where the recipe starts when the command line names nothing else.
  RecipeOptions(Command command, const std::string& preset);
  RecipeOptions(const RecipeOptions&) = delete;
  RecipeOptions& operator=(const RecipeOptions&) = delete;

  // After the command line was read: the start with the options applied, checked.
  // Another sampling rate alone keeps the window and the shift in seconds and the band within half the rate.
  // files: what it is for; the rate of the first one of audio chooses between the two forms of etsi-afe.
  Recipe recipe(std::span<const std::string> files = {}, const RawFormat& raw = {}) const;
  // Where the recipe starts from now on when the command line names nothing else.
  void start_from(const std::string& preset);
  // The same, but from rows of that width that are there already.
  void start_from_rows(int width) { rows_width_ = width; }
  // Whether the command line names a start.
  bool starts_somewhere() const;
  // Whether the command line says anything about the recipe.
  bool given() const;

 private:
  Recipe start(std::span<const std::string> files, const RawFormat& raw) const;
  Recipe named(std::span<const std::string> files, const RawFormat& raw) const;
  bool given(const std::string& name) const;

  Command command_;
  std::string preset_;
  int rows_width_ = 0;
  std::string recipe_file_;
  std::string feat_params_;
  std::deque<std::string> texts_;  // of the fields in their order
  std::vector<Option> options_;    // the same; empty for fields that are no options
};

}  // namespace kivsr::program
