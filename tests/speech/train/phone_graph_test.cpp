// The paths through a graph of phones against every way to say the words, written out.
#include "kivsr/speech/train/phone_graph.h"

#include <gtest/gtest.h>

#include <cmath>

#include "kivsr/speech/models/phone_contexts.h"

namespace kivsr::speech::test {
namespace {

// Phones A, B and C, silence and a noise, of two states each; no phone stays where it is.
PhoneModel small_phone_model() {
  PhoneModel model;
  ModelDefinition& definition = model.definition;
  for (const char* name : {"+UM+", "A", "B", "C", "SIL"}) {
    PhoneDefinition phone{name, name[0] == '+' || name[0] == 'S', definition.transition_matrices++, {}};
    for (int i = 0; i < 2; ++i) phone.states.push_back(definition.states++);
    definition.phones.push_back(phone);
  }
  definition.independent_states = definition.states;
  definition.states_per_phone = 2;
  definition.silence = 4;
  add_independent_hmms(definition);
  model.stays.assign(static_cast<std::size_t>(model.rows()), 0.0F);
  return model;
}

Dictionary small_dictionary() {
  Dictionary dictionary;
  dictionary.add("ab", {"A", "B"});
  dictionary.add("ab", {"A", "C", "B"});
  dictionary.add("c", {"C"});
  dictionary.add("c", {"C", "A"});
  dictionary.add("unknown", {"X"});
  return dictionary;
}

Dictionary small_fillers() {
  Dictionary fillers;
  fillers.add("<sil>", {"SIL"});
  fillers.add("++um++", {"+UM+"});
  return fillers;
}

// Names of phones, with their neighbours if in_context, of all paths with their probabilities.
using Paths = std::map<std::string, double>;

std::string name_of(const PhoneModel& model, const PhoneInContext& phone) {
  const auto& phones = model.definition.phones;
  const std::string base = phones[static_cast<std::size_t>(phone.base)].name;
  if (phones[static_cast<std::size_t>(phone.base)].filler) return base;
  return phones[static_cast<std::size_t>(phone.left)].name + "-" + base + "+" +
         phones[static_cast<std::size_t>(phone.right)].name + "ibes"[static_cast<int>(phone.position)];
}

Paths expected_paths(const PhoneModel& model, const PhoneLexicon& lexicon, const std::vector<int>& words,
                     bool in_context) {
  struct Spoken {
    int phone;
    WordPosition position;
  };
  Paths result;
  const int silence = model.definition.silence;
  const auto finish = [&](const std::vector<Spoken>& phones, double probability) {
    const auto context = [&](std::size_t i) {
      if (i >= phones.size()) return silence;  // also the one before the first
      return model.definition.phones[static_cast<std::size_t>(phones[i].phone)].filler ? silence : phones[i].phone;
    };
    std::string text;
    for (std::size_t i = 0; i < phones.size(); ++i) {
      const std::string base = model.definition.phones[static_cast<std::size_t>(phones[i].phone)].name;
      text += " " + (in_context ? name_of(model, {phones[i].phone, context(i - 1), context(i + 1), phones[i].position})
                                : base);
    }
    result[text] += probability;
  };
  const std::function<void(std::size_t, std::vector<Spoken>, double)> say = [&](std::size_t at,
                                                                                std::vector<Spoken> phones, double p) {
    for (const bool pause : {false, true}) {
      std::vector<Spoken> said = phones;
      if (pause) said.push_back({silence, WordPosition::kSingle});
      if (at == words.size()) {
        finish(said, 0.5 * p);
        continue;
      }
      const auto& ways = lexicon.pronunciations(words[at]);
      for (const std::vector<int>& way : ways) {
        std::vector<Spoken> more = said;
        for (std::size_t i = 0; i < way.size(); ++i) {
          const auto position = way.size() == 1       ? WordPosition::kSingle
                                : i == 0              ? WordPosition::kBegin
                                : i + 1 == way.size() ? WordPosition::kEnd
                                                      : WordPosition::kInternal;
          more.push_back({way[i], position});
        }
        say(at + 1, more, 0.5 * p / static_cast<double>(ways.size()));
      }
    }
  };
  say(0, {}, 1.0);
  return result;
}

// Every path of the graph; the state of a place names its phone.
Paths paths_of(const UtteranceGraph& graph, const std::vector<std::string>& names) {
  Paths result;
  const std::function<void(int, const std::string&, double)> walk = [&](int place, const std::string& before,
                                                                        double probability) {
    const int state = graph.states[static_cast<std::size_t>(place)];
    const std::string text =
        state % 2 == 0 ? before + " " + names[static_cast<std::size_t>(state / 2)] : before;  // its first state
    const double end = graph.end[static_cast<std::size_t>(place)];
    if (end > 0.0) result[text] += probability * end;
    for (const UtteranceGraph::Arc& arc : graph.arcs_of(place)) {
      EXPECT_GT(arc.to, place);
      walk(arc.to, text, probability * arc.probability);
    }
  };
  for (int place = 0; place < graph.places(); ++place) {
    const double begin = graph.begin[static_cast<std::size_t>(place)];
    if (begin > 0.0) walk(place, "", begin);
  }
  return result;
}

void expect_same(const Paths& found, const Paths& expected) {
  double total = 0.0;
  for (const auto& [text, probability] : expected) {
    const auto known = found.find(text);
    ASSERT_NE(known, found.end()) << text;
    EXPECT_NEAR(known->second, probability, 1e-12) << text;
    total += probability;
  }
  EXPECT_EQ(found.size(), expected.size());
  EXPECT_NEAR(total, 1.0, 1e-12);
}

TEST(PhoneGraph, HasEveryWayToSayTheWords) {
  PhoneModel model = small_phone_model();
  const PhoneLexicon lexicon(small_dictionary(), small_fillers(), model.definition);
  EXPECT_EQ(lexicon.find("unknown"), -1) << "its phone is not in the model";
  const int ab = lexicon.find("ab");
  const int c = lexicon.find("c");
  const int um = lexicon.find("++um++");
  for (const std::vector<int>& words : {std::vector<int>{c}, {ab, c}, {c, ab, c}, {um, c, um, um}, {c, c}}) {
    const UtteranceGraph alone = phone_graph(model, lexicon, words);
    std::vector<std::string> names;
    for (const PhoneDefinition& phone : model.definition.phones) names.push_back(phone.name);
    expect_same(paths_of(alone, names), expected_paths(model, lexicon, words, false));

    // a model of its own for each phone in context, in the order in which they are met
    std::map<PhoneInContext, int> hmms;
    const HmmOfPhone hmm_of = [&](const PhoneInContext& phone) {
      if (model.definition.phones[static_cast<std::size_t>(phone.base)].filler) return phone.base;
      const auto [known, added] = hmms.try_emplace(phone, static_cast<int>(model.definition.hmms.size()));
      if (added) {
        model.definition.hmms.push_back({phone.base, phone.base});
        for (int i = 0; i < 2; ++i) model.definition.hmm_states.push_back(2 * known->second + i);
        names.push_back(name_of(model, phone));
      }
      return known->second;
    };
    const UtteranceGraph in_context = phone_graph(model, lexicon, words, true, hmm_of);
    expect_same(paths_of(in_context, names), expected_paths(model, lexicon, words, true));
    const auto all = all_contexts(lexicon, model.definition);
    for (const auto& [phone, hmm] : hmms) {
      EXPECT_NE(std::find(all.begin(), all.end(), phone), all.end()) << names[static_cast<std::size_t>(hmm)];
    }
    model = small_phone_model();
  }
}

}  // namespace
}  // namespace kivsr::speech::test
