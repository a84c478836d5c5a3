// Split vectors: the three index formats, from vectors and back, and statuses.
#include <gtest/gtest.h>

#include <bitset>
#include <memory>
#include <string>

#include "books.h"
#include "support/guarded.h"

namespace kivsr::test {
namespace {

template <class T>
class SplitVectorTest : public ::testing::Test {};
using Types = ::testing::Types<Kiv32f, Kiv16s>;
TYPED_TEST_SUITE(SplitVectorTest, Types);

// Width and number of codewords of each book.
using Shapes = std::vector<std::pair<int, int>>;

template <class T>
struct Streams {
  std::vector<std::unique_ptr<Book<T>>> books;
  std::vector<const typename Vq<T>::State*> states;
  int width = 0;
  Streams(Random& random, const Shapes& shapes) {
    for (const auto& [w, count] : shapes) {
      const auto values = random.values<Kiv16s>(static_cast<std::size_t>(w * count), -100, 100);
      books.push_back(
          std::make_unique<Book<T>>(std::vector<T>(values.begin(), values.end()), w, count, kivCdbkFullSearch));
      states.push_back(*books.back());
      width += w;
    }
  }
};

// Vectors, the indices and codewords of their pieces as the search of each book gives them, and each format's check.
template <class T>
class SplitVectors {
  using V = Vq<T>;

 public:
  SplitVectors(Random& random, const Shapes& shapes)
      : streams_(random, shapes), n_(static_cast<int>(shapes.size())), src_(kHeight, streams_.width, step()) {
    src_.fill([&] { return random.value<T>(-110, 110); });
    for (int r = 0; r < kHeight; ++r) {
      const T* x = src_.row(r);
      for (std::size_t k = 0; k < shapes.size(); ++k) {
        const auto [width, count] = shapes[k];
        Kiv32s index = -1;
        EXPECT_EQ(V::quantise(x, width, &index, 1, streams_.states[k]), kivStatusOk);
        x += width;
        indices_[r].push_back(index);
        const auto codeword = streams_.books[k]->codewords.begin() + static_cast<std::ptrdiff_t>(index) * width;
        codewords_[r].insert(codewords_[r].end(), codeword, codeword + width);
        int bits = 0;
        while ((1 << bits) < count) ++bits;
        for (int b = bits - 1; b >= 0; --b) fields_[r] += (index >> b & 1) != 0 ? '1' : '0';
      }
    }
  }

  template <class Split, class Form, class Index>
  void check_elements(Split split, Form form, Index) {
    GuardedMatrix<Index> rows(kHeight, n_, n_ + 1);
    ASSERT_EQ(split(src_.data(), step(), rows.data(), n_ + 1, kHeight, streams_.states.data(), n_), kivStatusOk);
    for (int r = 0; r < kHeight; ++r) {
      for (int k = 0; k < n_; ++k) ASSERT_EQ(rows.at(r, k), indices_[r][static_cast<std::size_t>(k)]);
    }
    check_formed(form, rows.data(), n_ + 1);
  }

  // Rows as close as they can be, rows that start on bytes, and rows that do not.
  void check_packed() {
    const int bits = static_cast<int>(fields_[0].size());
    for (const int row_bits : {std::max(bits, n_), (bits + 7) / 8 * 8 + 8, bits + 3 + n_}) {
      Guarded<Kiv8u> rows(static_cast<std::size_t>(((kHeight - 1) * row_bits + bits + 7) / 8));
      for (Kiv8u& byte : rows) byte = 0xC3;
      ASSERT_EQ(V::split_1u(src_.data(), step(), rows.data(), row_bits, kHeight, streams_.states.data(), n_),
                kivStatusOk);
      std::string expected;
      while (expected.size() < 8 * rows.size()) expected += "11000011";
      for (int r = 0; r < kHeight; ++r)
        expected.replace(static_cast<std::size_t>(r * row_bits), fields_[r].size(), fields_[r]);
      std::string found;
      for (const Kiv8u byte : rows) found += std::bitset<8>(byte).to_string();
      ASSERT_EQ(found, expected);
      check_formed(V::form_1u, rows.data(), row_bits);
    }
  }

 private:
  template <class Form, class Index>
  void check_formed(Form form, const Index* rows, int rows_step) {
    GuardedMatrix<T> formed(kHeight, streams_.width, step());
    ASSERT_EQ(form(rows, rows_step, formed.data(), step(), kHeight, streams_.states.data(), n_), kivStatusOk);
    for (int r = 0; r < kHeight; ++r)
      ASSERT_EQ(std::vector<T>(formed.row(r), formed.row(r) + streams_.width), codewords_[r]);
  }
  int step() const { return streams_.width + 2; }

  static constexpr int kHeight = 9;
  Streams<T> streams_;
  int n_;
  GuardedMatrix<T> src_;
  std::vector<Kiv32s> indices_[kHeight];
  std::vector<T> codewords_[kHeight];
  std::string fields_[kHeight];  // of a packed row, as digits
};

TYPED_TEST(SplitVectorTest, IndicesMatchTheSearchAndFormTheCodewords) {
  using V = Vq<TypeParam>;
  Random random(8);
  const std::vector<Shapes> all_shapes = {{{3, 5}},
                                          {{1, 1}},
                                          {{2, 256}, {1, 20}},
                                          {{1, 1}, {2, 2}, {13, 130}, {4, 33}},
                                          {{2, 9}, {2, 8}, {2, 7}, {2, 100}, {2, 3}, {2, 64}, {2, 65}, {2, 2}}};
  for (const Shapes& shapes : all_shapes) {
    SplitVectors<TypeParam> vectors(random, shapes);
    vectors.check_elements(V::split_16s, V::form_16s, Kiv16s{});
    vectors.check_elements(V::split_8u, V::form_8u, Kiv8u{});
    vectors.check_packed();
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

}  // namespace
}  // namespace kivsr::test
