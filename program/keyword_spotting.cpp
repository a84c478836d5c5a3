#include "program/keyword_spotting.h"

#include <cmath>
#include <cstdlib>
#include <memory>
#include <set>

#include <nlohmann/json.hpp>

#include "kivsr/speech/decode/viterbi_search.h"
#include "kivsr/speech/front/utterance.h"
#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/text_parts.h"
#include "program/command.h"
#include "program/file_loop.h"
#include "program/numbers.h"
#include "program/report_text.h"
#include "program/word_times.h"

namespace kivsr::program {
namespace {

constexpr SearchWeights kWeights{.language_weight = 4.0F, .insertion_penalty = -2.0F};
constexpr Beams kBeams{.state = 80.0F, .phone = 70.0F, .word = 60.0F};
constexpr int kFramesBetween = 25;  // looks at what is settled

// Finds the keywords of one recording after the other.
class KeywordFinder {
 public:
  KeywordFinder(const SearchNetwork& network, const AcousticModel& model, const AcousticOptions& options)
      : network_(network),
        scorer_(make_mixture_scorer(model, options.scoring)),
        chain_(options.recipe_of(model)),
        search_(network, model, *scorer_, kBeams) {}

  std::vector<AlignedWord> find(const std::string& recording, const RawFormat& raw, double& seconds) {
    std::vector<AlignedWord> hits;
    std::size_t known = 0;  // words of the hypothesis that were looked at
    try {
      int frame = 0;
      seconds = stream_utterance(recording, chain_, raw, [&](const FeatureMatrix& rows) {
                  for (int row = 0; row < rows.height(); ++row) {
                    search_.push(rows.row(row));
                    if (++frame % kFramesBetween == 0) known += keep(search_.take_settled(), hits);
                  }
                }).seconds;
    } catch (...) {
      search_.finish();  // what it holds of this recording is not for the next
      throw;
    }
    std::vector<HypothesisWord> rest = search_.finish().words;
    rest.erase(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(known));
    keep(rest, hits);
    return hits;
  }

 private:
  std::size_t keep(const std::vector<HypothesisWord>& words, std::vector<AlignedWord>& hits) const {
    for (AlignedWord& word : word_times(words, network_, chain_.recipe().frame_seconds())) {
      if (!word.filler) hits.push_back(std::move(word));
    }
    return words.size();
  }

  const SearchNetwork& network_;
  std::unique_ptr<Scorer> scorer_;
  FeatureChain chain_;
  ViterbiSearch search_;
};

std::string report_of(const std::string& recording, double seconds, const std::vector<AlignedWord>& hits,
                      const std::string& format) {
  if (format == "json") {
    nlohmann::ordered_json line{
        {"recording", recording}, {"seconds", seconds}, {"hits", nlohmann::ordered_json::array()}};
    for (const AlignedWord& hit : hits) {
      line["hits"].push_back({{"start", hit.start}, {"end", hit.end}, {"label", hit.word}});
    }
    return line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
  }
  std::string text;
  if (format == "text") {
    text =
        recording + ": " + counted(static_cast<std::int64_t>(hits.size()), "hit") + formatted(" in %.2f s\n", seconds);
  }
  for (const AlignedWord& hit : hits) {
    text += format == "tsv" ? recording + formatted("\t%.2f\t%.2f\t", hit.start, hit.end)
                            : formatted("  %.2f  %.2f  ", hit.start, hit.end);
    text += hit.word + "\n";
  }
  return text;
}

}  // namespace

Keyword parse_keyword(const std::string& given, double threshold, const std::string& place) {
  std::string text(trimmed(given));
  if (text.ends_with('/')) text.pop_back();
  const std::size_t slash = text.rfind('/');
  if (slash == std::string::npos && !trimmed(given).ends_with('/')) return {text, threshold, true};
  const std::string number = slash == std::string::npos ? "" : text.substr(slash + 1);
  char* end = nullptr;
  const double value = std::strtod(number.c_str(), &end);
  if (number.empty() || *end != '\0' || !(value > 0.0) || !std::isfinite(value)) {
    throw Fault(place + ": \"" + number + "\" is no threshold, such as forward/1e-6");
  }
  return {std::string(trimmed(std::string_view(text).substr(0, slash))), value, false};
}

std::vector<Keyword> KeywordSpotting::keywords() const {
  std::vector<Keyword> result;
  for (const std::string& text : texts) result.push_back(parse_keyword(text, threshold, "--keyword " + text));
  if (list_file.empty()) return result;
  const std::string text = read_text_file(list_file);
  std::string_view lines = text;
  std::string_view line;
  for (int number = 1; take_line(lines, line); ++number) {
    if (trimmed(line).empty()) continue;
    result.push_back(parse_keyword(std::string(line), threshold, list_file + ":" + std::to_string(number)));
  }
  if (result.empty()) throw Fault(list_file + ": holds no keywords");
  return result;
}

void KeywordSpotting::run(const Place& place) const {
  const std::vector<Keyword> wanted_keywords = keywords();
  const AcousticModel model = acoustic.read_model();
  std::set<std::string, std::less<>> vocabulary;
  for (const Keyword& keyword : wanted_keywords) {
    for (std::string& word : words_of(keyword.text)) vocabulary.insert(std::move(word));
  }
  const Dictionary dictionary = Dictionary::read(acoustic.dictionary_path(model), &vocabulary);
  const SearchNetwork network = build_keyword_loop(wanted_keywords, dictionary, model, kWeights);
  KeywordFinder finder(network, model, acoustic);
  std::string text = place.format == "tsv" ? "recording\tstart\tend\tlabel\n" : "";
  const auto tasks = tasks_of(place.recordings);
  FileLoop loop("spot", tasks);
  loop.run_in_turn([&](const FileTask& task, FileTurn& turn) {
    double seconds = 0.0;
    const std::vector<AlignedWord> hits = finder.find(task.input, place.raw, seconds);
    turn.heard(seconds);
    text += report_of(task.input, seconds, hits, place.format);
  });
  write_report(place.output_file, text);
  loop.finish();
}

void add_keyword_options(Command command, KeywordSpotting& options) {
  command
      .add_option("--keyword", options.texts,
                  "A word to find, or several words, by how they are pronounced: TEXT or TEXT/threshold. Any number")
      .one_value_each();
  command.add_option("--keyword-list", options.list_file, "The same from a file, one a line");
  add_number(command, "--keyword-threshold", options.threshold, 1e-300, 1e300,
             "Of keywords that have none, for each of their phones: smaller finds more, and more that was not said");
  command.add_option("--model", options.acoustic.model_name, "For keywords: the acoustic model, as of recognise");
  command.add_option("--dict", options.acoustic.dictionary_file, "For keywords: the pronunciation dictionary");
}

}  // namespace kivsr::program
