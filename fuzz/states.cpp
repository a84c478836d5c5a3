// Constructors of state objects with any parameters: those that a GetSize accepts are built in memory of exactly that
// size, which ends at an unreadable page, and used on arrays of exactly the lengths that the object was made for.
#include <algorithm>
#include <cstring>
#include <vector>

#include "fuzz/target.h"
#include "kivsr.h"
#include "support/guarded.h"

namespace kivsr::fuzz {

namespace {

constexpr int kMostBytes = 4'000'000;  // of an object; larger ones are as good and take long

template <class T>
using Array = test::Guarded<T>;

class Parameters {
 public:
  explicit Parameters(Bytes bytes) : bytes_(bytes) {}
  template <class T>
  T next() {
    T value{};
    const std::size_t count = std::min(sizeof value, bytes_.size());
    std::memcpy(&value, bytes_.data(), count);
    bytes_ = bytes_.subspan(count);
    return value;
  }
  // Mostly a small number, sometimes any.
  int integer() {
    const auto kind = next<std::uint8_t>();
    if (kind < 160) return kind;
    return kind < 240 ? next<std::int16_t>() : next<std::int32_t>();
  }
  float number() {
    return next<std::uint8_t>() < 200 ? static_cast<float>(next<std::int16_t>()) / 16.0F : next<float>();
  }

  Array<float> floats(int count) {
    std::vector<float> values(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < values.size() && i < 64; ++i) values[i] = next<float>();
    return Array<float>(values);
  }

