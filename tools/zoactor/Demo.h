// The built-in demonstration, in sections: one source file per subsystem,
// each registering its section with ZO_DEMO_SECTION so that subsystems add
// their part without touching the others. Sections run in ascending order;
// each prints what it did and returns true when everything it checked came
// out as expected.
#ifndef ZOACTOR_TOOLS_DEMO_H
#define ZOACTOR_TOOLS_DEMO_H

#include <cstdio>

using ZoDemoFunction = bool (*)(std::FILE* out);

struct ZoDemoSection {
  int order;
  char const* name;
  ZoDemoFunction run;
};

// Registers a section; used through ZO_DEMO_SECTION.
bool ZoRegisterDemoSection(ZoDemoSection section);
// Runs every section in order; true when all succeeded.
bool ZoRunDemoSections(std::FILE* out);

#define ZO_DEMO_SECTION(order, name, function) \
  static bool const zoDemoRegistered_##function = ZoRegisterDemoSection(ZoDemoSection{order, name, &function})

#endif
