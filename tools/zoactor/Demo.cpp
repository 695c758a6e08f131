#include "Demo.h"

#include <algorithm>
#include <vector>

namespace {

std::vector<ZoDemoSection>& Sections() {
  static std::vector<ZoDemoSection> sections;
  return sections;
}

}  // namespace

bool ZoRegisterDemoSection(ZoDemoSection section) {
  Sections().push_back(section);
  return true;
}

bool ZoRunDemoSections(std::FILE* out) {
  std::vector<ZoDemoSection> sections = Sections();
  std::stable_sort(sections.begin(), sections.end(),
                   [](ZoDemoSection const& a, ZoDemoSection const& b) { return a.order < b.order; });
  bool ok = true;
  for (ZoDemoSection const& section : sections) {
    std::fprintf(out, "\n== %s ==\n", section.name);
    bool passed = section.run(out);
    if (!passed) std::fprintf(out, "-- %s: FAILED\n", section.name);
    ok = ok && passed;
  }
  return ok;
}
