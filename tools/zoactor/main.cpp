// zoactor: the library's command-line tool. It runs the built-in demonstration
// and prints the library's version.
#include "Demo.h"

#include <zoactor/zoactor.h>

#include <cstdio>
#include <cstring>

namespace {

int Usage(std::FILE* out) {
  std::fprintf(out,
               "usage: zoactor <command>\n"
               "\n"
               "commands:\n"
               "  demo       run the built-in demonstration of the library\n"
               "  version    print the library's version\n");
  return out == stdout ? 0 : 2;
}

int RunDemo() {
  std::printf("ZoActorLib %s: built-in demonstration\n", ZoActorVersion());
  bool ok = ZoRunDemoSections(stdout);
  std::printf("\ndemo %s\n", ok ? "completed" : "FAILED");
  return ok ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return Usage(stderr);
  char const* command = argv[1];
  if (std::strcmp(command, "demo") == 0) return RunDemo();
  if (std::strcmp(command, "version") == 0) {
    std::printf("%s\n", ZoActorVersion());
    return 0;
  }
  if (std::strcmp(command, "help") == 0 || std::strcmp(command, "--help") == 0) return Usage(stdout);
  std::fprintf(stderr, "zoactor: unknown command '%s'\n", command);
  return Usage(stderr);
}
