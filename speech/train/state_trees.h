// Ties the states of phones in context: each state of each phone has a tree of questions about its neighbours, at each
// leaf of which lies a tied state (S. Young, J. Odell, P. Woodland, Tree-based state tying for high accuracy acoustic
// modelling, Proc. ARPA Workshop 1994). Contexts that were never heard find their state by the answers.
#pragma once

#include <cstddef>
#include <vector>

#include "kivsr/speech/train/gaussian_pool.h"
#include "kivsr/speech/train/phone_questions.h"

namespace kivsr::speech {

// What was heard of a phone in context.
struct ContextSums {
  PhoneInContext phone;
  std::vector<GaussianPool> states;
};

class StateTrees {
 public:
  // Splits the leaf that gains most likelihood until there are most_leaves, or no split leaves both sides least_frames.
  // Every state of every phone that is no filler has one leaf at least.
  StateTrees(const std::vector<ContextSums>& sums, std::vector<Question> questions, const ModelDefinition& definition,
             int most_leaves, double least_frames);

  int leaves() const { return static_cast<int>(pools_.size()); }
  // Of a state of a phone, numbered in the order of phones, states and trees.
  int leaf(const PhoneInContext& phone, int state) const;
  // What was heard of a leaf; of one that was not heard no frame.
  const GaussianPool& pool(int leaf) const { return pools_[static_cast<std::size_t>(leaf)]; }

 private:
  struct Node {
    std::vector<const ContextSums*> heard;
    int state = 0;
    GaussianPool pool;
    int question = -1;  // the best one while it is a leaf
    double gain = 0.0;
    int yes = -1;
    int no = -1;
    int leaf = -1;
  };

  int add_node(std::vector<const ContextSums*> heard, int state);
  void find_split(Node& node) const;
  void split(int index);
  void number_leaves(int index);

  std::vector<Question> questions_;
  int states_per_phone_;
  double least_frames_;
  std::size_t dimension_;
  std::vector<Node> nodes_;  // the roots first: [phone][state]
  std::vector<GaussianPool> pools_;
};

}  // namespace kivsr::speech
