// What other programs read, to the byte.
#include "program/transcript_format.h"

#include <gtest/gtest.h>

namespace kivsr::program::test {
namespace {

RecognisedUtterance utterance() {
  RecognisedUtterance result;
  result.file = "there/a.wav";
  result.words = {"go", "say \"x\""};
  result.score = -12.5;
  result.audio_seconds = 2.0;
  result.complete = true;
  result.alignment = {
      {"<sil>", 0.0, 0.25, true}, {"go", 0.25, 0.5}, {"<sil>", 0.5, 1.25, true}, {"say \"x\"", 1.25, 2.0}};
  return result;
}

TEST(TranscriptFormat, JsonAndCtm) {
  EXPECT_EQ(json_line(utterance()),
            "{\"file\":\"there/a.wav\",\"text\":\"go say \\\"x\\\"\",\"score\":-12.5,\"seconds\":2.0,\"complete\":true,"
            "\"words\":[{\"word\":\"go\",\"start\":0.25,\"end\":0.5},"
            "{\"word\":\"say \\\"x\\\"\",\"start\":1.25,\"end\":2.0}]}\n");
  EXPECT_EQ(ctm_lines(utterance()), "a 1 0.25 0.25 go\na 1 1.25 0.75 say \"x\"\n");
}

TEST(TranscriptFormat, SubtitlesBreakAtPausesAndWhenTheyAreLong) {
  EXPECT_EQ(srt_text(utterance()),
            "1\n00:00:00,250 --> 00:00:00,500\ngo\n\n2\n00:00:01,250 --> 00:00:02,000\nsay \"x\"\n\n");
  RecognisedUtterance words;
  for (int i = 0; i < 30; ++i) words.alignment.push_back({"word", 3600.0 + 0.1 * i, 3600.0 + 0.1 * (i + 1)});
  const std::string text = srt_text(words);
  EXPECT_EQ(text.find("1\n01:00:00,000 --> 01:00:01,200\nword word"), 0U) << text;
  EXPECT_NE(text.find("\n3\n"), std::string::npos) << text;
  EXPECT_EQ(text.find("\n4\n"), std::string::npos) << text;
  RecognisedUtterance slow;
  for (int i = 0; i < 4; ++i) slow.alignment.push_back({"o", 2.5 * i, 2.5 * (i + 1)});
  EXPECT_NE(srt_text(slow).find("2\n00:00:05,000 --> 00:00:10,000\no o\n"), std::string::npos) << srt_text(slow);
  EXPECT_EQ(srt_text({}), "");
}

TEST(TranscriptFormat, TextGridHasNoGaps) {
  EXPECT_EQ(
      text_grid(utterance()),
      "File type = \"ooTextFile\"\nObject class = \"TextGrid\"\n\nxmin = 0\nxmax = 2.000000\ntiers? <exists>\n"
      "size = 1\nitem []:\n    item [1]:\n        class = \"IntervalTier\"\n        name = \"words\"\n"
      "        xmin = 0\n        xmax = 2.000000\n        intervals: size = 4\n"
      "        intervals [1]:\n            xmin = 0.000000\n            xmax = 0.250000\n            text = \"\"\n"
      "        intervals [2]:\n            xmin = 0.250000\n            xmax = 0.500000\n            text = \"go\"\n"
      "        intervals [3]:\n            xmin = 0.500000\n            xmax = 1.250000\n            text = \"\"\n"
      "        intervals [4]:\n            xmin = 1.250000\n            xmax = 2.000000\n"
      "            text = \"say \"\"x\"\"\"\n");
}

}  // namespace
}  // namespace kivsr::program::test
