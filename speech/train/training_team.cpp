#include "kivsr/speech/train/training_team.h"

#include <utility>

namespace kivsr::speech {

TeamSum::TeamSum(const ListBlocks& blocks, TrainingTeam* team, Add add)
    : blocks_(blocks), team_(team), add_(std::move(add)) {}

void TeamSum::deliver(std::size_t block, std::span<const double> values) {
  if (team_ != nullptr && team_->rank() != 0) return team_->send(values);
  receive_before(block, values.size());
  add_(values);
  next_ = block + 1;
}

void TeamSum::finish(std::size_t values) {
  if (team_ == nullptr || team_->rank() == 0) receive_before(blocks_.count(), values);
}

void TeamSum::receive_before(std::size_t block, std::size_t values) {
  for (; next_ < block; ++next_) {
    received_.resize(values);
    team_->receive(received_, rank_of(next_, *team_));
    add_(received_);
  }
}

}  // namespace kivsr::speech
