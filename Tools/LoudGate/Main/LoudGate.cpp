// LoudGate: the loudness of a board's clusters, served over HTTP.

#include <algorithm>
#include <iostream>

#include "Gate.h"

int main(int argc, char** argv) {
  const int own = std::min(argc, 1);  // argv may lack even the program's name
  int status = 0;
  const auto options =
      loudgate::ReadGateOptions({argv + own, argv + argc}, std::cout, std::cerr, status);
  if (!options)
    return status;
  loudgate::PrepareSignals();
  louddesk::Complaints complaints(std::cerr, "LoudGate");
  return loudgate::RunGate(*options, complaints);
}
