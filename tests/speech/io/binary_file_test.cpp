// Fields where the blocks that are read meet, files that are no files, and faults that say where.
#include "kivsr/speech/io/binary_file.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <fstream>
#include <thread>

#include "kivsr/speech/io/fault.h"
#include "speech/support/signals.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::speech::test {
namespace {

// Lines, words and bytes of growing length, four times as much as is read at a time.
std::string content() {
  std::string bytes;
  for (std::uint32_t i = 0; bytes.size() < 300000; ++i) {
    bytes += std::string(i % 700, 'x') + '\n' + little_endian(i, 4) + std::string(i % 1000, static_cast<char>(i));
  }
  return bytes;
}

void expect_content(BinaryFile& file, const std::string& bytes) {
  ASSERT_EQ(file.size(), static_cast<std::int64_t>(bytes.size()));
  for (std::uint32_t i = 0; file.position() < file.size(); ++i) {
    ASSERT_EQ(file.read_line("a line"), std::string(i % 700, 'x')) << i;
    ASSERT_EQ(file.read_word("a word"), i);
    const auto run = file.read_bytes(i % 1000, "bytes");
    ASSERT_EQ(std::string(run.begin(), run.end()), std::string(i % 1000, static_cast<char>(i))) << i;
  }
  file.expect_end();
}

TEST(BinaryFile, FieldsMayLieAcrossBlocks) {
  const TemporaryFolder folder;
  const std::string bytes = content();
  BinaryFile file(folder.write("a", bytes));
  expect_content(file, bytes);
  BinaryFile whole(folder / "a");
  const auto all = whole.read_bytes(whole.size(), "all");
  EXPECT_TRUE(std::equal(all.begin(), all.end(), bytes.begin(), bytes.end(),
                         [](std::uint8_t a, char b) { return a == static_cast<std::uint8_t>(b); }));
}

TEST(BinaryFile, PipesAreReadToo) {
  const TemporaryFolder folder;
  const std::string bytes = content();
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  std::thread writer([&] { std::ofstream(folder / "pipe", std::ios::binary) << bytes; });
  BinaryFile file(folder / "pipe");
  writer.join();
  expect_content(file, bytes);
}

TEST(BinaryFile, FaultsSayWhatIsMissingAndWhere) {
  const TemporaryFolder folder;
  std::string bytes(70000, 'a');
  bytes += "end";
  const auto name = folder.write("a", bytes);
  const auto fault_of = [&](const auto& read) -> std::string {
    BinaryFile file(name);
    file.read_bytes(69000, "the start");
    try {
      read(file);
    } catch (const Fault& fault) {
      return std::string(fault.what()).substr(name.string().size());
    }
    return "no fault";
  };
  EXPECT_EQ(fault_of([](BinaryFile& file) { file.read_bytes(2000, "the rest"); }),
            ": truncated: the rest needs 2000 bytes at byte 69000, 1003 are left");
  EXPECT_EQ(fault_of([](BinaryFile& file) { file.require(std::int64_t{1} << 50, "a promise"); }),
            ": truncated: a promise needs 1125899906842624 bytes at byte 69000, 1003 are left");
  EXPECT_EQ(fault_of([](BinaryFile& file) { file.read_line("a line"); }),
            ": truncated: a line at byte 69000 has no end");
  EXPECT_EQ(fault_of([](BinaryFile& file) { file.require_last(1000, "values"); }), ": 3 bytes left over at the end");
  EXPECT_EQ(fault_of([](BinaryFile& file) { file.require_last(1003, "values"); }), "no fault");
  EXPECT_THROW(BinaryFile(folder / "none"), Fault);
  EXPECT_THROW(BinaryFile{folder.path()}, Fault);
}

}  // namespace
}  // namespace kivsr::speech::test
