#include "kivsr/speech/models/model_definition.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <map>

#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/byte_order.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/number_text.h"
#include "kivsr/speech/io/text_parts.h"
#include "kivsr/speech/models/phone_contexts.h"

namespace kivsr::speech {
namespace {

constexpr std::uint32_t kBinaryMark = 0x46444D42U;  // "BMDF" in little-endian order
constexpr std::uint32_t kBinaryMarkSwapped = bytes_reversed(kBinaryMark);

// Faults that every definition can have, however it was written.
template <class File>
void validate(const ModelDefinition& definition, const File& file) {
  if (definition.phones.empty()) file.fail("defines no phones");
  if (definition.independent_states > definition.states) {
    file.fail("counts " + std::to_string(definition.independent_states) + " base states but only " +
              std::to_string(definition.states) + " states");
  }
  for (const PhoneDefinition& phone : definition.phones) {
    if (phone.transition_matrix < 0 || phone.transition_matrix >= definition.transition_matrices) {
      file.fail("phone " + phone.name + " has no such transition matrix: " + std::to_string(phone.transition_matrix));
    }
    if (static_cast<int>(phone.states.size()) != definition.states_per_phone) {
      file.fail("phone " + phone.name + " has " + std::to_string(phone.states.size()) + " states, others have " +
                std::to_string(definition.states_per_phone));
    }
    for (const int state : phone.states) {
      if (state < 0 || state >= definition.independent_states) {
        file.fail("phone " + phone.name + " has no such state: " + std::to_string(state));
      }
    }
  }
}

// After the mark: version, a text that describes the layout, ten counts, the names padded to a word boundary, the tree
// of the context-dependent phones (8 bytes a node), 12 bytes a phone, the number of state numbers, and 16 bits for
// each.
class BinaryReader {
 public:
  explicit BinaryReader(BinaryFile& file) : file_(file) {}

  ModelDefinition read() {
    read_counts();
    read_names();
    file_.read_bytes(8 * tree_nodes_, "the phone tree");
    file_.require(std::int64_t{12} * all_phones_, "the phones");
    for (int phone = 0; phone < all_phones_; ++phone) read_entry();
    read_sequences();
    file_.expect_end();
    for (std::size_t phone = 0; phone < result_.phones.size(); ++phone) {
      result_.phones[phone].states = states_of(entries_[phone], result_.phones[phone].name);
      result_.phones[phone].transition_matrix = entries_[phone].transition_matrix;
      result_.phones[phone].filler = entries_[phone].attributes[0] != 0;
    }
    return std::move(result_);
  }

  // The phones in context; the base phones are known to be right.
  void add_contexts(ModelDefinition& definition) const {
    const std::size_t phones = definition.phones.size();
    if (entries_.size() == phones) return;
    if (phones > PhoneContexts::kMostPhones) file_.fail("has phones in context and too many base phones");
    PhoneContexts contexts(definition);
    for (std::size_t index = phones; index < entries_.size(); ++index) {
      const auto& [sequence, matrix, attributes] = entries_[index];
      const auto& [position, base, left, right] = attributes;
      if (position > 3 || base >= phones || left >= phones || right >= phones ||
          matrix >= definition.transition_matrices) {
        file_.fail("phone " + std::to_string(index) + " has a context that does not exist");
      }
      contexts.add({base, left, right, static_cast<WordPosition>(position), matrix},
                   states_of(entries_[index], std::to_string(index)));
    }
  }

 private:
  struct Entry {
    int sequence = 0;
    int transition_matrix = 0;
    std::array<std::uint8_t, 4> attributes{};  // filler for base phones, else position, base, left, right
  };

  void read_counts() {
    if (file_.read_word("the version") > 1) file_.fail("has a version that is not known");
    file_.read_bytes(file_.read_count("the length of the description"), "the description");
    phones_ = file_.read_count("the number of base phones");
    all_phones_ = file_.read_count("the number of phones");
    result_.states_per_phone = file_.read_count("the states of a phone");
    result_.independent_states = file_.read_count("the number of base states");
    result_.states = file_.read_count("the number of states");
    result_.transition_matrices = file_.read_count("the number of transition matrices");
    sequences_ = file_.read_count("the number of state sequences");
    file_.read_count("the width of the context");
    tree_nodes_ = file_.read_count("the number of tree nodes");
    file_.read_count("the silence phone");
    if (result_.states_per_phone == 0) file_.fail("has phones of different lengths, which are not read");
    if (all_phones_ < phones_) file_.fail("has fewer phones than base phones");
  }

  void read_names() {
    const std::int64_t names = file_.position();
    for (int phone = 0; phone < phones_; ++phone)
      result_.phones.emplace_back().name = file_.read_string("a phone name");
    file_.read_bytes((4 - (file_.position() - names) % 4) % 4, "the padding after the names");
  }

