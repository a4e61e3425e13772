#include "NearestName.h"

#include <algorithm>
#include <string>
#include <vector>

#include "Choices.h"

namespace frontend {
namespace {

// Of a word of two letters, two corrections leave nothing.
constexpr std::size_t mostCorrections = 2;
constexpr std::size_t shortestToCorrect = 3;

// The letters to insert, remove, replace or swap with the next one that make one word of the other (the
// restricted Damerau-Levenshtein distance).
std::size_t corrections(std::string_view from, std::string_view to) {
  std::vector<std::vector<std::size_t>> cost(from.size() + 1, std::vector<std::size_t>(to.size() + 1));
  for (std::size_t i = 0; i <= from.size(); ++i) {
    for (std::size_t j = 0; j <= to.size(); ++j) {
      if (i == 0 || j == 0) {
        cost[i][j] = i + j;
        continue;
      }
      const std::size_t replaced = cost[i - 1][j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1);
      cost[i][j] = std::min({replaced, cost[i - 1][j] + 1, cost[i][j - 1] + 1});
      const bool swapped = i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1];
      if (swapped) cost[i][j] = std::min(cost[i][j], cost[i - 2][j - 2] + 1);
    }
  }
  return cost[from.size()][to.size()];
}

}  // namespace

std::optional<std::string_view> nearestName(std::string_view typed, std::span<const std::string_view> names) {
  const std::string word = lowerCase(typed);
  if (word.empty()) return std::nullopt;
  std::optional<std::string_view> nearest;
  std::size_t fewest = mostCorrections + 1;
  for (const std::string_view name : names) {
    if (name.starts_with(word) || word.starts_with(name)) return name;
    if (word.size() < shortestToCorrect || word.size() > name.size() + mostCorrections) continue;
    const std::size_t needed = corrections(word, name);
    if (needed >= fewest) continue;
    fewest = needed;
    nearest = name;
  }
  return nearest;
}

}  // namespace frontend
