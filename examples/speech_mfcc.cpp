// Mel cepstra of an audio file, a line a frame: speech_mfcc FILE
#include <iostream>

#include <kivsr/speech/front/presets.h>
#include <kivsr/speech/front/utterance.h>

int main(int, char** arguments) {
  kivsr::speech::FeatureChain chain(kivsr::speech::preset("mfcc"));
  const auto rows = kivsr::speech::load_utterance(arguments[1], chain).features;
  for (int t = 0; t < rows.height(); ++t) {
    for (const float value : rows.row(t)) std::cout << value << ' ';
    std::cout << '\n';
  }
}
