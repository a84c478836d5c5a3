// The program as a process: signals, pipes, links, options that need others.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>

#include <gtest/gtest.h>

#include "speech/support/command.h"
#include "speech/support/signals.h"

namespace kivsr::program::test {

using namespace speech::test;

// A signal while the program works leaves nothing but what was there.
// Ends the program by the signal as soon as its partial file is there; returns how it ended.
int end_pitch_by(int signal, const TemporaryFolder& folder, const std::filesystem::path& sound,
                 const std::filesystem::path& result) {
  const std::string program = kivsr_program();
  const pid_t child = fork();
  if (child == 0) {
    std::signal(signal, SIG_DFL);
    execl(program.c_str(), program.c_str(), "pitch", "-o", result.c_str(), sound.c_str(), nullptr);
    _exit(127);
  }
  for (int waited = 0; folder.names().size() < 3 && waited < 2000; ++waited) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  kill(child, signal);
  int status = 0;
  waitpid(child, &status, 0);
  return status;
}

// A signal while the program works leaves nothing but what was there.
TEST(Program, SignalsLeaveNoPartialFile) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    const TemporaryFolder folder;
    const auto sound = folder.write("long.wav", wav(whole(noise(16000 * 60, 2)), 16000, 1));
    int status = 0;
    for (int attempt = 0; attempt < 10 && !WIFSIGNALED(status); ++attempt) {  // a busy machine may be too late
      folder.write("result.npy", "what was there");
      status = end_pitch_by(signal, folder, sound, folder / "result.npy");
    }
    ASSERT_TRUE(WIFSIGNALED(status)) << "it was too fast to be stopped";
    EXPECT_EQ(WTERMSIG(status), signal);
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"long.wav", "result.npy"}));
    EXPECT_EQ(read_file(folder / "result.npy"), "what was there");
  }
}

TEST(Program, SoundThroughPipes) {
  const TemporaryFolder folder;
  const auto sound = folder.write("a.wav", wav(whole(noise(30000, 2)), 16000, 1));
  const auto raw = folder.write("a.raw", bytes_16(whole(tone(300, 16000, 30000))));
  const CommandResult named = run_kivsr("features -o " + quoted(folder / "named.npy") + " " + quoted(sound));
  ASSERT_EQ(named.status, 0) << named.errors;
  const std::string cat = "cat " + quoted(sound) + " | ";
  const CommandResult piped = run_kivsr("features -o " + quoted(folder / "piped.npy") + " /dev/stdin", cat);
  ASSERT_EQ(piped.status, 0) << piped.errors;
  EXPECT_EQ(read_file(folder / "named.npy"), read_file(folder / "piped.npy"));
  // The rate of the file is looked at before its samples are.
  const CommandResult advanced =
      run_kivsr("features --preset etsi-afe -o " + quoted(folder / "advanced.npy") + " /dev/stdin", cat);
  EXPECT_EQ(advanced.status, 0) << advanced.errors;
  const CommandResult headerless = run_kivsr("vad --raw-rate 16000 /dev/stdin", "cat " + quoted(raw) + " | ");
  EXPECT_EQ(headerless.status, 0) << headerless.errors;
  EXPECT_EQ(headerless.errors, "");
}

// "-" on both sides: the bytes of files, but for the size in the head of WAV, which a pipe does not know.
TEST(Program, StandardInputAndOutput) {
  const TemporaryFolder folder;
  const auto sound = quoted(folder.write("a.wav", wav(whole(noise(40000, 2)), 16000, 1)));
  const std::string cat = "cat " + sound + " | ";
  const auto bytes_of = [&](const std::string& arguments, const std::string& before = "") {
    const CommandResult result = run_kivsr(arguments, before);
    EXPECT_EQ(result.status, 0) << arguments << ": " << result.errors;
    return result.output;
  };
  const auto file_of = [&](const std::string& command, const std::string& name) {
    EXPECT_EQ(run_kivsr(command + " " + sound + " " + quoted(folder / name)).status, 0) << command;
    return read_file(folder / name);
  };
  EXPECT_EQ(bytes_of("features - -", cat), file_of("features", "a.npy"));
  EXPECT_EQ(bytes_of("features -o - --format csv " + sound), file_of("features", "a.csv"));
  EXPECT_EQ(bytes_of("enhance - - --format flac", cat), file_of("enhance", "e.flac"));
  EXPECT_EQ(bytes_of("pitch -o - --format csv -", cat).substr(0, 5), "file,");
  std::string quiet = bytes_of("enhance - -", cat);
  ASSERT_GT(quiet.size(), 44U);
  EXPECT_EQ(quiet.substr(4, 4) + quiet.substr(40, 4), std::string(8, '\xFF'));
  const std::string whole_file = file_of("enhance", "e.wav");
  EXPECT_EQ(quiet.replace(4, 4, whole_file.substr(4, 4)).replace(40, 4, whole_file.substr(40, 4)), whole_file);
  EXPECT_EQ(bytes_of("enhance - - --format raw", cat), whole_file.substr(44));
  const std::string chain = "| " + quoted(kivsr_program()) + " features - - --format csv";
  EXPECT_EQ(bytes_of("enhance - - " + chain, cat), bytes_of("features -o - --format csv " + quoted(folder / "e.wav")));
}

TEST(Program, OptionsWithoutTheirPartners) {
  const TemporaryFolder folder;
  const auto sound = quoted(folder.write("a.wav", wav(whole(noise(30000, 2)), 16000, 1)));
  const std::pair<std::string, std::string> refused[] = {
      {"recognise --words a --rule r " + sound, "--rule needs --grammar"},
      {"features -o x.npy --mfc-width 5 " + sound, "--mfc-width is for .mfc files"},
      {"train --model m --list l --frames-per-state 3", "--frames-per-state requires --align-with"},
      {"train --model m --list l --statistics s", "--statistics requires --part"},
      {"train --model m --list l --sum s", "except with --dict"},
      {"train --model m --sum s --extension .wav", "--list"},
  };
  for (const auto& [arguments, expected] : refused) {
    const CommandResult result = run_kivsr(arguments, "cd " + quoted(folder.path()) + " && ");
    EXPECT_EQ(result.status, 2) << arguments;
    EXPECT_NE(result.errors.find(expected), std::string::npos) << arguments << "\n" << result.errors;
  }
  const CommandResult said = run_kivsr("vad --raw-rate 8000 " + sound);
  EXPECT_EQ(said.status, 0);
  EXPECT_EQ(said.errors, "kivsr: no audio without a header is given, the --raw options are not used\n");
}

}  // namespace kivsr::program::test
