// Objects that the library only reads serve several threads at once: the same results as one thread gets, and nothing
// for a thread sanitizer to report.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <thread>
#include <type_traits>
#include <vector>

#include "kivsr.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

constexpr int kWindow = 400;
constexpr int kOrder = 9;
constexpr int kFilters = 24;
constexpr int kCepstra = 12;
constexpr int kWords = 32;
constexpr int kFrames = 20;
constexpr int kThreads = 4;

// Everything that the threads share.
struct Shared {
  KivsFFTSpec_R_32f* fft = nullptr;
  KivsFBankState_32f* bank = nullptr;
  KivsDCTLifterState_32f* lifter = nullptr;
  KivsCdbkState_32f* book = nullptr;
  Kiv32f** precision = nullptr;
  std::vector<Kiv32f> samples, means, constants;
  std::vector<Kiv8u> selected;

  Shared() {
    Random random(12);
    samples = random.values<Kiv32f>(kFrames * kWindow, -9000, 9000);
    means = random.values<Kiv32f>(kWords * kCepstra, -20, 20);
    constants = random.values<Kiv32f>(kWords, -9, 0);
    selected = random.values<Kiv8u>(kFrames * kWords / 8, 0, 255);
    int order = 0;
    const int blocks[] = {4, kCepstra - 4};
    std::vector<const Kiv32f*> rows;
    for (int r = 0; r < kCepstra; ++r) rows.push_back(means.data() + r * kCepstra);
    EXPECT_EQ(kivsFFTInitAlloc_R_32f(&fft, kOrder, kivFftScaleNone, 0), kivStatusOk);
    EXPECT_EQ(
        kivsMelFBankInitAlloc_32f(&bank, &order, kWindow, 16000, 64, 8000, kFilters, 2595, 700, KIV_FBANK_MELWEIGHT),
        kivStatusOk);
    EXPECT_EQ(kivsDCTLifterInitAlloc_32f(&lifter, kFilters, kCepstra, 22, 1), kivStatusOk);
    EXPECT_EQ(kivsCdbkInitAlloc_L2_32f(&book, means.data(), kCepstra, kCepstra, kWords, kWords, kivCdbkFullSearch),
              kivStatusOk);
    EXPECT_EQ(kivsBlockDMatrixInitAlloc_32f(&precision, rows.data(), blocks, 2), kivStatusOk);
  }
  ~Shared() {
    kivsFFTFree_R_32f(fft);
    kivsFBankFree_32f(bank);
    kivsDCTLifterFree_32f(lifter);
    kivsCdbkFree_32f(book);
    kivsBlockDMatrixFree_32f(precision);
  }
  Shared(const Shared&) = delete;
  Shared& operator=(const Shared&) = delete;

