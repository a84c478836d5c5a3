// Files of column statistics.
#pragma once

#include <string>

#include "kivsr/speech/front/column_statistics.h"
#include "kivsr/speech/io/output_file.h"
#include "program/speech_names.h"

namespace kivsr::program {

enum class MomentsFormat {
  kNpy,   // double, shape (2 + width, width): means, variances, covariance matrix
  kCsv,   // a line of column names, then the same rows with a name in front
  kJson,  // an object with files, frames, columns, mean, variance, covariance
};

// By the extension of the name; throws Fault for any other.
MomentsFormat moments_format(const std::string& file);

// Whether the extension is that of such a file as read_moments takes.
bool is_moments_file(const std::string& file);
// Means and covariances of a .json file; throws Fault for what is none.
ColumnMoments read_moments(const std::string& file);

// Writes to the file and leaves the commit to the caller.
void write_moments(OutputFile& file, MomentsFormat format, const ColumnMoments& moments);

}  // namespace kivsr::program
