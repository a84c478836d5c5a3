// Archives as Kaldi has them: keys with a matrix, a vector or a WAV file each, one behind the other ("ark"), and lists
// of keys with the place of each ("scp"). They are named like Kaldi's: "ark:FILE", "scp:FILE", "ark,t:FILE" as text,
// "ark,scp:FILE,LIST" to write both; "-" is standard input, or output. Next: kaldi_matrix.h, what stands behind a key;
// feature_reader.h, which reads it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "kivsr/speech/io/feature_matrix.h"
#include "kivsr/speech/io/output_file.h"

namespace kivsr::speech {

struct KaldiSpecifier {
  std::filesystem::path archive = {};  // empty: there is none
  std::filesystem::path script = {};
  bool text = false;        // what is written
  bool permissive = false;  // what is missing is passed over
};

// Empty unless the name begins as these do ("ark:", "scp,p:", ...) or ends in .ark or .scp and is no place in one.
// Throws Fault for what begins so and is none.
std::optional<KaldiSpecifier> kaldi_specifier(const std::string& name);

struct ArchiveEntry {
  std::string key;
  std::string name;  // a file, or a place in an archive: "FILE:BYTE", "FILE:BYTE[0:99]"
};

// All entries, in their order; an archive is looked through once, without what its matrices hold. Throws Fault for a
// list whose entries are commands (they end in "|"), a damaged archive, a line without a file.
std::vector<ArchiveEntry> archive_entries(const KaldiSpecifier& specifier);

// What stands behind a name: the place in a file and the part of a matrix.
struct KaldiPlace {
  std::filesystem::path file;
  std::int64_t byte = 0;
  // The first and the last, both counted; -1: all.
  std::int64_t first_row = -1, last_row = -1, first_column = -1, last_column = -1;
};

// Empty unless the name is "FILE:BYTE", "FILE[RANGE]" or both and no file has that name.
std::optional<KaldiPlace> kaldi_place(const std::filesystem::path& name);

// Lines "key value" of a text file, of speakers by utterance and the like. Throws Fault for a key that comes twice.
std::map<std::string, std::string> read_key_table(const std::filesystem::path& file);

// Writes an archive, and its list. Both appear with commit.
class ArchiveWriter {
 public:
  // Throws Fault for a list alone.
  explicit ArchiveWriter(const KaldiSpecifier& specifier);

  // Throws Fault for a key that is empty or holds a space.
  void append(const std::string& key, const FeatureMatrix& rows) { append_values<float>(key, rows.values, rows.width); }
  void append(const std::string& key, std::span<const double> values, int width) { append_values(key, values, width); }
  void commit();
  bool is_standard_output() const { return specifier_.archive == "-"; }

 private:
  template <class T>
  void append_values(const std::string& key, std::span<const T> values, int width);

  KaldiSpecifier specifier_;
  OutputFile archive_;
  std::optional<OutputFile> script_;
  std::int64_t position_ = 0;
};

}  // namespace kivsr::speech
