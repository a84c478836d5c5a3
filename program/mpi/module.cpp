// libkivsr_mpi.so: module.h on the interface of MPI 3.
#include "program/mpi/module.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include <mpi.h>

namespace {

constexpr std::size_t kMostAtOnce = std::size_t{1} << 27;  // values of a message
constexpr int kTag = 1;

std::vector<double> waiting;  // what is on its way
std::vector<MPI_Request> requests;
bool joined = false;

// A count that messages can have, for as many of them as it takes.
template <class Value, class Move>
void in_messages(Value* values, std::size_t count, Move move) {
  for (std::size_t first = 0; first < count; first += kMostAtOnce) {
    move(values + first, static_cast<int>(std::min(kMostAtOnce, count - first)));
  }
}

void arrive() {
  MPI_Waitall(static_cast<int>(requests.size()), requests.data(), MPI_STATUSES_IGNORE);
  requests.clear();
}

// Registered with the end of the process.
void end_others() {
  if (joined) MPI_Abort(MPI_COMM_WORLD, 2);
}

void join(int* rank, int* size) {
  int provided = 0;
  MPI_Init_thread(nullptr, nullptr, MPI_THREAD_SERIALIZED, &provided);
  joined = true;
  std::atexit(end_others);
  if (provided < MPI_THREAD_SERIALIZED) MPI_Abort(MPI_COMM_WORLD, 2);
  MPI_Comm_rank(MPI_COMM_WORLD, rank);
  MPI_Comm_size(MPI_COMM_WORLD, size);
}

void leave() {
  arrive();
  MPI_Finalize();
  joined = false;
}

void send(const double* values, std::size_t count) {
  arrive();
  waiting.assign(values, values + count);
  in_messages(waiting.data(), count, [](double* first, int length) {
    requests.emplace_back();
    MPI_Isend(first, length, MPI_DOUBLE, 0, kTag, MPI_COMM_WORLD, &requests.back());
  });
}

void receive(double* values, std::size_t count, int rank) {
  in_messages(values, count, [rank](double* first, int length) {
    MPI_Recv(first, length, MPI_DOUBLE, rank, kTag, MPI_COMM_WORLD, MPI_STATUS_IGNORE);
  });
}

void broadcast(void* bytes, std::size_t count) {
  in_messages(static_cast<char*>(bytes), count,
              [](char* first, int length) { MPI_Bcast(first, length, MPI_CHAR, 0, MPI_COMM_WORLD); });
}

constexpr KivsrMpi kCalls{join, leave, send, receive, broadcast};

}  // namespace

extern "C" __attribute__((visibility("default"))) const KivsrMpi* kivsr_mpi() { return &kCalls; }
