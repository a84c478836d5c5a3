// Frame pairs: the layout bit by bit, the check, and what becomes of damaged pairs.
#include "kivsr/speech/quantise/frame_pairs.h"

#include <gtest/gtest.h>

#include <random>

#include "kivsr/speech/front/presets.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech::test {
namespace {

using Octets = std::vector<std::uint8_t>;

CodedFrame random_frame(std::mt19937& generator) {
  CodedFrame frame;
  for (std::size_t i = 0; i < kPairIndices; ++i) {
    frame.indices[i] = static_cast<std::uint8_t>(generator() % (1U << kPairIndexBits[i]));
  }
  frame.speech = generator() % 2 != 0;
  return frame;
}

std::vector<CodedFrame> random_frames(int count, unsigned seed = 1) {
  std::mt19937 generator(seed);
  std::vector<CodedFrame> frames;
  for (int t = 0; t < count; ++t) frames.push_back(random_frame(generator));
  return frames;
}

Octets octets_of(const std::string& text) { return {text.begin(), text.end()}; }

// Octets 1 to 6 as the payload's description draws them, the most significant bit on the left:
//   idx(2,3) low 2 | idx(0,1) 6
//   idx(4,5) low 4 | idx(2,3) high 4
//   idx(6,7) 6 | idx(4,5) high 2
//   idx(10,11) low 1 | VAD | idx(8,9) 6
//   idx(12,13) low 4 | idx(10,11) high 4
//   next frame's idx(0,1) low 4 | idx(12,13) high 4
TEST(FramePairs, LayoutIsThatOfThePayload) {
  CodedFrame first;
  first.indices = {0b101101, 0b011010, 0b110010, 0b010111, 0b100011, 0b10110, 0b11010010};
  first.speech = true;
  CodedFrame second;
  second.indices = {0b000101, 0, 0, 0, 0, 0, 0b10000001};
  const FramePair pair = pack_pair(first, second);
  EXPECT_EQ(pair[0], 0b10'101101);
  EXPECT_EQ(pair[1], 0b0010'0110);
  EXPECT_EQ(pair[2], 0b010111'11);
  EXPECT_EQ(pair[3], 0b0'1'100011);
  EXPECT_EQ(pair[4], 0b0010'1011);
  EXPECT_EQ(pair[5], 0b0101'1101);
  EXPECT_EQ(pair[6], 0b00000000);
  EXPECT_EQ(pair[9], 0);
  EXPECT_EQ(pair[10], 0b10000001);
  EXPECT_EQ(pair[11] >> 4, 0);

  // Every field has its own bits: one set bit of a field sets one bit of the first 88.
  std::vector<bool> taken(88, false);
  for (const bool of_second : {false, true}) {
    for (std::size_t field = 0; field <= kPairIndices; ++field) {
      for (int bit = 0; bit < (field < kPairIndices ? kPairIndexBits[field] : 1); ++bit) {
        CodedFrame one;
        if (field < kPairIndices) {
          one.indices[field] = static_cast<std::uint8_t>(1 << bit);
        } else {
          one.speech = true;
        }
        const FramePair packed = of_second ? pack_pair({}, one) : pack_pair(one, {});
        int set = -1;
        for (int k = 0; k < 88; ++k) {
          if ((packed[static_cast<std::size_t>(k / 8)] >> (k % 8) & 1) == 0) continue;
          EXPECT_EQ(set, -1);
          set = k;
        }
        ASSERT_GE(set, of_second ? 44 : 0);
        ASSERT_LT(set, of_second ? 88 : 44);
        EXPECT_FALSE(taken[static_cast<std::size_t>(set)]);
        taken[static_cast<std::size_t>(set)] = true;
      }
    }
  }
}

// Long division of the 88 bits and four zeros by 10011.
int remainder_of(const FramePair& pair) {
  std::vector<int> bits;
  for (int k = 0; k < 88; ++k) bits.push_back(pair[static_cast<std::size_t>(k / 8)] >> (k % 8) & 1);
  bits.insert(bits.end(), 4, 0);
  for (std::size_t k = 0; k < 88; ++k) {
    if (bits[k] == 0) continue;
    for (const std::size_t term : {0U, 3U, 4U}) bits[k + term] ^= 1;
  }
  return bits[88] * 8 + bits[89] * 4 + bits[90] * 2 + bits[91];
}

TEST(FramePairs, CheckFindsEverySingleAndMostLongerErrors) {
  const auto frames = random_frames(200);
  int missed = 0;
  std::mt19937 generator(3);
  for (std::size_t t = 0; t < frames.size(); t += 2) {
    const FramePair pair = pack_pair(frames[t], frames[t + 1]);
    EXPECT_EQ(pair[11], remainder_of(pair));
    CodedFrame first, second;
    ASSERT_TRUE(unpack_pair(pair, first, second));
    EXPECT_EQ(first, frames[t]);
    EXPECT_EQ(second, frames[t + 1]);
    for (int k = 0; k < 96; ++k) {
      FramePair damaged = pair;
      damaged[static_cast<std::size_t>(k / 8)] =
          static_cast<std::uint8_t>(damaged[static_cast<std::size_t>(k / 8)] ^ 1 << k % 8);
      const bool passes = unpack_pair(damaged, first, second);
      EXPECT_EQ(passes, k >= 92) << "bit " << k;
      if (!passes) continue;
      EXPECT_TRUE(first == frames[t] && second == frames[t + 1]) << "the padding is harmless";
    }
    for (int i = 0; i < 16; ++i) {
      FramePair noise;
      for (auto& octet : noise) octet = static_cast<std::uint8_t>(generator());
      missed += unpack_pair(noise, first, second) ? 1 : 0;
    }
  }
  EXPECT_NEAR(missed, 100, 40);  // four bits of 1600 random pairs
}

TEST(FramePairs, UtterancesEndWithTheNullPair) {
  for (const int count : {1, 2, 3, 10}) {
    const auto frames = random_frames(count);
    Octets octets = octets_of(write_pairs(frames));
    ASSERT_EQ(octets.size(), 12U * static_cast<std::size_t>((count + 1) / 2 + 1));
    EXPECT_EQ(Octets(octets.end() - 12, octets.end()), Octets(12, 0));
    auto expected = frames;
    if (count % 2 != 0) expected.push_back(frames.back());
    octets.insert(octets.end(), 24, 0x5A);  // of the next segment
    const ReceivedFrames received = read_pairs(octets, "x");
    EXPECT_EQ(received.frames, expected);
    EXPECT_EQ(received.pairs, (count + 1) / 2);
    EXPECT_EQ(received.damaged, 0);
    EXPECT_EQ(read_pairs(std::span(octets).first(octets.size() - 36), "x").frames, expected) << "no null pair";
  }
  const std::vector<CodedFrame> zeros(4);
  const auto frames = read_pairs(octets_of(write_pairs(zeros)), "x").frames;
  ASSERT_EQ(frames.size(), 4U) << "two frames of zeros are no end";
  EXPECT_EQ(frames[1].indices.back(), 1);
}

TEST(FramePairs, DamagedPairsRepeatTheNearestGoodFrame) {
  const auto frames = random_frames(14);
  const Octets octets = octets_of(write_pairs(frames));
  const auto with_damage = [&](std::initializer_list<std::size_t> pairs) {
    Octets damaged = octets;
    for (const std::size_t pair : pairs) damaged[12 * pair + 4] ^= 0x10;
    return read_pairs(damaged, "x");
  };
  const auto expect_sources = [&](const ReceivedFrames& received, std::initializer_list<std::size_t> sources) {
    ASSERT_EQ(received.frames.size(), sources.size());
    std::size_t t = 0;
    for (const std::size_t source : sources) EXPECT_EQ(received.frames[t++], frames[source]) << t - 1;
  };
  expect_sources(with_damage({2}), {0, 1, 2, 3, 3, 6, 6, 7, 8, 9, 10, 11, 12, 13});
  expect_sources(with_damage({1, 2, 3}), {0, 1, 1, 1, 1, 8, 8, 8, 8, 9, 10, 11, 12, 13});
  expect_sources(with_damage({0, 1}), {4, 4, 4, 4, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13});
  expect_sources(with_damage({5, 6}), {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 9, 9, 9, 9});
  EXPECT_EQ(with_damage({0, 3, 4}).damaged, 3);
  EXPECT_THROW(with_damage({0, 1, 2, 3, 4, 5, 6}), Fault);
}

TEST(FramePairs, CutStreamsAreRefused) {
  const Octets octets = octets_of(write_pairs(random_frames(6)));
  for (std::size_t size = 0; size < octets.size(); ++size) {
    const auto part = std::span(octets).first(size);
    if (size % 12 == 0 && size > 0) {
      EXPECT_EQ(read_pairs(part, "x").frames.size(), std::min<std::size_t>(size / 12 * 2, 6));
    } else {
      EXPECT_THROW(read_pairs(part, "x"), Fault) << size;
    }
  }
  EXPECT_THROW(read_pairs(std::span(octets).last(12), "x"), Fault) << "only an end";
}

// Codewords that tell their index, so that rows show what was sent.
TEST(FramePairs, RowsThroughACodebook) {
  Recipe recipe = preset("etsi-afe");
  recipe.speech_column = false;
  std::vector<GroupCodebook> groups;
  for (const SplitGroup& group : pair_split()) {
    GroupCodebook book{group, {1.0F, 1.0F}, {}};
    for (int k = 0; k < 1 << group.bits; ++k) {
      book.codewords.push_back(static_cast<float>(k));
      book.codewords.push_back(static_cast<float>(-k));
    }
    groups.push_back(book);
  }
  const SplitCodebook book(recipe, groups);
  require_pair_book(book, "book");
  const auto frames = random_frames(9);
  const FeatureMatrix rows = decode_frames(frames, book, "x");
  ASSERT_EQ(rows.width, 15);
  for (int t = 0; t < rows.height(); ++t) {
    for (std::size_t i = 0; i < kPairIndices; ++i) {
      EXPECT_EQ(rows.row(t)[2 * i], static_cast<float>(frames[static_cast<std::size_t>(t)].indices[i]));
    }
    EXPECT_EQ(rows.row(t)[14], frames[static_cast<std::size_t>(t)].speech ? 1.0F : 0.0F);
  }
  EXPECT_EQ(code_frames(rows, book), frames);
  groups.back().codewords.resize(100);
  EXPECT_THROW(require_pair_book(SplitCodebook(recipe, groups), "book"), Fault);
  EXPECT_THROW(require_pair_book(SplitCodebook(preset("aurora"), book.groups()), "book"), Fault);
}

}  // namespace
}  // namespace kivsr::speech::test