  // One recogniser's way through all of them.
  std::vector<Kiv32f> results() const {
    std::vector<Kiv32f> all;
    const auto add = [&](const std::vector<Kiv32f>& more) { all.insert(all.end(), more.begin(), more.end()); };
    std::vector<Kiv32f> cepstra;
    for (int f = 0; f < kFrames; ++f) {
      const Kiv32f* const frame = samples.data() + f * kWindow;
      std::vector<Kiv32f> padded(1 << kOrder), spectrum((1 << kOrder) + 2), bands(kFilters), cepstrum(kCepstra);
      std::vector<Kiv32f> magnitudes((1 << kOrder) / 2 + 1);
      std::copy_n(frame, kWindow, padded.begin());
      EXPECT_EQ(kivsFFTFwd_RToCCS_32f(padded.data(), spectrum.data(), fft, nullptr), kivStatusOk);
      EXPECT_EQ(kivsMagnitude_32fc(reinterpret_cast<const Kiv32fc*>(spectrum.data()), magnitudes.data(),
                                   static_cast<int>(magnitudes.size())),
                kivStatusOk);
      EXPECT_EQ(kivsEvalFBank_32f(magnitudes.data(), bands.data(), bank), kivStatusOk);
      for (Kiv32f& band : bands) band = std::log(band);
      EXPECT_EQ(kivsDCTLifter_32f(bands.data(), cepstrum.data(), lifter), kivStatusOk);
      Kiv32f score = 0;
      EXPECT_EQ(kivsLogGaussSingle_BlockDVar_32f(cepstrum.data(), means.data(), const_cast<const Kiv32f**>(precision),
                                                 kCepstra, &score, -3),
                kivStatusOk);
      add(spectrum);
      add(bands);
      add({score});
      cepstra.insert(cepstra.end(), cepstrum.begin(), cepstrum.end());
    }
    std::vector<Kiv32s> nearest(kFrames);
    std::vector<Kiv32f> distances(kFrames), sorted(kWords), scores(kFrames), sums(kFrames, -5);
    std::vector<Kiv32s> order(kWords);
    EXPECT_EQ(kivsVQDist_32f(cepstra.data(), kCepstra, nearest.data(), distances.data(), kFrames, book), kivStatusOk);
    EXPECT_EQ(kivsVQDistSingle_Sort_32f(cepstra.data(), order.data(), sorted.data(), book, kWords), kivStatusOk);
    EXPECT_EQ(kivsLogGaussMixture_SelectIdVar_32f_D2(cepstra.data(), means.data(), kCepstra, kCepstra, constants.data(),
                                                     selected.data(), kWords, scores.data(), kFrames, kivLogZero),
              kivStatusOk);
    EXPECT_EQ(kivsLogAdd_32f(scores.data(), sums.data(), kFrames, kivLogAddHintAc), kivStatusOk);
    const Kiv64f* tables[3];
    GetLogAddConst(&tables[0], &tables[1], &tables[2]);
    for (const Kiv64f* table : tables) add({static_cast<Kiv32f>(table[0])});
    add(cepstra);
    add({nearest.begin(), nearest.end()});
    add(distances);
    add(sorted);
    add(scores);
    add(sums);
    return all;
  }
};

// What `compute` returns on every thread is what it returns alone.
template <class Compute>
void expect_same_on_threads(const Compute& compute) {
  const auto alone = compute();
  std::vector<std::decay_t<decltype(alone)>> together(kThreads);
  std::vector<std::thread> threads;
  for (auto& result : together) threads.emplace_back([&] { result = compute(); });
  for (std::thread& thread : threads) thread.join();
  for (const auto& result : together) EXPECT_EQ(result, alone);
}

TEST(SharedObjects, ServeFourThreads) {
  const Shared shared;
  ASSERT_FALSE(HasFailure());
  const std::vector<Kiv32f> alone = shared.results();
  EXPECT_TRUE(std::none_of(alone.begin(), alone.end(), [](Kiv32f x) { return std::isnan(x); }));
  expect_same_on_threads([&] { return shared.results(); });
}

TEST(SharedObjects, ABookOfEachKindIsSearchedAndSortedByFourThreads) {
  constexpr int kHeight = 500, kWidth = 13, kNearest = 50;
  const auto vectors = Random(6).values<Kiv32f>(kHeight * kWidth, -1.0, 1.0);
  for (const KivCdbkHint hint : {kivCdbkFullSearch, kivCdbkSplitLargest}) {
    KivsCdbkState_32f* book = nullptr;
    ASSERT_EQ(kivsCdbkInitAlloc_L2_32f(&book, vectors.data(), kWidth, kWidth, kHeight,
                                       hint == kivCdbkFullSearch ? kHeight : 200, hint),
              kivStatusOk);
    expect_same_on_threads([&] {
      std::vector<Kiv32s> result(kHeight * (1 + kNearest));
      EXPECT_EQ(kivsVQ_32f(vectors.data(), kWidth, result.data(), kHeight, book), kivStatusOk);
      for (int r = 0; r < kHeight; ++r) {
        EXPECT_EQ(
            kivsVQSingle_Sort_32f(vectors.data() + kWidth * r, result.data() + kHeight + kNearest * r, book, kNearest),
            kivStatusOk);
      }
      return result;
    });
    kivsCdbkFree_32f(book);
  }
}

}  // namespace
}  // namespace kivsr::test
