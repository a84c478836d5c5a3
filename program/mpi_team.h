// The processes that mpirun started for one training.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "kivsr/speech/train/training_team.h"
#include "program/speech_names.h"

namespace kivsr::program {

// Null where mpirun did not start the program, or only one. When the team ends, all its processes wait for each other;
// one that ends by a fault ends them all. Throws Fault if the part of the program that speaks MPI is not installed, and
// for more processes than a list has blocks.
std::unique_ptr<TrainingTeam> join_mpi_team();

// Whether this process writes and prints: all but the first of a team do not.
bool leads(const TrainingTeam* team);
// Everybody reads what the first process has in the file. Without a team nobody reads anything.
void share_file(TrainingTeam* team, const std::string& file, const std::function<void(const std::string& file)>& read);
// What the first process says.
bool agreed(TrainingTeam* team, bool own);

}  // namespace kivsr::program
