// Archives put together byte by byte from the description of the format, and those that we write.
#include "kivsr/speech/io/kaldi_archive.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/feature_reader.h"
#include "kivsr/speech/io/kaldi_matrix.h"
#include "speech/support/signals.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::speech::test {
namespace {

using std::string_literals::operator""s;

std::string float_bytes(float value) { return little_endian(std::bit_cast<std::uint32_t>(value), 4); }
std::string double_bytes(double value) {
  const auto bits = std::bit_cast<std::uint64_t>(value);
  return little_endian(static_cast<std::uint32_t>(bits), 4) + little_endian(static_cast<std::uint32_t>(bits >> 32), 4);
}
std::string size_bytes(std::uint32_t value) { return "\4" + little_endian(value, 4); }

// 2 x 3 and a vector of three, in every form; the numbers are exact in all but the compressed ones.
const std::string kFloats = "\0BFM "s + size_bytes(2) + size_bytes(3) + float_bytes(1) + float_bytes(-2) +
                            float_bytes(0.5F) + float_bytes(4) + float_bytes(5) + float_bytes(6);
const std::string kDoubles = "\0BDM "s + size_bytes(2) + size_bytes(3) + double_bytes(1) + double_bytes(-2) +
                             double_bytes(0.5) + double_bytes(4) + double_bytes(5) + double_bytes(6);
const std::string kVector = "\0BFV "s + size_bytes(3) + float_bytes(1) + float_bytes(-2) + float_bytes(0.5F);
const std::string kText = " [\n  1 -2 0.5\n  4 5 6 ]\n";
const std::vector<float> kValues{1, -2, 0.5F, 4, 5, 6};

std::string compressed(const std::string& type, std::uint32_t height, std::uint32_t width, const std::string& data) {
  return "\0B"s + type + " " + float_bytes(-1.0F) + float_bytes(2.0F) + little_endian(height, 4) +
         little_endian(width, 4) + data;
}

std::vector<float> values_of(const std::string& name) { return read_feature_file(name).values; }

TEST(KaldiArchive, EveryFormOfMatrixIsReadByItsKey) {
  const TemporaryFolder folder;
  const auto archive = folder.write("a.ark", "f " + kFloats + "d " + kDoubles + "text " + kText + "v " + kVector +
                                                 "line  [ 7 8 9 ]\nempty  [ ]\nlast " + kFloats);
  const auto entries = archive_entries(*kaldi_specifier("ark:" + archive.string()));
  std::vector<std::string> keys;
  for (const auto& [key, name] : entries) keys.push_back(key);
  EXPECT_EQ(keys, (std::vector<std::string>{"f", "d", "text", "v", "line", "empty", "last"}));
  for (const std::size_t i : {0, 1, 2, 6}) {
    const FeatureMatrix rows = read_feature_file(entries[i].name);
    EXPECT_EQ(rows.width, 3) << i;
    EXPECT_EQ(rows.values, kValues) << i;
  }
  EXPECT_EQ(entries[0].name, archive.string() + ":2") << "the byte behind the key and the space";
  EXPECT_EQ(values_of(entries[3].name), (std::vector<float>{1, -2, 0.5F}));
  EXPECT_EQ(values_of(entries[4].name), (std::vector<float>{7, 8, 9}));
  EXPECT_THROW(read_feature_file(entries[5].name), Fault);
  EXPECT_TRUE(is_feature_file(entries[0].name));
}

// Kaldi's src/matrix/compressed-matrix.h: 16 bits between min and min + range, bytes in three straight pieces.
TEST(KaldiArchive, CompressedMatricesOfAllThreeKinds) {
  const TemporaryFolder folder;
  std::string words;
  for (const unsigned word : {0U, 65535U, 32768U, 13107U}) words += little_endian(word, 2);
  std::vector<float> values = values_of(folder.write("16.mat", compressed("CM2", 2, 2, words)).string());
  const double expected_16[] = {-1, 1, -1 + 2 * 32768.0 / 65535, -1 + 2 * 13107.0 / 65535};
  ASSERT_EQ(values.size(), 4U);
  for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(values[i], expected_16[i], 2e-7) << i;

  values = values_of(folder.write("8.mat", compressed("CM3", 2, 2, "\0\xFF\x33\x80"s)).string());
  const double expected_8[] = {-1, 1, -1 + 2 * 51.0 / 255, -1 + 2 * 128.0 / 255};
  ASSERT_EQ(values.size(), 4U);
  for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(values[i], expected_8[i], 2e-7) << i;

  // Two columns: their percentiles, then five bytes of the first and five of the second.
  std::string data;
  for (const unsigned percentile : {0U, 13107U, 26214U, 65535U}) data += little_endian(percentile, 2);
  for (const unsigned percentile : {13107U, 13107U, 52428U, 65535U}) data += little_endian(percentile, 2);
  data += "\0\x20\x40\xC0\xFF\0\x40\x80\xC0\xFF"s;
  values = values_of(folder.write("columns.mat", compressed("CM", 5, 2, data)).string());
  // -1 + 2 k / 5: percentiles -1, -0.6, -0.2, 1 and -0.6, -0.6, 0.6, 1
  const double expected[] = {-1, -0.6, -0.8, -0.6, -0.6, 0, -0.2, 0.6, 1, 1};
  ASSERT_EQ(values.size(), 10U);
  for (std::size_t i = 0; i < 10; ++i) EXPECT_NEAR(values[i], expected[i], 1e-6) << i;
}

TEST(KaldiArchive, ScriptsNamePlacesAndRanges) {
  const TemporaryFolder folder;
  const std::string archive = folder.write("a.ark", "f " + kFloats + "d " + kDoubles).string();
  const auto wave = folder.write("a.wav", wav({1, 2, 3}, 8000, 1));
  const auto script = folder.write("a.scp", "one " + archive + ":2\n\n  two \t" + archive + ":2[1:1]\r\nthree " +
                                                wave.string() + "\nfour " + archive + ":2[0:1,1:2]");
  const auto entries = archive_entries(*kaldi_specifier(script.string()));
  ASSERT_EQ(entries.size(), 4U);
  EXPECT_EQ(values_of(entries[0].name), kValues);
  EXPECT_EQ(values_of(entries[1].name), (std::vector<float>{4, 5, 6})) << "both ends count";
  EXPECT_FALSE(is_feature_file(entries[2].name));
  EXPECT_EQ(values_of(entries[3].name), (std::vector<float>{-2, 0.5F, 5, 6}));
  EXPECT_EQ(values_of(archive + ":2[:,2:2]"), (std::vector<float>{0.5F, 6}));
  EXPECT_EQ(values_of(archive + ":2[1:3]"), (std::vector<float>{4, 5, 6})) << "ends that are rounded up";
  EXPECT_THROW(values_of(archive + ":2[2:2]"), Fault);
  EXPECT_THROW(values_of(archive + ":2[0:6]"), Fault);
  EXPECT_THROW(values_of(archive + ":2[0:1,0:3]"), Fault);
  folder.write("b.scp", "one sox a.wav -t wav - |\n");
  try {
    archive_entries(*kaldi_specifier((folder / "b.scp").string()));
    ADD_FAILURE() << "a command was taken for a file";
  } catch (const Fault& fault) {
    EXPECT_NE(std::string(fault.what()).find("the entry of one is a command"), std::string::npos) << fault.what();
  }
  folder.write("c.scp", "gone " + (folder / "gone.ark").string() + ":5\none " + archive + ":2\n");
  EXPECT_EQ(archive_entries(*kaldi_specifier("scp,p:" + (folder / "c.scp").string())).size(), 1U);
}

TEST(KaldiArchive, SoundsAreEntriesToo) {
  const TemporaryFolder folder;
  const std::string sound = wav({1, 2, 3, 4}, 8000, 1);
  const auto archive = folder.write("a.ark", "u " + sound + "f " + kFloats);
  const auto entries = archive_entries(*kaldi_specifier(archive.string()));
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_FALSE(is_feature_file(entries[0].name));
  EXPECT_EQ(values_of(entries[1].name), kValues);
}

TEST(KaldiArchive, WhatIsWrittenComesBack) {
  const TemporaryFolder folder;
  FeatureMatrix rows{3, kValues};
  rows.values[4] = 0.1F;
  rows.values[5] = -std::numeric_limits<float>::infinity();
  const std::vector<double> doubles{1e300, -0.1};
  for (const std::string& options : {"ark,scp"s, "ark,t,scp"s, "t,ark,scp"s}) {
    const auto specifier =
        *kaldi_specifier(options + ":" + (folder / "a.ark").string() + "," + (folder / "a.scp").string());
    ArchiveWriter writer(specifier);
    writer.append("one", rows);
    writer.append("two", doubles, 2);
    EXPECT_THROW(writer.append("t wo", rows), Fault);
    EXPECT_THROW(writer.append("", rows), Fault);
    writer.commit();
    const std::string bytes = read_file(folder / "a.ark");
    EXPECT_EQ(bytes.substr(0, 6), options == "ark,scp" ? "one \0B"s : "one  [") << options;
    for (const auto& entries : {archive_entries(*kaldi_specifier((folder / "a.scp").string())),
                                archive_entries(*kaldi_specifier((folder / "a.ark").string()))}) {
      ASSERT_EQ(entries.size(), 2U) << options;
      EXPECT_EQ(values_of(entries[0].name), rows.values) << options;
      EXPECT_EQ(values_of(entries[1].name)[1], -0.1F) << options;
    }
    BinaryFile file(folder / "a.ark");
    file.skip(kaldi_place(archive_entries(*kaldi_specifier((folder / "a.ark").string()))[1].name)->byte, "the first");
    std::vector<double> read;
    KaldiMatrixReader(file).read(read);
    EXPECT_EQ(read, doubles) << options;
  }
  ArchiveWriter plain(*kaldi_specifier((folder / "b.ark").string()));
  plain.append("f", FeatureMatrix{3, kValues});
  plain.append("none", FeatureMatrix{3, {}});
  plain.commit();
  EXPECT_EQ(read_file(folder / "b.ark"), "f " + kFloats + "none \0BFM "s + size_bytes(0) + size_bytes(0));
  ArchiveWriter text(*kaldi_specifier("ark,t:" + (folder / "c.ark").string()));
  text.append("f", FeatureMatrix{3, kValues});
  text.commit();
  EXPECT_EQ(read_file(folder / "c.ark"), "f " + kText);
}

TEST(KaldiArchive, Specifiers) {
  EXPECT_FALSE(kaldi_specifier("a.npy"));
  EXPECT_FALSE(kaldi_specifier("dir:x/a.wav"));
  EXPECT_FALSE(kaldi_specifier("a.ark:17")) << "a place in one";
  EXPECT_EQ(kaldi_specifier("ark,t:-")->archive, "-");
  EXPECT_EQ(kaldi_specifier("ark,s,cs:a")->archive, "a");
  EXPECT_TRUE(kaldi_specifier("ark,t:a")->text);
  EXPECT_TRUE(kaldi_specifier("scp,p:a")->permissive);
  for (const char* bad : {"ark:", "scp,ark:a,b", "ark,scp:a", "ark,x:a"})
    EXPECT_THROW(kaldi_specifier(bad), Fault) << bad;
  EXPECT_THROW(ArchiveWriter(*kaldi_specifier("scp:list")), Fault);
  EXPECT_FALSE(kaldi_place("/no/a.wav"));
  EXPECT_EQ(kaldi_place("/no/a.ark:12")->byte, 12);
  EXPECT_EQ(kaldi_place("/no/a.mat[3:4]")->first_row, 3);
  for (const char* none : {"a:-1", "a:", "a[1]", "a[2:1]", "a[:", "a:99999999999999999999", "a[0:1,0:1,0:1]"}) {
    EXPECT_FALSE(kaldi_place(none)) << none;
  }
}

TEST(KaldiArchive, TablesOfKeys) {
  const TemporaryFolder folder;
  const auto table = read_key_table(folder.write("utt2spk", "a1 anna\na2 anna\r\nb1  ben"));
  EXPECT_EQ(table, (std::map<std::string, std::string>{{"a1", "anna"}, {"a2", "anna"}, {"b1", "ben"}}));
  EXPECT_THROW(read_key_table(folder.write("twice", "a x\na y\n")), Fault);
  EXPECT_THROW(read_key_table(folder.write("alone", "a\n")), Fault);
}

// Cut anywhere, and with sizes that are not so: a fault, in no time and without the memory that they promise.
TEST(KaldiArchive, DamagedArchivesAreFaults) {
  const TemporaryFolder folder;
  for (const std::string& whole : {kFloats, kDoubles, kVector, kText, compressed("CM2", 2, 2, "01234567"),
                                   compressed("CM", 1, 1, "01234567x"), wav({1, 2, 3}, 8000, 1)}) {
    for (std::size_t size = 0; size + 1 < whole.size(); ++size) {
      const auto archive = folder.write("a.ark", "key " + whole.substr(0, size));
      EXPECT_THROW(archive_entries(*kaldi_specifier(archive.string())), Fault) << whole << ' ' << size;
    }
  }
  const std::string huge = little_endian(0x7FFFFFFF, 4);
  const std::string negative = little_endian(0xFFFFFFFF, 4);
  for (const std::string& size : {huge, negative, little_endian(70000, 4)}) {
    for (const std::string& bytes :
         {"\0BFM \4"s + size + "\4" + size, "\0BFM \4"s + size + size_bytes(0), "\0BFV \4"s + size,
          "\0BCM "s + float_bytes(0) + float_bytes(1) + size + size,
          "\0BCM2 "s + float_bytes(0) + float_bytes(1) + size + little_endian(0, 4),
          "\0BCM3 "s + float_bytes(0) + float_bytes(1) + little_endian(1, 4) + size, "\0BFM \5"s + size + size}) {
      const auto archive = folder.write("a.ark", "key " + bytes);
      EXPECT_THROW(archive_entries(*kaldi_specifier(archive.string())), Fault);
    }
  }
  for (const std::string& bytes : {"key"s, "key "s, "key \0BIM "s, "key \0B"s, " [ 1 2 ]\n"s, "key [ 1\n 2 3 ]\n"s,
                                   "key [ one ]\n"s, "key 1 2 3\n"s, "\0key "s, std::string(5000, 'k')}) {
    const auto archive = folder.write("a.ark", bytes);
    EXPECT_THROW(archive_entries(*kaldi_specifier(archive.string())), Fault) << bytes.substr(0, 20);
  }
}

}  // namespace
}  // namespace kivsr::speech::test
