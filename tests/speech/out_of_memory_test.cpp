// Memory ends at every point of the speech library in turn: what comes out is std::bad_alloc, or the fault that the C
// library reports, and nothing is lost or half done.
#include <cstdlib>
#include <functional>
#include <new>
#include <sstream>

#include <gtest/gtest.h>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/decode/grammar.h"
#include "kivsr/speech/decode/mixture_scorer.h"
#include "kivsr/speech/decode/search_network.h"
#include "kivsr/speech/decode/viterbi_search.h"
#include "kivsr/speech/decode/word_errors.h"
#include "kivsr/speech/decode/word_network.h"
#include "kivsr/speech/front/presets.h"
#include "kivsr/speech/front/utterance.h"
#include "kivsr/speech/io/audio_writer.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/feature_reader.h"
#include "kivsr/speech/io/feature_writer.h"
#include "kivsr/speech/models/arpa_file.h"
#include "kivsr/speech/models/word_acoustic_model.h"
#include "kivsr/speech/models/word_model_file.h"
#include "kivsr/speech/noise/enhancer.h"
#include "kivsr/speech/noise/speech_segments.h"
#include "kivsr/speech/quantise/split_codebook.h"
#include "kivsr/speech/train/trainer.h"
#include "speech/support/signals.h"
#include "speech/support/temporary_folder.h"
#include "speech/train/training_data.h"
#include "support/failed_allocations.h"

namespace {

int allocations_left = -1;  // until one fails; below 0: none does

}  // namespace

// The compiler takes what it sees of the pair below for a mismatch.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif

