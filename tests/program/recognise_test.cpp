// kivsr recognise through the program: the thirty spoken commands, both models, options and faults.
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "speech/models/model_bytes.h"
#include "speech/support/command.h"
#include "speech/support/signals.h"

namespace kivsr::program::test {

using namespace speech;
using namespace speech::test;

namespace {

// Errors and words of the demonstration's last lines.
std::pair<int, int> demonstration(const std::string& options) {
  const CommandResult result =
      run_command(quoted(source_folder() / "scripts" / "demo") + " \"$KIVSR_EXECUTABLE\" " + options);
  EXPECT_EQ(result.status, 0) << result.errors;
  int errors = -1;
  int words = -1;
  for (std::istringstream lines(result.output); lines;) {
    std::string line;
    std::getline(lines, line);
    if (std::sscanf(line.c_str(), "%d %*s of %d words", &errors, &words) == 2) break;
  }
  return {errors, words};
}

TEST(Recognise, ThirtyCommandsWithoutAnError) {
  for (const char* const options : {"", "--arithmetic double", "--arithmetic 16s", "--arithmetic 16s --shortlist 8"}) {
    EXPECT_EQ(demonstration(options), std::pair(0, 30)) << options;
  }
}

TEST(Recognise, SingleGaussianModelStaysWithinEightErrors) {
  for (const char* const options : {"", "--arithmetic 16s"}) {
    const auto [errors, words] =
        demonstration("--skip-unknown --model " + quoted(kTestData / "an4_ci_cont") + " " + options);
    EXPECT_EQ(words, 30) << options;
    EXPECT_GE(errors, 0) << options;
    EXPECT_LE(errors, 8) << options;
  }
}

// Semi-continuous, four streams of features, weights of 4 bits; the cepstra come from files.
TEST(Recognise, ConnectedDigitsOfAModelWithFourStreams) {
  const std::filesystem::path folder = kTestData / "tidigits";
  std::string command = "recognise --model " + quoted(folder / "hmm") + " --dict " +
                        quoted(folder / "lm" / "tidigits.dic") + " --reference " + quoted(folder / "tidigits.lsn");
  std::ifstream names(folder / "tidigits.ctl");
  std::string files;
  for (std::string name; std::getline(names, name);) files += " " + quoted(folder / (name + ".mfc"));
  for (const std::string& options :
       {std::string(" --words one,two,three,four,five,six,seven,eight,nine,oh,zero"),
        " --arithmetic 16s --shortlist 64 --lm " + quoted(folder / "lm" / "tidigits.lm.bin")}) {
    const CommandResult result = run_kivsr(command + options + files);
    ASSERT_EQ(result.status, 0) << result.errors;
    const std::size_t total = result.output.find("total: 31 files");
    ASSERT_NE(total, std::string::npos) << result.output;
    int errors = -1;
    EXPECT_EQ(std::sscanf(result.output.c_str() + result.output.find("factor", total), "factor %*f, %d error", &errors),
              1);
    EXPECT_GE(errors, 0);
    EXPECT_LE(errors, 1) << options;
  }
}

TEST(Recognise, WordLoopAlignmentAndReference) {
  const TemporaryFolder folder;
  const auto words = folder.write("words", "go forward\nten meters backward one two");
  const auto reference = folder.write("reference", "go forward two meters now (goforward)\n");
  const CommandResult result = run_kivsr("recognise --alignment --words " + quoted(words) + " --reference " +
                                         quoted(reference) + " " + quoted(kTestData / "goforward.raw"));
  ASSERT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(result.errors, "") << "no progress where there is no terminal";
  EXPECT_NE(result.output.find("goforward.raw: go forward ten meters [score -"), std::string::npos) << result.output;
  EXPECT_NE(result.output.find("2 errors of 5 words (1 substitution, 1 deletion, 0 insertions)"), std::string::npos)
      << result.output;
  // times follow each other without a gap from 0 to the end of the recording
  std::istringstream lines(result.output);
  std::vector<std::string> aligned;
  double last = 0.0;
  for (std::string line; std::getline(lines, line);) {
    std::istringstream fields(line);
    double start = 0.0;
    double end = 0.0;
    std::string word;
    if (line.starts_with("  ") && fields >> start >> end >> word) {
      EXPECT_NEAR(start, last, 0.006);
      EXPECT_GT(end, start);
      last = end;
      if (word != "<sil>") aligned.push_back(word);
    }
  }
  EXPECT_EQ(aligned, (std::vector<std::string>{"go", "forward", "ten", "meters"}));
  EXPECT_NEAR(last, 2.79, 0.03);
}

TEST(Recognise, PhonesOfTheWords) {
  const std::string options =
      "recognise --phones --words go,forward,ten,meters " + quoted(kTestData / "goforward.raw") + " ";
  const CommandResult json = run_kivsr(options + "--format json");
  EXPECT_NE(json.output.find("\"phones\":[{\"phone\":\"G\",\"start\":0.4"), std::string::npos) << json.output;
  EXPECT_NE(run_kivsr(options + "--format textgrid").output.find("name = \"phones\""), std::string::npos);
  EXPECT_NE(run_kivsr(options + "--alignment").output.find("    OW\n"), std::string::npos);
  EXPECT_EQ(run_kivsr(options).status, 2);
}

TEST(Phones, OfTheWordsWithFewErrors) {
  const TemporaryFolder folder;
  const auto reference = folder.write("said", "G OW F AO R W ER D T EH N M IY T ER Z (goforward)\n");
  const CommandResult result =
      run_kivsr("phones --format tsv --reference " + quoted(reference) + " " + quoted(kTestData / "goforward.raw"));
  ASSERT_EQ(result.status, 0) << result.errors;
  const std::string line = result.output.substr(result.output.find('\n') + 1);
  int words = 0;
  int substitutions = 0;
  int deletions = 0;
  int insertions = 0;
  const std::string counts = line.substr(line.find("ER Z\t") + 5);
  ASSERT_EQ(std::sscanf(counts.c_str(), "%d %d %d %d", &words, &substitutions, &deletions, &insertions), 4) << line;
  EXPECT_EQ(words, 16);
  EXPECT_LE(substitutions + deletions + insertions, 8) << line;
}

// Confidence, sentences and lattice of one recording; words that are not sure enough go.
TEST(Recognise, OtherResults) {
  const TemporaryFolder folder;
  const auto lattice = folder / "said.slf";
  const std::string options =
      "recognise --words go,forward,ten,meters,two,for " + quoted(kTestData / "goforward.raw") + " ";
  const CommandResult json = run_kivsr(options + "--format json --confidence --nbest 3 --lattice " + quoted(lattice));
  ASSERT_EQ(json.status, 0) << json.errors;
  const std::string name = "\"confidence\":";
  const std::size_t confidence = json.output.find(name);
  ASSERT_NE(confidence, std::string::npos) << json.output;
  EXPECT_GT(std::stod(json.output.substr(confidence + name.size())), 0.9);
  EXPECT_NE(json.output.find("\"alternatives\":[{\"text\":\"go forward ten meters\",\"score\":-"), std::string::npos);
  const std::string text = read_file(lattice);
  EXPECT_TRUE(text.starts_with("VERSION=1.0\nUTTERANCE=goforward\n")) << text.substr(0, 100);
  EXPECT_NE(text.find(" W=meters a=-"), std::string::npos);
  const auto sure = [](const std::filesystem::path& grammar) {
    return run_kivsr("recognise --format tsv --minimum-confidence 0.9 --grammar " + quoted(grammar) + " " +
                     quoted(kTestData / "goforward.raw"))
        .output;
  };
  const std::string table = sure(kTestData / "goforward.gram");
  EXPECT_NE(table.find("complete\tconfidences\n"), std::string::npos) << table;
  EXPECT_NE(table.find("\tgo forward ten meters\t"), std::string::npos) << table;
  EXPECT_NE(sure(kTestData / "cards" / "cards.gram").find("goforward.raw\t\t"), std::string::npos) << "no words";
  EXPECT_EQ(run_kivsr(options + "--format ctm --nbest 2").status, 2);
}

// A grammar whose slot an n-gram model fills.
TEST(Recognise, GrammarWithNgrams) {
  const TemporaryFolder folder;
  const auto grammar = folder.write("go.gram", "#JSGF V1.0;\ngrammar go;\npublic <go> = go <NGRAMS> meters;\n");
  const auto model = folder.write("small.arpa",
                                  "\\data\\\nngram 1=5\n\n\\1-grams:\n-0.8 </s>\n-99 <s>\n-0.6 forward\n-0.6 ten\n"
                                  "-0.6 two\n\n\\end\\\n");
  const std::string sound = " " + quoted(kTestData / "goforward.raw");
  const std::string options = "recognise --lm " + quoted(model) + " --grammar ";
  EXPECT_NE(run_kivsr(options + quoted(grammar) + sound).output.find(": go forward ten meters ["), std::string::npos);
  const CommandResult alone = run_kivsr("recognise --grammar " + quoted(grammar) + sound);
  EXPECT_EQ(alone.status, 2);
  EXPECT_NE(alone.errors.find("go.gram:3:18: <NGRAMS> needs a language model"), std::string::npos) << alone.errors;
  EXPECT_EQ(run_kivsr(options + quoted(kTestData / "goforward.gram") + sound).status, 2) << "nothing to fill";
}

// What --words means: a list however long, a file by its name or with @ in front, a pipe; never a mistyped name.
TEST(Recognise, WordsAreAListOrAFile) {
  const TemporaryFolder folder;
  folder.write("words", "go forward\nten meters");
  folder.write("plain", "go forward");
  const std::string audio = " " + quoted(kTestData / "goforward.raw");
  const std::string in_folder = "cd " + quoted(folder.path()) + " && ";
  const auto without_times = [](const CommandResult& result) {
    return result.output.substr(0, result.output.find(" ["));
  };
  const std::string said = without_times(run_kivsr("recognise --words go,forward,ten,meters" + audio));
  EXPECT_NE(said.find("go forward ten meters"), std::string::npos) << said;
  for (const char* words : {"words", "@words", "./words"}) {
    EXPECT_EQ(without_times(run_kivsr("recognise --words " + std::string(words) + audio, in_folder)), said) << words;
  }
  const CommandResult piped = run_kivsr("recognise --words /dev/stdin" + audio, in_folder + "cat words | ");
  EXPECT_EQ(without_times(piped), said) << piped.errors;
  std::string many = "go,forward,ten,meters";
  for (int i = 0; i < 100; ++i) many += ",forward,meters";
  EXPECT_EQ(without_times(run_kivsr("recognise --words " + many + audio)), said);
  for (const char* words : {"@missing", "./missing", "missing.txt"}) {
    const CommandResult result = run_kivsr("recognise --words " + std::string(words) + audio, in_folder);
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.errors.find("missing"), std::string::npos);
    EXPECT_NE(result.errors.find(": no such file"), std::string::npos) << result.errors;
  }
}

TEST(Recognise, CepstraFromAFileGiveTheScoreOfTheAudio) {
  const TemporaryFolder folder;
  const auto audio = kTestData / "goforward.raw";
  const auto cepstra = folder / "goforward.mfc";
  const CommandResult written = run_kivsr("features --preset sphinx-en-us " + quoted(audio) + " -o " + quoted(cepstra));
  ASSERT_EQ(written.status, 0) << written.errors;
  const std::string options = "recognise --format tsv --grammar " + quoted(kTestData / "goforward.gram") + " ";
  const auto heard = [](const std::string& output) {  // words and score
    const std::size_t start = output.find('\t', output.find('\n'));
    return output.substr(start, output.find('\t', output.find('\t', start + 1) + 1) - start);
  };
  const CommandResult result = run_kivsr(options + quoted(cepstra));
  ASSERT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(heard(result.output), heard(run_kivsr(options + quoted(audio)).output));
  EXPECT_EQ(heard(result.output).find("\tgo forward ten meters\t-"), 0U) << result.output;

  std::string bytes = read_file(cepstra);
  bytes.replace(4 + 4 * (13 * 7 + 2), 4, "\xff\xff\xff\x7f");
  const auto damaged = folder.write("damaged.mfc", bytes);
  EXPECT_NE(run_kivsr(options + quoted(damaged)).errors.find("damaged.mfc: frame 7, value 2 is not finite"),
            std::string::npos);
  const auto narrow = folder.write("narrow.csv", "time_s,c0,c1\n0,1,2\n0.01,3,4\n");
  EXPECT_NE(run_kivsr(options + quoted(narrow)).errors.find("narrow.csv: rows of 2 values, 13 are needed"),
            std::string::npos);
}

TEST(Recognise, WeightsOfAGrammarDecide) {
  const TemporaryFolder folder;
  const auto heard = [&](const std::string& rule, const std::string& options) {
    const auto grammar = folder.write("g.gram", "#JSGF V1.0; grammar g; public <g> = go forward " + rule + " meters;");
    return run_kivsr("recognise --format tsv " + options + " --grammar " + quoted(grammar) + " " +
                     quoted(kTestData / "goforward.raw"))
        .output;
  };
  EXPECT_NE(heard("(ten | two)", "").find("\tgo forward ten meters\t"), std::string::npos);
  const std::string biased = "(/1e-30/ ten | /1/ two)";
  EXPECT_NE(heard(biased, "--language-weight 20").find("\tgo forward two meters\t"), std::string::npos);
  EXPECT_NE(heard(biased, "--language-weight 0").find("\tgo forward ten meters\t"), std::string::npos);
}

// Words of a short list are dear; a penalty that is given holds instead, as it does where a grammar has no loop.
TEST(Recognise, WordsOfLoopsAreDear) {
  const TemporaryFolder folder;
  const auto grammar = folder.write("g.gram", "#JSGF V1.0; grammar g; public <g> = go forward ten meters;");
  const auto score = [&](const std::string& options) {
    const CommandResult result =
        run_kivsr("recognise --format json " + options + " " + quoted(kTestData / "goforward.raw"));
    EXPECT_NE(result.output.find("\"go forward ten meters\""), std::string::npos) << result.output << result.errors;
    const std::size_t place = result.output.find("\"score\":");
    return place == std::string::npos ? 0.0 : std::stod(result.output.substr(place + 8));
  };
  const std::string loop = "--words go,forward,ten,meters ";
  const double choice = score(loop + "--insertion-penalty 0");
  EXPECT_NEAR(score(loop) - choice, -4.0 * (36.0 - 6.5 * std::log(4.0)), 0.5);
  EXPECT_NEAR(score(loop + "--word-cost 0") - choice, -40.0, 0.5);
  EXPECT_NEAR(score(loop + "--insertion-penalty -5") - choice, -20.0, 0.5);
  EXPECT_EQ(score(loop + "--insertion-penalty -5 --word-cost 36"), score(loop));
  const std::string sentence = "--grammar " + quoted(grammar) + " ";
  EXPECT_NEAR(score(sentence) - score(sentence + "--insertion-penalty 0"), -40.0, 0.5);
}

// The same recording by the installed n-grams and by texts in which a word is likely or not; a word that nobody can
// pronounce is told.
TEST(Recognise, LanguageModels) {
  const std::string audio = " " + quoted(kTestData / "goforward.raw");
  const CommandResult installed = run_kivsr("recognise --lm en-us" + audio);
  EXPECT_NE(installed.output.find("goforward.raw: go forward ten meters [score -"), std::string::npos)
      << installed.output << installed.errors;
  const TemporaryFolder folder;
  const auto heard = [&](const std::string& log_ten) {
    const auto model = folder.write(
        "lm.arpa",
        "\\data\\\nngram 1=8\nngram 2=1\n\n\\1-grams:\n-1 <s>\n-1 </s>\n-1 go\n-1 forward\n-1 two\n-1 meters\n"
        "-1 xyzzyx\n" +
            log_ten + " ten\n\n\\2-grams:\n-1 go forward\n\n\\end\\\n");
    return run_kivsr("recognise --lm " + quoted(model) + audio);
  };
  const CommandResult even = heard("-1");
  EXPECT_NE(even.output.find("go forward ten meters"), std::string::npos) << even.output;
  EXPECT_EQ(even.errors, "kivsr: 1 word of the language model " + (folder / "lm.arpa").string() +
                             " cannot be pronounced: left out \"xyzzyx\"\n");
  EXPECT_NE(heard("-40").output.find("go forward two meters"), std::string::npos);

  const auto mixed = [&](const std::string& options) {
    return run_kivsr("recognise --mix-lm en-us " + options + audio);
  };
  const std::string unlikely = "--lm " + quoted(folder / "lm.arpa");
  EXPECT_NE(mixed(unlikely + " --lm-share 0.001").output.find("go forward ten meters"), std::string::npos);
  EXPECT_NE(mixed("").errors.find("--mix-lm is for --lm"), std::string::npos);
  EXPECT_EQ(mixed("").status, 2);
  EXPECT_EQ(mixed(unlikely + " --lm-share 1").status, 2);
}

// The words of a class are what they would be with the product of the probabilities as words of the model itself.
TEST(Recognise, ClassesOfWords) {
  const TemporaryFolder folder;
  const auto heard = [&](const std::string& words, const std::string& options) {
    const std::size_t count = 5 + static_cast<std::size_t>(std::count(words.begin(), words.end(), '\n'));
    const auto model =
        folder.write("lm.arpa", "\\data\\\nngram 1=" + std::to_string(count) +
                                    "\nngram 2=1\n\n\\1-grams:\n-1 <s>\n-1 </s>\n-1 go\n-1 forward\n-1 meters\n" +
                                    words + "\n\\2-grams:\n-0.3 go forward\n\n\\end\\\n");
    return run_kivsr("recognise --lm " + quoted(model) + " " + options + quoted(kTestData / "goforward.raw"));
  };
  const auto classes = folder.write("classes", "[number] 0.01 ten\n[number] 0.1 two\n[other] seven\n");
  const std::string options = "--lm-classes " + quoted(classes) + " ";
  const auto score = [](const CommandResult& result) {
    const std::size_t place = result.output.find("[score ");
    return place == std::string::npos ? 0.0 : std::stod(result.output.substr(place + 7));
  };
  const CommandResult of_class = heard("-1 [number]\n", options);
  EXPECT_NE(of_class.output.find("go forward ten meters"), std::string::npos) << of_class.output << of_class.errors;
  EXPECT_EQ(of_class.errors, "");
  EXPECT_NEAR(score(of_class), score(heard("-3 ten\n-2 two\n", "")), 1e-3);
  EXPECT_NE(heard("-1 [number]\n-2.5 ten\n", options).output, of_class.output) << "the likelier of both";
  EXPECT_NEAR(score(heard("-1 [number]\n-2.5 ten\n", options)), score(heard("-2.5 ten\n-2 two\n", "")), 1e-3);
  const CommandResult none = heard("-1 ten\n", options);
  EXPECT_EQ(none.status, 2);
  EXPECT_NE(none.errors.find("classes: the language model has none of these classes"), std::string::npos)
      << none.errors;
  EXPECT_EQ(run_kivsr("recognise --words go " + options + quoted(kTestData / "goforward.raw")).status, 2);
}

// Several files at a time give the output of one at a time, in the order of the files; a bad one is named, the others
// are done.
TEST(Recognise, JobsKeepTheOrder) {
  const TemporaryFolder folder;
  std::string files;
  for (int i = 1; i <= 5; ++i) files += " " + quoted(kTestData / "cards" / ("00" + std::to_string(i) + ".wav"));
  const std::string options = "recognise --format ctm --grammar " + quoted(kTestData / "cards" / "cards.gram");
  const CommandResult one = run_kivsr(options + files);
  ASSERT_EQ(one.status, 0) << one.errors;
  EXPECT_EQ(one.output.find("001 1 0."), 0U) << one.output;
  EXPECT_EQ(std::count(one.output.begin(), one.output.end(), '\n'), 21);
  EXPECT_EQ(run_kivsr(options + " --jobs 3" + files).output, one.output);
  for (const char* const jobs : {" --jobs 1 ", " --jobs 3 "}) {
    const CommandResult fault = run_kivsr(options + jobs + quoted(folder / "none.wav") + files);
    EXPECT_EQ(fault.status, 2) << jobs;
    EXPECT_EQ(fault.output, one.output) << jobs;
    EXPECT_NE(fault.errors.find("none.wav: "), std::string::npos) << fault.errors;
    EXPECT_NE(fault.errors.find("1 of 6 files"), std::string::npos) << fault.errors;
  }
}

TEST(Recognise, FaultsAreOneLineAndStatusTwo) {
  const TemporaryFolder folder;
  const std::string audio = quoted(kTestData / "goforward.raw");
  const std::string grammar = "--grammar " + quoted(kTestData / "goforward.gram") + " ";
  const auto model = folder / "model";
  std::filesystem::copy(kTestData / "an4_ci_cont", model);
  const std::string means = read_file(model / "means");
  std::ofstream(model / "means", std::ios::binary) << means.substr(0, means.size() / 2);
  const auto bad_grammar = folder.write("bad.gram", "#JSGF V1.0;\ngrammar g;\npublic <g> = go (forward;\n");
  const auto bad_word = folder.write("word.gram", "#JSGF V1.0;\ngrammar g;\npublic <g> = go frobnicate;\n");
  const auto empty = folder.write("empty.wav", wav({}, 16000, 1));
  const std::pair<std::string, std::string> cases[] = {
      {audio, "give one of --grammar, --words and --lm"},
      {grammar + "--model no-such-model " + audio, "no-such-model"},
      {grammar + "--model " + quoted(model) + " " + audio, "means: truncated"},
      {"--grammar " + quoted(bad_grammar) + " " + audio, "bad.gram:3:25: "},
      {"--grammar " + quoted(bad_word) + " " + audio,
       "word.gram:3:17: the word \"frobnicate\" is not in the dictionary"},
      {grammar + quoted(empty), "empty.wav"},
      {grammar + quoted(folder / "none.wav"), "none.wav"},
      {grammar + "--reference " + quoted(folder.write("r", "x (other)\n")) + " " + audio, "no utterance goforward"},
      {grammar + "--dict " + quoted(folder / "none.dict") + " " + audio, "none.dict: no such file"},
      {grammar + "--beam nonsense " + audio, "--beam"},
      {"--lm " + quoted(bad_grammar) + " " + audio, "bad.gram:"},
      {grammar + "--format srt " + audio + " " + audio, "hold one recording"},
      {grammar + "--format json --alignment " + audio, "--alignment"},
      {"--lm en-us " + grammar + audio, "--lm beside --grammar is for <NGRAMS>"},
      {grammar + "--arithmetic half " + audio, "--arithmetic"},
      {grammar + "--shortlist -1 " + audio, "--shortlist"},
  };
  for (const auto& [arguments, expected] : cases) {
    const CommandResult result = run_kivsr("recognise " + arguments);
    EXPECT_EQ(result.status, 2) << arguments;
    EXPECT_EQ(result.output, "") << arguments;
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
    EXPECT_NE(result.errors.find(expected), std::string::npos) << result.errors;
  }
}

}  // namespace
}  // namespace kivsr::program::test
