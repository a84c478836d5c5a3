// libkivcore: the infinities and quiet NaN that the library writes as special results.
#include <limits>

#include "kivsr/types.h"

extern "C" {
extern const Kiv32f kivConstantOfINF_32f = std::numeric_limits<Kiv32f>::infinity();
extern const Kiv32f kivConstantOfINF_NEG_32f = -std::numeric_limits<Kiv32f>::infinity();
extern const Kiv32f kivConstantOfNAN_32f = std::numeric_limits<Kiv32f>::quiet_NaN();
extern const Kiv64f kivConstantOfINF_64f = std::numeric_limits<Kiv64f>::infinity();
extern const Kiv64f kivConstantOfINF_NEG_64f = -std::numeric_limits<Kiv64f>::infinity();
extern const Kiv64f kivConstantOfNAN_64f = std::numeric_limits<Kiv64f>::quiet_NaN();
}
