// Aligned blocks: the raw pointer stands in the word before the aligned address.
#include "allocator.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "kivsr/frame/allocator.h"

extern "C" {
void* (*i_malloc)(size_t) = std::malloc;
void* (*i_calloc)(size_t, size_t) = std::calloc;
void* (*i_realloc)(void*, size_t) = std::realloc;
void (*i_free)(void*) = std::free;
}

namespace kivsr {

void* allocate_bytes(std::size_t bytes) {
  constexpr std::size_t kSlack = kBlockAlignment + sizeof(void*);
  if (bytes > static_cast<std::size_t>(-1) - kSlack) return nullptr;
  void* const raw = i_malloc(bytes + kSlack);
  if (raw == nullptr) return nullptr;
  const auto address = (reinterpret_cast<std::uintptr_t>(raw) + kSlack - 1) & ~std::uintptr_t{kBlockAlignment - 1};
  std::memcpy(reinterpret_cast<void*>(address - sizeof raw), &raw, sizeof raw);
  return reinterpret_cast<void*>(address);
}

void release(void* block) {
  if (block == nullptr) return;
  void* raw;
  std::memcpy(&raw, static_cast<char*>(block) - sizeof raw, sizeof raw);
  i_free(raw);
}

namespace {

template <class T>
T* allocate_elements(int len) {
  return len < 1 ? nullptr : allocate<T>(static_cast<std::size_t>(len));
}

}  // namespace
}  // namespace kivsr

extern "C" {
Kiv8u* kivsMalloc_8u(int len) { return kivsr::allocate_elements<Kiv8u>(len); }
Kiv16s* kivsMalloc_16s(int len) { return kivsr::allocate_elements<Kiv16s>(len); }
Kiv32s* kivsMalloc_32s(int len) { return kivsr::allocate_elements<Kiv32s>(len); }
Kiv32f* kivsMalloc_32f(int len) { return kivsr::allocate_elements<Kiv32f>(len); }
Kiv64f* kivsMalloc_64f(int len) { return kivsr::allocate_elements<Kiv64f>(len); }
void kivsFree(void* ptr) { kivsr::release(ptr); }
void Free2d(void* ptr) { kivsr::release(ptr); }
}
