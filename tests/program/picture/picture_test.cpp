#include <cairo/cairo.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>

#include "kivsr/speech/front/feature_chain.h"
#include "kivsr/speech/front/presets.h"
#include "kivsr/speech/io/fault.h"
#include "program/picture/colour_map.h"
#include "program/picture/feature_picture.h"
#include "program/picture/plot.h"
#include "speech/support/signals.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::program::test {

using namespace speech;
using namespace speech::test;

namespace {

TEST(Ticks, AreRoundNumbersInsideTheRange) {
  for (const Range range : {Range{0.0, 1.0}, Range{0.0, 2.79}, Range{-7000.0, 7000.0}, Range{13.2, 13.9},
                            Range{-3e-5, 1e-5}, Range{0, 86400}}) {
    for (const int wanted : {3, 6, 12}) {
      const auto values = ticks(range, wanted);
      ASSERT_GE(values.size(), 2U) << range.high << ' ' << wanted;
      EXPECT_LE(values.size(), static_cast<std::size_t>(2 * wanted + 1));
      const double step = values[1] - values[0];
      const double leading = step / std::pow(10.0, std::floor(std::log10(step) + 1e-9));
      EXPECT_TRUE(std::abs(leading - 1) < 1e-6 || std::abs(leading - 2) < 1e-6 || std::abs(leading - 5) < 1e-6) << step;
      for (const double value : values) {
        EXPECT_GE(value, range.low - 1e-9 * step);
        EXPECT_LE(value, range.high + 1e-9 * step);
        EXPECT_NEAR(value / step, std::round(value / step), 1e-6);
      }
    }
  }
  EXPECT_TRUE(ticks({1.0, 1.0}, 5).empty());
}

double lightness(const Colour& colour) { return 0.2126 * colour.red + 0.7152 * colour.green + 0.0722 * colour.blue; }

TEST(ColourMap, HeatRisesInLightnessAndZeroIsWhite) {
  for (int i = 1; i <= 100; ++i) {
    EXPECT_GT(lightness(colour_at(heat_map(), i / 100.0)), lightness(colour_at(heat_map(), (i - 1) / 100.0)));
  }
  EXPECT_GT(lightness(colour_at(signed_map(), 0.5)), 0.95);
  EXPECT_GT(colour_at(signed_map(), 0.0).blue, colour_at(signed_map(), 0.0).red);
  EXPECT_GT(colour_at(signed_map(), 1.0).red, colour_at(signed_map(), 1.0).blue);
  EXPECT_EQ(colour_at(heat_map(), NAN).pixel(), colour_at(heat_map(), -5.0).pixel());
  EXPECT_EQ(colour_at(heat_map(), 7.0).pixel(), colour_at(heat_map(), 1.0).pixel());
}

// The picture as cairo reads it back.
class Png {
 public:
  explicit Png(const std::filesystem::path& file)
      : surface_(cairo_image_surface_create_from_png(file.c_str()), cairo_surface_destroy) {}

  bool ok() const { return cairo_surface_status(surface_.get()) == CAIRO_STATUS_SUCCESS; }
  int width() const { return cairo_image_surface_get_width(surface_.get()); }
  int height() const { return cairo_image_surface_get_height(surface_.get()); }
  Colour at(int x, int y) const {
    const unsigned char* const line =
        cairo_image_surface_get_data(surface_.get()) + y * cairo_image_surface_get_stride(surface_.get());
    const std::uint32_t pixel = reinterpret_cast<const std::uint32_t*>(line)[x];
    return {(pixel >> 16U & 0xFFU) / 255.0, (pixel >> 8U & 0xFFU) / 255.0, (pixel & 0xFFU) / 255.0};
  }

