// kivsr train --dict through the program: its models in both recognisers, the same bytes however they were made,
// faults.
#include <cstdio>
#include <sstream>

#include "kivsr/speech/models/phone_model.h"
#include "speech/models/model_bytes.h"
#include "speech/support/command.h"

namespace kivsr::program::test {

using namespace speech;
using namespace speech::test;

namespace {

const std::filesystem::path kDigits = kTestData / "tidigits";
constexpr const char* kDigitPhones =
    "zero Z IH R OW\nzero(2) Z IY R OW\noh OW\none W AH N\none(2) HH W AH N\ntwo T UW\nthree TH R IY\nfour F AO R\n"
    "five F AY V\nsix S IH K S\nseven S EH V AH N\neight EY T\nnine N AY N\n";
constexpr const char* kDigitLoop =
    "#JSGF V1.0;\ngrammar d;\n"
    "public <d> = (zero | oh | one | two | three | four | five | six | seven | eight | nine)+;\n";

const std::string kMpirun = "mpirun --allow-run-as-root --oversubscribe -q ";

// The folder of a test, with the dictionary and the grammar of the digits.
struct PhoneFolder : TemporaryFolder {
  PhoneFolder() {
    write("dict", kDigitPhones);
    write("grammar", kDigitLoop);
  }
  std::string train(const std::string& model, const std::string& options) const {
    return "train --list " + quoted(kDigits / "tidigits.ctl") + " --transcripts " + quoted(kDigits / "tidigits.lsn") +
           " --extension .mfc --variance-prior 10 --dict " + quoted(*this / "dict") + " --model " +
           quoted(*this / model) + " " + options;
  }
  std::string record(const std::string& model) const { return read_file(*this / model / kPhoneModelRecord); }
};

int errors_of_digits(const PhoneFolder& folder, const std::string& model) {
  std::istringstream names(read_file(kDigits / "tidigits.ctl"));
  std::string files;
  for (std::string name; names >> name;) files += " " + quoted(kDigits / (name + ".mfc"));
  const CommandResult heard =
      run_kivsr("recognise --model " + quoted(folder / model) + " --dict " + quoted(folder / "dict") + " --grammar " +
                quoted(folder / "grammar") + " --reference " + quoted(kDigits / "tidigits.lsn") + files);
  EXPECT_EQ(heard.status, 0) << heard.errors;
  const std::size_t place = heard.output.rfind("real-time factor");
  int errors = -1;
  if (place != std::string::npos) {
    std::sscanf(heard.output.c_str() + heard.output.find(',', place), ", %d %*s of 107", &errors);
  }
  return errors;
}

bool has_pocketsphinx() { return run_command("command -v pocketsphinx_batch").status == 0; }

std::string heard_by_pocketsphinx(const PhoneFolder& folder, const std::string& model) {
  const CommandResult peer =
      run_command("pocketsphinx_batch -hmm " + quoted(folder / model) + " -dict " + quoted(folder / "dict") +
                  " -jsgf " + quoted(folder / "grammar") + " -ctl " + quoted(kDigits / "tidigits.ctl") + " -cepdir " +
                  quoted(kDigits) + " -cepext .mfc -hyp " + quoted(folder / "heard") + " -logfn /dev/null");
  EXPECT_EQ(peer.status, 0) << peer.errors;
  return read_file(folder / "heard");
}

TEST(TrainPhones, BothRecognisersReadTheModelAndContextsHelp) {
  const PhoneFolder folder;
  const CommandResult alone = run_kivsr(folder.train("alone", ""));
  ASSERT_EQ(alone.status, 0) << alone.errors;
  const CommandResult tied = run_kivsr(folder.train("tied", "--tied-states 100 --least-leaf 20 --components 2 -j 2"));
  ASSERT_EQ(tied.status, 0) << tied.errors;
  const int errors_alone = errors_of_digits(folder, "alone");
  const int errors_tied = errors_of_digits(folder, "tied");
  EXPECT_GE(errors_tied, 0);
  EXPECT_LE(errors_tied, 4);
  EXPECT_LE(errors_alone, 14);
  EXPECT_LT(errors_tied, errors_alone);

  if (!has_pocketsphinx()) GTEST_SKIP() << "pocketsphinx is not installed";
  EXPECT_NE(heard_by_pocketsphinx(folder, "tied").find("one one one (man.ah.111a"), std::string::npos);
}

// Seven frames beside each other, the directions that part the states, and axes for diagonal covariances: fewer values
// than before, and both recognisers hear the digits.
TEST(TrainPhones, TransformedFeaturesInBothRecognisers) {
  const PhoneFolder folder;
  const CommandResult trained =
      run_kivsr(folder.train("model",
                             "--dynamics splice --regression-window 3 --lda 20 --mllt --tied-states 100 "
                             "--least-leaf 20 -j 2"));
  ASSERT_EQ(trained.status, 0) << trained.errors;
  EXPECT_LE(errors_of_digits(folder, "model"), 6);
  if (!has_pocketsphinx()) GTEST_SKIP() << "pocketsphinx is not installed";
  EXPECT_NE(heard_by_pocketsphinx(folder, "model").find("one one one (man.ah.111a"), std::string::npos);
}

// Features from audio: what feat.params says is what the model was trained from.
TEST(TrainPhones, FromAudio) {
  const PhoneFolder folder;
  folder.write("words", "go G OW\nforward F AO R W ER D\nten T EH N\nmeters M IY T ER Z\n");
  folder.write("command", "#JSGF V1.0;\ngrammar c;\npublic <c> = (go | forward | ten | meters)+;\n");
  folder.write("list", (kTestData / "goforward.raw").string() + "\tgo forward ten meters\n");
  const CommandResult trained =
      run_kivsr("train --list " + quoted(folder / "list") + " --dict " + quoted(folder / "words") + " --model " +
                quoted(folder / "model") + " --variance-prior 30 --least-occupation 3");
  ASSERT_EQ(trained.status, 0) << trained.errors;
  const CommandResult heard =
      run_kivsr("recognise --model " + quoted(folder / "model") + " --dict " + quoted(folder / "words") +
                " --grammar " + quoted(folder / "command") + " " + quoted(kTestData / "goforward.raw"));
  EXPECT_NE(heard.output.find("go forward ten meters"), std::string::npos) << heard.output << heard.errors;
  if (!has_pocketsphinx()) GTEST_SKIP() << "pocketsphinx is not installed";
  folder.write("names", "goforward\n");
  run_command("pocketsphinx_batch -hmm " + quoted(folder / "model") + " -dict " + quoted(folder / "words") + " -jsgf " +
              quoted(folder / "command") + " -adcin yes -cepdir " + quoted(kTestData) + " -cepext .raw -ctl " +
              quoted(folder / "names") + " -hyp " + quoted(folder / "heard") + " -logfn /dev/null");
  EXPECT_NE(read_file(folder / "heard").find("go forward ten meters"), std::string::npos)
      << read_file(folder / "heard");
}

TEST(TrainPhones, TheSameBytesForAnyJobsAndInterruptions) {
  const PhoneFolder folder;
  const std::string options =
      "--tied-states 90 --least-leaf 20 --components 2 --iterations 1 --flat-passes 4 --lda 25 ";
  ASSERT_EQ(run_kivsr(folder.train("whole", options)).status, 0);
  ASSERT_EQ(run_kivsr(folder.train("jobs", options + "--jobs 3")).status, 0);
  EXPECT_EQ(folder.record("jobs"), folder.record("whole"));
  ASSERT_EQ(run_kivsr(folder.train("stopped", options + "--passes 4")).status, 0);
  EXPECT_FALSE(std::filesystem::exists(folder / "stopped" / "means"));
  ASSERT_EQ(run_kivsr(folder.train("stopped", options + "--passes 1 --resume")).status, 0);
  EXPECT_EQ(read_phone_model(folder / "stopped" / kPhoneModelRecord).dimension(), 25);
  ASSERT_EQ(run_kivsr(folder.train("stopped", "--resume")).status, 0);
  EXPECT_EQ(folder.record("stopped"), folder.record("whole"));
  EXPECT_EQ(read_file(folder / "stopped" / "means"), read_file(folder / "whole" / "means"));
  for (const char* seconds : {"0.03", "0.06", "0.1"}) {
    const std::string model = "killed" + std::string(seconds);
    run_kivsr(folder.train(model, options), "timeout -s KILL " + std::string(seconds) + " ");
    ASSERT_EQ(run_kivsr(folder.train(model, options + "--resume")).status, 0);
    EXPECT_EQ(folder.record(model), folder.record("whole"));
  }
  for (const char* const setting : {"--tied-states 91", "--lda 24"}) {
    const CommandResult other = run_kivsr(folder.train("stopped", "--resume " + std::string(setting)));
    EXPECT_EQ(other.status, 2);
    EXPECT_NE(other.errors.find("begun with another " + std::string(setting).substr(0, 5)), std::string::npos)
        << other.errors;
  }
}

// Every pass, the one that ties states too, from sums in files: the bytes of a run of one part are those of a run
// without parts, of three parts what the passes say. Equal gains and weights may come in another order by rounding.
TEST(TrainPhones, PartsOfPassesMakeTheSameModel) {
  const PhoneFolder folder;
  const std::string options =
      "--tied-states 90 --least-leaf 20 --components 2 --iterations 1 --flat-passes 2 --lda 15 --mllt ";
  const CommandResult whole = run_kivsr(folder.train("whole", options));
  ASSERT_EQ(whole.status, 0);
  const auto by_parts = [&](const std::string& model, int parts, const std::string& cache) {
    std::string said = run_kivsr(folder.train(model, options + "--passes 0")).output;
    for (int pass = 0; pass < 7; ++pass) {
      std::string sums;
      for (int part = 1; part <= parts; ++part) {
        const std::string file = quoted(folder / ("s" + std::to_string(part)));
        sums += " " + file;
        const std::string of = std::to_string(part) + "/" + std::to_string(parts);
        EXPECT_EQ(run_kivsr(folder.train(model, cache + " --part " + of + " --statistics " + file)).status, 0);
      }
      const CommandResult sum = run_kivsr(folder.train(model, "--sum" + sums));
      EXPECT_EQ(sum.status, 0) << sum.errors;
      said += sum.output;
    }
    return said;
  };
  EXPECT_EQ(by_parts("one", 1, ""), whole.output);
  EXPECT_EQ(folder.record("one"), folder.record("whole"));
  EXPECT_EQ(read_file(folder / "one" / "means"), read_file(folder / "whole" / "means"));
  EXPECT_EQ(by_parts("three", 3, "--cache " + quoted(folder / "rows")), whole.output);
  const auto kept = std::filesystem::directory_iterator(folder / "rows");
  EXPECT_EQ(std::distance(begin(kept), end(kept)), 2 * 31) << "of each file before the transform and behind it";
  // what lies in the folder is what is used: the bytes are those of a run without it
  ASSERT_EQ(run_kivsr(folder.train("cached", options + "--cache " + quoted(folder / "rows"))).status, 0);
  EXPECT_EQ(folder.record("cached"), folder.record("whole"));
  const CommandResult done = run_kivsr(folder.train("three", "--part 1/2 --statistics " + quoted(folder / "s1")));
  EXPECT_NE(done.errors.find("all its passes are done"), std::string::npos) << done.errors;

  ASSERT_EQ(run_kivsr(folder.train("fresh", options + "--passes 0")).status, 0);
  const CommandResult stale = run_kivsr(folder.train("fresh", "--sum " + quoted(folder / "s1")));
  EXPECT_EQ(stale.status, 2);
  EXPECT_NE(stale.errors.find("another model or of another pass"), std::string::npos) << stale.errors;
}

// Processes of mpirun make the model of one; where one of them is killed the others end, and the next run goes on.
TEST(TrainPhones, ProcessesOfMpirun) {
  const std::filesystem::path executable = kivsr_program();
  if (run_command("mpirun --version").status != 0 ||
      !std::filesystem::exists(executable.parent_path() / "../lib/libkivsr_mpi.so")) {
    GTEST_SKIP() << "built without MPI";
  }
  const PhoneFolder folder;
  const std::string options =
      "--tied-states 90 --least-leaf 20 --components 2 --iterations 1 --flat-passes 4 --lda 30 ";
  const CommandResult alone = run_kivsr(folder.train("alone", options));
  ASSERT_EQ(alone.status, 0) << alone.errors;
  const CommandResult three = run_kivsr(folder.train("three", options + "--jobs 2"), kMpirun + "-n 3 ");
  ASSERT_EQ(three.status, 0) << three.errors;
  EXPECT_EQ(folder.record("three"), folder.record("alone"));
  EXPECT_EQ(read_file(folder / "three" / "means"), read_file(folder / "alone" / "means"));
  EXPECT_EQ(three.output.substr(three.output.find("pass 1")), alone.output.substr(alone.output.find("pass 1")));

  const std::string program = quoted(executable) + " " + folder.train("killed", options);
  // one that is killed while the processes still find each other would leave mpirun waiting
  const auto one = folder.write("one", "#!/bin/sh\n" + program + " &\nwhile kill -0 $! && [ ! -e " +
                                           quoted(folder / "killed" / kPhoneModelRecord) +
                                           " ]; do sleep 0.01; done\nkill -s KILL $!\nwait $!\n");
  const CommandResult killed =
      run_command("timeout -k 5 60 " + kMpirun + "-n 2 " + program + " : -n 1 sh " + quoted(one));
  EXPECT_NE(killed.status, 0);
  ASSERT_EQ(run_kivsr(folder.train("killed", options + "--resume"), kMpirun + "-n 3 ").status, 0);
  EXPECT_EQ(folder.record("killed"), folder.record("alone"));

  const auto words = [&](const std::string& model, const std::string& before) {
    return run_kivsr("train --list " + quoted(kDigits / "tidigits.ctl") + " --transcripts " +
                         quoted(kDigits / "tidigits.lsn") + " --extension .mfc --model " + quoted(folder / model) +
                         " --components 2 --iterations 2",
                     before);
  };
  ASSERT_EQ(words("words", "").status, 0);
  ASSERT_EQ(words("words.3", kMpirun + "-n 3 ").status, 0);
  EXPECT_EQ(read_file(folder / "words.3"), read_file(folder / "words"));

  const CommandResult fault = run_kivsr(folder.train("three", "--resume --tied-states 91"), kMpirun + "-n 3 ");
  EXPECT_EQ(fault.status, 2);
  EXPECT_NE(fault.errors.find("begun with another --tied-states"), std::string::npos) << fault.errors;
}

// The script for clusters with a queue that runs its jobs at once.
TEST(TrainPhones, ArraysOfJobs) {
  const PhoneFolder folder;
  const auto queue = folder.write("sbatch", R"(#!/bin/sh
for argument in "$@"; do
  case $previous in --array) last=${argument#1-} ;; --wrap) command=$argument ;; esac
  previous=$argument
done
for task in $(seq "${last:-1}"); do SLURM_ARRAY_TASK_ID=$task sh -c "$command" > /dev/null || exit 1; done
echo 7
)");
  std::filesystem::permissions(queue, std::filesystem::perms::owner_exec, std::filesystem::perm_options::add);
  const std::string options = "--flat-passes 2 ";
  ASSERT_EQ(run_kivsr(folder.train("whole", options)).status, 0);
  const CommandResult result = run_command(
      "PATH=" + quoted(folder.path()) + ":$PATH KIVSR=" + quoted(kivsr_program()) + " SUMS=" + quoted(folder / "sums") +
      " " + quoted(source_folder() / "examples" / "slurm-train") + " 1 2 " + folder.train("queued", options).substr(6));
  ASSERT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(result.output, "7\n");
  EXPECT_EQ(folder.record("queued"), folder.record("whole"));
}

TEST(TrainPhones, FaultsNameTheirPlace) {
  const PhoneFolder folder;
  const std::string good = (kDigits / "man.ah.111a.mfc").string();
  const auto train = [&](const std::string& lines, const std::string& options = "") {
    folder.write("list", lines);
    return run_kivsr("train --list " + quoted(folder / "list") + " --dict " + quoted(folder / "dict") + " --model " +
                     quoted(folder / "model") + " --flat-passes 1 " + options);
  };
  const auto expect_fault = [&](const CommandResult& result, const std::string& message) {
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.errors.find(message), std::string::npos) << result.errors;
  };
  expect_fault(train("# one\n" + good + " one elephant\n"), "list:2: the word \"elephant\" is not in ");
  expect_fault(train(good + " elephant\n"), "the dictionary has none of the words that are said");
  expect_fault(train(good + " one\n", "--preset mfcc"), "a model in Sphinx layout cannot have these features");
  folder.write("noises", "++um++ +UM+\n");
  expect_fault(train(good + " one\n", "--fillers " + quoted(folder / "noises")), "no filler stands for silence");
  expect_fault(train(good + " one\n", "--mixture"), "--dict");
  EXPECT_FALSE(std::filesystem::exists(folder / "model"));
  // what cannot be used is named, the rest goes on
  std::string many;
  for (int i = 0; i < 60; ++i) many += " one";
  const CommandResult used = train(good + " one one one\n" + good + many + "\n" + good + " elephant\n");
  EXPECT_EQ(used.status, 2);
  EXPECT_NE(used.errors.find("list:3: the word \"elephant\""), std::string::npos) << used.errors;
  EXPECT_NE(used.errors.find("has fewer frames than its words have states"), std::string::npos) << used.errors;
  EXPECT_NE(used.errors.find("1 of 3 files cannot be used, the others are done"), std::string::npos) << used.errors;
  EXPECT_TRUE(std::filesystem::exists(folder / "model" / "means"));
}

}  // namespace
}  // namespace kivsr::program::test
