#include "program/mpi_team.h"

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>

#include <dlfcn.h>
#include <unistd.h>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/output_file.h"
#include "kivsr/speech/io/text_parts.h"
#include "program/mpi/module.h"

namespace kivsr::program {

namespace {

constexpr const char* kModule = "libkivsr_mpi.so";
// Beside the libraries of a build; in a folder of its own of what is installed, seen from the program.
constexpr const char* kModulePlaces[] = {kModule, "$ORIGIN/" KIVSR_MODULE_FOLDER "/libkivsr_mpi.so"};

// As Open MPI, and MPICH and Slurm, tell their processes.
bool has_companions() {
  for (const char* const name : {"OMPI_COMM_WORLD_SIZE", "PMI_SIZE"}) {
    const char* const value = std::getenv(name);
    if (value != nullptr && std::atoi(value) > 1) return true;
  }
  return false;
}

const KivsrMpi& load_module() {
  void* module = nullptr;
  for (const char* const place : kModulePlaces) {
    if (module == nullptr) module = dlopen(place, RTLD_NOW | RTLD_GLOBAL);
  }
  if (module == nullptr) {
    const char* const reason = dlerror();
    throw Fault(std::string("several processes, but no MPI: ") + (reason != nullptr ? reason : kModule));
  }
  const auto entry = reinterpret_cast<KivsrMpiEntry>(dlsym(module, KIVSR_MPI_ENTRY));
  if (entry == nullptr) throw Fault(std::string(kModule) + ": is not the module of this program");
  return *entry();
}

class MpiTeam : public TrainingTeam {
 public:
  explicit MpiTeam(const KivsrMpi& mpi) : mpi_(mpi), faults_(std::uncaught_exceptions()) { mpi_.join(&rank_, &size_); }
  ~MpiTeam() override {
    if (std::uncaught_exceptions() == faults_) mpi_.leave();
  }
  MpiTeam(const MpiTeam&) = delete;
  MpiTeam& operator=(const MpiTeam&) = delete;

  int rank() const override { return rank_; }
  int size() const override { return size_; }
  void send(std::span<const double> values) override { mpi_.send(values.data(), values.size()); }
  void receive(std::span<double> values, int rank) override { mpi_.receive(values.data(), values.size(), rank); }
  void share(std::string& text) override {
    std::uint64_t size = text.size();
    mpi_.broadcast(&size, sizeof size);
    text.resize(static_cast<std::size_t>(size));
    mpi_.broadcast(text.data(), text.size());
  }

 private:
  const KivsrMpi& mpi_;
  int faults_;
  int rank_ = 0;
  int size_ = 1;
};

// Where a process has what another one wrote.
std::string local_name() {
  return (std::filesystem::temp_directory_path() / ("kivsr-model-" + std::to_string(getpid()))).string();
}

}  // namespace

std::unique_ptr<TrainingTeam> join_mpi_team() {
  if (!has_companions()) return nullptr;
  auto team = std::make_unique<MpiTeam>(load_module());
  if (static_cast<std::size_t>(team->size()) > kMostBlocks) {
    throw Fault("train: at most " + std::to_string(kMostBlocks) + " processes share a list");
  }
  return team;
}

bool leads(const TrainingTeam* team) { return team == nullptr || team->rank() == 0; }

void share_file(TrainingTeam* team, const std::string& file, const std::function<void(const std::string& file)>& read) {
  if (team == nullptr) return;
  std::string bytes = leads(team) ? read_text_file(file) : "";
  team->share(bytes);
  if (leads(team)) return;
  const std::string copy = local_name();
  {
    OutputFile output(copy);
    output.write(bytes);
    output.commit();
  }
  read(copy);
  std::filesystem::remove(copy);
}

bool agreed(TrainingTeam* team, bool own) {
  if (team == nullptr) return own;
  std::string word = own ? "yes" : "no";
  team->share(word);
  return word == "yes";
}

}  // namespace kivsr::program
