// A team of threads in place of processes: what they send waits in queues.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <queue>
#include <string>
#include <thread>
#include <vector>

#include "kivsr/speech/train/training_team.h"

namespace kivsr::speech::test {

class ThreadTeam {
 public:
  class Member : public TrainingTeam {
   public:
    Member(ThreadTeam& team, int rank) : team_(team), rank_(rank) {}
    int rank() const override { return rank_; }
    int size() const override { return team_.size_; }
    void send(std::span<const double> values) override {
      const std::lock_guard lock(team_.mutex_);
      team_.sent_[rank_].emplace(values.begin(), values.end());
      team_.changed_.notify_all();
    }
    void receive(std::span<double> values, int rank) override {
      std::unique_lock lock(team_.mutex_);
      std::queue<std::vector<double>>& waiting = team_.sent_[rank];
      team_.changed_.wait(lock, [&] { return !waiting.empty(); });
      std::copy_n(waiting.front().begin(), values.size(), values.begin());
      waiting.pop();
    }
    void share(std::string&) override {}

   private:
    ThreadTeam& team_;
    int rank_;
  };

  // act(member), for every member at a time.
  ThreadTeam(int size, const std::function<void(Member&)>& act) : size_(size) {
    std::vector<std::thread> threads;
    for (int rank = 0; rank < size; ++rank) {
      threads.emplace_back([this, rank, &act] {
        Member member(*this, rank);
        act(member);
      });
    }
    for (std::thread& thread : threads) thread.join();
  }

 private:
  int size_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::map<int, std::queue<std::vector<double>>> sent_;
};

}  // namespace kivsr::speech::test
