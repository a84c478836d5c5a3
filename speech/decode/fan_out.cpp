#include "kivsr/speech/decode/fan_out.h"

namespace kivsr::speech {

int FanOutTable::find(int left, int base, WordPosition position) const {
  const auto known = indices_.find({context_of(left), base, position});
  return known == indices_.end() ? -1 : known->second;
}

int FanOutTable::add(int left, int base, WordPosition position) {
  const auto [known, added] = indices_.try_emplace({context_of(left), base, position}, static_cast<int>(sets_.size()));
  if (!added) return known->second;
  std::map<int, std::vector<int>> rights_of_hmm;
  for (int right = 0; right < contexts(); ++right) {
    rights_of_hmm[definition_.hmm_of(base, left, right, position)].push_back(right);
  }
  Set& set = sets_.emplace_back();
  set.base = base;
  for (const auto& [hmm, rights] : rights_of_hmm) {
    set.variants.push_back({hmm, static_cast<int>(rights_.size()), static_cast<int>(rights.size())});
    rights_.insert(rights_.end(), rights.begin(), rights.end());
  }
  return known->second;
}

}  // namespace kivsr::speech
