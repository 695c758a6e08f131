// Writes the glTF export's fixture actors (see ZoGltfFixtures.h) into the
// folder named on the command line, for the Node checks, and prints their
// folders one a line.
#include "tool/ZoGltfFixtures.h"

#include <cstdio>
#include <filesystem>

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
    return 2;
  }
  std::filesystem::create_directories(argv[1]);
  for (auto write : {zogltftest::WriteEveryStyleActor, zogltftest::WriteFaultyActor, zogltftest::WriteOlderActor})
    std::printf("%s\n", write(argv[1]).c_str());
  return 0;
}
