// The engine's work for a thousand blocks with windows of a given length, for a program that counts
// the instructions of MeasuredBlocks.
//
// Usage: BlockInstructions INTEGRATED_SECONDS RANGE_SECONDS

#include <cstdio>
#include <cstdlib>

#include "EngineLoad.h"

// Not inlined and with an unmangled name, so that the counting program finds it.
extern "C" [[gnu::noinline]] void MeasuredBlocks(EngineLoad* engine) {
  for (int i = 0; i < 1000; ++i)
    engine->FeedBlock();
}

int main(int argc, char** argv) {
  if (argc != 3)
    return 2;
  EngineLoad engine(static_cast<unsigned int>(std::atoi(argv[1])),
                    static_cast<unsigned int>(std::atoi(argv[2])));
  MeasuredBlocks(&engine);
  std::printf("integrated %.1f LKFS, range %.1f LU\n", LuData.Integrated / 10.0, LuData.Lra / 10.0);
  return 0;
}
