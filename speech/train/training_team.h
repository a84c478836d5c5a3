// Processes that share a training: each works on blocks of the list, and the first adds up the sums of all blocks in
// their order, so that the model does not depend on how many they are.
#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace kivsr::speech {

class TrainingTeam {
 public:
  virtual ~TrainingTeam() = default;

  virtual int rank() const = 0;  // from 0, the process that writes the model
  virtual int size() const = 0;
  // One call at a time, of any thread. What is sent may still be on its way when send returns.
  virtual void send(std::span<const double> values) = 0;  // to rank 0
  virtual void receive(std::span<double> values, int rank) = 0;
  // The text of rank 0 for everybody.
  virtual void share(std::string& text) = 0;
};

// A list is cut into as many blocks whoever works on it; so many processes can have some.
constexpr std::size_t kMostBlocks = 128;

struct ListBlocks {
  std::size_t items = 0;

  std::size_t count() const { return items < kMostBlocks ? items : kMostBlocks; }
  std::size_t first(std::size_t block) const { return block * items / count(); }
  std::size_t of(std::size_t item) const { return ((item + 1) * count() - 1) / items; }
};

// Whose a block is.
inline int rank_of(std::size_t block, const TrainingTeam& team) {
  return static_cast<int>(block % static_cast<std::size_t>(team.size()));
}

// Adds the sums of the blocks up in their order, as the processes deliver their own in order. Alone (team is null) all
// blocks are its own.
class TeamSum {
 public:
  using Add = std::function<void(std::span<const double> values)>;

  // add: is called for the sums of all blocks in their order, at rank 0; elsewhere not at all.
  TeamSum(const ListBlocks& blocks, TrainingTeam* team, Add add);

  bool own(std::size_t block) const { return team_ == nullptr || rank_of(block, *team_) == team_->rank(); }
  // The sums of an own block.
  void deliver(std::size_t block, std::span<const double> values);
  // Behind the last own block; values: their number.
  void finish(std::size_t values);

 private:
  void receive_before(std::size_t block, std::size_t values);

  ListBlocks blocks_;
  TrainingTeam* team_;
  Add add_;
  std::size_t next_ = 0;  // block
  std::vector<double> received_;
};

}  // namespace kivsr::speech
