// A fuzz target: a name and what is done with the bytes of an input. Next: limits.h, what no input may exceed.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace kivsr::fuzz {

using Bytes = std::span<const std::uint8_t>;

struct Target {
  const char* name;
  void (*run)(Bytes bytes);
};

// All of the program, in no order.
std::vector<Target>& targets();
const Target* find_target(const std::string& name);

// A target of a source file: static const Registration registration("name", run);
struct Registration {
  Registration(const char* name, void (*run)(Bytes)) { targets().push_back({name, run}); }
};

// The bytes as a file of that name, in a folder in memory that ends with the process.
std::filesystem::path file_of(Bytes bytes, const std::string& name);

// The target's run of one input. Faults are what a parser says about bad input; any other exception, more than 100 MB
// or more than a second (of a program without instruments; ten here) aborts.
void run_input(const Target& target, Bytes bytes);

}  // namespace kivsr::fuzz
