// Entry of a fuzz target that replays: NAME FOLDER....

#include "FuzzTarget.h"
#include "Replay.h"

int main(int argc, char** argv) {
  fuzz::Silence();
  return fuzz::Replay({argv + 1, argv + argc}) ? 0 : 1;
}
