#include "kivsr/speech/io/row_store.h"

#include <gtest/gtest.h>

#include <numeric>
#include <utility>
#include <vector>

namespace kivsr::speech::test {
namespace {

TEST(RowStore, GivesBackAnyPartOfWhatWasAppended) {
  std::vector<float> values(300000);
  std::iota(values.begin(), values.end(), 0.5F);
  RowStore first;
  EXPECT_EQ(first.size(), 0);
  first.append({});
  first.append(std::span(values).first(1));
  RowStore store = std::move(first);
  store.append(std::span(values).subspan(1));
  EXPECT_EQ(store.size(), 300000);
  for (const auto& [place, count] :
       {std::pair(0, 300000), std::pair(0, 1), std::pair(299999, 1), std::pair(77, 4000)}) {
    std::vector<float> part(static_cast<std::size_t>(count));
    store.read(place, part);
    for (int i = 0; i < count; ++i)
      ASSERT_EQ(part[static_cast<std::size_t>(i)], values[static_cast<std::size_t>(place + i)]);
  }
}

}  // namespace
}  // namespace kivsr::speech::test