  void read_entry() {
    Entry entry;
    entry.sequence = file_.read_count("a state sequence number");
    entry.transition_matrix = file_.read_count("a transition matrix number");
    const auto attributes = file_.read_bytes(4, "phone attributes");
    std::copy(attributes.begin(), attributes.end(), entry.attributes.begin());
    entries_.push_back(entry);
  }

  void read_sequences() {
    const std::int64_t numbers = file_.read_count("the number of state numbers");
    if (numbers != std::int64_t{sequences_} * result_.states_per_phone) {
      file_.fail("has state sequences of a wrong length");
    }
    file_.require(2 * numbers, "the state sequences");
    states_.resize(static_cast<std::size_t>(numbers));
    for (int& state : states_) {
      state = file_.read_half_word("the state sequences");
      if (state >= result_.states) file_.fail("has no such state: " + std::to_string(state));
    }
  }

  std::vector<int> states_of(const Entry& entry, const std::string& name) const {
    if (entry.sequence >= sequences_) file_.fail("phone " + name + " has no such state sequence");
    const std::ptrdiff_t length = static_cast<std::ptrdiff_t>(states_.size()) / sequences_;
    const auto first = states_.begin() + entry.sequence * length;
    return {first, first + length};
  }

  BinaryFile& file_;
  ModelDefinition result_;
  int phones_ = 0;
  int all_phones_ = 0;
  int sequences_ = 0;
  std::int64_t tree_nodes_ = 0;
  std::vector<Entry> entries_;
  std::vector<int> states_;  // [sequence][state]
};

// Lines: a version, counts with their names, then for each phone: base, left, right, position, attribute, matrix,
// states, N. The base phones come first and have "-" for left, right and position.
class TextReader {
 public:
  TextReader(std::string name, std::string_view text) : name_(std::move(name)), rest_(text) {}

  const std::string& name() const { return name_; }

  ModelDefinition read() {
    if (next() != "0.3") fail("is not a model definition: its first line is not the version 0.3");
    ModelDefinition result;
    const int phones = count("n_base");
    triphones_ = count("n_tri");
    const int state_map = count("n_state_map");
    result.states = count("n_tied_state");
    result.independent_states = count("n_tied_ci_state");
    result.transition_matrices = count("n_tied_tmat");
    if (phones < 1) fail("defines no phones");
    result.states_per_phone = -1;
    for (int phone = 0; phone < phones; ++phone) {
      result.phones.push_back(read_phone());
      indices_.try_emplace(result.phones.back().name, phone);
      if (phone == 0) result.states_per_phone = static_cast<int>(result.phones[0].states.size());
    }
    if (state_map < phones * (result.states_per_phone + 1)) fail("n_state_map is too small for its phones");
    return result;
  }

  // The phones in context, whose states and matrices are checked here for want of a name.
  void add_contexts(ModelDefinition& definition) {
    if (triphones_ == 0) return;
    if (definition.phones.size() > PhoneContexts::kMostPhones) fail("has phones in context and too many base phones");
    PhoneContexts contexts(definition);
    for (int index = 0; index < triphones_; ++index) {
      const Line line = read_line();
      const std::size_t position = std::string("ibes").find(line.position);
      if (line.position.size() != 1 || position == std::string::npos) fail("has no such position in a word");
      const bool states_exist = std::all_of(line.phone.states.begin(), line.phone.states.end(),
                                            [&](int state) { return state < definition.states; });
      if (!states_exist || static_cast<int>(line.phone.states.size()) != definition.states_per_phone ||
          line.phone.transition_matrix >= definition.transition_matrices) {
        fail("a phone in context has states or a transition matrix that do not exist");
      }
      contexts.add({known_phone(line.phone.name), known_phone(line.left), known_phone(line.right),
                    static_cast<WordPosition>(position), line.phone.transition_matrix},
                   line.phone.states);
    }
  }

 private:
  struct Line {
    PhoneDefinition phone;
    std::string left;
    std::string right;
    std::string position;
  };

  [[noreturn]] void fail(const std::string& message) const {
    throw Fault(name_ + ":" + std::to_string(line_) + ": " + message);
  }

  // The next line that is neither empty nor a comment.
  std::string_view next() {
    for (std::string_view line; take_line(rest_, line);) {
      ++line_;
      line = trimmed(line);
      if (!line.empty() && line.front() != '#') return line;
    }
    ++line_;
    fail("truncated: the file ends here");
  }

  int number(std::string_view text) const {
    int value = -1;
    if (!read_number(text, value) || value < 0) fail("\"" + std::string(text) + "\" is not a count");
    return value;
  }

