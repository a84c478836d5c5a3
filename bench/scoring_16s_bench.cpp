// 16-bit Gaussian scoring, selected scoring and distances beside our own floating-point scoring of the same shape and,
// for the distances, beside Eigen. Names give the feature length, sizes are numbers of frames or Gaussians.
#include <Eigen/Core>
#include <string>

#include "kivsr.h"
#include "side_by_side.h"

namespace kivsr::bench {
namespace {

constexpr int kScale = 20;

void gaussians(int len, int height) {
  const int cells = len * height;
  const auto integer = [](int range) { return [=](int i) { return (2 * noise(i) - 1) * range; }; };
  const auto weight = [](int i) { return 1 + 300 * noise(3 * i); };
  const Kiv16s* const rows = array<Kiv16s>(cells, integer(4000));
  const Kiv16s* const weights = array<Kiv16s>(cells, weight);
  const Kiv16s* const vector = array<Kiv16s>(len, integer(3000));
  const float* const float_rows = array<float>(cells, [=](int i) { return rows[i] / 2000.0; });
  const float* const float_weights = array<float>(cells, [=](int i) { return weights[i] / 100.0; });
  const float* const float_vector = array<float>(len, [=](int i) { return vector[i] / 2000.0; });
  const float* const constants = array<float>(height, [](int i) { return -60 + 40 * noise(7 * i); });
  float* const scores = array<float>(height, [](int i) { return -60 + 40 * noise(7 * i); });
  Kiv32s* const integers = array<Kiv32s>(height, [](int) { return 0; });
  const auto pointers = [=](const auto* base) {
    using E = std::remove_pointer_t<decltype(base)>;
    return array<E*>(height, [=](int r) { return base + r * len; });
  };
  const auto list = pointers(rows);
  const auto float_list = pointers(float_rows);
  const std::string length = ", " + std::to_string(len);

  const auto compare = [&](const char* name, auto ours, auto in_float) {
    measure(name + length, "ours", height, ours);
    measure(name + length, "ours float", height, in_float);
  };
  compare(
      "Gauss_Scaled_D2",
      [=] { kivsLogGauss_Scaled_16s32f_D2(rows, len, vector, weights, len, scores, height, -9, kScale); },
      [=] { kivsLogGauss_32f_D2(float_rows, len, float_vector, float_weights, len, scores, height, -9); });
  compare(
      "Gauss_LowScaled_D2L",
      [=] { kivsLogGauss_LowScaled_16s32f_D2L(list, vector, weights, len, scores, height, -9, kScale); },
      [=] { kivsLogGauss_32f_D2L(float_list, float_vector, float_weights, len, scores, height, -9); });
  compare(
      "Gauss_IdVarScaled_D2",
      [=] { kivsLogGauss_IdVarScaled_16s32f_D2(rows, len, vector, len, scores, height, -9, kScale); },
      [=] { kivsLogGauss_IdVar_32f_D2(float_rows, len, float_vector, len, scores, height, -9); });
  compare(
      "GaussMax_16s32s_D2",
      [=] { kivsLogGaussMax_16s32s_D2Sfs(rows, len, vector, weights, len, integers, height, -9, kScale); },
      [=] { kivsLogGaussMax_32f_D2(float_rows, len, float_vector, float_weights, len, scores, height, -9); });
  compare(
      "MultiMix_Scaled_D2",
      [=] { kivsLogGaussMultiMix_Scaled_16s32f_D2(rows, weights, len, vector, len, scores, height, kScale); },
      [=] { kivsLogGaussMultiMix_32f_D2(float_rows, float_weights, len, float_vector, len, scores, height); });
  compare(
      "Mixture_Scaled_D2",
      [=] {
        float result;
        kivsLogGaussMixture_Scaled_16s32f_D2(vector, rows, weights, height, len, len, constants, &result, kScale);
        return result;
      },
      [=] {
        float result;
        kivsLogGaussMixture_32f_D2(float_vector, float_rows, float_weights, height, len, len, constants, &result);
        return result;
      });

  const auto eigen = [=](const float* x, const float* m, const float* w) {
    using Column = Eigen::Map<const Eigen::ArrayXf>;
    return ((Column(x, len) - Column(m, len)).square() * Column(w, len)).sum();
  };
  measure("MahDist_32f_D2" + length, "ours", height,
          [=] { kivsMahDist_32f_D2(float_rows, len, float_vector, float_weights, len, scores, height); });
  measure("MahDist_32f_D2" + length, "Eigen", height, [=] {
    for (int r = 0; r < height; ++r) scores[r] = eigen(float_rows + r * len, float_vector, float_weights);
  });
  measure("MahDist_32f_D2" + length, "ours scoring", height,
          [=] { kivsLogGauss_32f_D2(float_rows, len, float_vector, float_weights, len, scores, height, -9); });
  measure("MahDistMultiMix_32f_D2" + length, "ours", height,
          [=] { kivsMahDistMultiMix_32f_D2(float_rows, float_weights, len, float_vector, len, scores, height); });
  measure("MahDistMultiMix_32f_D2" + length, "Eigen", height, [=] {
    for (int r = 0; r < height; ++r) scores[r] = eigen(float_vector, float_rows + r * len, float_weights + r * len);
  });
  measure("MahDistMultiMix_32f_D2" + length, "ours scoring", height,
          [=] { kivsLogGaussMultiMix_32f_D2(float_rows, float_weights, len, float_vector, len, scores, height); });
}

// Frames of one utterance and a mixture; our time beside that for all components.
void selection(int len, int components, int frames) {
  const auto cell = [](int i) { return 4 * noise(i) - 2; };
  const float* const x = array<float>(len * frames, cell);
  const float* const m = array<float>(len * components, cell);
  const float* const w = array<float>(len * components, [](int i) { return 0.1 + 1.9 * noise(3 * i); });
  const auto words = [=](const float* from, int n, double factor) {
    return array<Kiv16s>(n, [=](int i) { return factor * from[i]; });
  };
  const Kiv16s* const x16 = words(x, len * frames, 2000);
  const Kiv16s* const m16 = words(m, len * components, 2000);
  const Kiv16s* const w16 = words(w, len * components, 100);
  const float* const vals = array<float>(components, [](int i) { return -60 + 40 * noise(7 * i); });
  float* const dst = array<float>(frames, [](int) { return 0; });
  const int columns = (components + 7) / 8;
  const std::string shape = " of " + std::to_string(components) + ", " + std::to_string(len);
  const auto all = [=](const std::string& name) {
    measure(name, "ours all", frames, [=] {
      for (int f = 0; f < frames; ++f) dst[f] = -4500000.0F;
      for (int j = 0; j < components; ++j) {
        kivsLogGaussAdd_32f_D2(x, len, m + j * len, w + j * len, len, dst, frames, vals[j]);
      }
    });
  };
  const auto all_words = [=](const std::string& name) {
    measure(name, "ours all", frames, [=] {
      for (int f = 0; f < frames; ++f) dst[f] = -4500000.0F;
      for (int j = 0; j < components; ++j) {
        kivsLogGaussAdd_Scaled_16s32f_D2(x16, len, m16 + j * len, w16 + j * len, len, dst, frames, vals[j], kScale);
      }
    });
  };
  for (const int percent : {10, 25, 50, 100}) {
    const Kiv8u* const sign = array<Kiv8u>(columns * frames, [=](int i) {
      int byte = 0;
      for (int k = 0; k < 8; ++k) byte |= 100 * noise(8 * i + k) < percent ? 0x80 >> k : 0;
      return byte;
    });
    const std::string name = std::to_string(percent) + "%" + shape;
    measure("Select " + name, "ours", frames,
            [=] { kivsLogGaussMixture_Select_32f_D2(x, m, w, len, len, vals, sign, components, dst, frames, -1e6F); });
    all("Select " + name);
    measure("Select_16s " + name, "ours", frames, [=] {
      kivsLogGaussMixture_SelectScaled_16s32f_D2(x16, m16, w16, len, len, vals, sign, components, dst, frames, -1e6F,
                                                 kScale);
    });
    all_words("Select_16s " + name);
  }
}

void between_gaussians(int len) {
  const auto positive = [=](int k) { return array<float>(len, [=](int i) { return 0.1 + noise(k * i + k); }); };
  const float *const m1 = positive(3), *const v1 = positive(5), *const m2 = positive(7), *const v2 = positive(9);
  float* const result = array<float>(1, [](int) { return 0; });
  using Column = Eigen::Map<const Eigen::ArrayXf>;
  const auto eigen = [=] {
    const Column a(m1, len), b(m2, len), s(v1, len), t(v2, len);
    const float q = ((a - b).square() / (s + t)).sum();
    *result = 0.25F * q + 0.25F * ((s + t).square() / (4 * s * t)).log().sum();
  };
  measure("BhatDist_32f", "ours", len, [=] { kivsBhatDist_32f(m1, v1, m2, v2, len, result); });
  measure("BhatDist_32f", "Eigen", len, eigen);
  measure("BhatDistSLog_32f", "ours", len, [=] { kivsBhatDistSLog_32f(m1, v1, m2, v2, len, result, 1, 2); });
  measure("BhatDistSLog_32f", "Eigen", len, [=] {
    const Column a(m1, len), b(m2, len), s(v1, len), t(v2, len);
    const float q = ((a - b).square() / (s + t)).sum();
    *result = 0.25F * q + 0.5F * (s + t).log().sum() - 0.75F;
  });
  measure("GaussianDist_32f", "ours", len,
          [=] { kivsGaussianDist_32f(m1, v1, m2, v2, len, result, 0.3F, 1, 0.7F, 2); });
  measure("GaussianDist_32f", "Eigen", len, [=] {
    const Column a(m1, len), b(m2, len), s(v1, len), t(v2, len);
    *result = 0.5F * (0.3F * s + 0.7F * t + 0.21F * (a - b).square()).log().sum();
  });
}

}  // namespace
}  // namespace kivsr::bench

int main(int argc, char** argv) {
  for (const int len : {39, 13}) {
    for (const int height : {8, 256, 4096, 65536, 400000}) kivsr::bench::gaussians(len, height);
    kivsr::bench::selection(len, 128, 300);
  }
  for (const int len : {13, 39, 1024}) kivsr::bench::between_gaussians(len);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
