// kivsr train through the program: recognition with its models, going on after an interruption, parts, faults.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <sstream>

#include "kivsr/speech/models/word_model_file.h"
#include "speech/models/model_bytes.h"
#include "speech/support/command.h"
#include "speech/support/signals.h"
#include "speech/train/training_data.h"

namespace kivsr::program::test {

using namespace speech;
using namespace speech::test;

namespace {

const std::filesystem::path kDigits = kTestData / "tidigits";

std::string bytes_of_floats(const std::vector<float>& values) {
  std::string bytes = little_endian(static_cast<std::uint32_t>(values.size()), 4);
  for (const float value : values) bytes += little_endian(std::bit_cast<std::uint32_t>(value), 4);
  return bytes;
}

// The utterances of the digits, every so many of them or the others.
std::vector<std::string> digit_files(int step, bool others = false) {
  std::istringstream lines(read_file(kDigits / "tidigits.ctl"));
  std::vector<std::string> names;
  int number = 0;
  for (std::string name; lines >> name; ++number) {
    if ((number % step != 0) == others) names.push_back(name);
  }
  return names;
}

std::string train_digits(const std::filesystem::path& list, const std::filesystem::path& model) {
  return "train --list " + quoted(list) + " --folder " + quoted(kDigits) + " --transcripts " +
         quoted(kDigits / "tidigits.lsn") + " --extension .mfc --model " + quoted(model);
}

std::string lines_of(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += name + "\n";
  return text;
}

TEST(Train, DigitsThatWereNotInTheTraining) {
  const TemporaryFolder folder;
  const auto list = folder.write("list", lines_of(digit_files(5, true)));
  const CommandResult first = run_kivsr(train_digits(list, folder / "first") + " --variance-prior 10");
  ASSERT_EQ(first.status, 0) << first.errors;
  EXPECT_EQ(first.errors, "");
  const CommandResult second =
      run_kivsr(train_digits(list, folder / "second") + " --variance-prior 10 --components 2 " +
                "--frames-per-state 4 --align-with " + quoted(folder / "first"));
  ASSERT_EQ(second.status, 0) << second.errors;
  const WordModel model = read_word_model(folder / "second");
  ASSERT_EQ(model.units.size(), 12U);
  EXPECT_GT(model.units[static_cast<std::size_t>(model.find_unit("zero"))].states,
            model.units[static_cast<std::size_t>(model.find_unit("oh"))].states)
      << "longer words have more states";

  std::string files;
  for (const std::string& name : digit_files(5)) files += " " + quoted(kDigits / (name + ".mfc"));
  const CommandResult result = run_kivsr("recognise --model " + quoted(folder / "second") + " --reference " +
                                         quoted(kDigits / "tidigits.lsn") + files);
  ASSERT_EQ(result.status, 0) << result.errors;
  int errors = -1;
  int words = 0;
  const std::size_t total = result.output.rfind("total:");
  ASSERT_NE(total, std::string::npos) << result.output;
  const char* const last = result.output.c_str() + total;
  ASSERT_EQ(std::sscanf(last, "total: %*d files, %*f s, real-time factor %*f, %d %*s of %d", &errors, &words), 2)
      << last;
  EXPECT_EQ(words, 26);
  EXPECT_LE(errors, 10) << result.output;
}

TEST(Train, GoesOnAfterAnInterruptionBitForBit) {
  const TemporaryFolder folder;
  const auto list = folder.write("list", lines_of(digit_files(3)));
  const std::string options = " --components 2 --iterations 3";
  const CommandResult whole = run_kivsr(train_digits(list, folder / "whole") + options);
  ASSERT_EQ(whole.status, 0) << whole.errors;

  ASSERT_EQ(run_kivsr(train_digits(list, folder / "stopped") + options + " --passes 2 --jobs 3").status, 0);
  EXPECT_NE(read_file(folder / "stopped"), read_file(folder / "whole"));
  const CommandResult resumed = run_kivsr(train_digits(list, folder / "stopped") + " --resume");
  ASSERT_EQ(resumed.status, 0) << resumed.errors;
  EXPECT_EQ(read_file(folder / "stopped"), read_file(folder / "whole"));
  EXPECT_NE(whole.output.find(resumed.output), std::string::npos) << "the same lines for the passes that were left";

  // killed at some moment: either nothing is there or a whole model, and it goes on from that
  for (const char* seconds : {"0.03", "0.1", "0.2"}) {
    const auto model = folder / ("killed" + std::string(seconds));
    run_kivsr(train_digits(list, model) + options, "timeout -s KILL " + std::string(seconds) + " ");
    if (std::filesystem::exists(model)) {
      EXPECT_NO_THROW(read_word_model(model));
    }
    ASSERT_EQ(run_kivsr(train_digits(list, model) + options + " --resume").status, 0);
    EXPECT_EQ(read_file(model), read_file(folder / "whole"));
  }

  const CommandResult other = run_kivsr(train_digits(list, folder / "stopped") + " --resume --states 9");
  EXPECT_EQ(other.status, 2);
  EXPECT_NE(other.errors.find("begun with another --states"), std::string::npos) << other.errors;
  const auto shorter = folder.write("shorter", lines_of(digit_files(3, true)));
  EXPECT_NE(run_kivsr(train_digits(shorter, folder / "stopped") + " --resume").errors.find("another list"),
            std::string::npos);
}

TEST(Train, PartsGiveTheModelOfOneRun) {
  const TemporaryFolder folder;
  const auto list = folder.write("list", lines_of(digit_files(3)));
  const std::string options = " --components 2 --iterations 1 ";
  ASSERT_EQ(run_kivsr(train_digits(list, folder / "whole") + options).status, 0);
  ASSERT_EQ(run_kivsr(train_digits(list, folder / "parts") + options + "--passes 0").status, 0);
  for (int pass = 0; pass < 2; ++pass) {
    std::string sums;
    for (const char* part : {"1/3", "2/3", "3/3"}) {
      const auto file = folder / (std::string("sums") + part[0]);
      const CommandResult result =
          run_kivsr(train_digits(list, folder / "parts") + " --part " + part + " --statistics " + quoted(file));
      ASSERT_EQ(result.status, 0) << result.errors;
      sums += " " + quoted(file);
    }
    const CommandResult sum = run_kivsr("train --model " + quoted(folder / "parts") + " --sum" + sums);
    ASSERT_EQ(sum.status, 0) << sum.errors;
  }
  const WordModel whole = read_word_model(folder / "whole");
  const WordModel parts = read_word_model(folder / "parts");
  ASSERT_EQ(parts.states.size(), whole.states.size());
  for (std::size_t s = 0; s < whole.states.size(); ++s) {
    ASSERT_EQ(parts.states[s].components(), whole.states[s].components()) << s;
    for (std::size_t i = 0; i < whole.states[s].means.size(); ++i) {
      EXPECT_NEAR(parts.states[s].means[i], whole.states[s].means[i],
                  1e-4 * (1.0F + std::abs(whole.states[s].means[i])));
    }
  }
  const CommandResult twice =
      run_kivsr("train --model " + quoted(folder / "parts") + " --sum " + quoted(folder / "sums1"));
  EXPECT_EQ(twice.status, 2);
  EXPECT_NE(twice.errors.find("all its passes are done"), std::string::npos) << twice.errors;
}

TEST(Train, FromAudioWithItsFrontEndAndAsAMixture) {
  const TemporaryFolder folder;
  const auto list = folder.write("list", "# the digits again\n" + (kDigits / "dhd.2934z.raw").string() +
                                             "\t two nine three four zero\n\n" +
                                             (kTestData / "goforward.raw").string() + "\tgo forward ten meters\n");
  const CommandResult trained = run_kivsr("train --list " + quoted(list) + " --model " + quoted(folder / "model") +
                                          " --states 4 --iterations 3 --preset mfcc --filter-count 20");
  ASSERT_EQ(trained.status, 0) << trained.errors;
  EXPECT_EQ(read_word_model(folder / "model").recipe.front_end.filter_count, 20);
  const CommandResult heard =
      run_kivsr("recognise --model " + quoted(folder / "model") + " " + quoted(kTestData / "goforward.raw"));
  ASSERT_EQ(heard.status, 0) << heard.errors;
  EXPECT_NE(heard.output.find("go forward ten meters"), std::string::npos) << heard.output;

  const CommandResult mixture =
      run_kivsr("train --mixture --list " + quoted(folder.write("files", (kTestData / "goforward.raw").string())) +
                " --model " + quoted(folder / "mixture") + " --components 8 --iterations 2");
  ASSERT_EQ(mixture.status, 0) << mixture.errors;
  EXPECT_EQ(read_word_model(folder / "mixture").states.at(0).components(), 8);
  const CommandResult refused =
      run_kivsr("recognise --model " + quoted(folder / "mixture") + " " + quoted(kTestData / "goforward.raw"));
  EXPECT_EQ(refused.status, 2);
}

TEST(Train, FaultsNameTheirPlaceAndLeaveNoModel) {
  const TemporaryFolder folder;
  std::vector<float> rows(13 * 40);
  for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = std::sin(static_cast<float>(i * i));
  folder.write("good.mfc", bytes_of_floats(rows));
  std::vector<float> bad = rows;
  bad[13 * 7 + 2] = NAN;
  folder.write("bad.mfc", bytes_of_floats(bad));
  folder.write("few.mfc", bytes_of_floats(std::vector<float>(rows.begin(), rows.begin() + 13 * 6)));
  const auto train = [&](const std::string& text, const std::string& options = "") {
    const auto list = folder.write("list", text);
    return run_kivsr("train --list " + quoted(list) + " --model " + quoted(folder / "model") +
                     " --states 4 --iterations 2 " + options);
  };
  const auto expect_fault = [&](const CommandResult& result, const std::string& message) {
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.errors.find(message), std::string::npos) << result.errors;
    // a file of several is left out and said so; here a word is without any then
    EXPECT_LE(std::count(result.errors.begin(), result.errors.end(), '\n'), 2) << result.errors;
    EXPECT_FALSE(std::filesystem::exists(folder / "model"));
  };
  expect_fault(train("good.mfc one\nbad.mfc two\n"), "bad.mfc: frame 7, value 2 is not finite");
  expect_fault(train("good.mfc one\n", "--mfc-width 12"), "good.mfc");
  expect_fault(train("good.mfc one\nmissing.mfc two\n"), "missing.mfc: no such file");
  expect_fault(train("\n# nothing\n"), "lists no files");
  expect_fault(train("good.mfc\n"), "no word is said");
  expect_fault(train("good.mfc one\nfew.mfc two\n"), "no utterance with \"two\" has as many frames as states");
  expect_fault(train("good.mfc one\n", "--components 2 --start-components 3"),
               "training: there are 1 to as many start");
  expect_fault(train("good.mfc one\n", "--part 1/2"), "--part needs --statistics");
  expect_fault(train("good.mfc one\n", "--part 3/2 --statistics x"), "is not like 2/5");

  // what cannot be used is named and left out
  const CommandResult used = train("good.mfc one two\nfew.mfc one two one\ngood.mfc\n");
  EXPECT_EQ(used.status, 0) << used.errors;
  EXPECT_NE(used.errors.find("few.mfc has fewer frames than its words have states and is left out"), std::string::npos)
      << used.errors;
  EXPECT_NE(used.errors.find("good.mfc has an empty transcript and is left out"), std::string::npos) << used.errors;
  const CommandResult audio =
      run_kivsr("recognise --model " + quoted(folder / "model") + " " + quoted(kTestData / "goforward.raw"));
  EXPECT_NE(audio.errors.find("not a file of features, and the recipe starts from features"), std::string::npos)
      << audio.errors;
}

}  // namespace
}  // namespace kivsr::program::test
