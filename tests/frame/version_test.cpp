// The version record tells the truth about the file that it stands in.
#include <dlfcn.h>
#include <elf.h>
#include <gtest/gtest.h>
#include <link.h>

#include <cstring>
#include <string>

#include "kivsr.h"

namespace kivsr::test {
namespace {

std::string soname_of(const void* symbol, std::string* file) {
  Dl_info info;
  void* map;
  if (dladdr1(symbol, &info, &map, RTLD_DL_LINKMAP) == 0) return "";
  *file = std::strrchr(info.dli_fname, '/') + 1;
  const link_map* const library = static_cast<const link_map*>(map);
  const char* names = nullptr;
  ElfW(Xword) offset = 0;
  for (const ElfW(Dyn)* entry = library->l_ld; entry->d_tag != DT_NULL; ++entry) {
    if (entry->d_tag == DT_STRTAB) names = reinterpret_cast<const char*>(entry->d_un.d_ptr);
    if (entry->d_tag == DT_SONAME) offset = entry->d_un.d_val;
  }
  return names + offset;
}

TEST(Version, IsThatOfTheLoadedFile) {
  const KivLibraryVersion* const v = kivsrGetLibVersion();
  ASSERT_EQ(v, kivsrGetLibVersion());
  std::string file;
  EXPECT_EQ(soname_of(v, &file), v->name);  // a constant of the library, not of the program
  EXPECT_EQ(file, v->name);
  EXPECT_EQ(v->version, std::to_string(v->major) + '.' + std::to_string(v->minor));
  EXPECT_EQ(std::string("libkivsr") + v->targetCpu + ".so." + v->version, v->name);
  EXPECT_EQ(v->targetCpu[3], '\0');
  EXPECT_EQ(v->majorBuild, 108);
  EXPECT_EQ(v->build, 385);
  EXPECT_STREQ(v->buildDate, "Jul 11 2007");
}

}  // namespace
}  // namespace kivsr::test
