// Skeleton editing shown on the demo actor: used by the editing section of
// the tour and by the main demo on the actor it loads back.
#ifndef ZOACTOR_TOOLS_DEMOEDITING_H
#define ZOACTOR_TOOLS_DEMOEDITING_H

#include <zoactor/zoactor.h>

#include <cstdio>

namespace zotool {

// With the actor's skills loaded: adds a club (a shaft with a head, two new
// joints) to the handle "HandL", scales it to half again its length,
// collapses it into one joint, and prints each skill's joint count before
// and after every edit to `out`. True when every joint the actor had kept
// its keys through the edits and the club's joints got none.
bool EditDemoActor(ZoProtoActor& actor, std::FILE* out);

}  // namespace zotool

#endif
