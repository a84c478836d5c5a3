// The description of a split: what it means, and what is refused.
#include <gtest/gtest.h>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/quantise/split.h"

namespace kivsr::speech::test {
namespace {

TEST(Split, GroupsOfSingleColumnsRangesAndLists) {
  const Split split = parse_split("4:6,0-2:13,5+3:1", 6);
  ASSERT_EQ(split.size(), 3U);
  EXPECT_EQ(split[0].columns, (std::vector<int>{4}));
  EXPECT_EQ(split[1].columns, (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(split[2].columns, (std::vector<int>{5, 3}));
  EXPECT_EQ(split[0].bits, 6);
  EXPECT_EQ(split[1].bits, 13);
  EXPECT_EQ(split[2].bits, 1);
  EXPECT_EQ(split_text(split[1]), "0-2:13");
  EXPECT_EQ(split_text(split[2]), "5+3:1");
}

TEST(Split, DefaultCoversEveryColumnInPairs) {
  for (const int width : {1, 2, 12, 13}) {
    std::string text;
    for (const SplitGroup& group : default_split(width)) text += (text.empty() ? "" : ",") + split_text(group);
    EXPECT_NO_THROW(parse_split(text, width)) << text;
    EXPECT_EQ(default_split(width).size(), static_cast<std::size_t>(width + 1) / 2);
  }
}

TEST(Split, RefusesWhatIsNoSplit) {
  for (const char* text :
       {"", "0-2", "0-2:0", "0-2:14", "0-2:-1", "0-2:x", "0-3:4", "2-0:4", "0-1:4", "0-2:4,1:4", "0+0+1+2:4", ":4",
        ",0-2:4", "0--2:4", "-1-2:4", "0 -2:4", "0-2:4:4", "0-2:99999999999", "0-99999999999:4"}) {
    EXPECT_THROW(parse_split(text, 3), Fault) << text;
  }
}

}  // namespace
}  // namespace kivsr::speech::test
