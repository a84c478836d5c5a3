#include "kivsr/speech/train/phone_graph.h"

#include <algorithm>
#include <set>

namespace kivsr::speech {

namespace {

constexpr double kSilence = 0.5;
constexpr int kAnyContext = -1;

// Silence stands for every filler as a neighbour.
int context_of(const ModelDefinition& definition, int phone) {
  return definition.phones[static_cast<std::size_t>(phone)].filler ? definition.silence : phone;
}

class PhoneGraphBuilder {
 public:
  PhoneGraphBuilder(const PhoneModel& model, const PhoneLexicon& lexicon, bool in_context, const HmmOfPhone& hmm_of)
      : model_(model), lexicon_(lexicon), in_context_(in_context), hmm_of_(hmm_of) {}

  UtteranceGraph build(std::span<const int> words) {
    add_silence(true);
    for (std::size_t i = 0; i < words.size(); ++i) {
      add_word(lexicon_.pronunciations(words[i]), neighbours(words, i, -1), neighbours(words, i, 1), i == 0);
      add_silence(false);
    }
    for (const Exit& exit : exits_) builder_.add_end(exit.place, kSilence);
    builder_.add_end(silence_end_, 1.0);
    return builder_.finish();
  }

 private:
  struct Chain {
    int first;
    int last;  // places
  };
  struct Entry {
    int place;
    int left;            // context that the place was made for
    int phone;           // as a context
    double probability;  // of the pronunciation
  };
  struct Exit {
    int place;
    int right;
    int phone;
  };

  int context(int phone) const { return in_context_ ? context_of(model_.definition, phone) : kAnyContext; }
  int silent() const { return in_context_ ? model_.definition.silence : kAnyContext; }

  // What may stand before (side -1) or behind the word: last or first phones of its neighbour, or silence.
  std::vector<int> neighbours(std::span<const int> words, std::size_t at, int side) const {
    std::set<int> found{silent()};
    const bool is_last = side < 0 ? at == 0 : at + 1 == words.size();
    if (in_context_ && !is_last) {
      for (const std::vector<int>& phones : lexicon_.pronunciations(words[side < 0 ? at - 1 : at + 1])) {
        found.insert(context(side < 0 ? phones.back() : phones.front()));
      }
    }
    return {found.begin(), found.end()};
  }

  Chain add_hmm(int hmm) {
    const int matrix = model_.definition.hmms[static_cast<std::size_t>(hmm)].transition_matrix;
    int row = matrix * model_.definition.states_per_phone;
    Chain chain{-1, -1};
    for (const int state : model_.definition.states_of_hmm(hmm)) {
      const int place =
          builder_.add_place(state, static_cast<double>(model_.stays[static_cast<std::size_t>(row)]), row);
      if (chain.first < 0) chain.first = place;
      if (chain.last >= 0) builder_.add_arc(chain.last, place, 1.0);
      chain.last = place;
      ++row;
    }
    return chain;
  }

  Chain add_phone(int base, int left, int right, WordPosition position) {
    return add_hmm(in_context_ ? hmm_of_({base, left, right, position}) : base);
  }

  void add_silence(bool first) {
    const Chain chain = add_hmm(model_.definition.silence);
    if (first) builder_.add_begin(chain.first, kSilence);
    for (const Exit& exit : exits_) {
      if (exit.right == silent()) builder_.add_arc(exit.place, chain.first, kSilence);
    }
    silence_end_ = chain.last;
  }

  void add_word(const std::vector<std::vector<int>>& pronunciations, const std::vector<int>& lefts,
                const std::vector<int>& rights, bool first) {
    const double probability = 1.0 / static_cast<double>(pronunciations.size());
    std::vector<Entry> entries;
    std::vector<Exit> exits;
    for (const std::vector<int>& phones : pronunciations) {
      const std::size_t known = entries.size();
      if (phones.size() == 1) {
        add_single(phones.front(), lefts, rights, entries, exits);
      } else {
        add_phones(phones, lefts, rights, entries, exits);
      }
      for (std::size_t i = known; i < entries.size(); ++i) entries[i].probability *= probability;
    }
    connect(entries, first);
    exits_ = std::move(exits);
  }

  // A word of one phone has both neighbours in other words. The share of each right context is decided here.
  void add_single(int phone, const std::vector<int>& lefts, const std::vector<int>& rights, std::vector<Entry>& entries,
                  std::vector<Exit>& exits) {
    for (const int left : lefts) {
      for (const int right : rights) {
        const Chain chain = add_phone(phone, left, right, WordPosition::kSingle);
        entries.push_back({chain.first, left, context(phone), 1.0});
        exits.push_back({chain.last, right, context(phone)});
      }
    }
  }

