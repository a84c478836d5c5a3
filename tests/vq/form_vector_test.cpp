// Vectors from plain tables against the definition, element by element.
#include <gtest/gtest.h>

#include <vector>

#include "kivsr.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

template <class I, class T>
void check_tables(KivStatus (*form)(const I*, const T* const*, const int*, const int*, const int*, int, T*),
                  KivStatus (*form_2i)(const I*, const T* const*, const int*, T*, int),
                  KivStatus (*form_4i)(const I*, const T* const*, const int*, T*, int)) {
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
