// Options that take a number: each states its range in the help and takes nothing else. NaN and infinities are no
// numbers, nor is a text with more behind one.
#pragma once

#include <string>
#include <type_traits>

#include "program/command.h"

namespace kivsr::program {

struct NumberRange {
  double low;
  double high;
  bool whole;

  std::string words() const;  // "from 0 to 1"
  // What is wrong with the text; empty: nothing.
  std::string fault(const std::string& text) const;
};

template <class Value>
Option add_number(Command command, const std::string& name, Value& value, double low, double high,
                  const std::string& help) {
  const NumberRange range{low, high, std::is_integral_v<Value>};
  return command.add_option(name, value, help)
      .type_name((range.whole ? "INTEGER " : "NUMBER ") + range.words())
      .check([range](const std::string& text) { return range.fault(text); });
}

}  // namespace kivsr::program
