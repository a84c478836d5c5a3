// The constant version record.
#include "kivsr/frame/version.h"

extern "C" {
const KivLibraryVersion* kivsrGetLibVersion(void) {
  static constexpr KivLibraryVersion kVersion = {
      5, 2, 108, 385, {'w', '7', 0, 0}, "libkivsrw7.so.5.2", "5.2", "Jul 11 2007"};
  return &kVersion;
}
}
