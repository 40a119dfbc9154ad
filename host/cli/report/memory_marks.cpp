/*
 * What is to be seen at a glance of memory modules.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/report/memory_marks.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "host/cli/device/inventory.h"
#include "host/cli/machine/fact_text.h"
#include "host/cli/output/paragraph.h"

namespace tvq::cli {
namespace {

using facts::Kind;
using facts::Part;

// What modules of one channel should have in common.
constexpr const char* kShared[] = {"sizeInBytes", "type", "rank", "ratedSpeedInMTs"};

// A table that leaves a fact out at one of them says nothing against it.
bool AreMixed(const Part& module, const Part& other) {
  return std::any_of(std::begin(kShared), std::end(kShared), [&](const char* fact) {
    return facts::IsKnown(module.Find(fact)) && facts::IsKnown(other.Find(fact)) &&
           ValueText(module, fact, {}) != ValueText(other, fact, {});
  });
}

// All of that in words: "32 GB DDR5, rank 2, 4800 MT/s".
std::string KindOf(const Part& module) {
  std::string kind;
  const auto add = [&](const char* fact, const char* between, const char* before) {
    if (facts::IsKnown(module.Find(fact))) {
      kind += (kind.empty() ? "" : between) + (before + ValueText(module, fact, {}));
    }
  };
  add("sizeInBytes", "", "");
  add("type", " ", "");
  add("rank", ", ", "rank ");
  add("ratedSpeedInMTs", ", ", "");
  return kind;
}

struct KindCount {
  std::string kind;
  const Part* first;
  std::size_t count;
};
using Counts = std::vector<KindCount>;

// In the order in which the kinds come first.
void Count(const Part& module, Counts& counts) {
  const std::string kind = KindOf(module);
  const auto found = std::find_if(counts.begin(), counts.end(),
                                  [&](const KindCount& one) { return one.kind == kind; });
  if (found == counts.end()) {
    counts.push_back({kind, &module, 1});
  } else {
    ++found->count;
  }
}

// The first of those that are most; null where there is none.
const KindCount* Usual(const Counts& counts) {
  const auto most =
      std::max_element(counts.begin(), counts.end(),
                       [](const KindCount& a, const KindCount& b) { return a.count < b.count; });
  return most == counts.end() ? nullptr : &*most;
}

bool IsSlow(const Part& module) {
  const std::uint64_t runs = module.NumberOf("configuredSpeedInMTs");
  return runs != 0 && runs < module.NumberOf("ratedSpeedInMTs");
}

}  // namespace

std::vector<MemoryMarks> MarkMemory(const facts::Machine& machine,
                                    const std::vector<MemoryGroup>& groups) {
  const std::vector<Part>& modules = machine.Of(Kind::kModule);
  std::vector<MemoryMarks> marks(modules.size());
  for (const MemoryGroup& group : groups) {
    Counts counts;
    for (const MemoryRow& row : group.rows) {
      for (const std::size_t i : row.modules) {
        marks[i].isEmpty = !facts::IsPopulated(modules[i]);
        marks[i].isSlow = !marks[i].isEmpty && IsSlow(modules[i]);
        if (!marks[i].isEmpty) {
          Count(modules[i], counts);
        }
      }
    }
    const KindCount* const usual = Usual(counts);
    for (const MemoryRow& row : group.rows) {
      for (const std::size_t i : row.modules) {
        if (!marks[i].isEmpty && AreMixed(modules[i], *usual->first)) {
          marks[i].others = usual->kind;
        }
      }
    }
  }
  return marks;
}

std::vector<std::string> DescribeMemory(const facts::Machine& machine,
                                        const std::vector<MemoryMarks>& marks) {
  const std::vector<Part>& modules = machine.Of(Kind::kModule);
  Counts kinds;
  std::size_t slow = 0;
  bool isMixed = false;
  for (std::size_t i = 0; i < modules.size(); ++i) {
    if (!marks[i].isEmpty) {
      Count(modules[i], kinds);
    }
    slow += marks[i].isSlow ? 1 : 0;
    isMixed = isMixed || !marks[i].others.empty();
  }
  std::vector<std::string> sentences;
  if (isMixed) {
    std::string all;
    for (const KindCount& one : kinds) {
      all += fmt::format("{}{} of {}", all.empty() ? "" : "; ", one.count, one.kind);
    }
    sentences.push_back("Modules of different kinds stand side by side: " + all);
  }
  if (slow != 0) {
    sentences.push_back(
        fmt::format("{} below the rated speed",
                    slow == 1 ? "1 module runs" : fmt::format("{} modules run", slow)));
  }
  return sentences;
}

}  // namespace tvq::cli
