// The built-in demonstration: one function per subsystem, each printing what
// it did to `out`. Each returns true when everything it checked came out as
// expected.
#ifndef ZOACTOR_TOOLS_DEMO_H
#define ZOACTOR_TOOLS_DEMO_H

#include <cstdio>

bool DemoFoundation(std::FILE* out);
bool DemoSerialization(std::FILE* out);

#endif
