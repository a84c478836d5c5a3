#include "kivsr/speech/io/output_file.h"

#include <gtest/gtest.h>

#include "kivsr/speech/io/fault.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::speech::test {
namespace {

TEST(OutputFile, AppearsOnlyWhenCommitted) {
  const TemporaryFolder folder;
  folder.write("result", "old");
  {
    OutputFile file(folder / "result");
    file.write("new text");
    EXPECT_EQ(read_file(folder / "result"), "old");
    file.commit();
    EXPECT_EQ(read_file(folder / "result"), "new text");
  }
  {
    OutputFile abandoned(folder / "result");
    abandoned.write("never seen");
    EXPECT_EQ(folder.names().size(), 2U);
  }
  EXPECT_EQ(read_file(folder / "result"), "new text");
  EXPECT_EQ(folder.names(), std::vector<std::string>{"result"});
}

TEST(OutputFile, TwoWritersOfOneNameDoNotMix) {
  const TemporaryFolder folder;
  OutputFile first(folder / "result");
  OutputFile second(folder / "result");
  first.write("first");
  second.write("second");
  second.commit();
  EXPECT_EQ(read_file(folder / "result"), "second");
  first.commit();
  EXPECT_EQ(read_file(folder / "result"), "first");
  EXPECT_EQ(folder.names(), std::vector<std::string>{"result"});
}

TEST(OutputFile, KeepsALinkAndReplacesTheFileBehindIt) {
  const TemporaryFolder folder;
  folder.write("target", "old");
  std::filesystem::create_symlink("target", folder / "link");
  OutputFile file(folder / "link");
  file.write("new");
  file.commit();
  EXPECT_TRUE(std::filesystem::is_symlink(folder / "link"));
  EXPECT_EQ(read_file(folder / "target"), "new");
}

TEST(OutputFile, RefusesWhatItCannotReplace) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder / "inner");
  EXPECT_THROW(OutputFile(folder / "inner"), Fault);
  EXPECT_THROW(OutputFile(folder / "missing/result"), Fault);
  EXPECT_THROW(OutputFile("/dev/null"), Fault);
  EXPECT_THROW(OutputFile(""), Fault);
  EXPECT_EQ(folder.names(), std::vector<std::string>{"inner"});
}

}  // namespace
}  // namespace kivsr::speech::test
