/* The version query. */
#ifndef KIVSR_FRAME_VERSION_H
#define KIVSR_FRAME_VERSION_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup version Version
 *
 * @code{.c}
 * const KivLibraryVersion* library = kivsrGetLibVersion();
 * printf("%s, build %d\n", library->name, (int)library->build);
 * assert(library->major == 5 && library == kivsrGetLibVersion());
 * @endcode
 * @{ */

/** Version of the library. */
typedef struct KivLibraryVersion {
  Kiv32s major;          /**< first number of the version */
  Kiv32s minor;          /**< second number */
  Kiv32s majorBuild;     /**< number of the release */
  Kiv32s build;          /**< number of the build */
  char targetCpu[4];     /**< two letters of the instruction set, then zeros */
  const char* name;      /**< file name of the library */
  const char* version;   /**< "major.minor" */
  const char* buildDate; /**< month, day, year */
} KivLibraryVersion;

/** The version record.
 * @return a constant, the same address on every call */
KIVSR_API const KivLibraryVersion* kivsrGetLibVersion(void);

/** @} */

KIVSR_END_DECLS

#endif