// Of the whole program; only here does one fail.
void* operator new(std::size_t count) {
  if (allocations_left >= 0 && allocations_left-- == 0) throw std::bad_alloc();
  void* const block = std::malloc(count == 0 ? 1 : count);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new(std::size_t count, const std::nothrow_t&) noexcept {
  if (allocations_left >= 0 && allocations_left-- == 0) return nullptr;
  return std::malloc(count == 0 ? 1 : count);
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace kivsr::speech::test {
namespace {

// Fails the first, the second, ... allocation, of many every seventh, until the work gets through; returns how many
// there are.
int fail_each(const std::function<void()>& work) {
  work();  // what is made once and kept
  for (int number = 0; number < 100000; number += number < 200 ? 1 : 7) {
    allocations_left = number;
    try {
      work();
      const bool through = allocations_left >= 0;
      allocations_left = -1;
      if (through) return number;
    } catch (const std::bad_alloc&) {
      allocations_left = -1;
    } catch (const std::exception& error) {
      allocations_left = -1;
      ADD_FAILURE() << "allocation " << number << ": " << error.what();
      return -1;
    }
  }
  ADD_FAILURE() << "no end of allocations";
  return -1;
}

// The same for the allocations of the C library, which says so as a status.
void fail_each_below(const std::function<void()>& work) {
  for (int number = 1; number < 100000; ++number) {
    const kivsr::test::AllocationWatch watch(number);
    try {
      work();
    } catch (const std::bad_alloc&) {
    } catch (const Error& error) {
      ASSERT_EQ(error.status(), kivStatusNoMemory) << error.what();
    }
    ASSERT_EQ(watch.live(), 0) << "allocation " << number;
    if (watch.calls() < number) return;
  }
}

void expect_all_points(const char* what, int least, const std::function<void()>& work) {
  EXPECT_GE(fail_each(work), least) << what;
  fail_each_below(work);
}

TEST(OutOfMemory, FeaturesAndFiles) {
  const TemporaryFolder folder;
  const auto file = folder.write("a.wav", wav(whole(noise(2000)), 11025, 2));
  Recipe recipe = preset("mfcc");
  recipe.noise_reduction.method = NoiseMethod::kMcraEmns;
  recipe.equalisation = Equalisation::kFromMean;
  recipe.normalisation = Normalisation::kMeanVariance;
  recipe.dynamics = Dynamics::kRegression;
  recipe.pitch = true;
  expect_all_points("features", 100, [&] {
    FeatureChain chain(recipe);
    load_utterance(file, chain);
  });
  expect_all_points("recipe", 50, [&] { Recipe::parse(recipe.text(), "recipe"); });
  expect_all_points("sound", 10, [&] {
    OutputFile output(folder / "b.flac");
    write_audio(output, folder / "b.flac", read_audio_channels(file));
    output.commit();
  });
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"a.wav", "b.flac"})) << "no partial file is left";
}

TEST(OutOfMemory, NoiseAndSpeech) {
  const std::vector<float> samples = noise(4000);
  for (const std::string& method : enhancement_methods()) {
    expect_all_points(method.c_str(), 5, [&] {
      const auto enhancer = make_enhancer(method, 8000);
      std::vector<float> output;
      enhancer->push(samples, output);
      enhancer->finish(output);
    });
  }
  expect_all_points("segments", 5, [&] {
    SpeechSegmenter segmenter(Arithmetic::kSinglePrecision, {}, SpeechMethod::kVoices);
    std::vector<SpeechSegment> segments;
    segmenter.push(samples, segments);
    segmenter.finish(segments);
  });
}

TEST(OutOfMemory, RowsAndTexts) {
  const TemporaryFolder folder;
  const FeatureMatrix rows = random_rows(3, 2, 4);
  for (const FeatureFormat format :
       {FeatureFormat::kNpy, FeatureFormat::kHtk, FeatureFormat::kCsv, FeatureFormat::kArff}) {
    const auto file = folder / ("rows." + std::string(kFeatureFormatNames[static_cast<std::size_t>(format)]));
    expect_all_points(file.c_str(), 5, [&] {
      OutputFile output(file);
      write_features(output, format, rows, {.width = 2});
      output.commit();
      EXPECT_EQ(read_feature_file(file).height(), 3);
    });
  }
  const auto ngrams = folder.write("lm",
                                   "\\data\\\nngram 1=3\nngram 2=2\n\n\\1-grams:\n-1 <s> -0.5\n-1 a -0.5\n-1 b\n\n"
                                   "\\2-grams:\n-0.5 <s> a\n-0.5 a b\n\n\\end\\\n");
  expect_all_points("n-grams", 10, [&] { EXPECT_EQ(read_arpa_file(ngrams).words(), 3); });
  const auto transcripts = folder.write("transcripts", "<s> go forward(2) </s> (one)\nten (two)\n");
  expect_all_points("transcripts", 5, [&] {
    EXPECT_EQ(References::read(transcripts).find("one"), (std::vector<std::string>{"go", "forward"}));
  });
}

TEST(OutOfMemory, ModelsAndDecoder) {
  const TemporaryFolder folder;
  const WordModel model = small_model();
  const FeatureMatrix rows = random_rows(6, 3, 4);
  expect_all_points("recognise", 100, [&] {
    write_word_model(folder / "model", model);
    const WordRecogniser words = word_recogniser(read_word_model(folder / "model"), folder / "model");
    const Grammar grammar =
        parse_grammar("#JSGF V1.0;\ngrammar g;\npublic <r> = (aye | <s>)+ [no];\n<s> = /2/ no | aye no;", "grammar");
    const SearchNetwork network = build_search_network(grammar_network(grammar), words.dictionary, words.acoustic, {});
    const auto scorer = make_mixture_scorer(words.acoustic, {ScoreArithmetic::kSixteenBits, 0});
    ViterbiSearch search(network, words.acoustic, *scorer, {});
    for (int frame = 0; frame < rows.height(); ++frame) search.push(rows.row(frame));
    search.finish();
  });
  EXPECT_EQ(folder.names(), std::vector<std::string>{"model"});
}

TEST(OutOfMemory, TrainingAndCodebooks) {
  const TemporaryFolder folder;
  TrainingUtterances utterances;
  utterances.add("one", {1, 2});
  utterances.append(random_rows(30, 3, 4));
  expect_all_points("training", 50, [&] {
    WordModel model = small_model();
    const Statistics statistics = collect(model, utterances, TrainingSettings{}, {});
    statistics.write(folder / "sums");
    finish_pass(model, Statistics::read(folder / "sums", model), TrainingSettings{}, 0);
  });
  const FeatureMatrix rows = random_rows(20, 3, 4);
  expect_all_points("codebook", 20, [&] {
    std::vector<GroupCodebook> groups;
    groups.push_back(train_group(rows, {{0, 1, 2}, 2}, {1.0F, 1.0F, 1.0F}, CodebookRule::kWidest));
    const SplitCodebook book(Recipe::of_features(3), std::move(groups));
    OutputFile output(folder / "book");
    book.write(output);
    output.commit();
    const SplitCodebook read = SplitCodebook::read(folder / "book");
    read.decode(read.encode(rows), rows.height(), "book");
  });
}

}  // namespace
}  // namespace kivsr::speech::test
