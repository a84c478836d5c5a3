// Random calls of the exported functions, in the table that generate_calls makes of the headers: null and unaligned
// pointers, lengths of 0 and below, odd ones, values that are special, flush-to-zero and every rounding mode. Arrays
// are guarded; the control word of the SIMD unit and errno are what they were, and what is only read stays what it was.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include <immintrin.h>

#include "fuzz/target.h"
#include "kivsr.h"
#include "support/guarded.h"

namespace kivsr::fuzz {

namespace {

constexpr std::size_t kMostBytes = std::size_t{1} << 19;  // of an array with room for every size
constexpr std::size_t kMostArrays = 12;
constexpr int kRows = 48;
constexpr int kLongest = 40;

// Draws from the input, and from its place when it has ended.
class Draws {
 public:
  explicit Draws(Bytes bytes) : bytes_(bytes) {}
  std::uint8_t byte() {
    const std::uint8_t drawn = at_ < bytes_.size() ? bytes_[at_] : static_cast<std::uint8_t>(at_ * 37 + 11);
    ++at_;
    return drawn;
  }
  bool ended() const { return at_ >= bytes_.size(); }

 private:
  Bytes bytes_;
  std::size_t at_ = 0;
};

template <class T>
T value_of(Draws& draws) {
  if constexpr (std::is_floating_point_v<T>) {
    using Limits = std::numeric_limits<T>;
    const T special[] = {T(0),
                         -T(0),
                         T(1),
                         T(-1),
                         T(0.5),
                         T(3),
                         Limits::infinity(),
                         -Limits::infinity(),
                         Limits::quiet_NaN(),
                         Limits::denorm_min(),
                         -Limits::min(),
                         Limits::max(),
                         Limits::lowest(),
                         T(32767.5),
                         T(-32768.5),
                         T(1e-20)};
    const std::uint8_t drawn = draws.byte();
    return drawn < 64 ? special[drawn % 16] : T(static_cast<std::int8_t>(drawn)) / T(16);
  } else if constexpr (std::is_integral_v<T>) {
    const T special[] = {std::numeric_limits<T>::min(), std::numeric_limits<T>::max(), T(0), T(1)};
    const std::uint8_t drawn = draws.byte();
    return drawn < 32 ? special[drawn % 4] : static_cast<T>(drawn % 16);
  } else {
    return {};
  }
}

class Calls {
 public:
  explicit Calls(Draws& draws) : draws_(draws) {
    static std::vector<std::unique_ptr<test::Guarded<std::uint8_t>>> arenas;
    while (arenas.size() < kMostArrays) {
      arenas.push_back(std::make_unique<test::Guarded<std::uint8_t>>(kMostBytes));
    }
    arenas_ = &arenas;
  }

  int small() { return static_cast<int>(draws_.byte() % 20) - 3; }

  template <class T>
  T number(const char* name) {
    if (std::strstr(name, "rder") != nullptr) return static_cast<T>(draws_.byte() % 10);
    if constexpr (std::is_floating_point_v<T>) {
      return value_of<T>(draws_);
    } else {
      const std::uint8_t drawn = draws_.byte();
      if (drawn < 8) return static_cast<T>(-static_cast<int>(drawn));
      return static_cast<T>(drawn % (kLongest + 1));
    }
  }

  void set_length(int length) { length_ = length; }

