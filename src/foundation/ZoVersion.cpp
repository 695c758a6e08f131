#include <zoactor/ZoVersion.h>

#define ZO_STRINGIFY2(x) #x
#define ZO_STRINGIFY(x) ZO_STRINGIFY2(x)

extern "C" char const* ZoActorVersion() {
  return ZO_STRINGIFY(ZOACTOR_VERSION_MAJOR) "." ZO_STRINGIFY(ZOACTOR_VERSION_MINOR) "." ZO_STRINGIFY(
      ZOACTOR_VERSION_PATCH);
}
