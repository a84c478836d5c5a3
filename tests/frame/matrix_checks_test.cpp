// Argument checks: the first failure in the order of the arguments, for both matrix layouts.
#include "frame/matrix_checks.h"

#include <gtest/gtest.h>

#include <climits>

namespace kivsr::test {
namespace {

TEST(Status, TheFirstFailureStopsTheBody) {
  int x = 0;
  int* const missing = nullptr;
  bool ran = false;
  const auto body = [&] { ran = true; };
  EXPECT_EQ(run(first_failure(positive(1), not_null(&x, missing), positive(0)), body), kivStatusNullPointer);
  EXPECT_EQ(run(first_failure(positive(3, INT_MIN), not_null(missing)), body), kivStatusBadSize);
  EXPECT_EQ(run(require(false, kivStatusBadHint), body), kivStatusBadHint);
  EXPECT_FALSE(ran);
  EXPECT_EQ(run(first_failure(positive(1), not_null(&x)), body), kivStatusOk);
  EXPECT_TRUE(ran);
  EXPECT_EQ(run(kivStatusOk, [] { return KivStatus{kivStatusFloored}; }), kivStatusFloored);
}

TEST(MatrixChecks, PointersThenSizesThenSteps) {
  float cells[6] = {};
  float* rows[2] = {cells, cells + 3};
  float* const none = nullptr;
  EXPECT_EQ(matrix_checks(StepRows{cells, 3}, 2, 3, cells), kivStatusOk);
  EXPECT_EQ(matrix_checks(StepRows{cells, 2}, 2, 3, cells), kivStatusBadStep);
  EXPECT_EQ(matrix_checks(StepRows{cells, -3}, 2, 3, cells), kivStatusBadStep);
  EXPECT_EQ(matrix_checks(StepRows{cells, 2}, 0, 3, cells), kivStatusBadSize);
  EXPECT_EQ(matrix_checks(StepRows{cells, 2}, 2, -3, none), kivStatusNullPointer);
  EXPECT_EQ(matrix_checks(StepRows{none, 2}, 2, -3), kivStatusNullPointer);
  EXPECT_EQ(matrix_checks(PointerRows{rows}, 2, 3, cells), kivStatusOk);
  EXPECT_EQ(matrix_checks(PointerRows{rows}, 2, 0), kivStatusBadSize);
  EXPECT_EQ(matrix_checks(PointerRows{static_cast<float**>(nullptr)}, 2, 0), kivStatusNullPointer);
  EXPECT_EQ(step_covers(INT_MAX, std::int64_t{3} * INT_MAX), kivStatusBadStep);
}

TEST(Rows, BothLayoutsNameTheSameRows) {
  const float cells[12] = {};
  const float* const pointers[4] = {cells, cells + 3, cells + 6, cells + 9};
  const StepRows steps{cells, 3};
  const PointerRows rows{pointers};
  for (int from = 0; from < 4; ++from) {
    for (int r = 0; from + r < 4; ++r) {
      EXPECT_EQ(steps.from(from).row(r), cells + 3 * (from + r));
      EXPECT_EQ(rows.from(from).row(r), steps.row(from + r));
    }
  }
  const float* const last = cells + 11;
  EXPECT_EQ((StepRows{last, -4}.row(2)), cells + 3);  // a negative step walks back
}

}  // namespace
}  // namespace kivsr::test
