// Pieces of what subcommands print, and where it goes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kivsr::program {

// As std::printf makes it.
__attribute__((format(printf, 1, 2))) std::string formatted(const char* format, ...);

// "1 file", "2 files".
std::string counted(std::int64_t count, const char* one);

std::string joined(const std::vector<std::string>& words, std::string_view between = " ");

// In quotation marks, those inside doubled.
std::string in_quotes(const std::string& text);

// A field of a table with commas: in quotation marks where it needs them.
std::string comma_field(const std::string& text);

// To the file, which appears when it is complete, or to standard output where the name is empty.
void write_report(const std::string& file, std::string_view text);

}  // namespace kivsr::program
