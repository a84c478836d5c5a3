// Search and training of codebooks beside faiss and a plain loop, one thread each. The size is the number of codewords;
// a search takes 1000 vectors.
#include <omp.h>

#include <cstdlib>
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

// The tree search of a trained book beside the search of all its codewords. Vectors stand around 200 centres, as speech
// does more than noise; without clusters every book is searched whole.
void tree_search(int width, int count) {
  const float* const centres = array<float>(200 * width, [](int i) { return 4.0 * bell(11 * i); });
  const auto vector_of = [=](int i) {
    const int place = static_cast<int>(noise(3 * (i / width)) * 200.0) % 200;
    return static_cast<double>(centres[place * width + i % width]) + bell(3 * i + 1);
  };
  const int height = 4 * count;
  const float* const vectors = array<float>(height * width, vector_of);
  const float* const probes = array<float>(kVectors * width, [=](int i) { return vector_of(i + height * width); });
  Kiv32s* const indices = array<Kiv32s>(kVectors, [](int) { return 0; });
  KivsCdbkState_32f* trained = nullptr;
  kivsCdbkInitAlloc_L2_32f(&trained, vectors, width, width, height, count, kivCdbkSplitWidest);
  float* const codewords = array<float>(count * width, [](int) { return 0; });
  kivsGetCodebook_32f(trained, codewords, width);
  KivsCdbkState_32f* full = nullptr;
  kivsCdbkInitAlloc_L2_32f(&full, codewords, width, width, count, count, kivCdbkFullSearch);
  const std::string name = "VQ_32f tree, " + std::to_string(width);
  measure(name, "ours", count, [=] { kivsVQ_32f(probes, width, indices, kVectors, trained); });
  measure(name, "all codewords", count, [=] { kivsVQ_32f(probes, width, indices, kVectors, full); });
}

// faiss runs k-means once, 25 passes; we run it after every split, up to 20 passes.
void training(int width, int height, int count) {
  const float* const vectors = array<float>(height * width, [](int i) { return bell(3 * i + 1); });
  const std::string name = "train " + std::to_string(height) + " x " + std::to_string(width);
  measure(name, "ours", count, [=] {
    KivsCdbkState_32f* book = nullptr;
    kivsCdbkInitAlloc_L2_32f(&book, vectors, width, width, height, count, kivCdbkSplitWidest);
    kivsCdbkFree_32f(book);
  });
#if defined(KIVSR_BENCH_FAISS)
  measure(name, "faiss", count, [=] {
    faiss::Clustering clustering(width, count);
    clustering.min_points_per_centroid = 1;
    faiss::IndexFlatL2 flat(width);
    clustering.train(height, vectors, flat);
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
  for (const int count : {256, 1024, 4096}) kivsr::bench::tree_search(13, count);
  kivsr::bench::training(13, 20000, 256);
  if (std::getenv("KIVSR_BENCH_GROWTH") != nullptr) {
    for (const int height : {5000, 10000, 40000}) kivsr::bench::training(13, height, 256);
    for (const int count : {64, 128, 512}) kivsr::bench::training(13, 20000, count);
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
