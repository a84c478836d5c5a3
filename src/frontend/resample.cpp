// Polyphase resampling: the checks and the exports.
#include "kivsr/frontend/resample.h"
#include "frame/allocator.h"
#include "frame/status.h"
#include "resample_stream.h"

namespace kivsr::resample {
namespace {

// A state is a block of the caller's or of InitAlloc; the stream stands at its first 32-byte boundary.
template <class State>
Stream& stream_of(State* state) {
  return *static_cast<Stream*>(align_up(state));
}
template <class State>
const Stream& stream_of(const State* state) {
  return *static_cast<const Stream*>(align_up(const_cast<State*>(state)));
}

KivStatus check(const Rates& rates, Design* design) {
  const bool in_range = rates.in >= 1 && rates.out >= 1 && rates.pass_band >= 0.5F && rates.pass_band <= 0.98F &&
                        rates.stop_band >= 40.0F && rates.stop_band <= 160.0F;
  return require(in_range && make_design(rates, design), kivStatusBadArgument);
}

KivStatus get_size(const Rates& rates, int* size) {
  Design design;
  if (const KivStatus s = not_null(size); s != kivStatusOk) return s;
  return run(check(rates, &design),
             [&] { *size = static_cast<int>(StreamParts(design).layout.bytes_from_any_start()); });
}

template <class State>
KivStatus init(State* state, const Rates& rates) {
  Design design;
  if (const KivStatus s = not_null(state); s != kivStatusOk) return s;
  return run(check(rates, &design), [&] { make_stream(state, design, rates); });
}

template <class State>
KivStatus init_alloc(State** state, const Rates& rates) {
  Design design;
  if (const KivStatus s = not_null(state); s != kivStatusOk) return s;
  if (const KivStatus s = check(rates, &design); s != kivStatusOk) return s;
  void* const block = allocate_bytes(StreamParts(design).layout.bytes());
  return run(require(block != nullptr, kivStatusNoMemory), [&] {
    make_stream(block, design, rates);
    *state = static_cast<State*>(block);
  });
}

template <class State>
KivStatus free_state(State* state) {
  return run(not_null(state), [&] { release(state); });
}

template <class State>
KivStatus reset_state(State* state) {
  return run(not_null(state), [&] { reset(stream_of(state)); });
}

template <class State>
KivStatus get_delay(const State* state, int* delay) {
  return run(not_null(state, delay), [&] { *delay = stream_of(state).design.delay(); });
}

KivStatus outputs_fit(std::int64_t count) {
  return require(count <= std::numeric_limits<int>::max(), kivStatusBadSize);
}

template <class State>
KivStatus get_dst_len(const State* state, int src_len, int* dst_len) {
  const KivStatus checks = first_failure(not_null(state, dst_len), require(src_len >= 0, kivStatusBadSize));
  if (checks != kivStatusOk) return checks;
  const Design& design = stream_of(state).design;
  const std::int64_t most = src_len == 0 && design.same ? 0 : most_outputs(design, src_len);
  return run(outputs_fit(most), [&] { *dst_len = static_cast<int>(most); });
}

template <class T, class State>
KivStatus resample(const T* src, int src_len, T* dst, int* dst_len, State* state) {
  const KivStatus checks = first_failure(not_null(src, dst, dst_len, state), require(src_len >= 0, kivStatusBadSize));
  if (checks != kivStatusOk) return checks;
  Stream& stream = stream_of(state);
  return run(outputs_fit(most_outputs(stream.design, src_len)), [&] { *dst_len = push(stream, src, src_len, dst); });
}

template <class T, class State>
KivStatus flush_state(T* dst, int* dst_len, State* state) {
  return run(not_null(dst, dst_len, state), [&] { *dst_len = flush(stream_of(state), dst); });
}

}  // namespace
}  // namespace kivsr::resample

