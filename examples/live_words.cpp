// Words while they are said, on one line as they become clear, and each stretch of speech with its times when it ends:
// arecord -q -f S16_LE -r 16000 | live_words WORD...
// It takes 16-bit samples of one channel at 16 kHz and needs the model en-us that Debian installs.
#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include <kivsr/speech/decode/mixture_scorer.h>
#include <kivsr/speech/decode/search_network.h>
#include <kivsr/speech/decode/streaming_recogniser.h>
#include <kivsr/speech/decode/word_network.h>
#include <kivsr/speech/models/acoustic_model.h>

using namespace kivsr::speech;

static void listen(const std::vector<std::string>& vocabulary) {
  const AcousticModel model = read_acoustic_model(find_model_folder("en-us"));
  const WordNetwork words = word_loop(vocabulary, "the command line");
  const auto wanted = words.vocabulary();
  const Dictionary dictionary = Dictionary::read(find_model_dictionary(model.folder), &wanted);
  const SearchNetwork network = build_search_network(words, dictionary, model, kWordWeights);

  StreamingRecogniser recogniser(network, model, make_mixture_scorer(model), default_beams(model));
  const auto print = [&](const std::vector<HypothesisWord>& said) {
    for (const HypothesisWord& word : said) {
      const SearchLabel& label = network.labels[static_cast<std::size_t>(word.label)];
      if (!label.filler) std::printf(" %s", label.word.c_str());
    }
    std::fflush(stdout);
  };
  recogniser.on_partial = [&](const std::vector<HypothesisWord>& said) {
    std::printf("\r\033[K...");
    print(said);
  };
  recogniser.on_final = [&](FinalWords&& said) {
    std::printf("\r\033[K%.2f s:", said.start);
    print(said.hypothesis.words);
    std::printf("\n");
  };

  std::vector<std::int16_t> block(320);  // 20 ms
  std::vector<float> samples;
  while (const std::size_t count = std::fread(block.data(), sizeof block[0], block.size(), stdin)) {
    samples.assign(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(count));
    recogniser.push(samples);
  }
  recogniser.finish();
}

int main(int count, char** arguments) {
  try {
    listen({arguments + 1, arguments + count});
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "live_words: %s\n", fault.what());
    return 2;
  }
}
