// The cluster tree of a trained book and the groups by which it is searched.
#pragma once

#include "index.h"
#include "training.h"

namespace kivsr::vq {

// Two-way levels of a tree of n leaves.
int tree_levels(int n);

// The records of the tree in one block, the root first; null if memory ran out.
Cluster* build_tree(const Training& training);

// The groups in one block. *groups stays null where comparing every codeword is the faster search.
// False: memory ran out.
bool build_groups(const Training& training, const Tiles& all, const Cluster& root, Groups** groups);

}  // namespace kivsr::vq
