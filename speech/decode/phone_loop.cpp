#include "kivsr/speech/decode/phone_loop.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "kivsr/speech/decode/grammar_language.h"
#include "kivsr/speech/decode/word_network.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/text_parts.h"

namespace kivsr::speech {
namespace {

constexpr std::size_t kMostPronunciations = 64;  // of one keyword

// All pronunciations of its words, one after another.
std::vector<Pronunciation> pronunciations_of(const std::string& text, const Dictionary& dictionary,
                                             const AcousticModel& model) {
  std::vector<Pronunciation> all{{}};
  for (const std::string& word : words_of(text)) {
    std::string reason;
    std::vector<Pronunciation> longer;
    for (const std::vector<int>& phones : pronunciations(word, dictionary, model, reason)) {
      for (const Pronunciation& start : all) {
        if (longer.size() == kMostPronunciations) break;
        Pronunciation& more = longer.emplace_back(start);
        for (const int phone : phones) more.push_back(model.definition.phones[static_cast<std::size_t>(phone)].name);
      }
    }
    if (longer.empty()) throw Fault("the keyword \"" + text + "\": " + reason);
    all = std::move(longer);
  }
  if (all.front().empty()) throw Fault("a keyword has no words");
  return all;
}

std::vector<std::string> names_of(const Dictionary& phones) {
  std::vector<std::string> names;
  for (const auto& [name, unused] : phones.words()) names.push_back(name);
  return names;
}

}  // namespace

Dictionary phone_dictionary(const ModelDefinition& definition) {
  Dictionary result;
  for (const PhoneDefinition& phone : definition.phones) {
    if (!phone.filler) result.add(phone.name, {phone.name});
  }
  return result;
}

SearchNetwork build_phone_loop(const AcousticModel& model, const SearchWeights& weights) {
  const Dictionary phones = phone_dictionary(model.definition);
  return build_search_network(word_loop(names_of(phones), "the phones of " + model.folder.string()), phones, model,
                              weights);
}

SearchNetwork build_keyword_loop(const std::vector<Keyword>& keywords, const Dictionary& dictionary,
                                 const AcousticModel& model, const SearchWeights& weights) {
  Dictionary entries = phone_dictionary(model.definition);
  WordNetwork words = word_loop(names_of(entries), "keywords");
  const std::size_t phones = words.words.size();
  const float phone_weight = words.arcs.front().log_weight;
  for (const Keyword& keyword : keywords) {
    // a place of its own in the dictionary, which no phone has
    const std::string entry = "keyword " + keyword.text;
    if (entries.find(entry) != nullptr) throw Fault("the keyword \"" + keyword.text + "\" is there twice");
    std::size_t fewest = 1000;
    for (Pronunciation& pronunciation : pronunciations_of(keyword.text, dictionary, model)) {
      fewest = std::min(fewest, pronunciation.size());
      entries.add(entry, std::move(pronunciation));
    }
    const auto count = static_cast<float>(fewest);
    const float threshold = static_cast<float>(std::log(keyword.threshold)) * (keyword.each_phone ? count : 1.0F);
    // as the keyword's phones; its own insertion penalty is added later
    const float weight = phone_weight * count + (weights.insertion_penalty * (count - 1.0F) - threshold) /
                                                    std::max(weights.language_weight, 1e-3F);
    words.arcs.push_back({0, 1, static_cast<int>(words.words.size()), weight, {}});
    words.words.push_back(entry);
  }
  SearchNetwork network = build_search_network(words, entries, model, weights);
  for (SearchLabel& label : network.labels) {
    const auto place = std::find(words.words.begin(), words.words.end(), label.word);
    if (place - words.words.begin() < static_cast<std::ptrdiff_t>(phones)) label.filler = true;
    if (label.word.starts_with("keyword ")) label.word.erase(0, std::string("keyword ").size());
  }
  return network;
}

}  // namespace kivsr::speech
