// Split VQ and vector forming: the three index formats, plain tables, statuses.
#include <gtest/gtest.h>

#include <limits>
#include <memory>

#include "books.h"
#include "support/guarded.h"

namespace kivsr::test {
namespace {

template <class T>
class SplitVectorTest : public ::testing::Test {};
using Types = ::testing::Types<Kiv32f, Kiv16s>;
TYPED_TEST_SUITE(SplitVectorTest, Types);

template <class T>
struct Streams {
  std::vector<std::unique_ptr<Book<T>>> books;
  std::vector<const typename Vq<T>::State*> states;
  int width = 0;
  Streams(Random& random, const std::vector<std::pair<int, int>>& shapes) {
    for (const auto& [w, count] : shapes) {
      const auto values = random.values<Kiv16s>(static_cast<std::size_t>(w * count), -100, 100);
      books.push_back(
          std::make_unique<Book<T>>(std::vector<T>(values.begin(), values.end()), w, count, kivCdbkFullSearch));
      states.push_back(*books.back());
      width += w;
    }
  }
};

TYPED_TEST(SplitVectorTest, IndicesMatchTheSearchAndFormTheCodewords) {
  using T = TypeParam;
  using V = Vq<T>;
  Random random(8);
  const std::vector<std::vector<std::pair<int, int>>> all_shapes = {
      {{3, 5}},
      {{2, 256}, {1, 20}},
      {{1, 1}, {2, 2}, {13, 130}, {4, 33}},
      {{2, 9}, {2, 8}, {2, 7}, {2, 100}, {2, 3}, {2, 64}, {2, 65}, {2, 2}}};
  for (const auto& shapes : all_shapes) {
    Streams<T> streams(random, shapes);
    const int n = static_cast<int>(shapes.size());
    const int height = 9;
    const int step = streams.width + 2;
    GuardedMatrix<T> src(height, streams.width, step);
    src.fill([&] { return random.value<T>(-110, 110); });
    // The expected indices, and the packed rows as strings of bits.
    std::vector<std::vector<Kiv32s>> expected;
    std::vector<std::string> packed;
    for (int r = 0; r < height; ++r) {
      expected.emplace_back();
      packed.emplace_back();
      int at = 0;
      for (int k = 0; k < n; ++k) {
        const auto s = static_cast<std::size_t>(k);
        Kiv32s index;
        ASSERT_EQ(V::quantise(src.row(r) + at, streams.width, &index, 1, streams.states[s]), kivStatusOk);
        expected.back().push_back(index);
        int bits = 0;
        while ((1 << bits) < shapes[s].second) ++bits;
        for (int b = bits - 1; b >= 0; --b) packed.back() += (index >> b & 1) != 0 ? '1' : '0';
        at += shapes[s].first;
      }
    }
    const auto check_formed = [&](GuardedMatrix<T>& formed) {
      for (int r = 0; r < height; ++r) {
        int at = 0;
        for (std::size_t k = 0; k < shapes.size(); ++k) {
          const auto w = shapes[k].first;
          for (int j = 0; j < w; ++j, ++at) {
            ASSERT_EQ(formed.at(r, at),
                      streams.books[k]
                          ->codewords[static_cast<std::size_t>(expected[static_cast<std::size_t>(r)][k] * w + j)]);
          }
        }
      }
    };
    const auto check_elements = [&](auto split, auto form, auto element) {
      GuardedMatrix<decltype(element)> rows(height, n, n + 1);
      ASSERT_EQ(split(src.data(), step, rows.data(), n + 1, height, streams.states.data(), n), kivStatusOk);
      for (int r = 0; r < height; ++r) {
        for (int k = 0; k < n; ++k)
          ASSERT_EQ(rows.at(r, k), expected[static_cast<std::size_t>(r)][static_cast<std::size_t>(k)]);
      }
      GuardedMatrix<T> formed(height, streams.width, step);
      ASSERT_EQ(form(rows.data(), n + 1, formed.data(), step, height, streams.states.data(), n), kivStatusOk);
      check_formed(formed);
    };
    check_elements(V::split_16s, V::form_16s, Kiv16s{});
    check_elements(V::split_8u, V::form_8u, Kiv8u{});

    const int bits = static_cast<int>(packed[0].size());
    for (const int row_bits : {std::max(bits, n), (bits + 7) / 8 * 8 + 8, bits + 3}) {
      Guarded<Kiv8u> rows(static_cast<std::size_t>(((height - 1) * row_bits + bits + 7) / 8));
      for (Kiv8u& byte : rows) byte = 0xC3;
      const auto before = rows.values();
      ASSERT_EQ(V::split_1u(src.data(), step, rows.data(), row_bits, height, streams.states.data(), n), kivStatusOk);
      for (int bit = 0; bit < static_cast<int>(rows.size()) * 8; ++bit) {
        const auto byte = static_cast<std::size_t>(bit / 8);
        const int r = bit / row_bits;
        const int shift = 7 - bit % 8;
        const int want = r < height && bit % row_bits < bits
                             ? packed[static_cast<std::size_t>(r)][static_cast<std::size_t>(bit % row_bits)] - '0'
                             : before[byte] >> shift & 1;
        ASSERT_EQ(rows[byte] >> shift & 1, want) << "bit " << bit;
      }
      GuardedMatrix<T> formed(height, streams.width, step);
      ASSERT_EQ(V::form_1u(rows.data(), row_bits, formed.data(), step, height, streams.states.data(), n), kivStatusOk);
      check_formed(formed);
    }
  }
}

TYPED_TEST(SplitVectorTest, Statuses) {
  using T = TypeParam;
  using V = Vq<T>;
  Random random(8);
  Streams<T> streams(random, {{2, 300}, {3, 5}});
  auto* const books = streams.states.data();
  const T src[10] = {};
  Kiv16s words[8] = {7, 7, 7, 7, 7, 7, 7, 7};
  Kiv8u bytes[8] = {7, 7, 7, 7};
  EXPECT_EQ(V::split_16s(src, 0, nullptr, 2, 1, books, 2), kivStatusNullPointer);
  EXPECT_EQ(V::split_16s(src, 5, words, 2, 0, books, 2), kivStatusBadSize);
  EXPECT_EQ(V::split_16s(src, 5, words, 1, 1, books, 2), kivStatusBadSize);
  EXPECT_EQ(V::split_16s(src, 4, words, 2, 1, books, 2), kivStatusBadSize);
  EXPECT_EQ(V::split_8u(src, 5, bytes, 2, 1, books, 2), kivStatusBadSize);
  EXPECT_EQ(V::split_1u(src, 5, bytes, 11, 1, books, 2), kivStatusBadSize);
  const typename V::State* missing[2] = {books[0], nullptr};
  EXPECT_EQ(V::split_16s(src, 1, words, 2, 1, missing, 2), kivStatusNullPointer);
  EXPECT_EQ(words[0], 7);
  EXPECT_EQ(bytes[0], 7);

  T dst[10] = {9};
  EXPECT_EQ(V::form_16s(nullptr, 2, dst, 5, 1, books, 0), kivStatusNullPointer);
  EXPECT_EQ(V::form_16s(words, 1, dst, 5, 1, books, 2), kivStatusBadSize);
  EXPECT_EQ(V::form_16s(words, 2, dst, 5, 1, missing, 2), kivStatusNullPointer);
  EXPECT_EQ(V::form_16s(words, 2, dst, 4, 1, books, 2), kivStatusBadSize);
  EXPECT_EQ(V::form_1u(bytes, 11, dst, 5, 1, books, 2), kivStatusBadSize);
  const Kiv16s beyond[2][2] = {{299, 5}, {-1, 0}};
  for (const auto& index : beyond) {
    EXPECT_EQ(V::form_16s(index, 2, dst, 5, 1, books, 2), kivStatusBadSize);
  }
  const Kiv8u bits[2] = {0, 0x50};  // 9 bits of 0, then 101
  EXPECT_EQ(V::form_1u(bits, 12, dst, 5, 1, books, 2), kivStatusBadSize);
  EXPECT_EQ(dst[0], T{9});
}

template <class I, class T>
void check_tables(KivStatus (*form)(const I*, const T**, const int*, const int*, const int*, int, T*),
                  KivStatus (*form_2i)(const I*, const T**, const int*, T*, int),
                  KivStatus (*form_4i)(const I*, const T**, const int*, T*, int)) {
  Random random(3);
  const auto table = random.values<T>(200 * 6, -1000, 1000);
  const int most = 40;
  std::vector<const T*> tables;
  std::vector<int> sizes(most, 200), widths, steps;
  std::vector<I> indices;
  for (int k = 0; k < most; ++k) {
    tables.push_back(table.data() + k % 3);
    widths.push_back(1 + k % 5);
    steps.push_back(1 + k % 6);  // less than the width, too
    indices.push_back(static_cast<I>(random.integer(0, 190)));
  }
  indices[3] = static_cast<I>(199);
  tables[3] = table.data();
  for (int n = 1; n <= most; ++n) {
    std::vector<T> expected;
    for (std::size_t k = 0; k < static_cast<std::size_t>(n); ++k) {
      for (int j = 0; j < widths[k]; ++j) expected.push_back(tables[k][static_cast<int>(indices[k]) * steps[k] + j]);
    }
    Guarded<T> dst(expected.size());
    ASSERT_EQ(form(indices.data(), tables.data(), sizes.data(), widths.data(), steps.data(), n, dst.data()),
              kivStatusOk);
    ASSERT_EQ(dst.values(), expected);
    for (const int elements : {2, 4}) {
      for (int rest = 0; rest < elements; ++rest) {
        const int len = n * elements + rest;
        Guarded<T> fixed(static_cast<std::size_t>(len));
        for (T& x : fixed) x = T{77};
        const auto call = elements == 2 ? form_2i : form_4i;
        ASSERT_EQ(call(indices.data(), tables.data(), sizes.data(), fixed.data(), len), kivStatusOk);
        for (int i = 0; i < len; ++i) {
          const auto k = static_cast<std::size_t>(i / elements);
          const T want = i < n * elements ? tables[k][static_cast<int>(indices[k]) * elements + i % elements] : T{77};
          ASSERT_EQ(fixed[static_cast<std::size_t>(i)], want) << "element " << i << " of " << len;
        }
      }
    }
  }
  T dst[8] = {5};
  sizes[1] = static_cast<int>(indices[1]);  // not below the size
  EXPECT_EQ(form(indices.data(), tables.data(), sizes.data(), widths.data(), steps.data(), 2, dst), kivStatusBadSize);
  EXPECT_EQ(form_2i(indices.data(), tables.data(), sizes.data(), dst, 4), kivStatusBadSize);
  EXPECT_EQ(form_4i(indices.data(), tables.data(), sizes.data(), dst, 8), kivStatusBadSize);
  if (std::is_signed_v<I>) {
    sizes[1] = 200;
    indices[1] = static_cast<I>(-1);
    EXPECT_EQ(form_2i(indices.data(), tables.data(), sizes.data(), dst, 4), kivStatusBadSize);
  }
  steps[0] = 0;
  EXPECT_EQ(form(indices.data(), tables.data(), sizes.data(), widths.data(), steps.data(), 1, dst), kivStatusBadSize);
  EXPECT_EQ(form(indices.data(), tables.data(), sizes.data(), widths.data(), nullptr, 0, dst), kivStatusNullPointer);
  EXPECT_EQ(form_2i(indices.data(), tables.data(), sizes.data(), dst, 0), kivStatusBadSize);
  EXPECT_EQ(form_4i(indices.data(), tables.data(), nullptr, dst, 0), kivStatusNullPointer);
  EXPECT_EQ(dst[0], T{5});
}

TEST(FormVector, CopiesFromTables) {
  check_tables(kivsFormVector_8u32f, kivsFormVector_2i_8u32f, kivsFormVector_4i_8u32f);
  check_tables(kivsFormVector_16s32f, kivsFormVector_2i_16s32f, kivsFormVector_4i_16s32f);
  check_tables(kivsFormVector_8u16s, kivsFormVector_2i_8u16s, kivsFormVector_4i_8u16s);
  check_tables(kivsFormVector_16s16s, kivsFormVector_2i_16s16s, kivsFormVector_4i_16s16s);
}

}  // namespace
}  // namespace kivsr::test
