#include "kivsr/speech/quantise/split.h"

#include <charconv>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/text_parts.h"

namespace kivsr::speech {

namespace {

constexpr int kPairBits = 7;
constexpr int kSingleBits = 6;

[[noreturn]] void refuse(const std::string& group, const std::string& why) {
  throw Fault("--split: the group \"" + group + "\" " + why);
}

int number(std::string_view digits, const std::string& group) {
  int value = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stopped, error] = std::from_chars(digits.data(), end, value);
  if (error != std::errc() || stopped != end || value < 0) {
    refuse(group, "is not of the form 3:6, 1-2:7 or 0+13:8 (columns from 0, then bits)");
  }
  return value;
}

SplitGroup parse_group(const std::string& text, int width) {
  SplitGroup group;
  const std::size_t colon = text.find(':');
  if (colon == std::string::npos) refuse(text, "does not say its bits, as in 1-2:7");
  group.bits = number(std::string_view(text).substr(colon + 1), text);
  if (group.bits < 1 || group.bits > kMostSplitBits) {
    refuse(text, "asks for other than 1 to " + std::to_string(kMostSplitBits) + " bits");
  }
  std::string_view parts = std::string_view(text).substr(0, colon);
  for (std::string_view part; take_part(parts, '+', part);) {
    const std::size_t dash = part.find('-');
    const int first = number(part.substr(0, dash), text);
    const int last = dash == std::string_view::npos ? first : number(part.substr(dash + 1), text);
    if (last < first || last >= width) {
      refuse(text, "names columns outside 0 to " + std::to_string(width - 1) + " or a range that runs backwards");
    }
    for (int column = first; column <= last; ++column) group.columns.push_back(column);
  }
  if (group.columns.empty()) refuse(text, "has no columns");
  return group;
}

}  // namespace

Split parse_split(const std::string& text, int width) {
  Split split;
  std::vector<int> uses(static_cast<std::size_t>(width), 0);
  std::string_view groups = text;
  for (std::string_view part; take_part(groups, ',', part);) {
    const std::string group(part);
    split.push_back(parse_group(group, width));
    for (const int column : split.back().columns) {
      if (++uses[static_cast<std::size_t>(column)] > 1) {
        refuse(group, "names column " + std::to_string(column) + " again");
      }
    }
  }
  for (int column = 0; column < width; ++column) {
    if (uses[static_cast<std::size_t>(column)] == 0) {
      throw Fault("--split: column " + std::to_string(column) + " of " + std::to_string(width) + " is in no group");
    }
  }
  return split;
}

std::string split_text(const SplitGroup& group) {
  std::string text;
  for (std::size_t i = 0; i < group.columns.size();) {
    std::size_t last = i;
    while (last + 1 < group.columns.size() && group.columns[last + 1] == group.columns[last] + 1) ++last;
    text += (text.empty() ? "" : "+") + std::to_string(group.columns[i]);
    if (last > i) text += "-" + std::to_string(group.columns[last]);
    i = last + 1;
  }
  return text + ":" + std::to_string(group.bits);
}

Split default_split(int width) {
  Split split;
  int column = 0;
  if (width % 2 == 1) split.push_back({{column++}, kSingleBits});
  for (; column < width; column += 2) split.push_back({{column, column + 1}, kPairBits});
  return split;
}

}  // namespace kivsr::speech
