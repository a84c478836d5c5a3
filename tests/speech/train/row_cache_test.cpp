// Rows from the folder are the chain's bit for bit; what they depend on, and what damage does.
#include "kivsr/speech/train/row_cache.h"

#include <chrono>

#include "kivsr/speech/front/row_stage.h"
#include "speech/models/model_bytes.h"

namespace kivsr::speech::test {
namespace {

struct CachedRows : testing::Test {
  // What the cache gives of a file; said: what its listener was told, an only fault.
  FeatureMatrix rows_of(const std::filesystem::path& name, const Recipe& recipe = Recipe::of_features(2)) {
    said.clear();
    const RowCache cache(folder / "rows" / "deep", [&](const Fault& fault) { said += fault.what(); });
    FeatureChain chain(recipe);
    FeatureMatrix rows{recipe.width(), {}};
    cache.stream(name, chain, {}, [&](const FeatureMatrix& more) { append_rows(more.values, rows); });
    return rows;
  }
  std::filesystem::path write(const std::string& name, const std::string& lines) const {
    return folder.write(name, "time_s,x1,x2\n" + lines);
  }
  std::vector<std::filesystem::path> entries() const {
    std::vector<std::filesystem::path> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder / "rows" / "deep")) {
      names.push_back(entry.path());
    }
    return names;
  }

  TemporaryFolder folder;
  std::string said;
  std::filesystem::path file = write("one.csv", "0,1,2\n0.01,3,4\n");
};

TEST_F(CachedRows, ComeFromTheFolderWhileTheFileIsTheSame) {
  const auto time = std::filesystem::last_write_time(file);
  EXPECT_EQ(rows_of(file).values, (std::vector<float>{1, 2, 3, 4}));
  write("one.csv", "0,9,9\n0.01,9,9\n");
  std::filesystem::last_write_time(file, time);
  EXPECT_EQ(rows_of(file).values, (std::vector<float>{1, 2, 3, 4})) << "size and time are the same";
  std::filesystem::last_write_time(file, time + std::chrono::seconds(1));
  EXPECT_EQ(rows_of(file).values, (std::vector<float>{9, 9, 9, 9})) << "another time";
  write("one.csv", "0,9,9\n0.01,9,9\n0.02,7,7\n");
  std::filesystem::last_write_time(file, time + std::chrono::seconds(1));
  EXPECT_EQ(rows_of(file).height(), 3) << "another size";
  EXPECT_EQ(entries().size(), 1U) << "written over";
  Recipe with_mean = Recipe::of_features(2);
  with_mean.normalisation = Normalisation::kMean;
  EXPECT_NE(rows_of(file, with_mean).values, rows_of(file).values);
  EXPECT_EQ(entries().size(), 2U);
  EXPECT_EQ(said, "");
}

TEST_F(CachedRows, DamageIsNamedAndMendedWhereverItIs) {
  const FeatureMatrix rows = rows_of(file);
  const std::filesystem::path entry = entries().at(0);
  const std::string good = read_file(entry);
  std::vector<std::string> damaged{good.substr(0, 10), good.substr(0, good.size() - 5), "", good + "x"};
  for (std::size_t place = 0; place < good.size(); place += 37) {
    damaged.push_back(good);
    damaged.back()[place] = static_cast<char>(good[place] ^ 4);
  }
  for (const std::string& bytes : damaged) {
    folder.write("rows/deep/" + entry.filename().string(), bytes);
    EXPECT_EQ(rows_of(file).values, rows.values);
    EXPECT_NE(said.find(entry.string()), std::string::npos) << said;
    EXPECT_NE(said.find("computed again"), std::string::npos) << said;
    EXPECT_EQ(read_file(entry), good);
  }
}

TEST_F(CachedRows, FaultsAreNotKept) {
  write("bad.csv", "0,1,2\n0.01,1e99,2\n");
  EXPECT_NE(fault_of([&] { rows_of(folder / "bad.csv"); }).find("bad.csv: "), std::string::npos);
  EXPECT_NE(fault_of([&] { rows_of(folder / "none.csv"); }).find("none.csv"), std::string::npos);
  EXPECT_TRUE(entries().empty());
  EXPECT_NE(fault_of([&] { RowCache(file, {}); }).find("cannot be made a folder"), std::string::npos);
}

}  // namespace
}  // namespace kivsr::speech::test