  // One in 32 is null. The elements in front are drawn, and kept to compare where they are only read.
  template <class T, bool kRead>
  T* array() {
    const bool null = draws_.byte() % 32 == 0;
    if (null || used_ >= kMostArrays) return nullptr;
    test::Guarded<std::uint8_t>& arena = *(*arenas_)[used_++];
    // Results of one number are no shorter than a few.
    const std::size_t count = length_ >= 0 ? std::max<std::size_t>(static_cast<std::size_t>(length_), kRead ? 0 : 4)
                                           : kMostBytes / sizeof(T) - 1;
    T* const begin = reinterpret_cast<T*>(arena.end() - (length_ >= 0 ? count * sizeof(T) : kMostBytes - sizeof(T)));
    const std::size_t drawn = std::min<std::size_t>(count, 64);
    for (std::size_t i = 0; i < drawn; ++i) {
      // Numbers of elements in arrays are within them; the header asks for that.
      if constexpr (std::is_same_v<T, int> || std::is_same_v<T, Kiv32s>) {
        const T value = static_cast<T>(draws_.byte() % 4);
        std::memcpy(begin + i, &value, sizeof value);
      } else {
        const T value = value_of<T>(draws_);
        std::memcpy(begin + i, &value, sizeof value);
      }
    }
    if (kRead)
      read_.push_back({begin, std::vector<std::uint8_t>(reinterpret_cast<std::uint8_t*>(begin),
                                                        reinterpret_cast<std::uint8_t*>(begin + drawn))});
    return begin;
  }

  template <class T>
  T** rows() {
    const bool null = draws_.byte() % 32 == 0;
    if (null || used_ >= kMostArrays) return nullptr;
    test::Guarded<std::uint8_t>& arena = *(*arenas_)[used_++];
    for (std::size_t i = 0; i < 64; ++i) {
      const T value = value_of<T>(draws_);
      std::memcpy(arena.data() + i * sizeof(T), &value, sizeof value);
    }
    constexpr std::size_t kRowBytes = kMostBytes / kRows / 16 * 16;
    std::vector<void*>& pointers = rows_.emplace_back();
    for (std::size_t row = 0; row < kRows; ++row) pointers.push_back(arena.data() + row * kRowBytes);
    return reinterpret_cast<T**>(pointers.data());
  }

  bool kept_what_was_read() const {
    for (const auto& [begin, bytes] : read_) {
      if (!bytes.empty() && std::memcmp(begin, bytes.data(), bytes.size()) != 0) return false;
    }
    return true;
  }

 private:
  Draws& draws_;
  std::vector<std::unique_ptr<test::Guarded<std::uint8_t>>>* arenas_;
  std::size_t used_ = 0;
  int length_ = -1;
  std::vector<std::pair<const void*, std::vector<std::uint8_t>>> read_;
  std::vector<std::vector<void*>> rows_;
};

struct Function {
  const char* name;
  KivStatus (*call)(Calls& calls);
};
const Function kFunctions[] = {
#include "calls_table.inc"
};

[[noreturn]] void finding(const Function& function, const char* what) {
  std::fprintf(stderr, "%s %s\n", function.name, what);
  std::abort();
}

void run_calls(Bytes bytes) {
  constexpr unsigned kRounding[] = {_MM_ROUND_NEAREST, _MM_ROUND_DOWN, _MM_ROUND_UP, _MM_ROUND_TOWARD_ZERO};
  constexpr unsigned kFlags = _MM_EXCEPT_MASK;
  Draws draws(bytes);
  const unsigned before = _mm_getcsr();
  while (!draws.ended()) {
    const unsigned index = draws.byte() * 256U + draws.byte();
    const Function& function = kFunctions[index % std::size(kFunctions)];
    const std::uint8_t mode = draws.byte();
    const unsigned control =
        (before & ~(_MM_ROUND_MASK | kFlags)) | kRounding[mode % 4] | (mode % 8 >= 4 ? _MM_FLUSH_ZERO_ON : 0U);
    Calls calls(draws);
    errno = 77;
    _mm_setcsr(control);
    function.call(calls);
    const unsigned after = _mm_getcsr();
    _mm_setcsr(before);
    if ((after & ~kFlags) != control) finding(function, "leaves another control word");
    if (errno != 77) finding(function, "sets errno");
    if (!calls.kept_what_was_read()) finding(function, "writes to what it reads");
  }
}
const Registration calls("calls", run_calls);

}  // namespace

}  // namespace kivsr::fuzz
