#include "program/score_report.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "program/report_text.h"

namespace kivsr::program {

namespace {

nlohmann::ordered_json object_of(const ScoredRecording& recording, std::optional<double> threshold) {
  nlohmann::ordered_json object{{"file", recording.file}, {"frames", recording.frames}};
  if (recording.background) object["background"] = *recording.background;
  for (const ModelScore& model : recording.models) {
    nlohmann::ordered_json one{
        {"model", model.model}, {"log_likelihood", model.log_likelihood}, {"score", model.score}};
    if (model.target) one["target"] = *model.target;
    if (threshold) one["accepted"] = model.score >= *threshold;
    object["models"].push_back(one);
  }
  if (recording.models.size() > 1) object["best"] = recording.best().model;
  return object;
}

std::string tsv_of(const ScoredRecording& recording, std::optional<double> threshold) {
  std::string lines;
  for (const ModelScore& model : recording.models) {
    lines += recording.file + "\t" + model.model + "\t" + std::to_string(recording.frames) +
             formatted("\t%.6f\t", model.log_likelihood) +
             (recording.background ? formatted("%.6f", *recording.background) : "") +
             formatted("\t%.6f\t", model.score) + (model.target ? *model.target ? "target" : "nontarget" : "") + "\t" +
             (threshold ? model.score >= *threshold ? "yes" : "no" : "") + "\t" +
             (&model == &recording.best() ? "yes" : "no") + "\n";
  }
  return lines;
}

std::string text_of(const ScoredRecording& recording, std::optional<double> threshold) {
  std::string lines = recording.file + ": " + counted(recording.frames, "frame");
  if (recording.models.size() > 1) lines += ", best " + recording.best().model;
  lines += "\n";
  for (const ModelScore& model : recording.models) {
    lines += formatted("  %12.6f  ", model.score) + model.model;
    if (recording.background) lines += formatted("  (%.6f a frame)", model.log_likelihood);
    if (model.target) lines += *model.target ? "  target" : "  nontarget";
    if (threshold) lines += model.score >= *threshold ? "  accepted" : "  refused";
    lines += "\n";
  }
  return lines;
}

}  // namespace

const ModelScore& ScoredRecording::best() const {
  return *std::max_element(models.begin(), models.end(),
                           [](const ModelScore& a, const ModelScore& b) { return a.score < b.score; });
}

std::string score_header(ScoreFormat format) {
  return format == ScoreFormat::kTsv
             ? "file\tmodel\tframes\tlog_likelihood\tbackground\tscore\ttarget\taccepted\tbest\n"
             : "";
}

std::string score_lines(const ScoredRecording& recording, std::optional<double> threshold, ScoreFormat format) {
  switch (format) {
    case ScoreFormat::kJson:
      return object_of(recording, threshold).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
    case ScoreFormat::kTsv: return tsv_of(recording, threshold);
    case ScoreFormat::kText: break;
  }
  return text_of(recording, threshold);
}

void TrialSummary::add(const ScoredRecording& recording) {
  bool targets = false;
  for (const ModelScore& model : recording.models) {
    if (!model.target) continue;
    trials.push_back({model.score, *model.target});
    targets = targets || *model.target;
  }
  if (!targets || recording.models.size() < 2) return;
  ++identifiable;
  if (recording.best().target.value_or(false)) ++identified;
}

bool TrialSummary::has_both() const {
  const auto is_target = [](const DetectionTrial& trial) { return trial.target; };
  return std::any_of(trials.begin(), trials.end(), is_target) && !std::all_of(trials.begin(), trials.end(), is_target);
}

std::string summary_lines(const TrialSummary& summary, const DetectionCost& cost, ScoreFormat format) {
  if (!summary.has_both() || format == ScoreFormat::kTsv) return "";
  const DetectionErrors errors(summary.trials);
  const double equal = errors.equal_error_rate();
  const double least = errors.least_cost(cost);
  if (format == ScoreFormat::kJson) {
    nlohmann::ordered_json object{
        {"targets", errors.targets()}, {"others", errors.others()}, {"equal_error_rate", equal}, {"least_cost", least}};
    if (summary.identifiable > 0) {
      object["identified"] = summary.identified;
      object["identifiable"] = summary.identifiable;
    }
    return nlohmann::ordered_json{{"trials", object}}.dump() + "\n";
  }
  std::string text = counted(errors.targets(), "trial") +
                     formatted(" of targets, %d of others: equal error rate %.2f %%, least cost %.4f\n",
                               errors.others(), 100.0 * equal, least);
  if (summary.identifiable > 0) {
    text += formatted("%d of ", summary.identified) + counted(summary.identifiable, "recording") + " identified\n";
  }
  return text;
}

}  // namespace kivsr::program