 private:
  Bytes bytes_;
};

bool usable(KivStatus status, int bytes) { return status >= kivStatusOk && bytes >= 0 && bytes <= kMostBytes; }

Array<Kiv8u> memory(int bytes) { return Array<Kiv8u>(static_cast<std::size_t>(bytes)); }
// For objects that begin where their memory does, as malloc gives it.
Array<Kiv8u> aligned_memory(int bytes) { return memory((bytes + 7) / 8 * 8); }

template <auto kGetSize, auto kInit, auto kForward, auto kInverse, class Spec>
void run_transform(int length_or_order, int flag, int hint, int length, Parameters& parameters) {
  int spec_bytes = 0;
  int init_bytes = 0;
  int work_bytes = 0;
  const KivStatus status = kGetSize(length_or_order, flag, hint, &spec_bytes, &init_bytes, &work_bytes);
  if (!usable(status, spec_bytes) || !usable(status, init_bytes) || !usable(status, work_bytes)) return;
  Array<Kiv8u> spec_memory = memory(spec_bytes);
  Array<Kiv8u> work = memory(work_bytes);
  Spec* spec = nullptr;
  {
    Array<Kiv8u> init = memory(init_bytes);
    if (kInit(&spec, length_or_order, flag, hint, spec_memory.data(), init.data()) < kivStatusOk) return;
  }
  Array<float> samples = parameters.floats(length);
  Array<float> bins(static_cast<std::size_t>(length / 2 + 1) * 2);
  kForward(samples.data(), bins.data(), spec, work.data());
  kInverse(bins.data(), samples.data(), spec, work.data());
}

void run_fft(Bytes bytes) {
  Parameters parameters(bytes);
  const int order = parameters.integer();
  const int flag = parameters.integer();
  const int hint = parameters.integer();
  run_transform<kivsFFTGetSize_R_32f, kivsFFTInit_R_32f, kivsFFTFwd_RToPack_32f, kivsFFTInv_PackToR_32f,
                KivsFFTSpec_R_32f>(order, flag, hint, order >= 0 && order < 20 ? 1 << order : 1, parameters);
}
const Registration fft("state_fft", run_fft);

void run_dft(Bytes bytes) {
  Parameters parameters(bytes);
  const int length = parameters.integer();
  const int flag = parameters.integer();
  const int hint = parameters.integer();
  run_transform<kivsDFTGetSize_R_32f, kivsDFTInit_R_32f, kivsDFTFwd_RToCCS_32f, kivsDFTInv_CCSToR_32f,
                KivsDFTSpec_R_32f>(length, flag, hint, length > 0 && length < 1'000'000 ? length : 1, parameters);
}
const Registration dft("state_dft", run_dft);

void run_lifter(Bytes bytes) {
  Parameters parameters(bytes);
  const int inputs = parameters.integer();
  const int outputs = parameters.integer();
  const int lifter = parameters.integer();
  int size = 0;
  if (!usable(kivsDCTLifterGetSize_32f(inputs, outputs, &size), size)) return;
  Array<Kiv8u> place = aligned_memory(size);
  auto* const state = reinterpret_cast<KivsDCTLifterState_32f*>(place.data());
  if (kivsDCTLifterInit_32f(state, inputs, outputs, lifter, parameters.number()) < kivStatusOk) return;
  const Array<float> source = parameters.floats(inputs);
  Array<float> result(static_cast<std::size_t>(outputs));
  kivsDCTLifter_32f(source.data(), result.data(), state);
}
const Registration lifter("state_lifter", run_lifter);

void run_resampler(Bytes bytes) {
  Parameters parameters(bytes);
  const int from = parameters.integer();
  const int to = parameters.integer();
  const float pass = parameters.number();
  const float stop = parameters.number();
  int size = 0;
  if (!usable(kivsResamplePolyphaseGetSize_32f(from, to, pass, stop, &size), size)) return;
  Array<Kiv8u> place = aligned_memory(size);
  auto* const state = reinterpret_cast<KivsResampleState_32f*>(place.data());
  if (kivsResamplePolyphaseInit_32f(state, from, to, pass, stop) < kivStatusOk) return;
  for (int call = 0; call < 2; ++call) {
    const int count = parameters.next<std::uint8_t>();
    const Array<float> source = parameters.floats(count);
    int room = 0;
    if (kivsResamplePolyphaseGetDstLen_32f(state, count, &room) < kivStatusOk || room > kMostBytes) return;
    Array<float> result(static_cast<std::size_t>(std::max(room, 0)));
    int written = 0;
    kivsResamplePolyphase_32f(source.data(), count, result.data(), &written, state);
  }
}
const Registration resampler("state_resampler", run_resampler);

void run_filters(Bytes bytes) {
  Parameters parameters(bytes);
  KivsFBankState_32f* bank = nullptr;
  int order = 0;
  const int window = parameters.integer();
  const float rate = parameters.number();
  const float low = parameters.number();
  const float high = parameters.number();
  const int filters = parameters.integer();
  // A bank of long filters may hold more than a target is allowed.
  if (std::int64_t{window} * filters > 10'000'000) return;
  const float multiplier = parameters.number();
  const float divisor = parameters.number();
  const int mode = parameters.next<std::int8_t>();
  const KivStatus status =
      kivsMelFBankInitAlloc_32f(&bank, &order, window, rate, low, high, filters, multiplier, divisor, mode);
  if (status < kivStatusOk) return;
  const bool of_samples = (mode & KIV_FBANK_FFTINPUT) != 0;
  const Array<float> source = parameters.floats(of_samples ? 1 << order : (1 << order) / 2 + 1);
  Array<float> result(static_cast<std::size_t>(filters));
  kivsEvalFBank_32f(source.data(), result.data(), bank);
  kivsFBankFree_32f(bank);
}
const Registration filters("state_filters", run_filters);

void run_codebook(Bytes bytes) {
  Parameters parameters(bytes);
  const int width = parameters.next<std::uint8_t>();
  const int more = parameters.next<std::uint8_t>() % 4;
  const int height = parameters.next<std::uint8_t>();
  const int codewords = parameters.integer();
  const auto hint = static_cast<KivCdbkHint>(parameters.next<std::int8_t>() % 8);
  const Array<float> rows = parameters.floats(height == 0 ? 0 : (height - 1) * (width + more) + width);
  KivsCdbkState_32f* book = nullptr;
  if (kivsCdbkInitAlloc_L2_32f(&book, rows.data(), width, width + more, height, codewords, hint) < kivStatusOk) return;
  const Array<float> row = parameters.floats(width);
  int index = 0;
  kivsVQ_32f(row.data(), width, &index, 1, book);
  kivsCdbkFree_32f(book);
}
const Registration codebook("state_codebook", run_codebook);

void run_noise(Bytes bytes) {
  Parameters parameters(bytes);
  const int rate = parameters.integer();
  const int length = parameters.integer();
  int size = 0;
  if (!usable(kivsGetSizeMCRA_32f(length, &size), size)) return;
  Array<Kiv8u> place = aligned_memory(size);
  auto* const state = reinterpret_cast<KivsMCRAState_32f*>(place.data());
  if (kivsInitMCRA_32f(rate, length, state) < kivStatusOk) return;
  for (int call = 0; call < 3; ++call) {
    const Array<float> power = parameters.floats(length / 2 + 1);
    Array<float> estimate(power.size());
    kivsUpdateNoisePSDMCRA_32f_I(power.data(), state, estimate.data());
  }
}
const Registration noise("state_noise", run_noise);

}  // namespace

}  // namespace kivsr::fuzz
