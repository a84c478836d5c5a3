// The C++ interface: what call makes of its arguments, and owners.
#include "kivsr/kivsr.hpp"

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "support/failed_allocations.h"

namespace {

template <class Body>
kivsr::Error error_of(Body body) {
  try {
    body();
  } catch (const kivsr::Error& error) {
    return error;
  }
  ADD_FAILURE() << "nothing was thrown";
  return {kivStatusOk, ""};
}

TEST(Call, PassesContainersAndTheirLength) {
  const std::vector<float> a = {1, 2, 3};
  const std::array<float, 3> b = {4, 5, 6};
  float product[3] = {};
  EXPECT_EQ(kivsr::call<kivsMul_32f>(a, b, product, kivsr::length), kivStatusOk);
  EXPECT_EQ(product[0] + product[1] + product[2], 32.0F);

  // Sizes of any integer type, scalars of any arithmetic type, parts of containers, pointers.
  float sum = 0.0F;
  const kivsr::Span<float> all(product);
  kivsr::call<kivsMulC_32f_I>(0.5, all.subspan(1), kivsr::length);
  kivsr::call<kivsSum_32f>(product, std::size_t{3}, &sum, kivLogAddHintAc);
  EXPECT_EQ(sum, 4.0F + 5.0F + 9.0F);
}

TEST(Call, ThrowsErrorsAndReturnsWarnings) {
  std::vector<float> x = {1, 0};
  EXPECT_EQ(kivsr::call<kivsLn_32f_I>(x, kivsr::length), kivStatusInfResult);

  const auto null = error_of([&] { kivsr::call<kivsLn_32f_I>(nullptr, 2); });
  EXPECT_EQ(null.status(), kivStatusNullPointer);
  EXPECT_EQ(null.function(), "kivsLn_32f_I");
  EXPECT_NE(std::string(null.what()).find("kivsLn_32f_I: "), std::string::npos);
  EXPECT_NE(std::string(null.what()).find("kivStatusNullPointer"), std::string::npos);
}

TEST(Call, RefusesLengthsThatDifferOrDoNotFit) {
  const std::vector<float> source(3, 1.0F);
  std::vector<float> destination(2, 7.0F);
  const auto differs = error_of([&] { kivsr::call<kivsCopy_32f>(source, destination, kivsr::length); });
  EXPECT_EQ(differs.status(), kivStatusBadSize);
  EXPECT_EQ(differs.function(), "kivsCopy_32f");
  EXPECT_EQ(destination, std::vector<float>(2, 7.0F));

  const auto wide = error_of([&] { kivsr::call<kivsZero_32f>(destination, std::int64_t{1} << 32); });
  EXPECT_EQ(wide.status(), kivStatusBadSize);
  const auto huge = error_of([&] { kivsr::call<kivsZero_32f>(destination, 0x80000000U); });
  EXPECT_EQ(huge.status(), kivStatusBadSize);
  EXPECT_EQ(destination, std::vector<float>(2, 7.0F));
}

TEST(Owner, TransformsAndReleases) {
  const kivsr::test::AllocationWatch allocations;
  {
    auto fft = kivsr::Fft32f::make<kivsFFTInitAlloc_R_32f>(3, kivFftScaleNone, 0);
    const std::vector<float> samples = {1, 0, 0, 0, 0, 0, 0, 0};
    std::vector<float> spectrum(10);
    kivsr::call<kivsFFTFwd_RToCCS_32f>(samples, spectrum, fft, nullptr);
    EXPECT_EQ(spectrum, (std::vector<float>{1, 0, 1, 0, 1, 0, 1, 0, 1, 0}));

    const kivsr::Fft32f moved = std::move(fft);
    EXPECT_TRUE(moved);
    EXPECT_FALSE(fft);
    auto noise = kivsr::Mcra32f::sized<kivsGetSizeMCRA_32f>(512);
    kivsr::call<kivsInitMCRA_32f>(16000, 512, noise);
    EXPECT_EQ(allocations.live(), 2);
  }
  EXPECT_EQ(allocations.live(), 0);
}

TEST(Owner, ThrowsWhereNothingCanBeMade) {
  const auto error = error_of([] { kivsr::Fft32f::make<kivsFFTInitAlloc_R_32f>(31, kivFftScaleNone, 0); });
  EXPECT_EQ(error.status(), kivStatusFftOrderError);
  const kivsr::test::AllocationWatch none(1);
  EXPECT_EQ(error_of([] {
              kivsr::Codebook32f::make<kivsCdbkInitAlloc_L2_32f>(std::vector<float>(8, 1.0F), 2, 2, 4, 4,
                                                                 kivCdbkFullSearch);
            }).status(),
            kivStatusNoMemory);
}

}  // namespace
