// Spoken examples in rows of features: what is found, where, and with which thresholds.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "kivsr/speech/decode/template_spotter.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech::test {
namespace {

constexpr int kWidth = 6;

// Rows that wander; another seed is another word.
FeatureMatrix word(int frames, unsigned seed) {
  std::mt19937 generator(seed);
  std::normal_distribution<float> normal;
  FeatureMatrix rows;
  rows.width = kWidth;
  std::vector<float> state(kWidth);
  for (float& x : state) x = 3.0F * normal(generator);
  for (int i = 0; i < frames; ++i) {
    for (float& x : state) rows.values.push_back(x = 0.8F * x + 1.5F * normal(generator));
  }
  return rows;
}

void append(FeatureMatrix& rows, const FeatureMatrix& more) {
  rows.width = more.width;
  rows.values.insert(rows.values.end(), more.values.begin(), more.values.end());
}

// The same said again: frame i of the result is frame i / stretch, with noise.
FeatureMatrix again(const FeatureMatrix& rows, double stretch, float noise, unsigned seed) {
  std::mt19937 generator(seed);
  std::normal_distribution<float> normal(0.0F, noise);
  FeatureMatrix result;
  result.width = rows.width;
  for (int i = 0; i < static_cast<int>(rows.height() * stretch); ++i) {
    for (const float x : rows.row(std::min(static_cast<int>(i / stretch), rows.height() - 1))) {
      result.values.push_back(x + normal(generator));
    }
  }
  return result;
}

std::vector<SpotHit> hits_of(TemplateSpotter& spotter, const FeatureMatrix& rows, int block = 0) {
  std::vector<SpotHit> hits;
  for (int i = 0; i < rows.height();) {
    const int count = block == 0 ? rows.height() : std::min(block, rows.height() - i);
    FeatureMatrix part;
    part.width = rows.width;
    for (int k = 0; k < count; ++k)
      part.values.insert(part.values.end(), rows.row(i + k).begin(), rows.row(i + k).end());
    spotter.push(part, hits);
    i += count;
  }
  spotter.finish(hits);
  return hits;
}

TEST(TemplateSpotter, FindsWordsWhereTheyStandHoweverRowsAreCut) {
  const FeatureMatrix first = word(40, 1), second = word(60, 2);
  TemplateSpotter spotter({{"first", first}, {"second", second}}, {.threshold = 0.4F});
  FeatureMatrix recording = word(700, 10);
  struct Place {
    int example, begin, end;
  };
  std::vector<Place> places;
  for (const auto& [example, stretch] : std::vector<std::pair<int, double>>{{0, 1.0}, {1, 1.4}, {0, 0.7}, {1, 0.8}}) {
    const int begin = recording.height();
    append(recording, again(example == 0 ? first : second, stretch, 0.5F, 20));
    places.push_back({example, begin, recording.height()});
    append(recording, word(300, static_cast<unsigned>(30 + begin)));
  }
  const auto hits = hits_of(spotter, recording);
  ASSERT_EQ(hits.size(), places.size());
  for (std::size_t i = 0; i < hits.size(); ++i) {
    EXPECT_EQ(hits[i].example, places[i].example);
    EXPECT_NEAR(static_cast<double>(hits[i].first_frame), places[i].begin, 4) << i;
    EXPECT_NEAR(static_cast<double>(hits[i].last_frame), places[i].end - 1, 4) << i;
    EXPECT_LT(hits[i].distance, spotter.threshold(hits[i].example));
  }
  for (const int block : {1, 7, 255, 256, 257, 1000}) {
    const auto other = hits_of(spotter, recording, block);
    ASSERT_EQ(other.size(), hits.size()) << block;
    for (std::size_t i = 0; i < hits.size(); ++i) {
      EXPECT_TRUE(other[i].first_frame == hits[i].first_frame && other[i].last_frame == hits[i].last_frame &&
                  other[i].distance == hits[i].distance);
    }
  }
}

TEST(TemplateSpotter, ReportsTheBestMatchEvenAboveTheThreshold) {
  TemplateSpotter spotter({{"yes", word(30, 1)}, {"no", word(30, 2)}});
  EXPECT_TRUE(hits_of(spotter, again(word(30, 2), 1.2, 0.4F, 3)).size() == 1);
  ASSERT_TRUE(spotter.best());
  EXPECT_EQ(spotter.best()->example, 1);
  EXPECT_LE(spotter.best()->share, 1.0F);
  EXPECT_TRUE(hits_of(spotter, word(50, 77)).empty());
  ASSERT_TRUE(spotter.best());
  EXPECT_GT(spotter.best()->share, 1.0F);
  EXPECT_TRUE(hits_of(spotter, word(3, 1)).empty());  // too short for every example
  EXPECT_FALSE(spotter.best());
}

TEST(TemplateSpotter, ScalesOfColumnsDoNotMatter) {
  const FeatureMatrix example = word(40, 1);
  FeatureMatrix recording = word(200, 5);
  append(recording, again(example, 1.1, 0.5F, 2));
  append(recording, word(200, 6));
  const auto scaled = [](FeatureMatrix rows) {
    for (int r = 0; r < rows.height(); ++r) {
      for (int c = 0; c < kWidth; ++c) rows.row(r)[static_cast<std::size_t>(c)] *= std::ldexp(1.0F, 3 * c - 8);
    }
    return rows;
  };
  TemplateSpotter plain({{"a", example}}), other({{"a", scaled(example)}});
  const auto hits = hits_of(plain, recording);
  const auto hits_too = hits_of(other, scaled(recording));
  ASSERT_EQ(hits.size(), 1U);
  ASSERT_EQ(hits_too.size(), 1U);
  EXPECT_EQ(hits[0].first_frame, hits_too[0].first_frame);
  EXPECT_NEAR(hits[0].distance, hits_too[0].distance, 1e-5);
}

TEST(TemplateSpotter, ThresholdsComeFromTheExamples) {
  const FeatureMatrix a = word(40, 1), b = word(40, 2);
  EXPECT_EQ(TemplateSpotter({{"a", a}}).threshold(0), kUsualThreshold);
  EXPECT_EQ(TemplateSpotter({{"a", a}}, {.threshold = 0.3F}).threshold(0), 0.3F);
  // Two of one label: a little above what lies between them, the same for both.
  const TemplateSpotter pair({{"a", a}, {"a", again(a, 1.2, 0.5F, 3)}});
  EXPECT_EQ(pair.threshold(0), pair.threshold(1));
  EXPECT_LT(pair.threshold(0), 0.5F);
  EXPECT_GT(pair.threshold(0), 0.05F);
  // Labels that sound alike get less.
  const TemplateSpotter alike({{"a", a}, {"b", again(a, 1.0, 0.7F, 4)}});
  EXPECT_LT(alike.threshold(0), 0.3F);
  EXPECT_LE(TemplateSpotter({{"a", a}, {"b", b}}).threshold(0), kUsualThreshold);
  // Between the label's own distance and that of the others.
  const TemplateSpotter both({{"a", a}, {"a", again(a, 1.2, 0.5F, 3)}, {"b", b}});
  EXPECT_GT(both.threshold(0), pair.threshold(0) / 1.3F);
}

TEST(TemplateSpotter, RefusesWhatItCannotCompare) {
  FeatureMatrix narrow;
  narrow.width = 2;
  narrow.values = {1, 2, 3, 4};
  EXPECT_THROW(TemplateSpotter(std::vector<SpokenExample>{}), Fault);
  EXPECT_THROW(TemplateSpotter({{"a", word(10, 1)}, {"b", narrow}}), Fault);
  EXPECT_THROW(TemplateSpotter({{"a", FeatureMatrix{kWidth, {}}}}), Fault);
  TemplateSpotter spotter({{"a", word(10, 1)}});
  std::vector<SpotHit> hits;
  EXPECT_THROW(spotter.push(narrow, hits), Fault);
  // An example without variation is at no distance from anything that does not count either.
  TemplateSpotter still({{"a", FeatureMatrix{1, std::vector<float>(20, 5.0F)}}});
  hits_of(still, FeatureMatrix{1, std::vector<float>(50, 5.0F)});
}

}  // namespace
}  // namespace kivsr::speech::test
