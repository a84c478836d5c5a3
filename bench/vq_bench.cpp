// Search and training of codebooks beside faiss and a plain loop, one thread each. The size is the number of codewords;
// a search takes 1000 vectors, training 5000.
#include <omp.h>

#include <limits>
#include <string>

#include "kivsr.h"
#include "side_by_side.h"
#if defined(KIVSR_BENCH_FAISS)
#include <faiss/Clustering.h>
#include <faiss/IndexFlat.h>
#endif

namespace kivsr::bench {
namespace {

constexpr int kVectors = 1000;
constexpr int kTrainingVectors = 5000;

// The sum of four uniform numbers stands in for a normal one.
double bell(int i) { return noise(i) + noise(i + 1000003) + noise(i + 2000003) + noise(i + 3000017) - 2.0; }

void searches(int width, int count) {
  const float* const codewords = array<float>(count * width, [](int i) { return bell(7 * i); });
  const float* const vectors = array<float>(kVectors * width, [](int i) { return bell(5 * i + 3); });
  Kiv32s* const indices = array<Kiv32s>(kVectors, [](int) { return 0; });
  float* const roots = array<float>(kVectors, [](int) { return 0; });
  const std::string length = ", " + std::to_string(width);
  KivsCdbkState_32f* full = nullptr;
  kivsCdbkInitAlloc_L2_32f(&full, codewords, width, width, count, count, kivCdbkFullSearch);
  measure("VQ_32f" + length, "ours", count, [=] { kivsVQ_32f(vectors, width, indices, kVectors, full); });
  measure("VQDist_32f" + length, "ours", count,
          [=] { kivsVQDist_32f(vectors, width, indices, roots, kVectors, full); });
  const auto loop = [=] {
    for (int r = 0; r < kVectors; ++r) {
      float best = std::numeric_limits<float>::infinity();
      for (int k = 0; k < count; ++k) {
        float sum = 0.0F;
        for (int j = 0; j < width; ++j) {
          const float d = vectors[r * width + j] - codewords[k * width + j];
          sum += d * d;
        }
        if (sum < best) {
          best = sum;
          indices[r] = k;
        }
      }
    }
  };
  measure("VQ_32f" + length, "loop", count, loop);
#if defined(KIVSR_BENCH_FAISS)
  auto* const flat = new faiss::IndexFlatL2(width);
  flat->add(count, codewords);
  auto* const labels = array<faiss::Index::idx_t>(kVectors, [](int) { return 0; });
  for (const char* operation : {"VQ_32f", "VQDist_32f"}) {
    measure(operation + length, "faiss", count, [=] { flat->search(kVectors, vectors, 1, roots, labels); });
  }
#endif
}

// Training, and the search of a trained book. faiss runs k-means once, we after every split.
void training(int width, int count) {
  const float* const vectors = array<float>(kTrainingVectors * width, [](int i) { return bell(3 * i + 1); });
  Kiv32s* const indices = array<Kiv32s>(kVectors, [](int) { return 0; });
  const std::string length = ", " + std::to_string(width);
  KivsCdbkState_32f* trained = nullptr;
  kivsCdbkInitAlloc_L2_32f(&trained, vectors, width, width, kTrainingVectors, count, kivCdbkSplitWidest);
  measure("VQ_32f trained" + length, "ours", count, [=] { kivsVQ_32f(vectors, width, indices, kVectors, trained); });
  measure("CdbkInitAlloc_L2_32f" + length, "ours", count, [=] {
    KivsCdbkState_32f* book = nullptr;
    kivsCdbkInitAlloc_L2_32f(&book, vectors, width, width, kTrainingVectors, count, kivCdbkSplitWidest);
    kivsCdbkFree_32f(book);
  });
#if defined(KIVSR_BENCH_FAISS)
  measure("CdbkInitAlloc_L2_32f" + length, "faiss", count, [=] {
    faiss::Clustering clustering(width, count);
    clustering.min_points_per_centroid = 1;
    faiss::IndexFlatL2 flat(width);
    clustering.train(kTrainingVectors, vectors, flat);
  });
#endif
}

}  // namespace
}  // namespace kivsr::bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  omp_set_num_threads(1);
  for (const int count : {256, 1024}) {
    for (const int width : {13, 39}) kivsr::bench::searches(width, count);
  }
  for (const int count : {64, 256}) kivsr::bench::training(13, count);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
