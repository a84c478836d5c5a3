// kivsr for C++17 and later: calls that check, containers instead of pointer and length, owners of state objects.
// Header only; the functions are those of kivsr.h.
//
//   std::vector<float> a(n), b(n), product(n);
//   kivsr::call<kivsMul_32f>(a, b, product, kivsr::length);    // lengths equal, or kivsr::Error
//
//   const auto fft = kivsr::Fft32f::make<kivsFFTInitAlloc_R_32f>(9, kivFftScaleNone, 0);
//   kivsr::call<kivsFFTFwd_RToCCS_32f>(samples, spectrum, fft, nullptr);
//
// Errors are exceptions: a negative status means a mistake in the program or no memory, which the next line of code can
// do nothing about, and owners must be able to fail while they are made. Warnings (positive statuses) are returned.
#ifndef KIVSR_KIVSR_HPP
#define KIVSR_KIVSR_HPP

#include <kivsr.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace kivsr {

// A function of the library returned a negative status, or lengths did not fit each other (kivStatusBadSize).
class Error : public std::runtime_error {
 public:
  Error(KivStatus status, std::string_view function)
      : std::runtime_error(std::string(function) + ": " + kivStatusText(status)),
        status_(status),
        function_(function) {}
  KivStatus status() const noexcept { return status_; }
  const std::string& function() const noexcept { return function_; }

 private:
  KivStatus status_;
  std::string function_;
};

// Elements in a row somewhere: a pointer and a length. Containers convert by themselves.
template <class T>
class Span {
 public:
  constexpr Span() = default;
  constexpr Span(T* data, std::size_t size) : data_(data), size_(size) {}
  template <class Container,
            class = std::enable_if_t<std::is_convertible_v<decltype(std::data(std::declval<Container&>())), T*>>>
  constexpr Span(Container&& container) : data_(std::data(container)), size_(std::size(container)) {}

  constexpr T* data() const { return data_; }
  constexpr std::size_t size() const { return size_; }
  constexpr bool empty() const { return size_ == 0; }
  constexpr T& operator[](std::size_t i) const { return data_[i]; }
  constexpr T* begin() const { return data_; }
  constexpr T* end() const { return data_ + size_; }
  constexpr Span first(std::size_t count) const { return {data_, count}; }
  constexpr Span subspan(std::size_t offset) const { return {data_ + offset, size_ - offset}; }
  constexpr Span subspan(std::size_t offset, std::size_t count) const { return {data_ + offset, count}; }

 private:
  T* data_ = nullptr;
  std::size_t size_ = 0;
};

// In the place of a length: that of the containers of the call, which must have the same.
struct Length {};
inline constexpr Length length{};

namespace detail {

// "kivsMul_32f" of kFunction = kivsMul_32f: the compiler spells it.
template <auto kFunction>
constexpr std::string_view name_of() {
  constexpr std::string_view kText = __PRETTY_FUNCTION__;
  constexpr std::string_view kKey = "kFunction = ";
  std::size_t begin = kText.find(kKey) + kKey.size();
  while (kText[begin] == '&' || kText[begin] == '(') ++begin;
  const std::size_t end = kText.find_first_of(";],)", begin);
  return kText.substr(begin, end - begin);
}

template <class A, class = void>
struct IsContainer : std::false_type {};
template <class A>
struct IsContainer<A, std::void_t<decltype(std::data(std::declval<A&>())), decltype(std::size(std::declval<A&>()))>>
    : std::true_type {};

template <class A, class = void>
struct IsOwner : std::false_type {};
template <class A>
struct IsOwner<A, std::void_t<typename A::State>> : std::true_type {};

// The length that the containers of a call share.
class CommonLength {
 public:
  template <class A>
  void see(const A& argument) {
    if constexpr (IsContainer<const A>::value) {
      if (known_ && std::size(argument) != length_) differs_ = true;
      length_ = std::size(argument);
      known_ = true;
    }
  }
  bool usable() const { return known_ && !differs_ && length_ <= std::size_t{std::numeric_limits<int>::max()}; }
  int value() const { return static_cast<int>(length_); }

 private:
  std::size_t length_ = 0;
  bool known_ = false;
  bool differs_ = false;
};

template <class Parameter, auto kFunction, class A>
Parameter converted(A&& argument, const CommonLength& common) {
  using Plain = std::remove_cv_t<std::remove_reference_t<A>>;
  if constexpr (std::is_same_v<Plain, Length>) {
    if (!common.usable()) throw Error(kivStatusBadSize, name_of<kFunction>());
    return common.value();
  } else if constexpr (IsOwner<Plain>::value) {
    return argument.get();
  } else if constexpr (std::is_pointer_v<Parameter> && IsContainer<Plain>::value) {
    return std::data(argument);
  } else if constexpr (std::is_integral_v<Parameter> && std::is_integral_v<Plain>) {
    const auto value = static_cast<Parameter>(argument);
    if (static_cast<Plain>(value) != argument || (value < 0) != (argument < Plain{0})) {
      throw Error(kivStatusBadSize, name_of<kFunction>());
    }
    return value;
  } else if constexpr (std::is_floating_point_v<Parameter> && std::is_arithmetic_v<Plain>) {
    return static_cast<Parameter>(argument);
  } else {
    return std::forward<A>(argument);
  }
}

template <auto kFunction, class... P, class... A>
KivStatus call_as(KivStatus (*)(P...), A&&... arguments) {
  static_assert(sizeof...(P) == sizeof...(A), "as many arguments as the function of the library takes");
  CommonLength common;
  (common.see(arguments), ...);
  const KivStatus status = kFunction(converted<P, kFunction>(std::forward<A>(arguments), common)...);
  if (status < kivStatusOk) throw Error(status, name_of<kFunction>());
  return status;
}

}  // namespace detail

