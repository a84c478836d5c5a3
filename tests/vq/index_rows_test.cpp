// Packed fields bit by bit: every width at every offset, neighbours untouched.
#include "vq/index_rows.h"

#include <gtest/gtest.h>

#include <bitset>
#include <string>
#include <vector>

#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::vq {
namespace {

std::string text_of(const test::Guarded<Kiv8u>& bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); ++i) text += std::bitset<8>(bytes[i]).to_string();
  return text;
}

TEST(IndexRows, PackedFieldsStandWhereTheDrawingSays) {
  test::Random random(3);
  for (int bits = 0; bits <= 14; ++bits) {
    for (int start = 0; start < 17; ++start) {
      test::Guarded<Kiv8u> bytes(random.values<Kiv8u>(static_cast<std::size_t>((start + bits + 7) / 8), 0, 255));
      std::string expected = text_of(bytes);
      const int index = random.integer(0, (1 << bits) - 1);
      const std::string field = std::bitset<14>(static_cast<unsigned long>(index)).to_string().substr(14 - bits);
      expected.replace(static_cast<std::size_t>(start), static_cast<std::size_t>(bits), field);
      const PackedRows<Kiv8u> rows{bytes.data(), 0};
      rows.put(start, bits, index);
      ASSERT_EQ(text_of(bytes), expected) << bits << " bits at " << start;
      ASSERT_EQ(rows.get(start, bits), index);
      ASSERT_EQ(rows.next(start, bits), start + bits);
    }
  }
}

TEST(IndexRows, RowsStartFarBeyondWhatIntCounts) {
  const PackedRows<Kiv8u> packed{nullptr, 0x7FFFFFFF};
  EXPECT_EQ(packed.start(1000), 1000LL * 0x7FFFFFFF);
  Kiv16s elements[6] = {};
  const ElementRows<Kiv16s> rows{elements, 3};
  rows.put(rows.next(rows.start(1), 9), 9, 300);
  EXPECT_EQ(elements[4], 300);
  EXPECT_EQ(rows.get(4, 9), 300);
}

}  // namespace
}  // namespace kivsr::vq
