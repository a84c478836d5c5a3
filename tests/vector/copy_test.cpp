// Copies, moves and fills.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "kivsr.h"
#include "support/elementwise.h"

namespace kivsr::test {
namespace {

template <class T, class Copy, class Set>
void check_copies(Copy copy, Set set) {
  Elementwise<T, T>::check(copy, [](T x) { return x; });
  const T value = static_cast<T>(-77.25);
  Elementwise<T, T>::check([=](const T*, T* d, int n) { return set(value, d, n); }, [=](T) { return value; });
}

TEST(Copies, ReproduceAndFill) {
  check_copies<Kiv8u>(kivsCopy_8u, kivsSet_8u);
  check_copies<Kiv16s>(kivsCopy_16s, kivsSet_16s);
  check_copies<Kiv32s>(kivsCopy_32s, kivsSet_32s);
  check_copies<Kiv32f>(kivsCopy_32f, kivsSet_32f);
  check_copies<Kiv64f>(kivsCopy_64f, kivsSet_64f);
  const auto zeroed = [](auto zero, auto element) {
    using T = decltype(element);
    Elementwise<T, T>::check(in_place_alone<T>(zero), [](T) { return T{0}; });
  };
  zeroed(kivsZero_8u, Kiv8u{});
  zeroed(kivsZero_16s, Kiv16s{});
  zeroed(kivsZero_32f, Kiv32f{});
  zeroed(kivsZero_64f, Kiv64f{});
}

TEST(Copies, MoveIsCorrectForOverlappingArrays) {
  for (int n : test_lengths()) {
    for (int shift : {-9, -4, -1, 0, 1, 3, 8, 40}) {
      std::vector<float> data(static_cast<std::size_t>(n) + 100);
      for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<float>(i);
      auto expected = data;
      std::copy_n(data.begin() + 50, n, expected.begin() + 50 + shift);
      ASSERT_EQ(kivsMove_32f(data.data() + 50, data.data() + 50 + shift, n), kivStatusOk);
      ASSERT_EQ(data, expected);
    }
  }
}

TEST(Copies, MoveInPlaceWritesNothing) {
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  void* const memory = mmap(nullptr, page, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(memory, MAP_FAILED);
  float* const read_only = static_cast<float*>(memory);
  for (int n : {1, 7, 64, static_cast<int>(page / sizeof(float))}) {
    EXPECT_EQ(kivsMove_32f(read_only, read_only, n), kivStatusOk);
  }
  munmap(memory, page);
}

TEST(Copies, ChecksNullPointersThenSizes) {
  using F = Kiv32f;
  using D = Kiv64f;
  using S = Kiv16s;
  using L = Kiv32s;
  using B = Kiv8u;
  expect_checks<const B, B>(kivsCopy_8u);
  expect_checks<const S, S>(kivsCopy_16s);
  expect_checks<const L, L>(kivsCopy_32s);
  for (auto f : {kivsCopy_32f, kivsMove_32f}) expect_checks<const F, F>(f);
  expect_checks<const D, D>(kivsCopy_64f);
  expect_checks<B>(constant<B>(kivsSet_8u));
  expect_checks<S>(constant<S>(kivsSet_16s));
  expect_checks<L>(constant<L>(kivsSet_32s));
  expect_checks<F>(constant<F>(kivsSet_32f));
  expect_checks<D>(constant<D>(kivsSet_64f));
  expect_checks<B>(kivsZero_8u);
  expect_checks<S>(kivsZero_16s);
  expect_checks<F>(kivsZero_32f);
  expect_checks<D>(kivsZero_64f);
}

}  // namespace
}  // namespace kivsr::test
