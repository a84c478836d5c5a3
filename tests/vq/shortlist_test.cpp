// Shortlists and sign tables against bit-by-bit definitions.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "kivsr.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

bool bit(const Kiv8u* row, int p) { return ((row[p / 8] >> (7 - p % 8)) & 1) != 0; }

// Bit rows of random content, each ending at a guard page.
struct BitRows {
  std::vector<std::vector<Kiv8u>> before;
  std::vector<std::unique_ptr<Guarded<Kiv8u>>> memory;
  std::vector<Kiv8u*> rows;
  BitRows(int count, int bytes, Random& random) {
    for (int r = 0; r < count; ++r) {
      before.push_back(random.values<Kiv8u>(static_cast<std::size_t>(bytes), 0, 255));
      memory.push_back(std::make_unique<Guarded<Kiv8u>>(before.back()));
      rows.push_back(memory.back()->data());
    }
  }
};

struct Lists {
  std::vector<int> lengths;
  std::vector<Kiv32s> indices;
  Lists(int height, int width, int components, Random& random) {
    for (int r = 0; r < height; ++r) {
      lengths.push_back(width > 0 ? width : random.integer(1, 5));
      for (int i = 0; i < lengths.back(); ++i) indices.push_back(random.integer(0, components - 1));
    }
  }
};

TEST(Shortlist, TogglesTheListedBits) {
  Random random;
  for (int trial = 0; trial < 60; ++trial) {
    const int height = random.integer(1, 12), components = random.integer(1, 30), offset = random.integer(0, 13);
    const int width = trial % 2 == 0 ? random.integer(1, 4) : 0;
    const bool by_row = trial % 4 < 2;
    const Lists lists(height, width, components, random);
    const int bytes = (offset + (by_row ? components : height) + 7) / 8;
    BitRows bits(by_row ? height : components, bytes, random);
    const auto fill = [&] {
      const Kiv32s* src = lists.indices.data();
      const int* len = lists.lengths.data();
      if (by_row) {
        return width > 0 ? kivsFillShortlist_Row_1u(src, components, width, bits.rows.data(), height, bytes, offset)
                         : kivsFillShortlist_RowVar_1u(src, len, components, bits.rows.data(), height, bytes, offset);
      }
      return width > 0 ? kivsFillShortlist_Column_1u(src, width, bits.rows.data(), components, bytes, offset, height)
                       : kivsFillShortlist_ColumnVar_1u(src, len, bits.rows.data(), components, bytes, offset, height);
    };
    ASSERT_EQ(fill(), kivStatusOk);
    std::vector<std::vector<int>> listed(static_cast<std::size_t>(height), std::vector<int>(30, 0));
    std::size_t next = 0;
    for (int t = 0; t < height; ++t) {
      for (int i = 0; i < lists.lengths[t]; ++i) ++listed[t][static_cast<std::size_t>(lists.indices[next++])];
    }
    for (std::size_t r = 0; r < bits.rows.size(); ++r) {
      for (int p = 0; p < bytes * 8; ++p) {
        const int other = p - offset;
        const int row = static_cast<int>(r);
        bool toggled = false;
        if (by_row && other >= 0 && other < components) toggled = listed[row][other] % 2 == 1;
        if (!by_row && other >= 0 && other < height) toggled = listed[other][row] % 2 == 1;
        ASSERT_EQ(bit(bits.rows[r], p), bit(bits.before[r].data(), p) != toggled) << "row " << r << " bit " << p;
      }
    }
    ASSERT_EQ(fill(), kivStatusOk);
    for (std::size_t r = 0; r < bits.rows.size(); ++r) ASSERT_EQ(bits.memory[r]->values(), bits.before[r]);
  }
}

TEST(SignTable, TellsWhichFramesListAComponent) {
  Random random;
  for (int trial = 0; trial < 200; ++trial) {
    const int height = random.integer(1, 9), components = random.integer(1, 20), offset = random.integer(0, 17);
    const int frames = random.integer(1, 40), width = trial % 2 == 0 ? random.integer(1, 4) : 0;
    const int bytes = (offset + frames + 7) / 8, row_bytes = (frames + 7) / 8;
    const Lists lists(height, width, components, random);
    BitRows bits(components, bytes, random);
    for (auto& memory : bits.memory) {
      for (Kiv8u& byte : *memory) byte = static_cast<Kiv8u>(random.integer(0, 9) < 8 ? 0 : byte);
    }
    Guarded<Kiv8u> table(static_cast<std::size_t>(height * row_bytes));
    ASSERT_EQ(width > 0 ? kivsBuildSignTable_8u1u(lists.indices.data(), width, bits.rows.data(), components, bytes,
                                                  offset, table.data(), height, frames)
                        : kivsBuildSignTable_Var_8u1u(lists.indices.data(), lists.lengths.data(), bits.rows.data(),
                                                      components, bytes, offset, table.data(), height, frames),
              kivStatusOk);
    for (int r = 0; r < height; ++r) {
      for (int k = 0; k < row_bytes * 8; ++k) {
        bool expected = false;
        for (int i = 0; i < lists.lengths[r]; ++i) {
          if (width > 0) {
            expected |=
                k < frames && bit(bits.rows[lists.indices[static_cast<std::size_t>(r * width + i)]], offset + k);
          } else {
            for (int f = 0; k == 0 && f < frames; ++f) expected |= bit(bits.rows[lists.indices[i]], offset + f);
          }
        }
        ASSERT_EQ(bit(table.data() + r * row_bytes, k), expected) << "row " << r << " bit " << k;
      }
    }
  }
}

