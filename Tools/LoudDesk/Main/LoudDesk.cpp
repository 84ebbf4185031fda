// LoudDesk: the loudness meter on a desk.

#include <algorithm>
#include <iostream>

#include "CommandLine.h"

int main(int argc, char** argv) {
  const int own = std::min(argc, 1);  // even the name of the program may be missing
  return louddesk::RunCommandLine({argv + own, argv + argc}, std::cout, std::cerr);
}
