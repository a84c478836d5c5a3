#include "kivsr/speech/models/model_definition.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <sstream>

#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {
namespace {

constexpr std::uint32_t kBinaryMark = 0x46444D42U;         // "BMDF" in little-endian order
constexpr std::uint32_t kBinaryMarkSwapped = 0x424D4446U;  // the same letters read in the other order

// Faults that every definition can have, however it was written.
void validate(const ModelDefinition& definition, const BinaryFile& file) {
  if (definition.phones.empty()) file.fail("defines no phones");
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
ModelDefinition read_binary(BinaryFile& file) {
  if (file.read_word("the version") > 1) file.fail("has a version that is not known");
  file.read_bytes(file.read_count("the length of the description"), "the description");
  const int phones = file.read_count("the number of base phones");
  const int all_phones = file.read_count("the number of phones");
  ModelDefinition result;
  result.states_per_phone = file.read_count("the states of a phone");
  result.independent_states = file.read_count("the number of base states");
  result.states = file.read_count("the number of states");
  result.transition_matrices = file.read_count("the number of transition matrices");
  const int sequences = file.read_count("the number of state sequences");
  file.read_count("the width of the context");
  const std::int64_t tree_nodes = file.read_count("the number of tree nodes");
  file.read_count("the silence phone");
  if (result.states_per_phone == 0) file.fail("has phones of different lengths, which are not read");
  if (all_phones < phones) file.fail("has fewer phones than base phones");

  const std::int64_t names = file.position();
  for (int phone = 0; phone < phones; ++phone) result.phones.emplace_back().name = file.read_string("a phone name");
  file.read_bytes((4 - (file.position() - names) % 4) % 4, "the padding after the names");
  file.read_bytes(8 * tree_nodes, "the phone tree");

  std::vector<int> sequence_of_phone;
  file.require(std::int64_t{12} * all_phones, "the phones");
  for (PhoneDefinition& phone : result.phones) {
    sequence_of_phone.push_back(file.read_count("a state sequence number"));
    phone.transition_matrix = file.read_count("a transition matrix number");
    phone.filler = file.read_bytes(4, "phone attributes")[0] != 0;
  }
  file.read_bytes(std::int64_t{12} * (all_phones - phones), "the phones");

  const std::int64_t numbers = file.read_count("the number of state numbers");
  if (numbers != std::int64_t{sequences} * result.states_per_phone) file.fail("has state sequences of a wrong length");
  file.require(2 * numbers, "the state sequences");
  std::vector<int> states(static_cast<std::size_t>(numbers));
  for (int& state : states) state = file.read_half_word("the state sequences");
  file.expect_end();
  for (int phone = 0; phone < phones; ++phone) {
    const int sequence = sequence_of_phone[static_cast<std::size_t>(phone)];
    if (sequence >= sequences) {
      file.fail("phone " + result.phones[static_cast<std::size_t>(phone)].name + " has no such state sequence");
    }
    const auto first = states.begin() + std::ptrdiff_t{sequence} * result.states_per_phone;
    result.phones[static_cast<std::size_t>(phone)].states.assign(first, first + result.states_per_phone);
  }
  return result;
}

// Lines: a version, counts with their names, then for each phone: base, left, right, position, attribute, matrix,
// states, N.
class TextReader {
 public:
  explicit TextReader(const BinaryFile& file) : file_(file), lines_(content(file)) {}

  ModelDefinition read() {
    if (next() != "0.3") fail("is not a model definition: its first line is not the version 0.3");
    ModelDefinition result;
    const int phones = count("n_base");
    count("n_tri");
    const int state_map = count("n_state_map");
    result.states = count("n_tied_state");
    result.independent_states = count("n_tied_ci_state");
    result.transition_matrices = count("n_tied_tmat");
    if (phones < 1) fail("defines no phones");
    result.states_per_phone = -1;
    for (int phone = 0; phone < phones; ++phone) {
      result.phones.push_back(read_phone());
      if (phone == 0) result.states_per_phone = static_cast<int>(result.phones[0].states.size());
    }
    if (state_map < phones * (result.states_per_phone + 1)) fail("n_state_map is too small for its phones");
    return result;
  }

 private:
  static std::string content(const BinaryFile& file) {
    const auto bytes = read_whole_file(file.name());
    return std::string(bytes.begin(), bytes.end());
  }

  [[noreturn]] void fail(const std::string& message) const {
    throw Fault(file_.name() + ":" + std::to_string(line_) + ": " + message);
  }

  // The next line that is neither empty nor a comment.
  std::string next() {
    std::string line;
    while (std::getline(lines_, line)) {
      ++line_;
      if (!line.empty() && line.back() == '\r') line.pop_back();
      const auto first = line.find_first_not_of(" \t");
      if (first != std::string::npos && line[first] != '#') return line;
    }
    ++line_;
    fail("truncated: the file ends here");
  }

  int number(const std::string& text) const {
    int value = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < 0) fail("\"" + text + "\" is not a count");
    return value;
  }

  int count(const std::string& name) {
    std::istringstream words(next());
    std::string value;
    std::string found;
    words >> value >> found;
    if (found != name) fail("expected the count " + name + ", found \"" + found + "\"");
    return number(value);
  }

  PhoneDefinition read_phone() {
    std::istringstream words(next());
    PhoneDefinition phone;
    std::string left;
    std::string right;
    std::string position;
    std::string attribute;
    std::string matrix;
    if (!(words >> phone.name >> left >> right >> position >> attribute >> matrix)) {
      fail("a phone needs at least six fields");
    }
    if (left != "-" || right != "-") fail("expected a phone without context");
    phone.filler = attribute == "filler";
    phone.transition_matrix = number(matrix);
    std::string state;
    while (words >> state && state != "N") phone.states.push_back(number(state));
    if (state != "N" || phone.states.empty()) fail("the states of phone " + phone.name + " do not end with N");
    return phone;
  }

  const BinaryFile& file_;
  std::istringstream lines_;
  int line_ = 0;
};

}  // namespace

int ModelDefinition::phone_index(std::string_view name) const {
  const auto found =
      std::find_if(phones.begin(), phones.end(), [&](const PhoneDefinition& phone) { return phone.name == name; });
  return found == phones.end() ? -1 : static_cast<int>(found - phones.begin());
}

ModelDefinition read_model_definition(const std::filesystem::path& path) {
  BinaryFile file(path);
  const std::uint32_t mark = file.read_word("the first word");
  file.set_big_endian(mark == kBinaryMarkSwapped);
  ModelDefinition result =
      mark == kBinaryMark || mark == kBinaryMarkSwapped ? read_binary(file) : TextReader(file).read();
  validate(result, file);
  return result;
}

}  // namespace kivsr::speech
