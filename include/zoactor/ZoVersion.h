// The library's version.
#ifndef ZOACTOR_ZOVERSION_H
#define ZOACTOR_ZOVERSION_H

#include <zoactor/ZoExport.h>

#define ZOACTOR_VERSION_MAJOR 0
#define ZOACTOR_VERSION_MINOR 1
#define ZOACTOR_VERSION_PATCH 0

// The version of the library actually loaded, as "major.minor.patch".
extern "C" ZOACTOR_API char const* ZoActorVersion();

#endif
