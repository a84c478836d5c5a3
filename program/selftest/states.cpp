// Digests of the families whose functions work on state objects.
#include <cstddef>

#include "program/selftest/calls.h"

namespace kivsr::selftest {

namespace {

template <class T>
std::vector<T> input(std::size_t count, bool positive = false) {
  return numbers<T>(count, 77, positive);
}
template <class T>
void add(Digest& digest, KivStatus status, const std::vector<T>& values) {
  digest.add(static_cast<std::uint64_t>(status), 4);
  digest.add_all(values.data(), values.size());
}

// init(&state), use(state), release(state).
template <class State, class Init, class Use>
std::uint32_t with_state(Init init, Use use, KivStatus (*release)(State*)) {
  Digest digest;
  State* state = nullptr;
  digest.add(static_cast<std::uint64_t>(init(&state)), 4);
  if (state != nullptr) {
    use(digest, state);
    release(state);
  }
  return digest.value();
}

}  // namespace

std::uint32_t fft_floats(const char*) {
  Digest all;
  for (int order = 0; order <= 11; ++order) {
    const std::size_t count = std::size_t{1} << order;
    all.add(with_state<KivsFFTSpec_R_32f>(
                [&](auto** spec) { return kivsFFTInitAlloc_R_32f(spec, order, kivFftScaleNone, 0); },
                [&](Digest& digest, auto* spec) {
                  const auto samples = input<Kiv32f>(count);
                  std::vector<Kiv32f> bins(count + 2);
                  add(digest, kivsFFTFwd_RToCCS_32f(samples.data(), bins.data(), spec, nullptr), bins);
                  add(digest, kivsFFTFwd_RToPerm_32f(samples.data(), bins.data(), spec, nullptr), bins);
                  add(digest, kivsFFTInv_PackToR_32f(samples.data(), bins.data(), spec, nullptr), bins);
                },
                kivsFFTFree_R_32f),
            4);
  }
  return all.value();
}

std::uint32_t fft_words(const char*) {
  Digest all;
  for (int order = 1; order <= 10; ++order) {
    const std::size_t count = std::size_t{1} << order;
    all.add(with_state<KivsFFTSpec_R_16s32s>(
                [&](auto** spec) { return kivsFFTInitAlloc_R_16s32s(spec, order, kivFftScaleNone, 0); },
                [&](Digest& digest, auto* spec) {
                  const auto samples = input<Kiv16s>(count);
                  std::vector<Kiv32s> bins(count + 2);
                  add(digest, kivsFFTFwd_RToCCS_16s32s_Sfs(samples.data(), bins.data(), spec, nullptr, 2), bins);
                },
                kivsFFTFree_R_16s32s),
            4);
  }
  return all.value();
}

std::uint32_t dft_floats(const char*) {
  Digest all;
  for (const int length : {1, 12, 35, 49, 60, 97, 200, 400, 1001}) {
    all.add(with_state<KivsDFTSpec_R_32f>(
                [&](auto** spec) { return kivsDFTInitAlloc_R_32f(spec, length, kivFftScaleNone, 0); },
                [&](Digest& digest, auto* spec) {
                  const auto samples = input<Kiv32f>(static_cast<std::size_t>(length) + 2);
                  std::vector<Kiv32f> bins(samples.size());
                  add(digest, kivsDFTFwd_RToCCS_32f(samples.data(), bins.data(), spec, nullptr), bins);
                  add(digest, kivsDFTInv_CCSToR_32f(samples.data(), bins.data(), spec, nullptr), bins);
                },
                kivsDFTFree_R_32f),
            4);
  }
  return all.value();
}

std::uint32_t dft_columns_floats(const char*) {
  Digest all;
  for (const int length : {1, 12, 45, 200, 512, 2048}) {
    all.add(with_state<KivsDFTColumnsSpec_R_32f>(
                [&](auto** spec) { return kivsDFTColumnsInitAlloc_R_32f(spec, length, kivFftScaleNone); },
                [&](Digest& digest, auto* spec) {
                  constexpr int kColumns = 11;
                  const auto samples = input<Kiv32f>(static_cast<std::size_t>(length) * kColumns);
                  std::vector<Kiv32f> bins(static_cast<std::size_t>(length / 2 + 1) * kColumns);
                  add(digest, kivsDFTColumnsPower_R_32f(samples.data(), bins.data(), kColumns, spec, nullptr), bins);
                  add(digest, kivsDFTColumnsMagnitude_R_32f(samples.data(), bins.data(), kColumns, spec, nullptr),
                      bins);
                },
                kivsDFTColumnsFree_R_32f),
            4);
  }
  return all.value();
}

std::uint32_t dct_floats(const char*) {
  return with_state<KivsDCTLifterState_32f>(
      [](auto** state) { return kivsDCTLifterInitAlloc_32f(state, 25, 12, 22, 1.0F); },
      [](Digest& digest, auto* state) {
        std::vector<Kiv32f> cepstra(12);
        add(digest, kivsDCTLifter_32f(input<Kiv32f>(25).data(), cepstra.data(), state), cepstra);
        cepstra.resize(12 * 11);
        add(digest, kivsDCTLifterColumns_32f(input<Kiv32f>(25 * 11).data(), cepstra.data(), 11, state), cepstra);
      },
      kivsDCTLifterFree_32f);
}
std::uint32_t dct_words(const char*) {
  return with_state<KivsDCTLifterState_16s>(
      [](auto** state) { return kivsDCTLifterInitAlloc_16s(state, 25, 12, 22, 1.0F); },
      [](Digest& digest, auto* state) {
        std::vector<Kiv16s> cepstra(12);
        add(digest, kivsDCTLifter_16s_Sfs(input<Kiv16s>(25).data(), cepstra.data(), state, 3), cepstra);
      },
      kivsDCTLifterFree_16s);
}

std::uint32_t mel_floats(const char*) {
  int order = 0;
  return with_state<KivsFBankState_32f>(
      [&](auto** bank) {
        return kivsMelFBankInitAlloc_32f(bank, &order, 400, 16000, 64, 8000, 25, 2595, 700, KIV_FBANK_BINWEIGHT);
      },
      [](Digest& digest, auto* bank) {
        std::vector<Kiv32f> bands(25);
        add(digest, kivsEvalFBank_32f(input<Kiv32f>(600, true).data(), bands.data(), bank), bands);
        bands.resize(25 * 11);
        add(digest, kivsEvalFBankColumns_32f(input<Kiv32f>(257 * 11, true).data(), bands.data(), 11, bank), bands);
      },
      kivsFBankFree_32f);
}
std::uint32_t mel_words(const char*) {
  int order = 0;
  return with_state<KivsFBankState_16s>(
      [&](auto** bank) {
        return kivsMelFBankInitAlloc_16s(bank, &order, 400, 16000, 64, 8000, 25, 2595, 700, KIV_FBANK_BINWEIGHT);
      },
      [](Digest& digest, auto* bank) {
        std::vector<Kiv16s> bands(25);
        add(digest, kivsEvalFBank_16s_Sfs(input<Kiv16s>(600, true).data(), bands.data(), bank, 4), bands);
      },
      kivsFBankFree_16s);
}

std::uint32_t resample_floats(const char*) {
  return with_state<KivsResampleState_32f>(
      [](auto** state) { return kivsResamplePolyphaseInitAlloc_32f(state, 44100, 16000, 0.9F, 60.0F); },
      [](Digest& digest, auto* state) {
        std::vector<Kiv32f> samples(800);
        int count = 0;
        add(digest, kivsResamplePolyphase_32f(input<Kiv32f>(1500).data(), 1500, samples.data(), &count, state),
            samples);
      },
      kivsResamplePolyphaseFree_32f);
}
std::uint32_t resample_words(const char*) {
  return with_state<KivsResampleState_16s>(
      [](auto** state) { return kivsResamplePolyphaseInitAlloc_16s(state, 8000, 16000, 0.9F, 60.0F); },
      [](Digest& digest, auto* state) {
        std::vector<Kiv16s> samples(3200);
        int count = 0;
        add(digest, kivsResamplePolyphase_16s(input<Kiv16s>(1500).data(), 1500, samples.data(), &count, state),
            samples);
      },
      kivsResamplePolyphaseFree_16s);
}

namespace {

template <class State, class T>
std::uint32_t follow_noise(KivStatus (*size)(int, int*), KivStatus (*init)(int, int, State*),
                           KivStatus (*update)(const T*, State*, T*)) {
  constexpr int kTransform = 256;
  constexpr std::size_t kBins = kTransform / 2 + 1;
  Digest digest;
  int bytes = 0;
  digest.add(static_cast<std::uint64_t>(size(kTransform, &bytes)), 4);
  std::vector<std::max_align_t> room(static_cast<std::size_t>(bytes) / sizeof(std::max_align_t) + 4);
  void* const aligned = reinterpret_cast<void*>((reinterpret_cast<std::uintptr_t>(room.data()) + 31) / 32 * 32);
  auto* const state = static_cast<State*>(aligned);
  digest.add(static_cast<std::uint64_t>(init(8000, kTransform, state)), 4);
  const auto power = input<T>(kBins + 20, true);
  std::vector<T> noise(kBins);
  for (std::size_t frame = 0; frame < 20; ++frame)
    add(digest, update(power.data() + frame, state, noise.data()), noise);
  return digest.value();
}

}  // namespace

std::uint32_t noise_floats(const char*) {
  return follow_noise(kivsGetSizeMCRA_32f, kivsInitMCRA_32f, kivsUpdateNoisePSDMCRA_32f_I);
}
std::uint32_t noise_words(const char*) {
  return follow_noise(kivsGetSizeMCRA_32s, kivsInitMCRA_32s, kivsUpdateNoisePSDMCRA_32s_I);
}

std::uint32_t codebook_floats(const char*) {
  return with_state<KivsCdbkState_32f>(
      [](auto** book) {
        return kivsCdbkInitAlloc_L2_32f(book, input<Kiv32f>(13 * 300).data(), 13, 13, 300, 16, kivCdbkSplitLargest);
      },
      [](Digest& digest, auto* book) {
        std::vector<Kiv32s> index(50);
        std::vector<Kiv32f> distance(50);
        const KivStatus status =
            kivsVQDist_32f(input<Kiv32f>(13 * 50).data(), 13, index.data(), distance.data(), 50, book);
        add(digest, status, index);
        add(digest, status, distance);
      },
      kivsCdbkFree_32f);
}
std::uint32_t codebook_words(const char*) {
  return with_state<KivsCdbkState_16s>(
      [](auto** book) {
        return kivsCdbkInitAlloc_L2_16s(book, input<Kiv16s>(13 * 300).data(), 13, 13, 300, 16, kivCdbkSplitLargest);
      },
      [](Digest& digest, auto* book) {
        std::vector<Kiv32s> index(50);
        add(digest, kivsVQ_16s(input<Kiv16s>(13 * 50).data(), 13, index.data(), 50, book), index);
      },
      kivsCdbkFree_16s);
}

}  // namespace kivsr::selftest
