// What the program uses of MPI, in a module of its own that is loaded where mpirun starts the program: nothing else of
// it depends on MPI.
#pragma once

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

struct KivsrMpi {
  // Joins the processes. One that ends without leaving ends the others.
  void (*join)(int* rank, int* size);
  void (*leave)(void);
  // To rank 0; the values are copied. One call at a time, of any thread.
  void (*send)(const double* values, size_t count);
  void (*receive)(double* values, size_t count, int rank);
  // From rank 0 to all.
  void (*broadcast)(void* bytes, size_t count);
};

// The name of the only function of libkivsr_mpi.so.
#define KIVSR_MPI_ENTRY "kivsr_mpi"
typedef const struct KivsrMpi* (*KivsrMpiEntry)(void);

#ifdef __cplusplus
}
#endif
