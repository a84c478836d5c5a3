#include "kivsr/speech/decode/ngram_language.h"

#include <cmath>
#include <map>
#include <set>
#include <string_view>
#include <utility>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/models/dictionary.h"

namespace kivsr::speech {
namespace {

bool is_mark(std::string_view word) {
  return word == "<s>" || word == "</s>" || word == "<UNK>" || word == "<unk>" || word == "<sil>";
}

}  // namespace

// The words of its classes, each of which the model has; it may know them as words of their own too.
NgramLanguage::Senses NgramLanguage::senses_of(const WordClasses& classes) const {
  Senses senses;
  bool any = classes.empty();
  for (const auto& [name, members] : classes.classes()) {
    const int word = model_.find_word(name);
    if (word < 0) continue;
    any = true;
    for (const WordClasses::Member& member : members) {
      senses.emplace(member.word, Sense{word, static_cast<float>(std::log(member.probability))});
    }
  }
  if (!any) throw Fault(classes.file().string() + ": the language model has none of these classes");
  return senses;
}

NgramLanguage::NgramLanguage(NgramMixture model, const WordClasses& classes, const DictionaryVisit& dictionary,
                             const std::string& file, const AcousticModel& acoustic, const SearchWeights& weights,
                             SearchNetwork& network)
    : model_(std::move(model)), weights_(weights) {
  std::map<std::string, int, std::less<>> phones;
  for (std::size_t phone = 0; phone < acoustic.definition.phones.size(); ++phone) {
    phones.try_emplace(acoustic.definition.phones[phone].name, static_cast<int>(phone));
  }
  const Senses senses = senses_of(classes);
  const auto own_sense = [&](std::string_view name) {
    return is_mark(name) || classes.has_class(name) ? -1 : model_.find_word(name);
  };
  std::vector<LanguageWord> tree;
  std::set<std::string, std::less<>> pronounceable;
  const auto wanted = [&](std::string_view name) { return senses.contains(name) || own_sense(name) >= 0; };
  dictionary(wanted, [&](std::string_view name, std::span<const std::string_view> pronunciation) {
    LanguageWord entry;
    for (const std::string_view phone : pronunciation) {
      const auto known = phones.find(phone);
      if (known == phones.end()) return;
      entry.phones.push_back(known->second);
    }
    pronounceable.emplace(name);
    const auto add = [&](const Sense& sense) {
      words_.push_back(sense);
      entry.arc = network.add_label(std::string(name), entry.phones);
      tree.push_back(entry);
    };
    if (const int word = own_sense(name); word >= 0) add({word, 0.0F});
    for (auto [sense, end] = senses.equal_range(name); sense != end; ++sense) add(sense->second);
  });
  const auto require = [&](const std::string& word) {
    if (!pronounceable.contains(word)) unpronounceable_.push_back(word);
  };
  for (int word = 0; word < model_.words(); ++word) {
    if (own_sense(model_.word(word)) >= 0) require(model_.word(word));
  }
  for (auto sense = senses.begin(); sense != senses.end(); sense = senses.upper_bound(sense->first)) {
    if (own_sense(sense->first) < 0) require(sense->first);
  }
  if (tree.empty()) throw Fault(file + ": pronounces no word of the language model");
  const int begin = model_.find_word("<s>");
  start_ = begin < 0 ? 0 : model_.follow(0, begin).next;
  end_ = model_.find_word("</s>");
  model_.forget_names();
  for (LanguageWord& word : tree) word.look_ahead = follow(0, word.arc).weight;
  tree_ = network.forest->add_tree(std::move(tree));
}

SearchLanguage::Step NgramLanguage::follow(int state, int arc) const {
  const Sense& word = words_[static_cast<std::size_t>(arc)];
  const NgramModel::Step step = model_.follow(state, word.word);
  return {(step.log_probability + word.log_probability) * weights_.language_weight + weights_.insertion_penalty,
          step.next, arc};
}

float NgramLanguage::final_weight(int state) const {
  return end_ < 0 ? 0.0F : model_.follow(state, end_).log_probability * weights_.language_weight;
}

namespace {

SearchNetwork network_of(NgramMixture model, const WordClasses& classes, const DictionaryVisit& dictionary,
                         const std::string& file, const AcousticModel& acoustic, const SearchWeights& weights,
                         std::vector<std::string>& unpronounceable) {
  SearchNetwork network;
  network.forest = std::make_unique<LexiconForest>(acoustic.definition);
  auto language =
      std::make_unique<NgramLanguage>(std::move(model), classes, dictionary, file, acoustic, weights, network);
  unpronounceable = language->unpronounceable();
  network.language = std::move(language);
  add_fillers(network, acoustic, weights);
  return network;
}

}  // namespace

SearchNetwork build_ngram_network(NgramMixture model, const WordClasses& classes,
                                  const std::filesystem::path& dictionary, const AcousticModel& acoustic,
                                  const SearchWeights& weights, std::vector<std::string>& unpronounceable) {
  const auto visit = [&dictionary](const Dictionary::Filter& wanted, const Dictionary::Visitor& visitor) {
    Dictionary::visit(dictionary, wanted, visitor);
  };
  return network_of(std::move(model), classes, visit, dictionary.string(), acoustic, weights, unpronounceable);
}

SearchNetwork build_phone_ngram_network(NgramMixture model, const AcousticModel& acoustic,
                                        const SearchWeights& weights) {
  const auto visit = [&acoustic](const Dictionary::Filter& wanted, const Dictionary::Visitor& visitor) {
    for (const PhoneDefinition& phone : acoustic.definition.phones) {
      const std::string_view name = phone.name;
      if (!phone.filler && wanted(name)) visitor(name, {&name, 1});
    }
  };
  std::vector<std::string> others;  // silence and what is no phone of the model
  return network_of(std::move(model), {}, visit, acoustic.folder.string(), acoustic, weights, others);
}

}  // namespace kivsr::speech
