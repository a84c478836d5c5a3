#include "program/file_loop.h"

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <mutex>
#include <optional>
#include <utility>

#include "kivsr/speech/io/batch.h"
#include "program/report_text.h"

namespace kivsr::program {

namespace {

constexpr std::size_t kMostWaiting = std::size_t{64} << 20U;

// How much work a file is, as far as that can be known before.
double weight_of(const std::string& file) {
  std::error_code error;
  const auto size = std::filesystem::file_size(file, error);
  return error ? 0.0 : static_cast<double>(size);
}

}  // namespace

void BadFiles::say(const std::string& fault, Progress& progress) {
  progress.clear();
  std::fprintf(stderr, "kivsr: %s\n", fault.c_str());
  ++bad_;
}

void BadFiles::require_one() const {
  if (bad_ > 0 && bad_ >= files_) throw Fault("none of the " + counted(files_, "file") + " can be used");
}

void BadFiles::finish() const {
  if (bad_ == 0) return;
  throw Fault(std::to_string(bad_) + " of " + counted(files_, "file") + " cannot be used, the others are done");
}

// What was posted for each file, run by whoever is there when it is due.
class FileOrder {
 public:
  FileOrder(std::string label, const std::vector<FileTask>& files, bool keep_going)
      : keep_going_(keep_going),
        progress_(std::move(label), static_cast<int>(files.size())),
        files_(files),
        lanes_(files.size()),
        stopped_at_(files.size()),
        bad_(files.size()) {
    if (!progress_.shows()) return;
    for (const FileTask& file : files) progress_.expect(weight_of(file.input));
  }

  void post(std::size_t file, std::function<void()> act, std::size_t bytes) {
    std::unique_lock lock(mutex_);
    room_.wait(lock, [&] { return file == due_ || file > stopped_at_ || waiting_ + bytes <= kMostWaiting; });
    Lane& lane = lanes_[file];
    if (lane.fault) throw Fault(*lane.fault);
    if (file > stopped_at_) return;
    if (file == due_) return act();
    lane.acts.push_back({std::move(act), bytes});
    waiting_ += bytes;
  }

  // Behind the last post of a file.
  void end(std::size_t file, std::optional<std::string> fault) {
    {
      const std::lock_guard lock(mutex_);
      lanes_[file].ended = true;
      if (fault) lanes_[file].fault = std::move(fault);
      progress_.step(files_[file].input, progress_.shows() ? weight_of(files_[file].input) : 0.0);
      if (file == due_) pass_turn();
    }
    room_.notify_all();
  }

  // The turn goes no further than to this file; what those behind it post is forgotten.
  void stop(std::size_t file) {
    {
      const std::lock_guard lock(mutex_);
      stopped_at_ = std::min(stopped_at_, file);
    }
    room_.notify_all();
  }

  void heard(double seconds) {
    const std::lock_guard lock(mutex_);
    progress_.heard(seconds);
  }
  // For a whole fault.
  std::string said(std::size_t file, const std::string& fault) const { return files_[file].place + fault; }

  // In the turn of a file, or when the threads have ended.
  Progress& progress() { return progress_; }
  const BadFiles& bad() const { return bad_; }

 private:
  struct Act {
    std::function<void()> run;
    std::size_t bytes;
  };
  struct Lane {
    std::deque<Act> acts;
    std::optional<std::string> fault;
    bool ended = false;
  };

  // To the first file that has not ended; what it has posted already is due now.
  void pass_turn() {
    while (due_ < stopped_at_ && lanes_[due_].ended) {
      if (lanes_[due_].fault) bad_.say(said(due_, *lanes_[due_].fault), progress_);
      if (++due_ < lanes_.size()) run_waiting(lanes_[due_]);
    }
  }

  void run_waiting(Lane& lane) {
    for (; !lane.acts.empty(); lane.acts.pop_front()) {
      waiting_ -= lane.acts.front().bytes;
      if (lane.fault) continue;
      try {
        lane.acts.front().run();
      } catch (const Fault& fault) {
        if (!keep_going_) throw Fault(said(due_, fault.what()));
        lane.fault = fault.what();
      }
    }
  }

  bool keep_going_;
  Progress progress_;
  const std::vector<FileTask>& files_;
  std::mutex mutex_;
  std::condition_variable room_;
  std::vector<Lane> lanes_;
  std::size_t stopped_at_;
  std::size_t due_ = 0;
  std::size_t waiting_ = 0;  // bytes
  BadFiles bad_;
};

void FileTurn::post(std::function<void()> act, std::size_t bytes) { order_.post(file_, std::move(act), bytes); }

void FileTurn::print(std::string text) {
  const std::size_t bytes = text.size();
  post(
      [&order = order_, text = std::move(text)] {
        order.progress().clear();
        std::fwrite(text.data(), 1, text.size(), stdout);
      },
      bytes);
}

void FileTurn::say(const std::string& line) {
  post(
      [&order = order_, line] {
        order.progress().clear();
        std::fprintf(stderr, "kivsr: %s\n", line.c_str());
      },
      line.size());
}

void FileTurn::heard(double seconds) { order_.heard(seconds); }

FileLoop::FileLoop(std::string label, const std::vector<FileTask>& files, int jobs, bool stop_at_fault)
    : files_(files),
      jobs_(jobs),
      keep_going_(files.size() > 1 && !stop_at_fault),
      order_(std::make_unique<FileOrder>(std::move(label), files, keep_going_)) {}

FileLoop::~FileLoop() = default;

// What is wrong with the file, if that is no reason to end.
std::optional<std::string> FileLoop::fault_of(const Work& work, std::size_t file) const {
  FileTurn turn(*order_, file);
  try {
    work(files_[file], turn);
    return std::nullopt;
  } catch (const Fault& fault) {
    if (!keep_going_) throw Fault(order_->said(file, fault.what()));
    return fault.what();
  }
}

void FileLoop::run(const std::function<Work()>& make_work) {
  const std::size_t threads = batch_threads(jobs_, files_.size());
  std::vector<Work> works(threads);
  run_batch(files_.size(), threads, [&](std::size_t worker, std::size_t file) {
    try {
      if (!works[worker]) works[worker] = make_work();
      order_->end(file, fault_of(works[worker], file));
    } catch (...) {
      order_->stop(file);
      throw;
    }
  });
  order_->progress().clear();
  order_->bad().require_one();
}

Progress& FileLoop::progress() { return order_->progress(); }

void FileLoop::finish() const { order_->bad().finish(); }

}  // namespace kivsr::program
