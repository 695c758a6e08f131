// Demonstrates the utility types: strings, lists, tables and paths.
#include "Demo.h"

#include <zoactor/zoactor.h>

namespace {

bool DemoFoundation(std::FILE* out) {
  bool ok = true;

  ZoString path("C:\\Actors\\Hero/Skills\\Walk.skl");
  ZoString drive, folder, name, extension;
  path.SplitPath(&drive, &folder, &name, &extension);
  std::fprintf(out, "SplitPath(\"%s\")\n  drive \"%s\", folder \"%s\", name \"%s\", extension \"%s\"\n", path.c_str(),
               drive.c_str(), folder.c_str(), name.c_str(), extension.c_str());
  ok = ok && name == "Walk" && extension == ".skl";

  ZoString key = name.Upper();
  ZoString shared = key;
  shared << "_2";
  std::fprintf(out, "copy on write: key \"%s\", its modified copy \"%s\"\n", key.c_str(), shared.c_str());
  ok = ok && key == "WALK";

  ZoStringList skills;
  skills.Tokenize(ZoString("Walk Run Idle Jump"), " ");
  skills.Sort(1);
  std::fprintf(out, "sorted skills:");
  ZoDblListItem* cursor = nullptr;
  for (void* item = skills.GetFirst(cursor); item != nullptr; item = skills.GetNext(cursor))
    std::fprintf(out, " %s", static_cast<ZoString*>(item)->c_str());
  std::fprintf(out, "\n");
  ok = ok && skills.GetCount() == 4;

  ZoDictionary table(53);
  for (void* item = skills.GetFirst(cursor); item != nullptr; item = skills.GetNext(cursor))
    table.Add(static_cast<ZoString*>(item)->Upper(), item);
  auto* found = static_cast<ZoString*>(table.Find(ZoString("RUN")));
  std::fprintf(out, "dictionary of %d names: RUN -> %s\n", table.GetCount(), found != nullptr ? found->c_str() : "(none)");
  ok = ok && found != nullptr && *found == "Run";

  // A joint turned 90 degrees about z, then moved: where does a point go?
  ZoRotation3 quarter;
  quarter.setValue(ZoMath::HALF_PI, ZoVector3(0, 0, 1));
  ZoTransform3 joint(ZoVector3(1, 0, 0), quarter);
  ZoVector3 moved = joint * ZoVector3(1, 0, 0);
  float ex, ey, ez;
  joint.rotation.getEuler(ex, ey, ez);
  std::fprintf(out, "joint (quarter turn about z, then +x) maps (1,0,0) to (%.3f, %.3f, %.3f); Euler z %.3f rad\n",
               static_cast<double>(moved.x), static_cast<double>(moved.y), static_cast<double>(moved.z),
               static_cast<double>(ez));
  ZoRotation3 halfway;
  halfway.interpolate(ZoRotation3(), quarter, 0.5f, 0);
  std::fprintf(out, "halfway rotation (w x y z): %.4f %.4f %.4f %.4f\n", static_cast<double>(halfway.w),
               static_cast<double>(halfway.x), static_cast<double>(halfway.y), static_cast<double>(halfway.z));
  ok = ok && (moved - ZoVector3(1, 1, 0)).length() < 1e-5f;

  ZoString formatted;
  formatted.Format("%d skills, rate %f", skills.GetCount(), 33.0);
  std::fprintf(out, "Format: %s\n", formatted.c_str());
  return ok;
}

}  // namespace

ZO_DEMO_SECTION(10, "foundation", DemoFoundation);
