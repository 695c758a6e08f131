// zoactor: the library's command-line tool (see Commands.h and docs/cli.md).
#include "Commands.h"

int main(int argc, char** argv) { return zotool::RunTool(argc, argv); }