  void add_phones(const std::vector<int>& phones, const std::vector<int>& lefts, const std::vector<int>& rights,
                  std::vector<Entry>& entries, std::vector<Exit>& exits) {
    std::vector<int> ends;
    for (const int left : lefts) {
      const Chain chain = add_phone(phones[0], left, context(phones[1]), WordPosition::kBegin);
      entries.push_back({chain.first, left, context(phones[0]), 1.0});
      ends.push_back(chain.last);
    }
    for (std::size_t i = 1; i + 1 < phones.size(); ++i) {
      const Chain chain = add_phone(phones[i], context(phones[i - 1]), context(phones[i + 1]), WordPosition::kInternal);
      for (const int end : ends) builder_.add_arc(end, chain.first, 1.0);
      ends = {chain.last};
    }
    const int before = context(phones[phones.size() - 2]);
    for (const int right : rights) {
      const Chain chain = add_phone(phones.back(), before, right, WordPosition::kEnd);
      for (const int end : ends) builder_.add_arc(end, chain.first, 1.0);
      exits.push_back({chain.last, right, context(phones.back())});
    }
  }

  // From silence and from the word before.
  void connect(const std::vector<Entry>& entries, bool first) {
    for (const Entry& entry : entries) {
      if (entry.left == silent()) {
        builder_.add_arc(silence_end_, entry.place, entry.probability);
        if (first) builder_.add_begin(entry.place, kSilence * entry.probability);
      }
      for (const Exit& exit : exits_) {
        if (exit.phone == entry.left && exit.right == entry.phone) {
          builder_.add_arc(exit.place, entry.place, kSilence * entry.probability);
        }
      }
    }
  }

  const PhoneModel& model_;
  const PhoneLexicon& lexicon_;
  bool in_context_;
  const HmmOfPhone& hmm_of_;
  GraphBuilder builder_;
  std::vector<Exit> exits_;  // of the last word
  int silence_end_ = -1;     // of the last silence
};

}  // namespace

PhoneLexicon::PhoneLexicon(const Dictionary& dictionary, const Dictionary& fillers, const ModelDefinition& definition) {
  for (const auto& [word, pronunciations] : fillers.words()) add(word, pronunciations, definition);
  for (const auto& [word, pronunciations] : dictionary.words()) add(word, pronunciations, definition);
}

void PhoneLexicon::add(const std::string& word, const std::vector<Pronunciation>& pronunciations,
                       const ModelDefinition& definition) {
  std::vector<std::vector<int>> known;
  for (const Pronunciation& pronunciation : pronunciations) {
    std::vector<int> phones;
    for (const std::string& phone : pronunciation) phones.push_back(definition.phone_index(phone));
    const bool complete = std::find(phones.begin(), phones.end(), -1) == phones.end();
    if (complete && std::find(known.begin(), known.end(), phones) == known.end()) known.push_back(phones);
  }
  if (known.empty() || !numbers_.try_emplace(word, words()).second) return;
  words_.push_back(std::move(known));
}

int PhoneLexicon::find(const std::string& word) const {
  const auto found = numbers_.find(word);
  return found == numbers_.end() ? -1 : found->second;
}

UtteranceGraph phone_graph(const PhoneModel& model, const PhoneLexicon& lexicon, std::span<const int> words,
                           bool in_context, const HmmOfPhone& hmm_of) {
  return PhoneGraphBuilder(model, lexicon, in_context, hmm_of).build(words);
}

UtteranceGraph phone_graph(const PhoneModel& model, const PhoneLexicon& lexicon, std::span<const int> words) {
  const HmmOfPhone hmm_of = [&](const PhoneInContext& phone) {
    return model.definition.hmm_of(phone.base, phone.left, phone.right, phone.position);
  };
  return phone_graph(model, lexicon, words, model.definition.has_contexts(), hmm_of);
}

std::vector<PhoneInContext> all_contexts(const PhoneLexicon& lexicon, const ModelDefinition& definition) {
  std::set<int> starts{definition.silence};
  std::set<int> ends{definition.silence};
  std::set<PhoneInContext> in_words;  // the neighbour in another word is any
  const auto context = [&](int phone) { return context_of(definition, phone); };
  for (int word = 0; word < lexicon.words(); ++word) {
    for (const std::vector<int>& phones : lexicon.pronunciations(word)) {
      starts.insert(context(phones.front()));
      ends.insert(context(phones.back()));
      const std::size_t count = phones.size();
      for (std::size_t i = 0; i < count; ++i) {
        if (definition.phones[static_cast<std::size_t>(phones[i])].filler) continue;
        const bool begins = i == 0;
        const bool is_last = i + 1 == count;
        const auto position = begins ? (is_last ? WordPosition::kSingle : WordPosition::kBegin)
                                     : (is_last ? WordPosition::kEnd : WordPosition::kInternal);
        in_words.insert({phones[i], begins ? kAnyContext : context(phones[i - 1]),
                         is_last ? kAnyContext : context(phones[i + 1]), position});
      }
    }
  }
  std::set<PhoneInContext> all;
  for (const PhoneInContext& phone : in_words) {
    for (const int left : phone.left == kAnyContext ? ends : std::set<int>{phone.left}) {
      for (const int right : phone.right == kAnyContext ? starts : std::set<int>{phone.right}) {
        all.insert({phone.base, left, right, phone.position});
      }
    }
  }
  return {all.begin(), all.end()};
}

}  // namespace kivsr::speech
