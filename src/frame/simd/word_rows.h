// Sums over groups of eight 16-bit words, of as many rows at once as a register holds groups (kWordRows). It serves the
// Gaussian scores on 16-bit vectors, whose order of additions is fixed: the lanes of a group first, in the order of
// sum_lanes, then the groups in their order. Operations on whole vectors cannot say that where a register holds more
// than one group, which is why these stand beside the wrapper; a new instruction set may start from kWordRows = 1.
//
//   Words, Eight          a group of eight 16-bit words, and of eight floats, of each of kWordRows rows; the vectors
//                         low and high of Eight hold the first and the last four of every group
//   load_words(row)       row(k) points to the words of row k
//   same_words(p)         the same words for all rows, and of floats same_eight(p)
//   load_groups(p)        kWordRows consecutive groups of one row in the places of rows
//   subtract_saturated(a, b)
//   to_eight(words)       the words as floats, times 2^16
//   store_first(p, eight) the eight of the first row
//   lane_sums(v[4])       lane k + 4 h is the sum of the four lanes of row h in v[k]
//   add_group_sums(sums, v[h][4])   lane k + 4 h plus the lane sums of the groups in v[h][k], one after the other
//   add_row_sums(sum, v)  the same for one v and one sum
//   add_first_row_sum(sum, v)       its first group alone
#pragma once

#if defined(__AVX2__)
#include "word_rows_avx2.h"
#else
#include "word_rows_sse2.h"
#endif