// Calls a function of the library with containers or pointers for its arrays, integers of any type for its sizes
// (refused if they do not fit), kivsr::length for the common length of the containers, and owners for its states.
// Returns kivStatusOk or a warning, throws Error otherwise.
template <auto kFunction, class... A>
KivStatus call(A&&... arguments) {
  return detail::call_as<kFunction>(kFunction, std::forward<A>(arguments)...);
}

// A state object in memory of the library, made by one of its InitAlloc functions and released with the owner.
template <class S, KivStatus (*kFree)(S*)>
class Owner {
 public:
  using State = S;

  Owner() = default;  // holds nothing
  // Takes over what a function has made.
  explicit Owner(S* state) : state_(state) {}
  // The arguments of InitAlloc behind the first, the place of the handle.
  template <auto kInitAlloc, class... A>
  static Owner make(A&&... arguments) {
    S* state = nullptr;
    call<kInitAlloc>(&state, std::forward<A>(arguments)...);
    return Owner(state);
  }

  S* get() const noexcept { return state_.get(); }
  explicit operator bool() const noexcept { return state_ != nullptr; }

 private:
  struct Release {
    void operator()(S* state) const noexcept { static_cast<void>(kFree(state)); }
  };
  std::unique_ptr<S, Release> state_;
};

using Dft32f = Owner<KivsDFTSpec_R_32f, kivsDFTFree_R_32f>;
using DftColumns32f = Owner<KivsDFTColumnsSpec_R_32f, kivsDFTColumnsFree_R_32f>;
using Fft32f = Owner<KivsFFTSpec_R_32f, kivsFFTFree_R_32f>;
using Fft16s32s = Owner<KivsFFTSpec_R_16s32s, kivsFFTFree_R_16s32s>;
using Resampler32f = Owner<KivsResampleState_32f, kivsResamplePolyphaseFree_32f>;
using Resampler16s = Owner<KivsResampleState_16s, kivsResamplePolyphaseFree_16s>;
using FilterBank32f = Owner<KivsFBankState_32f, kivsFBankFree_32f>;
using FilterBank16s = Owner<KivsFBankState_16s, kivsFBankFree_16s>;
using DctLifter32f = Owner<KivsDCTLifterState_32f, kivsDCTLifterFree_32f>;
using DctLifter16s = Owner<KivsDCTLifterState_16s, kivsDCTLifterFree_16s>;
using Codebook32f = Owner<KivsCdbkState_32f, kivsCdbkFree_32f>;
using Codebook16s = Owner<KivsCdbkState_16s, kivsCdbkFree_16s>;

// A state object whose memory the caller provides: as many bytes as its GetSize function reports, on a 32-byte
// boundary. An Init function makes it ready:
//
//   auto noise = kivsr::Mcra32f::sized<kivsGetSizeMCRA_32f>(512);
//   kivsr::call<kivsInitMCRA_32f>(16000, 512, noise);
template <class S>
class Placed {
 public:
  using State = S;

  Placed() = default;  // holds nothing
  // The arguments of GetSize before the last, the place of the size.
  template <auto kGetSize, class... A>
  static Placed sized(A&&... arguments) {
    int bytes = 0;
    call<kGetSize>(std::forward<A>(arguments)..., &bytes);
    Placed placed;
    placed.memory_.reset(kivsMalloc_8u(bytes));
    if (placed.memory_ == nullptr) throw std::bad_alloc();
    return placed;
  }

  S* get() const noexcept { return reinterpret_cast<S*>(memory_.get()); }
  explicit operator bool() const noexcept { return memory_ != nullptr; }

 private:
  struct Release {
    void operator()(Kiv8u* memory) const noexcept { kivsFree(memory); }
  };
  std::unique_ptr<Kiv8u, Release> memory_;
};

using FilterBank32s = Placed<KivsFBankState_32s>;
using VoiceDetector = Placed<KivsVADState_Aurora>;
using HighBandReduction = Placed<KivsHighBandState_Aurora>;
using Mcra32f = Placed<KivsMCRAState_32f>;
using Mcra32s = Placed<KivsMCRAState_32s>;

}  // namespace kivsr

#endif