  int count(std::string_view name) {
    std::string_view line = next();
    std::string_view value;
    std::string_view found;
    take_word(line, value);
    take_word(line, found);
    if (found != name) fail("expected the count " + std::string(name) + ", found \"" + std::string(found) + "\"");
    return number(value);
  }

  int known_phone(const std::string& name) const {
    const auto found = indices_.find(name);
    if (found == indices_.end()) fail("has no base phone \"" + name + "\"");
    return found->second;
  }

  Line read_line() {
    std::string_view words = next();
    std::array<std::string_view, 6> fields;
    for (std::string_view& field : fields) {
      if (!take_word(words, field)) fail("a phone needs at least six fields");
    }
    Line line;
    line.left = fields[1];
    line.right = fields[2];
    line.position = fields[3];
    PhoneDefinition& phone = line.phone;
    phone.name = fields[0];
    phone.filler = fields[4] == "filler";
    phone.transition_matrix = number(fields[5]);
    std::string_view state;
    while (take_word(words, state) && state != "N") phone.states.push_back(number(state));
    if (state != "N" || phone.states.empty()) fail("the states of phone " + phone.name + " do not end with N");
    return line;
  }

  PhoneDefinition read_phone() {
    Line line = read_line();
    if (line.left != "-" || line.right != "-") fail("expected a phone without context");
    return std::move(line.phone);
  }

  std::string name_;
  std::string_view rest_;
  int line_ = 0;
  int triphones_ = 0;
  std::map<std::string, int> indices_;
};

// Faults of a text as a whole.
struct NamedText {
  const std::string& name;
  [[noreturn]] void fail(const std::string& message) const { throw Fault(name + ": " + message); }
};

template <class Reader, class File>
ModelDefinition read_with(Reader reader, const File& file) {
  ModelDefinition result = reader.read();
  validate(result, file);
  result.silence = result.phone_index("SIL");
  add_independent_hmms(result);
  reader.add_contexts(result);
  return result;
}

}  // namespace

ModelDefinition read_model_definition(const std::filesystem::path& path) {
  BinaryFile file(path);
  const std::uint32_t mark = file.read_word("the first word");
  file.set_big_endian(mark == kBinaryMarkSwapped);
  if (mark == kBinaryMark || mark == kBinaryMarkSwapped) return read_with(BinaryReader(file), file);
  return parse_model_definition(path.string(), read_text_file(path));
}

ModelDefinition parse_model_definition(const std::string& name, const std::string& text) {
  return read_with(TextReader(name, text), NamedText{name});
}

namespace {

// Appends the line of a phone behind its names.
void put_phone(bool filler, int matrix, std::span<const int> states, std::string& text) {
  const auto put = [&](int number) {
    char digits[12];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
    text.append(std::begin(digits), end);
  };
  text += filler ? " filler " : " n/a ";
  put(matrix);
  for (const int state : states) text += ' ', put(state);
  text += " N\n";
}

}  // namespace

std::string model_definition_text(const ModelDefinition& definition) {
  constexpr std::string_view kPositions = "ibes";
  std::string triphones;
  int count = 0;
  std::size_t place = 0;
  const std::size_t positions = definition.has_contexts() ? kPositions.size() : 0;
  for (std::size_t position = 0; position < positions; ++position) {
    for (const PhoneDefinition& base : definition.phones) {
      for (const PhoneDefinition& left : definition.phones) {
        for (const PhoneDefinition& right : definition.phones) {
          const int hmm = definition.contexts[place++];
          if (hmm < 0) continue;
          ++count;
          triphones.append(base.name).append(" ").append(left.name).append(" ").append(right.name).append(" ");
          triphones += kPositions[position];
          put_phone(base.filler, definition.hmms[static_cast<std::size_t>(hmm)].transition_matrix,
                    definition.states_of_hmm(hmm), triphones);
        }
      }
    }
  }
  const auto phones = static_cast<int>(definition.phones.size());
  std::string text = "0.3\n" + std::to_string(phones) + " n_base\n" + std::to_string(count) + " n_tri\n" +
                     std::to_string((phones + count) * (definition.states_per_phone + 1)) + " n_state_map\n" +
                     std::to_string(definition.states) + " n_tied_state\n" +
                     std::to_string(definition.independent_states) + " n_tied_ci_state\n" +
                     std::to_string(definition.transition_matrices) + " n_tied_tmat\n" +
                     "#\n# Columns definitions\n#base lft rt p attrib tmat ... state id's ...\n";
  for (const PhoneDefinition& phone : definition.phones) {
    text.append(phone.name).append(" - - -");
    put_phone(phone.filler, phone.transition_matrix, phone.states, text);
  }
  return text + triphones;
}

}  // namespace kivsr::speech
