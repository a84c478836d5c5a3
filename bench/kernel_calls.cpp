// Calls of one hot kernel: kernel_calls NAME TIMES, for scripts/kernel-instructions. Without arguments the names; with
// --serve, for every line "TIMES NAME" of the input, the nanoseconds of a call, for scripts/backend-speed.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "kivsr.h"

namespace {

template <class T>
T* numbers(std::size_t count, T least, T step) {
  static std::vector<std::vector<T>> rooms;
  std::vector<T> room(count);
  for (std::size_t i = 0; i < count; ++i) room[i] = static_cast<T>(least + step * static_cast<T>(i * 7 % 16));
  rooms.push_back(std::move(room));
  return rooms.back().data();
}

constexpr int kLength = 512;
constexpr int kRows = 64;
constexpr int kWidth = 39;
constexpr int kShort = 13;
constexpr int kStep = 40;

using Kernel = std::pair<const char*, std::function<void()>>;

std::vector<Kernel> kernels() {
  Kiv32f* const a = numbers<Kiv32f>(kRows * kStep, -1, 0.125F);
  Kiv32f* const b = numbers<Kiv32f>(kRows * kStep, 0.5F, 0.125F);
  Kiv32f* const c = numbers<Kiv32f>(kRows * kStep, 0, 0.25F);
  Kiv16s* const words = numbers<Kiv16s>(kRows * kStep, -100, 13);
  Kiv16s* const more = numbers<Kiv16s>(kRows * kStep, 1, 5);
  static KivsFFTSpec_R_32f* fft = nullptr;
  kivsFFTInitAlloc_R_32f(&fft, 9, kivFftScaleNone, 0);
  static KivsDCTLifterState_32f* dct = nullptr;
  kivsDCTLifterInitAlloc_32f(&dct, 25, 12, 22, 1);
  static KivsFBankState_32f* bank = nullptr;
  static int order = 0;
  kivsMelFBankInitAlloc_32f(&bank, &order, 400, 16000, 64, 8000, 25, 2595, 700, KIV_FBANK_BINWEIGHT);
  static KivsCdbkState_32f* book = nullptr;
  kivsCdbkInitAlloc_L2_32f(&book, b, kWidth, kStep, kRows, kRows, kivCdbkFullSearch);
  static Kiv32s index[kRows];
  static Kiv32f result;
  return {
      {"product", [=] { kivsMul_32f(a, b, c, kLength); }},
      {"dot product", [=] { kivsDotProd_32f(a, b, kLength, &result); }},
      {"sum", [=] { kivsSum_32f(a, kLength, &result, 0); }},
      {"logarithm",
       [=] {
         std::memcpy(c, b, kLength * sizeof *c);
         kivsLn_32f_I(c, kLength);
       }},
      {"words to floats", [=] { kivsConvert_16s32f(words, c, kLength); }},
      {"floats to words", [=] { kivsConvert_32f16s_Sfs(a, more + kLength, kLength, kivRndNear, -8); }},
      {"product of words", [=] { kivsMul_16s_Sfs(words, more, more + kLength, kLength, 3); }},
      {"FFT of 512", [=] { kivsFFTFwd_RToCCS_32f(a, c, fft, nullptr); }},
      {"inverse FFT of 512", [=] { kivsFFTInv_PackToR_32f(a, c, fft, nullptr); }},
      {"mel bank", [=] { kivsEvalFBank_32f(b, c, bank); }},
      {"DCT and lifter", [=] { kivsDCTLifter_32f(a, c, dct); }},
      {"Gaussian scores", [=] { kivsLogGaussMultiMix_32f_D2(a, b, kStep, b, kWidth, c, kRows); }},
      {"Gaussian scores, words",
       [=] { kivsLogGaussMultiMix_Scaled_16s32f_D2(words, more, kStep, more, kWidth, c, kRows, 10); }},
      {"log addition", [=] { kivsLogAdd_32f(a, c, kLength, static_cast<KivLogAddHint>(0)); }},
      {"log sum", [=] { kivsLogSum_32f(a, &result, kLength); }},
      {"nearest of 64 vectors", [=] { kivsVQ_32f(b, kStep, index, kRows, book); }},
      {"mean and variance", [=] { kivsMeanVarColumn_32f_D2(a, kRows, kStep, c, c + kStep, kWidth); }},
      {"deltas", [=] { kivsDelta_Win2_32f_D2(a, kShort, c, kStep, kRows, 0.5F, KIV_DELTA_BEGIN | KIV_DELTA_END); }},
      {"autocorrelation", [=] { kivsAutoCorr_32f(a, kLength, c, kShort); }},
      {"time warping", [=] { kivsDTW_L2_32f_D2(a, kStep, kRows, b, kStep, kRows, kWidth, &result, -1); }},
      {"product of 13", [=] { kivsMul_32f(a, b, c, kShort); }},
      {"dot product of 13", [=] { kivsDotProd_32f(a, b, kShort, &result); }},
      {"words to floats of 13", [=] { kivsConvert_16s32f(words, c, kShort); }},
      {"log addition of 13", [=] { kivsLogAdd_32f(a, c, kShort, static_cast<KivLogAddHint>(0)); }},
      {"log sum of 13", [=] { kivsLogSum_32f(a, &result, kShort); }},
      {"Gaussian scores of 13", [=] { kivsLogGaussMultiMix_32f_D2(a, b, kStep, b, kShort, c, kRows); }},
      {"Gaussian, words of 13",
       [=] { kivsLogGaussMultiMix_Scaled_16s32f_D2(words, more, kStep, more, kShort, c, kRows, 10); }},
      {"time warping of 13", [=] { kivsDTW_L2_32f_D2(a, kStep, kRows, b, kStep, kRows, kShort, &result, -1); }},
  };
}

const Kernel* find(const std::vector<Kernel>& all, const std::string& name) {
  for (const Kernel& kernel : all) {
    if (name == kernel.first) return &kernel;
  }
  return nullptr;
}

int serve(const std::vector<Kernel>& all) {
  using Clock = std::chrono::steady_clock;
  int times = 0;
  std::string name;
  while (std::cin >> times && std::getline(std::cin >> std::ws, name)) {
    const Kernel* const kernel = find(all, name);
    if (kernel == nullptr) return 1;
    kernel->second();
    const auto start = Clock::now();
    for (int k = 0; k < times; ++k) kernel->second();
    std::cout << std::chrono::duration<double, std::nano>(Clock::now() - start).count() / times << std::endl;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<Kernel> all = kernels();
  if (argc == 1) {
    for (const Kernel& kernel : all) std::puts(kernel.first);
    return 0;
  }
  if (std::strcmp(argv[1], "--serve") == 0) return serve(all);
  const Kernel* const kernel = find(all, argv[1]);
  if (kernel == nullptr || argc != 3) return 1;
  for (int k = std::atoi(argv[2]); k > 0; --k) kernel->second();
  return 0;
}