 private:
  std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> surface_;
};

Png drawn(const TemporaryFolder& folder, const std::vector<float>& samples, const Recipe& recipe) {
  FeaturePicture picture(recipe);
  picture.push_rows(FeatureChain(recipe).run(samples));
  picture.push(samples);
  picture.finish();
  OutputFile file(folder / "picture.png");
  picture.draw(file, {.file = "a.png"}, "test");
  file.commit();
  return Png(folder / "picture.png");
}

// A tone in the second half of a silence: the spectrogram is bright where and when the tone is, dark elsewhere.
TEST(FeaturePicture, ShowsAToneAtItsTimeAndFrequency) {
  const TemporaryFolder folder;
  std::vector<float> samples(16000, 0.0F);
  const auto sound = tone(1000.0, 16000, 8000);
  std::copy(sound.begin(), sound.end(), samples.begin() + 8000);
  const FrontEndParameters parameters = preset("mfcc").front_end;
  const Png picture = drawn(folder, samples, parameters);
  ASSERT_TRUE(picture.ok());
  ASSERT_GT(picture.width(), 600);
  ASSERT_GT(picture.height(), 400);

  // The spectrogram panel is where the picture shows the dark end of the map at a quarter of its width.
  const int quarter = picture.width() / 4;
  const int three_quarters = picture.width() * 3 / 4;
  int top = -1;
  int bottom = -1;
  for (int y = 0; y < picture.height(); ++y) {
    if (lightness(picture.at(quarter, y)) < 0.05 &&
        lightness(picture.at(quarter, std::min(y + 3, picture.height() - 1))) < 0.05) {
      if (top < 0) top = y;
      bottom = y;
    }
  }
  ASSERT_GT(bottom - top, 100);
  int brightest = top + 4;
  for (int y = top + 4; y < bottom - 4; ++y) {
    if (lightness(picture.at(three_quarters, y)) > lightness(picture.at(three_quarters, brightest))) brightest = y;
  }
  const auto mel = [](double frequency) { return std::log1p(frequency / 700.0); };
  const double place = (mel(1000.0) - mel(20.0)) / (mel(8000.0) - mel(20.0));
  EXPECT_NEAR(static_cast<double>(bottom - brightest) / (bottom - top), place, 0.06);
  EXPECT_GT(lightness(picture.at(three_quarters, brightest)), 0.7);
  EXPECT_LT(lightness(picture.at(quarter, brightest)), 0.05);
}

// Digital silence is dark, whatever the rows are made of, and its waveform flat; so is that of noise of one step, and
// soft sound is not.
TEST(FeaturePicture, SilenceIsNotLoud) {
  const TemporaryFolder folder;
  std::vector<float> steps = noise(16000);
  for (float& sample : steps) sample = sample > 0.0F ? 1.0F : -1.0F;
  std::vector<float> soft = noise(16000);
  for (float& sample : soft) sample = std::round(0.1F * sample);
  const auto lightest = [&](const std::vector<float>& samples, const char* name) {
    const Png picture = drawn(folder, samples, preset(name));
    double result = 0.0;
    for (int x = 300; x < 900; x += 7) {
      for (int y = 260; y < 480; y += 3) result = std::max(result, lightness(picture.at(x, y)));
    }
    EXPECT_TRUE(&samples == &soft || lightness(picture.at(500, 75)) > 0.9) << "no waveform far from the middle";
    return result;
  };
  for (const char* name : {"mfcc", "kaldi-fbank", "torchaudio-melspectrogram", "librosa-melspectrogram"}) {
    EXPECT_LT(lightest(std::vector<float>(16000, 0.0F), name), 0.05) << name;
    EXPECT_LT(lightest(steps, name), 0.25) << name;
    EXPECT_GT(lightest(soft, name), 0.25) << name;
  }
}

// The lower panel is of the rows themselves: a column that steps up in the middle is blue before and red behind.
TEST(FeaturePicture, ShowsTheRowsThatAreWritten) {
  const TemporaryFolder folder;
  Recipe recipe = preset("htk-mfcc:MFCC_E_D_A");
  FeaturePicture picture(recipe);
  FeatureMatrix rows{recipe.width(), {}};
  for (int t = 0; t < 100; ++t) {
    for (int k = 0; k < rows.width; ++k) rows.values.push_back(t < 50 ? -1e6F : static_cast<float>(k));
  }
  picture.push_rows(rows);
  picture.push(std::vector<float>(16000, 1.0F));
  picture.finish();
  OutputFile file(folder / "picture.png");
  picture.draw(file, {.file = "a.png"}, "test");
  file.commit();
  const Png png(folder / "picture.png");
  ASSERT_TRUE(png.ok());
  int blue = 0;
  int red = 0;
  for (int y = png.height() / 2; y < png.height(); ++y) {
    const Colour left = png.at(png.width() / 4, y);
    const Colour right = png.at(png.width() * 5 / 8, y);
    blue += left.blue > left.red + 0.1 ? 1 : 0;
    red += right.red > right.blue + 0.1 ? 1 : 0;
  }
  EXPECT_GT(blue, 200);
  EXPECT_GT(red, 200);
}

TEST(FeaturePicture, DrawsEveryPreset) {
  const TemporaryFolder folder;
  for (const std::string& name : preset_names()) EXPECT_TRUE(drawn(folder, noise(9000), preset(name)).ok()) << name;
}

TEST(FeaturePicture, DrawsExtremesOfLengthAndShape) {
  const TemporaryFolder folder;
  FrontEndParameters parameters = preset("sphinx-en-us").front_end;
  EXPECT_TRUE(drawn(folder, {1.0F}, parameters).ok()) << "one sample";
  EXPECT_TRUE(drawn(folder, std::vector<float>(3000, 0.0F), parameters).ok()) << "silence";
  parameters.cepstrum_count = 1;
  EXPECT_TRUE(drawn(folder, noise(3000), parameters).ok()) << "no cepstra but c0";
  parameters = preset("sphinx-en-us").front_end;
  parameters.shift = 4;
  EXPECT_TRUE(drawn(folder, noise(20000), parameters).ok()) << "more frames than an image has columns";
}

// Means of 1, 2, 4, ... rows: the columns are few, keep their order, and together have the mean of all rows.
// However many rows lie side by side, a band keeps its colour to its edge.
TEST(Page, BandsDoNotMergeInLongPictures) {
  const TemporaryFolder folder;
  const auto picture = [&](int frames) {
    FeatureMatrix rows{20, {}};
    for (int t = 0; t < frames; ++t) {
      for (int band = 0; band < 20; ++band) rows.values.push_back(band % 2 == 0 ? 0.0F : 1.0F);
    }
    Page page({.file = "a.png"}, 1280, 400);
    page.image({50.0, 300.0, {0.0, 1.0}, {0.0, 20.0}}, rows, {0.0, 1.0}, {0.0, 20.0}, heat_map(), {0.0, 1.0});
    const auto name = folder / std::to_string(frames);
    OutputFile file(name);
    page.write(file);
    file.commit();
    return read_file(name);
  };
  const std::string few = picture(500);
  for (const int frames : {1111, 2500, 20000}) EXPECT_EQ(picture(frames), few) << frames;
}

TEST(ColumnReduction, HalvesTheColumnsWhenTheyAreTooMany) {
  for (const int height : {0, 1, 7, 8, 9, 16, 17, 100, 1000}) {
    ColumnReduction reduction(8);
    for (int t = 0; t < height; ++t) {
      const std::vector<float> row = {static_cast<float>(t), static_cast<float>(-2 * t)};
      reduction.add(row);
    }
    const FeatureMatrix columns = reduction.columns();
    const int wide = reduction.rows_a_column();
    EXPECT_LE(columns.height(), 8);
    ASSERT_EQ(columns.height(), (height + wide - 1) / wide) << height;
    if (height > 8) {
      EXPECT_GT(columns.height(), 4) << height;
    }
    for (int column = 0; column < columns.height(); ++column) {
      const int last = std::min((column + 1) * wide, height) - 1;
      const auto middle = static_cast<float>(0.5 * (column * wide + last));
      EXPECT_FLOAT_EQ(columns.row(column)[0], middle) << height << ' ' << column;
      EXPECT_FLOAT_EQ(columns.row(column)[1], -2.0F * middle) << height << ' ' << column;
    }
  }
}

// Signals below and above the number of stretches that are told apart, however they are cut.
TEST(Envelope, HoldsTheExtremesOfEveryStretch) {
  for (const int count : {1, 1000, 65536, 65537, 400000}) {
    const auto samples = noise(count);
    for (const std::size_t block : {7U, 30000U}) {
      Envelope envelope;
      for (std::size_t at = 0; at < samples.size(); at += block) {
        envelope.add(std::span(samples).subspan(at, std::min(block, samples.size() - at)));
      }
      ASSERT_EQ(envelope.samples(), count);
      const auto [low, high] = std::minmax_element(samples.begin(), samples.end());
      EXPECT_EQ(envelope.extremes().low, *low);
      EXPECT_EQ(envelope.extremes().high, *high);
      const int slack = count / 32768 + 1;
      for (int first = 0; first + 900 < count; first += count / 13) {
        const Range part = envelope.extremes(first, first + 900);
        const auto inner = std::minmax_element(samples.begin() + first, samples.begin() + first + 900);
        const auto outer = std::minmax_element(samples.begin() + std::max(0, first - slack),
                                               samples.begin() + std::min(count, first + 900 + slack));
        EXPECT_LE(part.low, *inner.first);
        EXPECT_GE(part.high, *inner.second);
        EXPECT_GE(part.low, *outer.first);
        EXPECT_LE(part.high, *outer.second);
      }
    }
  }
}

TEST(FeaturePicture, NameMustBeThatOfAPng) {
  for (const char* name : {"a.PNG", "b.svg", "c.pdf"}) EXPECT_NO_THROW(check_picture_name(name));
  EXPECT_THROW(check_picture_name("a.jpg"), Fault);
}

}  // namespace
}  // namespace kivsr::program::test
