#include "kivsr/speech/train/state_trees.h"

#include <queue>
#include <utility>

namespace kivsr::speech {

StateTrees::StateTrees(const std::vector<ContextSums>& sums, std::vector<Question> questions,
                       const ModelDefinition& definition, int most_leaves, double least_frames)
    : questions_(std::move(questions)),
      states_per_phone_(definition.states_per_phone),
      least_frames_(least_frames),
      dimension_(sums.empty() ? 0 : sums.front().states.front().dimension()) {
  std::vector<std::vector<const ContextSums*>> heard(definition.phones.size());
  for (const ContextSums& context : sums) heard[static_cast<std::size_t>(context.phone.base)].push_back(&context);
  // by gain; of equal ones the first node
  std::priority_queue<std::pair<double, int>> best;
  const auto offer = [&](int node) {
    const double gain = nodes_[static_cast<std::size_t>(node)].gain;
    if (gain > 0.0) best.emplace(gain, -node);
  };
  int roots = 0;
  for (std::size_t phone = 0; phone < heard.size(); ++phone) {
    if (!definition.phones[phone].filler) roots += states_per_phone_;
    for (int state = 0; state < states_per_phone_; ++state) offer(add_node(heard[phone], state));
  }
  for (int leaves = roots; leaves < most_leaves && !best.empty(); ++leaves) {
    const int node = -best.top().second;
    best.pop();
    split(node);
    offer(nodes_[static_cast<std::size_t>(node)].yes);
    offer(nodes_[static_cast<std::size_t>(node)].no);
  }
  for (std::size_t phone = 0; phone < heard.size(); ++phone) {
    if (definition.phones[phone].filler) continue;
    for (int state = 0; state < states_per_phone_; ++state) {
      number_leaves(static_cast<int>(phone) * states_per_phone_ + state);
    }
  }
}

int StateTrees::add_node(std::vector<const ContextSums*> heard, int state) {
  Node node{.heard = std::move(heard), .state = state, .pool = GaussianPool(dimension_)};
  for (const ContextSums* context : node.heard) node.pool.add(context->states[static_cast<std::size_t>(state)]);
  find_split(node);
  nodes_.push_back(std::move(node));
  return static_cast<int>(nodes_.size()) - 1;
}

void StateTrees::find_split(Node& node) const {
  if (node.pool.frames() < 2.0 * least_frames_) return;
  const double before = node.pool.log_likelihood();
  for (std::size_t question = 0; question < questions_.size(); ++question) {
    GaussianPool yes(dimension_);
    std::size_t answered = 0;
    for (const ContextSums* context : node.heard) {
      if (!questions_[question].ask(context->phone)) continue;
      yes.add(context->states[static_cast<std::size_t>(node.state)]);
      ++answered;
    }
    GaussianPool no = node.pool;
    no.subtract(yes);
    if (answered == 0 || answered == node.heard.size()) continue;
    if (!(yes.frames() >= least_frames_ && no.frames() >= least_frames_)) continue;
    const double gain = yes.log_likelihood() + no.log_likelihood() - before;
    if (!(gain > node.gain)) continue;
    node.gain = gain;
    node.question = static_cast<int>(question);
  }
}

void StateTrees::split(int index) {
  const Node& node = nodes_[static_cast<std::size_t>(index)];
  const Question& question = questions_[static_cast<std::size_t>(node.question)];
  const int state = node.state;
  std::vector<const ContextSums*> yes;
  std::vector<const ContextSums*> no;
  for (const ContextSums* context : node.heard) (question.ask(context->phone) ? yes : no).push_back(context);
  const int first = add_node(std::move(yes), state);
  const int second = add_node(std::move(no), state);
  Node& parent = nodes_[static_cast<std::size_t>(index)];
  parent.yes = first;
  parent.no = second;
  parent.heard.clear();
}

void StateTrees::number_leaves(int index) {
  Node& node = nodes_[static_cast<std::size_t>(index)];
  if (node.yes < 0) {
    node.leaf = leaves();
    pools_.push_back(node.pool);
    return;
  }
  number_leaves(node.yes);
  number_leaves(node.no);
}

int StateTrees::leaf(const PhoneInContext& phone, int state) const {
  const Node* node = &nodes_[static_cast<std::size_t>(phone.base * states_per_phone_ + state)];
  while (node->yes >= 0) {
    const bool answer = questions_[static_cast<std::size_t>(node->question)].ask(phone);
    node = &nodes_[static_cast<std::size_t>(answer ? node->yes : node->no)];
  }
  return node->leaf;
}

}  // namespace kivsr::speech
