/* The frontend families. */
#ifndef KIVSR_FRONTEND_H
#define KIVSR_FRONTEND_H

#include "frontend/conditioning.h"
#include "frontend/correlation.h"
#include "frontend/dct_lifter.h"
#include "frontend/delta.h"
#include "frontend/frame_columns.h"
#include "frontend/linear_prediction.h"
#include "frontend/mel_bank.h"
#include "frontend/mel_bank_32s.h"
#include "frontend/mel_bank_aurora.h"
#include "frontend/mel_scale.h"
#include "frontend/peaks.h"
#include "frontend/periodicity.h"
#include "frontend/pitch_marks.h"
#include "frontend/reflection.h"
#include "frontend/resample.h"

#endif
