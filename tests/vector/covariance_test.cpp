// Accumulated covariance.
#include "matrix_cases.h"

namespace kivsr::test {
namespace {

template <class T, class Step, class Pointers>
void check_covariance(Step step_form, Pointers pointer_form) {
  for (int w : {1, 2, 3, 4, 5, 7, 8, 9, 13, 39, 40, 41, 83}) {
    for (int h : {1, 2, 15, 16, 17, 50}) {
      // The source is the matrix of the case, the mean its column vector.
      Case<T, double, double> c(Results::kByColumn, h, w, w + h % 3, static_cast<unsigned>(w * 100 + h));
      GuardedMatrix<double> dst(w, w, w + 1), dense(w, w, w), before(w, w, w);
      Random random(static_cast<unsigned>(h));
      before.fill([&] { return random.uniform(-1000, 1000); });
      for (int i = 0; i < w; ++i) {
        std::copy_n(before.row(i), w, dst.row(i));
        std::copy_n(before.row(i), w, dense.row(i));
      }
      const double factor = 1.0 / 3;
      const T* const mean = c.columns.data();
      ASSERT_EQ(step_form(c.matrix.data(), c.matrix.step(), h, mean, dst.data(), w, dst.step(), factor), kivStatusOk);
      ASSERT_EQ(pointer_form(c.matrix.const_rows(), h, mean, dense.rows(), w, factor), kivStatusOk);
      for (int i = 0; i < w; ++i) {
        for (int j = i; j < w; ++j) {
          double sum = 0;
          for (int r = 0; r < h; ++r) {
            const double m = mean[j];  // of the later column for both
            sum += (c.matrix.at(r, i) - m) * (c.matrix.at(r, j) - m);
          }
          sum = sum * factor + before.at(i, j);
          ASSERT_TRUE(same_bits(dst.at(i, j), sum)) << w << " columns, " << h << " rows: " << i << ", " << j;
          ASSERT_TRUE(same_bits(dst.at(j, i), sum));  // whatever stood there
          ASSERT_TRUE(same_bits(dense.at(i, j), sum) && same_bits(dense.at(j, i), sum));
        }
      }
    }
  }
  // Wrong arguments: `first` stands for the destination, either step may be the short one.
  Case<T, double, double> c(Results::kByColumn, 4, 1, 1, 1);
  Kiv64f* destination_rows[] = {c.first.data()};
  const auto rows_of = [&](auto& x) { return x.given(kFirst, destination_rows); };
  const auto one = value(1);
  const auto expect = [&](auto call) {
    ASSERT_EQ(call(c), kivStatusOk);
    expect_order(c, kStepLast, call);
    c.used = 0;
  };
  expect(with(step_form, matrix, step, height, columns, first, width, one, value(1.0)));
  expect(with(step_form, matrix, one, height, columns, first, width, step, value(1.0)));
  expect(with(pointer_form, matrix_rows, height, columns, rows_of, width, value(1.0)));
}

TEST(Covariance, TakesBothFactorsAboutTheMeanOfTheLaterColumn) {
  check_covariance<Kiv32f>(kivsAccCovarianceMatrix_32f64f_D2, kivsAccCovarianceMatrix_32f64f_D2L);
  check_covariance<Kiv16s>(kivsAccCovarianceMatrix_16s64f_D2, kivsAccCovarianceMatrix_16s64f_D2L);
}

}  // namespace
}  // namespace kivsr::test