TEST(Shortlist, ChecksInOrder) {
  const Kiv32s list[] = {0, 2, 1, 3};
  const Kiv32s bad[] = {0, 2, 1, 4};
  const int lengths[] = {2, 2};
  const int short_lengths[] = {2, 0};
  Kiv8u bytes[4][2] = {};
  Kiv8u* rows[] = {bytes[0], bytes[1], bytes[2], bytes[3]};
  const auto row = [&](const Kiv32s* src, int n, int width, int height, int size, int offset) {
    return kivsFillShortlist_Row_1u(src, n, width, rows, height, size, offset);
  };
  EXPECT_EQ(row(nullptr, 0, 2, 2, 1, 0), kivStatusNullPointer);
  EXPECT_EQ(row(list, 0, 2, 2, 1, 0), kivStatusBadSize);
  EXPECT_EQ(row(list, 4, 0, 2, 1, 0), kivStatusBadSize);
  EXPECT_EQ(row(list, 4, 2, 2, 1, -1), kivStatusBadSize);
  EXPECT_EQ(row(bad, 4, 2, 2, 1, 5), kivStatusBadStep);
  EXPECT_EQ(row(bad, 4, 2, 2, 1, 0x7FFFFFFF), kivStatusBadStep);
  EXPECT_EQ(row(bad, 4, 2, 2, 1, 4), kivStatusBadArgument);
  EXPECT_EQ(kivsFillShortlist_RowVar_1u(list, nullptr, 4, rows, 2, 1, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsFillShortlist_RowVar_1u(list, short_lengths, 4, rows, 2, 1, 5), kivStatusBadSize);
  EXPECT_EQ(kivsFillShortlist_ColumnVar_1u(list, short_lengths, rows, 4, 1, 7, 2), kivStatusBadStep);
  EXPECT_EQ(kivsFillShortlist_ColumnVar_1u(list, short_lengths, rows, 4, 1, 6, 2), kivStatusBadSize);
  EXPECT_EQ(kivsFillShortlist_ColumnVar_1u(bad, lengths, rows, 4, 1, 6, 2), kivStatusBadArgument);
  EXPECT_EQ(kivsFillShortlist_Column_1u(bad, 2, rows, 4, 1, 6, 2), kivStatusBadArgument);

  Kiv8u dst[4] = {7, 7, 7, 7};
  EXPECT_EQ(kivsBuildSignTable_8u1u(list, 2, nullptr, 4, 2, 0, dst, 2, 9), kivStatusNullPointer);
  EXPECT_EQ(kivsBuildSignTable_8u1u(list, 2, rows, 4, 2, 0, dst, 2, 0), kivStatusBadSize);
  EXPECT_EQ(kivsBuildSignTable_8u1u(bad, 2, rows, 4, 2, 8, dst, 2, 9), kivStatusBadStep);
  EXPECT_EQ(kivsBuildSignTable_8u1u(bad, 2, rows, 4, 2, 0, dst, 2, 9), kivStatusBadArgument);
  EXPECT_EQ(kivsBuildSignTable_Var_8u1u(list, short_lengths, rows, 4, 2, 8, dst, 2, 9), kivStatusBadStep);
  EXPECT_EQ(kivsBuildSignTable_Var_8u1u(bad, short_lengths, rows, 4, 2, 0, dst, 2, 9), kivStatusBadSize);
  EXPECT_EQ(kivsBuildSignTable_Var_8u1u(bad, lengths, rows, 4, 2, 0, dst, 2, 9), kivStatusBadArgument);
  for (const Kiv8u untouched : dst) EXPECT_EQ(untouched, 7);
  for (const auto& untouched : bytes) EXPECT_EQ(untouched[0], 0);
}

}  // namespace
}  // namespace kivsr::test
