/* The frontend families. */
#ifndef KIVSR_FRONTEND_H
#define KIVSR_FRONTEND_H

#include "frontend/dct_lifter.h"
#include "frontend/mel_bank.h"

#endif
