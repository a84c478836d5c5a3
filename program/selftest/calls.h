// One call of a function of the C interface on fixed arguments, and the digest of what it gives. Arguments follow the
// types of the parameters and a letter for each:
//
//   p, v   an array of kElements elements, of both signs or positive; what is not const is an output too
//   l, h   elements and rows of the shape;  t  the step between rows;  o  an order;  s  the scale factor
//   0 .. 9 that number;  f  a fraction that depends on the place of the parameter
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <deque>
#include <tuple>
#include <type_traits>
#include <vector>

#include "kivsr.h"

namespace kivsr::selftest {

// FNV-1a. Every NaN counts as one, since processors make different ones.
class Digest {
 public:
  void add(std::uint64_t value, int bytes) {
    for (int k = 0; k < bytes; ++k) hash_ = (hash_ ^ (value >> 8 * k & 0xFFU)) * 0x100000001B3U;
  }
  template <class T>
  void add_all(const T* values, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      if constexpr (std::is_floating_point_v<T>) {
        using U = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
        add(values[i] != values[i] ? 0x7FC0U : std::bit_cast<U>(values[i]), sizeof(T));
      } else {
        add(static_cast<std::uint64_t>(values[i]), sizeof(T));
      }
    }
  }
  std::uint32_t value() const { return static_cast<std::uint32_t>(hash_ ^ hash_ >> 32); }

 private:
  std::uint64_t hash_ = 0xCBF29CE484222325U;
};

// Numbers of a linear congruential generator, exact in every type.
template <class T>
std::vector<T> numbers(std::size_t count, std::uint32_t seed, bool positive) {
  std::vector<T> values(count);
  std::uint32_t state = seed * 2654435761U + 12345U;
  for (T& x : values) {
    state = state * 1664525U + 1013904223U;
    const auto bits = static_cast<std::int32_t>(state) >> 8;  // 24 bits
    if constexpr (std::is_floating_point_v<T>) {
      x = positive ? static_cast<T>((state >> 8) % 65536U + 1024U) / 32768 : static_cast<T>(bits) / 2097152;
    } else if constexpr (sizeof(T) == 4) {
      x = positive ? (bits & 0xFFFFF) + 1 : bits / 8;
    } else if constexpr (sizeof(T) == 2) {
      x = static_cast<T>(positive ? (bits & 0xFFF) + 1 : bits / 4096);
    } else {
      x = static_cast<T>(bits);
    }
  }
  return values;
}

struct Shape {
  int length, height, scale_factor;
};
inline constexpr Shape kShapes[] = {{1, 3, 0},   {5, 2, 1},   {13, 7, 2}, {16, 9, -1},
                                    {39, 33, 3}, {64, 16, 0}, {21, 40, 1}};
inline constexpr int kStep = 64;
inline constexpr int kElements = 4096;

class Arguments {
 public:
  Arguments(const Shape& shape, const char* letters) : shape_(shape), letters_(letters) {}

  template <class A>
  A next() {
    const char letter = letters_[place_++];
    if constexpr (std::is_pointer_v<A>) {
      return array<A>(letter);
    } else if constexpr (std::is_floating_point_v<A>) {
      return static_cast<A>(0.375 + 0.0625 * place_);
    } else {
      return static_cast<A>(integer(letter));
    }
  }
  void add_outputs(Digest& digest) const {
    for (const Output& output : outputs_) output.add(digest, output.values);
  }

 private:
  struct Output {
    const void* values;
    void (*add)(Digest&, const void*);
  };

  template <class A>
  A array(char letter) {
    using T = std::remove_const_t<std::remove_pointer_t<A>>;
    using Bytes = std::vector<std::uint64_t>;
    const auto values = numbers<T>(kElements, static_cast<std::uint32_t>(7 * place_ + shape_.length), letter == 'v');
    Bytes& room = rooms_.emplace_back(kElements * sizeof(T) / sizeof(std::uint64_t));
    std::memcpy(room.data(), values.data(), values.size() * sizeof(T));
    if constexpr (!std::is_const_v<std::remove_pointer_t<A>>) {
      outputs_.push_back(
          {room.data(), [](Digest& digest, const void* p) { digest.add_all(static_cast<const T*>(p), kElements); }});
    }
    return reinterpret_cast<A>(room.data());
  }
  int integer(char letter) const {
    switch (letter) {
      case 'l': return shape_.length;
      case 'h': return shape_.height;
      case 't': return kStep;
      case 'o': return shape_.length < 12 ? shape_.length : 12;
      case 's': return shape_.scale_factor;
      default: return letter - '0';
    }
  }

  const Shape& shape_;
  const char* letters_;
  int place_ = 0;
  std::deque<std::vector<std::uint64_t>> rooms_;
  std::vector<Output> outputs_;
};

template <class... A>
void add_call(Digest& digest, KivStatus (*function)(A...), const char* letters) {
  for (const Shape& shape : kShapes) {
    Arguments arguments(shape, letters);
    const std::tuple<A...> values{arguments.next<A>()...};
    digest.add(static_cast<std::uint64_t>(std::apply(function, values)), 4);
    arguments.add_outputs(digest);
  }
}
template <auto kFunction>
std::uint32_t digest_of(const char* letters) {
  Digest digest;
  add_call(digest, kFunction, letters);
  return digest.value();
}

// What the expected digests were made on.
enum Backend { kBaseline, kGeneric, kV3, kV4, kBackends };

struct Row {
  const char* family;
  const char* function;
  std::uint32_t (*digest)(const char* letters);
  const char* letters;
  std::uint32_t expected[kBackends];
};

// Functions that work on state objects, each on its own arguments.
std::uint32_t fft_floats(const char*);
std::uint32_t fft_words(const char*);
std::uint32_t dft_columns_floats(const char*);
std::uint32_t dft_floats(const char*);
std::uint32_t dct_floats(const char*);
std::uint32_t dct_words(const char*);
std::uint32_t mel_floats(const char*);
std::uint32_t mel_words(const char*);
std::uint32_t resample_floats(const char*);
std::uint32_t resample_words(const char*);
std::uint32_t noise_floats(const char*);
std::uint32_t noise_words(const char*);
std::uint32_t codebook_floats(const char*);
std::uint32_t codebook_words(const char*);

// Prints a line a family; false if a function differs that no rule lets differ. `digests`: a line a function instead.
bool print(Backend backend, bool digests);
// The backend of the library that is loaded, by the file of it.
Backend backend_of(const char* library_file);
const char* backend_name(Backend backend);

}  // namespace kivsr::selftest
