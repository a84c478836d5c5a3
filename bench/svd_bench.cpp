// Singular value decomposition beside the drivers of LAPACK (OpenBLAS's) and Eigen. dgejsv alone promises the same
// accuracy of small values.
#include <Eigen/SVD>
#include <algorithm>
#include <string>
#include <vector>

#include "kivsr.h"
#include "side_by_side.h"

extern "C" {
void dgesvd_(const char*, const char*, const int*, const int*, double*, const int*, double*, double*, const int*,
             double*, const int*, double*, const int*, int*);
void dgesdd_(const char*, const int*, const int*, double*, const int*, double*, double*, const int*, double*,
             const int*, double*, const int*, int*, int*);
void dgejsv_(const char*, const char*, const char*, const char*, const char*, const char*, const int*, const int*,
             double*, const int*, double*, double*, const int*, double*, const int*, double*, const int*, int*, int*);
}

namespace kivsr::bench {
namespace {

// The matrix is copied in every peer's time where the peer destroys it, as ours does for itself.
struct Problem {
  int height, width;
  const double* a;  // rows for ours, columns for the peers
  double *copy, *u, *s, *v, *work;
  int work_length;
  int* integers;

  void take() const { std::copy_n(a, height * width, copy); }
};

void decompositions(int height, int width) {
  const auto room = [](int n) { return array<double>(n, [](int) { return 0; }); };
  const int cells = height * width;
  const int work = 8 * width * width + 4 * height * width + 1000;
  const Problem p{height,
                  width,
                  array<double>(cells, [](int i) { return noise(i) + noise(7 * i + 1) - 1; }),
                  room(cells),
                  room(cells),
                  room(width),
                  room(width * width),
                  room(work),
                  work,
                  array<int>(8 * width + 3 * height, [](int) { return 0; })};
  const std::string name = "SVDSort_64f_" + std::to_string(height) + "x";
  measure(name, "ours", width,
          [=] { return kivsSVDSort_64f_D2(p.a, p.width, p.u, p.width, p.s, p.v, p.width, p.width, p.height, 30); });
  measure(name, "dgesvd", width, [=] {
    int info;
    p.take();
    dgesvd_("S", "S", &p.height, &p.width, p.copy, &p.height, p.s, p.u, &p.height, p.v, &p.width, p.work,
            &p.work_length, &info);
  });
  measure(name, "dgesdd", width, [=] {
    int info;
    p.take();
    dgesdd_("S", &p.height, &p.width, p.copy, &p.height, p.s, p.u, &p.height, p.v, &p.width, p.work, &p.work_length,
            p.integers, &info);
  });
  measure(name, "dgejsv", width, [=] {
    int info;
    p.take();
    dgejsv_("C", "U", "V", "R", "N", "N", &p.height, &p.width, p.copy, &p.height, p.s, p.u, &p.height, p.v, &p.width,
            p.work, &p.work_length, p.integers, &info);
  });
  const Eigen::Map<const Eigen::MatrixXd> matrix(p.a, height, width);
  if (width <= 64) {
    measure(name, "EigenJacobi", width, [=] {
      const Eigen::JacobiSVD<Eigen::MatrixXd> svd(matrix, Eigen::ComputeThinU | Eigen::ComputeThinV);
      std::copy_n(svd.singularValues().data(), p.width, p.s);
    });
  }
  measure(name, "EigenBDC", width, [=] {
    const Eigen::BDCSVD<Eigen::MatrixXd> svd(matrix, Eigen::ComputeThinU | Eigen::ComputeThinV);
    std::copy_n(svd.singularValues().data(), p.width, p.s);
  });
}

}  // namespace
}  // namespace kivsr::bench

int main(int argc, char** argv) {
  for (const int n : {13, 26, 39, 64, 128, 256}) kivsr::bench::decompositions(n, n);
  for (const int n : {13, 39}) kivsr::bench::decompositions(1000, n);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