extern "C" {
using namespace kivsr;

KivStatus kivsResamplePolyphaseGetSize_32f(int inRate, int outRate, Kiv32f passBand, Kiv32f stopBand, int* pSize) {
  return resample::get_size({inRate, outRate, passBand, stopBand}, pSize);
}
KivStatus kivsResamplePolyphaseInit_32f(KivsResampleState_32f* pState, int inRate, int outRate, Kiv32f passBand,
                                        Kiv32f stopBand) {
  return resample::init(pState, {inRate, outRate, passBand, stopBand});
}
KivStatus kivsResamplePolyphaseInitAlloc_32f(KivsResampleState_32f** ppState, int inRate, int outRate, Kiv32f passBand,
                                             Kiv32f stopBand) {
  return resample::init_alloc(ppState, {inRate, outRate, passBand, stopBand});
}
KivStatus kivsResamplePolyphaseFree_32f(KivsResampleState_32f* pState) { return resample::free_state(pState); }
KivStatus kivsResamplePolyphaseReset_32f(KivsResampleState_32f* pState) { return resample::reset_state(pState); }
KivStatus kivsResamplePolyphaseGetDelay_32f(const KivsResampleState_32f* pState, int* pDelay) {
  return resample::get_delay(pState, pDelay);
}
KivStatus kivsResamplePolyphaseGetDstLen_32f(const KivsResampleState_32f* pState, int srcLen, int* pDstLen) {
  return resample::get_dst_len(pState, srcLen, pDstLen);
}
KivStatus kivsResamplePolyphase_32f(const Kiv32f* pSrc, int srcLen, Kiv32f* pDst, int* pDstLen,
                                    KivsResampleState_32f* pState) {
  return resample::resample(pSrc, srcLen, pDst, pDstLen, pState);
}
KivStatus kivsResamplePolyphaseFlush_32f(Kiv32f* pDst, int* pDstLen, KivsResampleState_32f* pState) {
  return resample::flush_state(pDst, pDstLen, pState);
}

KivStatus kivsResamplePolyphaseGetSize_16s(int inRate, int outRate, Kiv32f passBand, Kiv32f stopBand, int* pSize) {
  return resample::get_size({inRate, outRate, passBand, stopBand}, pSize);
}
KivStatus kivsResamplePolyphaseInit_16s(KivsResampleState_16s* pState, int inRate, int outRate, Kiv32f passBand,
                                        Kiv32f stopBand) {
  return resample::init(pState, {inRate, outRate, passBand, stopBand});
}
KivStatus kivsResamplePolyphaseInitAlloc_16s(KivsResampleState_16s** ppState, int inRate, int outRate, Kiv32f passBand,
                                             Kiv32f stopBand) {
  return resample::init_alloc(ppState, {inRate, outRate, passBand, stopBand});
}
KivStatus kivsResamplePolyphaseFree_16s(KivsResampleState_16s* pState) { return resample::free_state(pState); }
KivStatus kivsResamplePolyphaseReset_16s(KivsResampleState_16s* pState) { return resample::reset_state(pState); }
KivStatus kivsResamplePolyphaseGetDelay_16s(const KivsResampleState_16s* pState, int* pDelay) {
  return resample::get_delay(pState, pDelay);
}
KivStatus kivsResamplePolyphaseGetDstLen_16s(const KivsResampleState_16s* pState, int srcLen, int* pDstLen) {
  return resample::get_dst_len(pState, srcLen, pDstLen);
}
KivStatus kivsResamplePolyphase_16s(const Kiv16s* pSrc, int srcLen, Kiv16s* pDst, int* pDstLen,
                                    KivsResampleState_16s* pState) {
  const NearestRounding nearest;
  return resample::resample(pSrc, srcLen, pDst, pDstLen, pState);
}
KivStatus kivsResamplePolyphaseFlush_16s(Kiv16s* pDst, int* pDstLen, KivsResampleState_16s* pState) {
  const NearestRounding nearest;
  return resample::flush_state(pDst, pDstLen, pState);
}
}
