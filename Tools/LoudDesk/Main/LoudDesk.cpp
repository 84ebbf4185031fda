// The main function of LoudDesk, the loudness meter for a desk.

#include <algorithm>
#include <iostream>

#include "CommandLine.h"

int main(int argc, char** argv) {
  const int own = std::min(argc, 1);  // argv may even lack the name of the program
  return louddesk::RunCommandLine({argv + own, argv + argc}, std::cout, std::cerr);
}
