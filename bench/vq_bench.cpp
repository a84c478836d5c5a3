// Search and training of codebooks beside faiss and a plain loop, one thread each. The size is the number of codewords;
// a search takes 1000 vectors.
#include <omp.h>

#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "kivsr.h"
#include "side_by_side.h"
#if defined(KIVSR_BENCH_SPEECH)
#include "kivsr/speech/quantise/k_means.h"
#endif
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

// Rows of noise, or of noise around 200 centres, as speech is.
const float* rows(int width, int height, bool clustered, int seed) {
  const float* const centres = array<float>(200 * width, [](int i) { return 4.0 * bell(11 * i); });
  return array<float>(height * width, [=](int i) {
    const int centre = static_cast<int>(noise(3 * (i / width) + seed) * 200.0) % 200;
    const double start = clustered ? static_cast<double>(centres[centre * width + i % width]) : 0.0;
    return start + bell(3 * i + 1 + seed);
  });
}

KivsCdbkState_32f* train(const float* vectors, int width, int height, int count) {
  KivsCdbkState_32f* book = nullptr;
  kivsCdbkInitAlloc_L2_32f(&book, vectors, width, width, height, count, kivCdbkSplitWidest);
  return book;
}

const float* codewords_of(const KivsCdbkState_32f* book, int width, int count) {
  float* const codewords = array<float>(count * width, [](int) { return 0; });
  kivsGetCodebook_32f(book, codewords, width);
  return codewords;
}

// The tree search of a trained book beside the search of all its codewords. Without clusters every book is searched
// whole.
void tree_search(int width, int count) {
  const KivsCdbkState_32f* const trained = train(rows(width, 4 * count, true, 0), width, 4 * count, count);
  const float* const probes = rows(width, kVectors, true, 7654321);
  Kiv32s* const indices = array<Kiv32s>(kVectors, [](int) { return 0; });
  KivsCdbkState_32f* full = nullptr;
  kivsCdbkInitAlloc_L2_32f(&full, codewords_of(trained, width, count), width, width, count, count, kivCdbkFullSearch);
  const std::string name = "VQ_32f tree, " + std::to_string(width);
  measure(name, "ours", count, [=] { kivsVQ_32f(probes, width, indices, kVectors, trained); });
  measure(name, "all codewords", count, [=] { kivsVQ_32f(probes, width, indices, kVectors, full); });
}

#if defined(KIVSR_BENCH_FAISS)
std::vector<float> faiss_codewords(const float* vectors, int width, int height, int count) {
  faiss::Clustering clustering(width, count);
  clustering.min_points_per_centroid = 1;
  faiss::IndexFlatL2 flat(width);
  clustering.train(height, vectors, flat);
  return clustering.centroids;
}
#endif

#if defined(KIVSR_BENCH_SPEECH)
std::vector<float> k_means_codewords(const float* vectors, int width, int height, int count) {
  const speech::FeatureMatrix rows{width, {vectors, vectors + static_cast<std::ptrdiff_t>(height) * width}};
  return speech::k_means(rows, std::vector<float>(static_cast<std::size_t>(width), 1.0F), count);
}
#endif

// faiss and the speech library's k-means run it once, 25 and up to 40 passes; training by splits runs it after every
// split, up to 20 passes.
void training(int width, int height, int count, bool clustered) {
  const float* const vectors = rows(width, height, clustered, 0);
  const std::string name =
      (clustered ? "train clusters " : "train noise ") + std::to_string(height) + " x " + std::to_string(width);
  measure(name, "ours", count, [=] { kivsCdbkFree_32f(train(vectors, width, height, count)); });
#if defined(KIVSR_BENCH_SPEECH)
  measure(name, "k-means", count, [=] { return k_means_codewords(vectors, width, height, count).size(); });
#endif
#if defined(KIVSR_BENCH_FAISS)
  measure(name, "faiss", count, [=] { return faiss_codewords(vectors, width, height, count).size(); });
#endif
}

// Mean squared distance of the training vectors to the nearest codeword.
double distortion(const float* vectors, int width, int height, const float* codewords, int count) {
  KivsCdbkState_32f* book = nullptr;
  kivsCdbkInitAlloc_L2_32f(&book, codewords, width, width, count, count, kivCdbkFullSearch);
  std::vector<Kiv32s> indices(static_cast<std::size_t>(height));
  std::vector<float> roots(static_cast<std::size_t>(height));
  kivsVQDist_32f(vectors, width, indices.data(), roots.data(), height, book);
  kivsCdbkFree_32f(book);
  double sum = 0.0;
  for (const float root : roots) sum += static_cast<double>(root) * static_cast<double>(root);
  return sum / height;
}

void print_distortion(int width, int height, int count, bool clustered) {
  const float* const vectors = rows(width, height, clustered, 0);
  const float* const ours = codewords_of(train(vectors, width, height, count), width, count);
  std::printf("distortion, %s, %d x %d, %d codewords: ours %.4f", clustered ? "clusters" : "noise", height, width,
              count, distortion(vectors, width, height, ours, count));
#if defined(KIVSR_BENCH_SPEECH)
  std::printf(", k-means %.4f",
              distortion(vectors, width, height, k_means_codewords(vectors, width, height, count).data(), count));
#endif
#if defined(KIVSR_BENCH_FAISS)
  std::printf(", faiss %.4f",
              distortion(vectors, width, height, faiss_codewords(vectors, width, height, count).data(), count));
#endif
  std::printf("\n");
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
  if (std::getenv("KIVSR_BENCH_TRAINING") == nullptr) {
    kivsr::bench::training(13, 20000, 256, true);
  } else {
    for (const bool clustered : {false, true}) {
      for (const int count : {64, 256}) kivsr::bench::print_distortion(13, 10000, count, clustered);
      for (const int height : {5000, 10000, 20000, 40000}) kivsr::bench::training(13, height, 256, clustered);
      for (const int count : {64, 128, 512}) kivsr::bench::training(13, 20000, count, clustered);
    }
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
