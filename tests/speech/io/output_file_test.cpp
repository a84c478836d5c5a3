#include "kivsr/speech/io/output_file.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>

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

TEST(OutputFile, KeepsALinkToAFileThatIsNotThereYet) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder / "inner");
  std::filesystem::create_symlink("inner/target", folder / "link");
  OutputFile file(folder / "link");
  file.write("new");
  file.commit();
  EXPECT_TRUE(std::filesystem::is_symlink(folder / "link"));
  EXPECT_EQ(read_file(folder / "inner/target"), "new");
}

TEST(OutputFile, KeepsOtherNamesAndPermissions) {
  const TemporaryFolder folder;
  folder.write("result", "old and longer than the new");
  std::filesystem::create_hard_link(folder / "result", folder / "other");
  for (const std::string text : {"short", "now longer than anything before it was"}) {
    OutputFile file(folder / "result");
    file.write(text);
    EXPECT_NE(read_file(folder / "other"), text);
    file.commit();
    EXPECT_EQ(read_file(folder / "other"), text);
    EXPECT_EQ(std::filesystem::hard_link_count(folder / "result"), 2U);
  }
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"other", "result"}));

  folder.write("private", "old");
  chmod((folder / "private").c_str(), 0640);
  OutputFile file(folder / "private");
  file.write("new");
  file.commit();
  struct stat there {};
  ASSERT_EQ(stat((folder / "private").c_str(), &there), 0);
  EXPECT_EQ(there.st_mode & 0777U, 0640U);
}

// What `body` says in a process of its own, which may give up rights.
template <class Body>
std::string in_child(Body body) {
  int ends[2] = {};
  if (pipe(ends) != 0) return "no pipe";
  const pid_t child = fork();
  if (child == 0) {
    const std::string said = body();
    const ssize_t written = write(ends[1], said.data(), said.size());
    _exit(written < 0 ? 1 : 0);
  }
  close(ends[1]);
  std::string said(1000, '\0');
  const ssize_t count = read(ends[0], said.data(), said.size());
  close(ends[0]);
  waitpid(child, nullptr, 0);
  said.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  return said;
}

template <class Body>
std::string fault_of(Body body) {
  try {
    body();
    return "no fault";
  } catch (const Fault& fault) {
    return fault.what();
  }
}

// The folder may be written, the file not: a rename would replace it all the same.
TEST(OutputFile, RefusesAFileThatMayNotBeWritten) {
  const TemporaryFolder folder;
  const auto name = folder.write("result", "old");
  chmod(folder.path().c_str(), 0777);
  chmod(name.c_str(), 0444);
  const std::string said = in_child([&] {
    if (geteuid() == 0 && seteuid(65534) != 0) return std::string("cannot be tested");
    return fault_of([&] { OutputFile file(name); });
  });
  EXPECT_EQ(said, name.string() + ": may not be replaced: Permission denied");
  EXPECT_EQ(read_file(name), "old");
}

TEST(OutputFile, NoRoomLeavesWhatWasThere) {
  const TemporaryFolder folder;
  folder.write("plain", "old");
  folder.write("linked", "old");
  std::filesystem::create_hard_link(folder / "linked", folder / "other");
  for (const char* name : {"plain", "linked", "fresh"}) {
    const std::string said = in_child([&] {
      std::signal(SIGXFSZ, SIG_IGN);
      const rlimit limit{1000, 1000};
      setrlimit(RLIMIT_FSIZE, &limit);
      return fault_of([&] {
        OutputFile file(folder / name);
        file.write(std::string(2000, 'x'));
        file.commit();
      });
    });
    EXPECT_EQ(said, (folder / name).string() + ": cannot be written: File too large");
  }
  EXPECT_EQ(read_file(folder / "plain") + read_file(folder / "linked"), "oldold");
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"linked", "other", "plain"}));
}

TEST(OutputFile, PartialFilesAreRemovedForAProcessThatEnds) {
  const TemporaryFolder folder;
  in_child([&] {
    OutputFile first(folder / "first");
    OutputFile second(folder / "second");
    OutputFile complete(folder / "complete");
    first.write(std::string(100000, 'x'));
    complete.commit();
    remove_partial_files();
    _exit(0);
    return std::string();
  });
  EXPECT_EQ(folder.names(), std::vector<std::string>{"complete"});
}

TEST(OutputFile, LongNames) {
  const TemporaryFolder folder;
  const std::string name(255, 'n');
  OutputFile file(folder / name);
  file.write("text");
  file.commit();
  EXPECT_EQ(folder.names(), std::vector<std::string>{name});
}

TEST(OutputFile, RefusesWhatItCannotReplace) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder / "inner");
  EXPECT_THROW(OutputFile(folder / "inner"), Fault);
  EXPECT_THROW(OutputFile(folder / "missing/result"), Fault);
  EXPECT_THROW(OutputFile(""), Fault);
  EXPECT_EQ(folder.names(), std::vector<std::string>{"inner"});
}

// A pipe gets what is flushed at once, or everything at the commit where something will be written over.
TEST(OutputFile, PipesGetTheirBytesAsTheyCome) {
  const TemporaryFolder folder;
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  for (const bool kept : {false, true}) {
    const int reader = open((folder / "pipe").c_str(), O_RDONLY | O_NONBLOCK);
    OutputFile file(folder / "pipe");
    if (kept) file.keep_until_commit();
    EXPECT_EQ(file.is_stream(), !kept);
    file.write("0 lines\n");
    file.flush();
    std::array<char, 64> bytes{};
    EXPECT_EQ(read(reader, bytes.data(), bytes.size()), kept ? -1 : 8) << "-1: nothing has come";
    if (kept) file.overwrite(0, "1");
    file.commit();
    if (kept) {
      EXPECT_EQ(std::string(bytes.data(), static_cast<std::size_t>(read(reader, bytes.data(), 64))), "1 lines\n");
    }
    close(reader);
  }
  EXPECT_EQ(folder.names(), std::vector<std::string>{"pipe"});
}

}  // namespace
}  // namespace kivsr::speech::test
