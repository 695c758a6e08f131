// Demonstrates the utility types: strings, lists, tables and paths.
#include "Demo.h"

#include <zoactor/zoactor.h>

bool DemoFoundation(std::FILE* out) {
  std::fprintf(out, "\n== foundation ==\n");
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

  ZoString formatted;
  formatted.Format("%d skills, rate %f", skills.GetCount(), 33.0);
  std::fprintf(out, "Format: %s\n", formatted.c_str());
  return ok;
}
